// Bars of 64 rows in 2,000 bins over the whole span, through the provider and from a file, plain
// and nested, against a bare statement of the same columns and joins over all rows; between them,
// the walk of the record set that the request reads. Before anything is timed, the answer is
// compared with the statement: for each row of the pane, bars + children + those that are only
// counted are the rows of the table.
//
//   ./intervals_bench --benchmark_repetitions=5 --benchmark_report_aggregates_only=true
//   ./intervals_bench --memory 1000000     (what a reader holds, see reportMemory)
//   LANEFEED_BENCH_INSTANCES=100000 ./intervals_bench ...      (only this size)

#include "thread_pane.h"
#include "trace_file.h"

#include <storelink1/database.h>
#include <storelink1/utils.h>

#include <benchmark/benchmark.h>
#include <sqlite3.h>

#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <malloc.h>
#include <map>
#include <memory>
#include <string>
#include <sys/wait.h>
#include <unistd.h>
#include <vector>

namespace {

using basekit2::sptr_t;
using dataface_1::IColumnInfo;
using dataface_1::ITableRow;
using dataface_1::ITableTree;

constexpr int kBins = 2000;
constexpr int kFewInstances = 100'000;

enum class Mode { bars, tasks };

// Instances by thread; the thread's row in dd_thread is the place.
using PerThread = std::vector<std::uint64_t>;

void countOne(PerThread& counts, std::int64_t thread) {
    const auto place = static_cast<std::size_t>(thread);
    if (place >= counts.size()) counts.resize(place + 1, 0);
    ++counts[place];
}

// A connection of its own, with the settings that the engine has by itself.
class BareSql {
public:
    explicit BareSql(const std::string& file) {
        sqlite3_open_v2(file.c_str(), &m_handle, SQLITE_OPEN_READONLY | SQLITE_OPEN_NOMUTEX,
                        nullptr);
    }
    ~BareSql() { sqlite3_close_v2(m_handle); }
    BareSql(const BareSql&) = delete;
    BareSql& operator=(const BareSql&) = delete;

    // Reads every field of every row.
    PerThread read(Mode mode) const {
        const std::string columns = "select t0.start_tsc, t0.end_tsc, t0.attr, t1.dd_thread";
        const std::string from =
            " from slice_data t0 left join dd_band t1 on t1.rowid = t0.dd_band";
        const std::string order = " order by t0.rowid";
        const std::string sql = mode == Mode::bars
                                    ? columns + from + order
                                    : columns + ", t2.name" + from +
                                          " left join dd_task t2 on t2.rowid = t0.attr" + order;
        sqlite3_stmt* rows = nullptr;
        sqlite3_prepare_v2(m_handle, sql.c_str(), -1, &rows, nullptr);
        PerThread counts;
        while (sqlite3_step(rows) == SQLITE_ROW) {
            for (int field = 0; field < 3; ++field)
                benchmark::DoNotOptimize(sqlite3_column_int64(rows, field));
            if (mode == Mode::tasks) {
                benchmark::DoNotOptimize(sqlite3_column_text(rows, 4));
                benchmark::DoNotOptimize(sqlite3_column_bytes(rows, 4));
            }
            countOne(counts, sqlite3_column_int64(rows, 3));
        }
        sqlite3_finalize(rows);
        return counts;
    }

private:
    sqlite3* m_handle = nullptr;
};

// What an answer holds, counted in one walk over its rows.
struct Answer {
    PerThread instances;
    std::size_t drawn = 0;  // bars and children
};

// A provider bound to the rows of threads.
class Pane : public lanefeed_bench::ThreadPane {
public:
    explicit Pane(const std::string& file) : ThreadPane(file) {
        m_threads = rowSet().rowBys.front().ds;
        m_slices.set("dd_task", "slice_data", "name", "");
        m_slices.m_defaultQuery = m_library->findQuery("sliceName", nullptr);
        m_slices.m_dataType = lanefeed_1::DicerDataSource::dsInfo;
        sptr_t<storelink1::IPerfDatabase> databases;
        dataface_1::lookup(m_input, databases);
        m_database = databases->getDatabase(m_input);
    }

    std::vector<sptr_t<ITableTree>> request(Mode mode) const {
        lanefeed_1::QueryParam param;
        param.dds = &m_slices;
        param.rowByDS = &m_threads;
        basekit2::u64_t first = 0;
        basekit2::u64_t ticksPerSecond = 0;
        m_provider->getResultTscRange(first, param.endTime, ticksPerSecond);
        param.endTime -= first;  // the last tick
        param.binCount = kBins;
        std::vector<sptr_t<ITableTree>> trees;
        const bool read = mode == Mode::bars ? m_provider->getIntervalData(param, trees, nullptr)
                                             : m_provider->getTaskData(param, trees, nullptr);
        if (!read) std::fprintf(stderr, "intervals_bench: the request failed\n");
        return trees;
    }

