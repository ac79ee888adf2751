// Import of traces, from the file to the finished result, against a bare pass over the same bytes
// (of the JSON reader, or line by line), against the reading alone, whose rows nobody keeps, and
// against bare inserts of its rows; and the sort by time against a temporary table of a database. A
// generated trace of any size comes through a pipe, all on one line, and shows what memory an
// import takes.
//
//   ./import_bench TRACE... [--benchmark_filter=...]
//   LANEFEED_BENCH_MEGABYTES=5000 ./import_bench --benchmark_filter=generated
//
// The counter rss_mb is the highest resident size of the process during that benchmark.

#include "bare_inserts.h"
#include "common/byte_source.h"
#include "common/line_reader.h"
#include "common/time_sorter.h"
#include "importer.h"
#include "null_writer.h"
#include "trace_event_json/json_stream.h"

#include <benchmark/benchmark.h>
#include <sqlite3.h>

#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fmt/format.h>
#include <fstream>
#include <random>
#include <rapidjson/reader.h>
#include <string>
#include <sys/stat.h>
#include <thread>
#include <unistd.h>
#include <vector>

namespace {

using namespace lanefeed_importers;

namespace fs = std::filesystem;

fs::path scratchFolder() {
    static const fs::path folder = [] {
        const char* const chosen = std::getenv("LANEFEED_BENCH_FOLDER");
        const fs::path made =
            fs::path(chosen ? chosen : ".") / ("import_bench." + std::to_string(getpid()));
        fs::create_directories(made);
        return made;
    }();
    return folder;
}

// Starts the high-water mark of the resident size anew.
void resetPeak() {
    std::ofstream("/proc/self/clear_refs") << "5";
}

double peakMegabytes() {
    std::ifstream status("/proc/self/status");
    std::string word;
    double kilobytes = 0;
    while (status >> word) {
        if (word == "VmHWM:") status >> kilobytes;
    }
    return kilobytes / 1024;
}

void report(benchmark::State& state, std::uint64_t bytes) {
    state.SetBytesProcessed(static_cast<std::int64_t>(bytes) * state.iterations());
    state.counters["rss_mb"] = peakMegabytes();
}

// pass: reads the whole source and answers its bytes.
template <class Pass>
void barePass(benchmark::State& state, const std::string& file, const Pass& pass) {
    std::uint64_t bytes = 0;
    resetPeak();
    for (auto _ : state) {
        ImportError error;
        const auto source = ByteSource::open(file, error);
        if (!source) return state.SkipWithError(error.text.c_str());
        bytes = pass(*source);
    }
    report(state, bytes);
}

void bareReader(benchmark::State& state, const std::string& file) {
    barePass(state, file, [](ByteSource& source) {
        JsonStream stream(source, [] { return true; });
        rapidjson::BaseReaderHandler<> ignore;
        rapidjson::Reader().Parse<rapidjson::kParseNumbersAsStringsFlag>(stream, ignore);
        return source.unpackedBytes();
    });
}

void bareLines(benchmark::State& state, const std::string& file) {
    barePass(state, file, [](ByteSource& source) {
        std::uint64_t bytes = 0;
        LineReader reader(source, [] { return true; });
        for (TextLine line; reader.next(line);)
            bytes = line.byte + line.text.size();
        return bytes;
    });
}

const Importer* importerOf(const std::string& file) {
    ImportError error;
    const auto source = ByteSource::open(file, error);
    for (const auto& importer : importers()) {
        if (source && importer->accepts(source->head())) return importer.get();
    }
    return nullptr;
}

void countEvents(benchmark::State& state, const ImportOutcome& outcome) {
    state.counters["events/s"] = benchmark::Counter(
        static_cast<double>(outcome.events) * static_cast<double>(state.iterations()),
        benchmark::Counter::kIsRate);
}

void readingAlone(benchmark::State& state, const std::string& file) {
    const Importer* const importer = importerOf(file);
    if (!importer) return state.SkipWithError("no known trace format");
    ImportOptions options;
    options.scratchFolder = scratchFolder().string();
    ImportOutcome outcome;
    resetPeak();
    for (auto _ : state) {
        ImportError error;
        const auto source = ByteSource::open(file, error);
        lanefeed_bench::NullWriter writer;
        outcome = importer->import(*source, writer, options);
        if (outcome.error.failed()) return state.SkipWithError(outcome.error.text.c_str());
        benchmark::DoNotOptimize(writer.sum());
    }
    report(state, outcome.bytes);
    countEvents(state, outcome);
}

ImportOutcome importInto(const std::string& source, const fs::path& target) {
    ImportRequest request;
    request.source = source;
    request.target = target.string();
    request.force = true;
    return importTrace(request);
}

void wholeImport(benchmark::State& state, const std::string& file) {
    const fs::path target = scratchFolder() / "result.lft";
    ImportOutcome outcome;
    resetPeak();
    for (auto _ : state) {
        outcome = importInto(file, target);
        if (outcome.error.failed()) return state.SkipWithError(outcome.error.text.c_str());
    }
    report(state, outcome.bytes);
    countEvents(state, outcome);
    fs::remove(target);
}

// The rows of that result put into a file by bound statements: what the import is to be held
// against.
void bareInserts(benchmark::State& state, const std::string& file) {
    const std::string result = (scratchFolder() / "result.lft").string();
    if (importInto(file, result).error.failed()) return state.SkipWithError("no import");
    const lanefeed_bench::BareInserts rows(result);
    for (auto _ : state) {
        if (!rows.insert(result)) return state.SkipWithError("no insert");
    }
    state.SetItemsProcessed(static_cast<std::int64_t>(rows.rows()) * state.iterations());
    fs::remove(result);
}

// Begins, ends, complete slices with arguments, counters, flows and async events of 16 threads,
// slightly out of order.
class TraceText {
public:
    std::string nextPiece() {
        std::string text;
        for (int i = 0; i < 200; ++i)
            addCall(text);
        return text;
    }

private:
    void addCall(std::string& text) {
        const std::uint64_t tid = m_random() % 16;
        const double begin = m_now + static_cast<double>(m_random() % 50) / 1000;
        const std::uint64_t name = m_random() % 500;
        const auto out = [&](const std::string& event) {
            text += event;
            text += ',';
        };
        out(fmt::format(R"({{"ph":"B","ts":{:.3f},"pid":1,"tid":{},"cat":"app","name":"call_{}"}})",
                        begin, tid, name));
        out(fmt::format(R"({{"ph":"X","ts":{:.3f},"dur":0.8,"pid":1,"tid":{},"cat":"app",)"
                        R"("name":"part_{}","args":{{"bytes":{},"step":{}}}}})",
                        begin + 0.1, tid, m_random() % 500, m_random() % 100000, m_count));
        out(fmt::format(R"({{"ph":"E","ts":{:.3f},"pid":1,"tid":{},"cat":"app","name":"call_{}"}})",
                        begin + 1, tid, name));
        if (m_count % 10 == 0) {
            out(fmt::format(
                R"({{"ph":"C","ts":{:.3f},"pid":1,"name":"memory","args":{{"used":{}}}}})", begin,
                m_random() % 100000));
        }
        if (m_count % 50 == 0) {
            out(fmt::format(R"({{"ph":"b","ts":{:.3f},"pid":1,"cat":"io","id":{},"name":"read"}})",
                            begin, m_count));
            out(fmt::format(R"({{"ph":"e","ts":{:.3f},"pid":1,"cat":"io","id":{},"name":"read"}})",
                            begin + 30, m_count));
        }
        ++m_count;
        m_now += 1.5;
    }