    // The records that such a request reads, every field of them.
    PerThread walk(Mode mode) const {
        const auto query = m_database->createQuery("slice_data", 0);
        std::vector<basekit2::u16_t> columns;
        for (const char* column : {"dd_band::dd_thread", "start_tsc", "end_tsc", "attr", "dd_task"})
            columns.push_back(query->addColumn(column));
        if (mode == Mode::tasks) {
            query->addOrderBy("start_tsc", false);
            columns.push_back(query->addColumn("dd_task.name"));
        }
        const storelink1::QueryMutexHolder lock(m_database.get());
        PerThread counts;
        const auto records = query->execute();
        for (; !records->atEnd(); records->next()) {
            const storelink1::IConstRecord& record = *records->current();
            for (const basekit2::u16_t column : columns)
                benchmark::DoNotOptimize(record[column].get_type());
            countOne(counts, storelink1::utils::variantToIndex(record[columns.front()]));
        }
        return counts;
    }

    Answer count(const std::vector<sptr_t<ITableTree>>& trees) const {
        Answer answer;
        answer.instances.push_back(0);  // there is no thread 0
        for (const sptr_t<ITableTree>& tree : trees)
            answer.instances.push_back(countRow(tree, answer.drawn));
        return answer;
    }

private:
    static sptr_t<IColumnInfo> duplicatesOf(ITableTree& tree) {
        auto columns = tree.getColumns(nullptr);
        for (int before = 0; before < 3; ++before)  // start, end, attribute
            columns.next();
        return columns.current();
    }
    static std::uint64_t countRow(const sptr_t<ITableTree>& tree, std::size_t& drawn) {
        if (tree.is_null()) return 0;
        const auto duplicates = duplicatesOf(*tree);
        std::uint64_t instances = 0;
        for (auto rows = tree->getRows(nullptr); !rows.at_end(); rows.next()) {
            const sptr_t<ITableRow> row = rows.current();
            basekit2::variant_t value;
            row->getContent(duplicates, dataface_1::ccValue, value);
            const auto more = value.get<basekit2::u64_t>();
            instances += 1 + more;
            drawn += 1 + std::min<std::size_t>(more, 4);
        }
        return instances;
    }

    lanefeed_1::DicerDataSource m_threads;
    lanefeed_1::DicerDataSource m_slices;
    sptr_t<storelink1::IDatabase> m_database;
};

std::string fileOf(int instances) {
    const std::string name = "intervals_bench_" + std::to_string(instances) + ".lft";
    return (std::filesystem::temp_directory_path() / name).string();
}

bool writeFile(int instances) {
    lanefeed_bench::TraceShape shape;
    shape.instances = static_cast<std::size_t>(instances);
    const std::string file = fileOf(instances);
    const bool written = lanefeed_bench::writeTraceFile(lanefeed_bench::makeTrace(shape), file);
    if (!written) std::fprintf(stderr, "%s: not written\n", file.c_str());
    return written;
}

struct Stage {
    explicit Stage(int instances) : file(fileOf(instances)) {
        writeFile(instances);
        pane = std::make_unique<Pane>(file);
        sql = std::make_unique<BareSql>(file);
    }
    ~Stage() {
        pane.reset();
        sql.reset();
        std::error_code ignored;
        std::filesystem::remove(file, ignored);
    }
    Stage(const Stage&) = delete;
    Stage& operator=(const Stage&) = delete;