    std::mt19937_64 m_random{1};
    std::uint64_t m_count = 0;
    double m_now = 1000;
};

void writeTrace(const std::string& pipe, std::uint64_t bytes) {
    std::FILE* const file = std::fopen(pipe.c_str(), "wb");
    if (!file) return;
    TraceText trace;
    std::uint64_t written = std::fwrite("[", 1, 1, file);
    while (written < bytes) {
        const std::string piece = trace.nextPiece();
        written += std::fwrite(piece.data(), 1, piece.size(), file);
    }
    // The last comma stays, as tracers leave it.
    std::fclose(file);
}

void generated(benchmark::State& state) {
    const fs::path pipe = scratchFolder() / "trace.pipe";
    const fs::path target = scratchFolder() / "generated.lft";
    ImportOutcome outcome;
    resetPeak();
    for (auto _ : state) {
        fs::remove(pipe);
        if (mkfifo(pipe.c_str(), S_IRUSR | S_IWUSR) != 0) return state.SkipWithError("no pipe");
        std::thread writer(
            [&] { writeTrace(pipe.string(), static_cast<std::uint64_t>(state.range(0)) << 20U); });
        outcome = importInto(pipe.string(), target);
        writer.join();
        if (outcome.error.failed()) return state.SkipWithError(outcome.error.text.c_str());
    }
    report(state, outcome.bytes);
    state.counters["result_mb"] = static_cast<double>(fs::file_size(target)) / (1U << 20U);
    fs::remove(target);
    fs::remove(pipe);
}

// Records as small as those of begins and ends, nearly in order.
struct Record {
    TraceTime time;
    std::string bytes;
};

const std::vector<Record>& someRecords() {
    static const std::vector<Record> records = [] {
        std::mt19937_64 random(1);
        std::vector<Record> made(1'500'000);
        std::int64_t now = 0;
        for (Record& record : made) {
            now += static_cast<std::int64_t>(random() % 100);
            record.time.ns = now - static_cast<std::int64_t>(random() % 2000);
            record.bytes.assign(13, static_cast<char>(random()));
        }
        return made;
    }();
    return records;
}

void sortBySorter(benchmark::State& state) {
    for (auto _ : state) {
        TimeSorter sorter(scratchFolder().string(), std::size_t{32} << 20U);
        for (const Record& record : someRecords())
            sorter.add(record.time, record.bytes);
        sorter.sort();
        TraceTime time;
        std::string_view bytes;
        std::size_t sum = 0;
        while (sorter.next(time, bytes))
            sum += bytes.size();
        benchmark::DoNotOptimize(sum);
    }
    state.SetItemsProcessed(state.iterations() * static_cast<std::int64_t>(someRecords().size()));
}

void sortByTable(benchmark::State& state) {
    const fs::path file = scratchFolder() / "sort.db";
    for (auto _ : state) {
        fs::remove(file);
        sqlite3* database = nullptr;
        sqlite3_open(file.c_str(), &database);
        sqlite3_exec(database,
                     "pragma journal_mode=off; pragma synchronous=off; pragma cache_size=-32768;"
                     "pragma temp_store=file; create temp table t(ns integer, part integer,"
                     " record blob); begin",
                     nullptr, nullptr, nullptr);
        sqlite3_stmt* insert = nullptr;
        sqlite3_prepare_v2(database, "insert into t values(?,?,?)", -1, &insert, nullptr);
        for (const Record& record : someRecords()) {
            sqlite3_bind_int64(insert, 1, record.time.ns);
            sqlite3_bind_int64(insert, 2, static_cast<sqlite3_int64>(record.time.part));
            sqlite3_bind_blob(insert, 3, record.bytes.data(), static_cast<int>(record.bytes.size()),
                              SQLITE_STATIC);
            sqlite3_step(insert);
            sqlite3_reset(insert);
        }
        sqlite3_finalize(insert);
        sqlite3_stmt* select = nullptr;
        sqlite3_prepare_v2(database, "select ns, part, record from t order by ns, part, rowid", -1,
                           &select, nullptr);
        int sum = 0;
        while (sqlite3_step(select) == SQLITE_ROW)
            sum += sqlite3_column_bytes(select, 2);
        benchmark::DoNotOptimize(sum);
        sqlite3_finalize(select);
        sqlite3_close(database);
    }
    state.SetItemsProcessed(state.iterations() * static_cast<std::int64_t>(someRecords().size()));
    fs::remove(file);
}

void registerAll(int count, char** names) {
    for (int i = 1; i < count; ++i) {
        const std::string file = names[i];
        const std::string shown = fs::path(file).filename().string();
        const Importer* const importer = importerOf(file);
        const bool isJson = importer && importer->name() == "trace_event_json";
        benchmark::RegisterBenchmark(("bare_reader/" + shown).c_str(),
                                     isJson ? bareReader : bareLines, file)
            ->Unit(benchmark::kMillisecond);
        benchmark::RegisterBenchmark(("reading/" + shown).c_str(), readingAlone, file)
            ->Unit(benchmark::kMillisecond);
        benchmark::RegisterBenchmark(("import/" + shown).c_str(), wholeImport, file)
            ->Unit(benchmark::kMillisecond);
        benchmark::RegisterBenchmark(("bare_inserts/" + shown).c_str(), bareInserts, file)
            ->Unit(benchmark::kMillisecond);
    }
    const char* const megabytes = std::getenv("LANEFEED_BENCH_MEGABYTES");
    auto* const byPipe = benchmark::RegisterBenchmark("generated", generated);
    byPipe->Unit(benchmark::kSecond)->UseRealTime()->Iterations(1)->Arg(100)->Arg(400);
    if (megabytes) byPipe->Arg(std::atol(megabytes));
    benchmark::RegisterBenchmark("sort/sorter", sortBySorter)->Unit(benchmark::kMillisecond);
    benchmark::RegisterBenchmark("sort/table", sortByTable)->Unit(benchmark::kMillisecond);
}

}  // namespace

int main(int count, char** names) {
    benchmark::Initialize(&count, names);
    registerAll(count, names);
    benchmark::RunSpecifiedBenchmarks();
    fs::remove_all(scratchFolder());
    return 0;
}