    std::string file;
    std::unique_ptr<Pane> pane;
    std::unique_ptr<BareSql> sql;
};

Stage& stage(int instances) {
    static std::map<int, std::unique_ptr<Stage>> stages;
    std::unique_ptr<Stage>& kept = stages[instances];
    if (kept == nullptr) kept = std::make_unique<Stage>(instances);
    return *kept;
}

bool agree(const Stage& on, Mode mode) {
    const PerThread expected = on.sql->read(mode);
    return on.pane->walk(mode) == expected &&
           on.pane->count(on.pane->request(mode)).instances == expected;
}

void bareSql(benchmark::State& state, Mode mode) {
    const Stage& on = stage(static_cast<int>(state.range(0)));
    for (auto _ : state)
        benchmark::DoNotOptimize(on.sql->read(mode));
}

void walk(benchmark::State& state, Mode mode) {
    const Stage& on = stage(static_cast<int>(state.range(0)));
    for (auto _ : state)
        benchmark::DoNotOptimize(on.pane->walk(mode));
}

// The answer is let go outside of the time, as a pane does later.
void request(benchmark::State& state, Mode mode) {
    const Stage& on = stage(static_cast<int>(state.range(0)));
    Answer answer;
    for (auto _ : state) {
        auto trees = on.pane->request(mode);
        state.PauseTiming();
        answer = on.pane->count(trees);
        trees.clear();
        state.ResumeTiming();
    }
    state.counters["drawn"] = static_cast<double>(answer.drawn);
}

// A line of the process' status, in bytes.
std::int64_t statusBytes(const std::string& key) {
    std::ifstream status("/proc/self/status");
    std::string word;
    std::int64_t kilobytes = 0;
    while (status >> word) {
        if (word == key + ":") status >> kilobytes;
    }
    return kilobytes * 1024;
}

// Resident memory by which `run` raises the process at its height.
template <class Run>
double megabytesOf(Run run) {
    std::ofstream("/proc/self/clear_refs") << 5;  // the height starts anew
    const std::int64_t before = statusBytes("VmRSS");
    run();
    return static_cast<double>(statusBytes("VmHWM") - before) / 1e6;
}

double liveMegabytes() {
    const struct mallinfo2 heap = mallinfo2();
    return static_cast<double>(heap.uordblks + heap.hblkhd) / 1e6;
}

// Runs in a process of its own, whose heap has no holes and no remains of others.
template <class Run>
bool inProcess(Run run) {
    std::fflush(stdout);
    const pid_t child = ::fork();
    if (child == 0) {
        const bool done = run();
        std::fflush(stdout);
        ::_exit(done ? EXIT_SUCCESS : EXIT_FAILURE);
    }
    int status = 0;
    return ::waitpid(child, &status, 0) == child && status == 0;
}

bool reportWalk(const std::string& file, Mode mode) {
    const Pane pane(file);
    std::printf("walk %.2f MB, ", megabytesOf([&] { pane.walk(mode); }));
    return true;
}

bool reportRequest(const std::string& file, Mode mode) {
    const Pane pane(file);
    std::vector<sptr_t<ITableTree>> trees;
    const double before = liveMegabytes();
    const double height = megabytesOf([&] { trees = pane.request(mode); });
    std::printf("request %.2f MB at its height, answer %.2f MB\n", height,
                liveMegabytes() - before);
    return true;
}

// What a walk holds at most, which is what a request reads with; a request; and its answer.
int reportMemory(int instances) {
    const std::string file = fileOf(instances);
    bool done = inProcess([&] { return writeFile(instances); });
    for (const Mode mode : {Mode::bars, Mode::tasks}) {
        std::printf("%d %s: ", instances, mode == Mode::bars ? "bars" : "tasks");
        done = done && inProcess([&] { return reportWalk(file, mode); }) &&
               inProcess([&] { return reportRequest(file, mode); });
    }
    std::error_code ignored;
    std::filesystem::remove(file, ignored);
    return done ? EXIT_SUCCESS : EXIT_FAILURE;
}

std::vector<int> sizes() {
    const char* const only = std::getenv("LANEFEED_BENCH_INSTANCES");
    if (only != nullptr) return {std::atoi(only)};
    return {kFewInstances, 1'000'000, 10'000'000};
}

void addBenchmarks() {
    for (const int size : sizes()) {
        for (const Mode mode : {Mode::bars, Mode::tasks}) {
            const std::string suffix = mode == Mode::bars ? "/bars" : "/tasks";
            const auto add = [&](const char* name, void (*run)(benchmark::State&, Mode)) {
                benchmark::RegisterBenchmark((name + suffix).c_str(), run, mode)
                    ->Arg(size)
                    ->Unit(benchmark::kMillisecond);
            };
            add("bareSql", bareSql);
            add("walk", walk);
            add("request", request);
        }
    }
}

}  // namespace

int main(int argc, char** argv) {
    benchmark::Initialize(&argc, argv);
    if (argc == 3 && std::strcmp(argv[1], "--memory") == 0) return reportMemory(std::atoi(argv[2]));
    for (const int size : sizes()) {
        if (agree(stage(size), Mode::bars) && agree(stage(size), Mode::tasks)) continue;
        std::fprintf(stderr, "intervals_bench: not all instances of %s\n",
                     stage(size).file.c_str());
        return EXIT_FAILURE;
    }
    std::printf("each row has all its instances: drawn, as children or counted\n");
    addBenchmarks();
    benchmark::RunSpecifiedBenchmarks();
    return EXIT_SUCCESS;
}
