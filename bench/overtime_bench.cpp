// One request for busy time, 64 rows by 1,000 buckets over the whole span: the bucketed query of
// the timeline database, with its answer handed over in sparse maps and every cell read once,
// against a plain pass over all instances into a dense table. Both run here on the same trace, and
// their answers are compared cell by cell before anything is timed. Loading is timed apart.
//
//   ./overtime_bench --benchmark_repetitions=9 --benchmark_report_aggregates_only=true

#include "store/result_facts.h"
#include "support/column_reader.h"
#include "timeline/timeline_database.h"
#include "traces.h"

#include <basekit2/object.h>

#include <benchmark/benchmark.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <map>
#include <memory>
#include <vector>

namespace {

using basekit2::sptr_t;
using basekit2::u64_t;
using lanefeed_bench::Call;
using lanefeed_bench::Trace;
using lanefeed_test::ColumnReader;
using storelink1::ITimelineDatabase;
using storelink1::ITimelineQuery;

constexpr int kRows = 64;
constexpr int kBuckets = 1000;
const char* const kRowPath = "dd_band::dd_thread";
const char* const kNamePath = "slice_data::attr";

struct Request {
    bool byName = false;
    double part = 1;  // of the span, from its middle
};

// A trace and the database over it, made once for each size.
struct Stage {
    explicit Stage(std::size_t instances) {
        lanefeed_bench::TraceShape shape;
        shape.instances = instances;
        shape.rows = kRows;
        trace = lanefeed_bench::makeTrace(shape);
        auto& table = reader->tables["slice_data"];
        for (const Call& call : trace.calls) {
            table.add(call.begin, call.end - 1, call.row + 1, call.name + 1);
            table.ids[kRowPath].push_back(call.row);
            table.ids[kNamePath].push_back(call.name + 1);
        }
        database = lanefeed_runtime::openTimelineDatabase(reader, facts);
    }

    std::shared_ptr<ColumnReader> reader = std::make_shared<ColumnReader>();
    std::shared_ptr<lanefeed_runtime::ResultFacts> facts =
        std::make_shared<lanefeed_runtime::ResultFacts>();
    Trace trace;
    sptr_t<ITimelineDatabase> database;
};

Stage& stage(std::size_t instances) {
    static std::map<std::size_t, std::unique_ptr<Stage>> stages;
    std::unique_ptr<Stage>& kept = stages[instances];
    if (kept == nullptr) kept = std::make_unique<Stage>(instances);
    return *kept;
}

u64_t windowStart(const Trace& trace, const Request& request) {
    return 1 + static_cast<u64_t>(static_cast<double>(trace.behind - 1) * (1 - request.part) / 2);
}

u64_t windowEnd(const Trace& trace, const Request& request) {
    return request.part == 1 ? trace.behind : trace.behind - windowStart(trace, request) + 1;
}

std::vector<storelink1::OverTimeData> ask(const Trace& trace,
                                          const sptr_t<ITimelineDatabase>& database,
                                          const Request& request) {
    const auto query = lanefeed_runtime::makeTimelineQuery(database);
    query->addRowBy(kRowPath, "");
    query->setSource(ITimelineQuery::qtTime, "slice_data", "", "");
    query->setTimelineDatabase(database);
    if (request.byName) query->addExpansion("slice_data", "attr", "name", {}, false, "", true);
    std::vector<storelink1::OverTimeData> data;
    std::vector<storelink1::OverTimeDataSeriesMetadata> metadata;
    query->getOverTimeData(windowStart(trace, request), windowEnd(trace, request), kBuckets, data,
                           metadata, nullptr);
    return data;
}

using Dense = std::vector<u64_t>;

// Ticks of each row and bucket that are covered: instances in the order of their start, so a row
// needs to know only how far it is covered.
Dense plainPass(const Trace& trace, const Request& request) {
    const u64_t start = windowStart(trace, request);
    const u64_t end = windowEnd(trace, request);
    const u64_t width = (end - start) / kBuckets;
    Dense cells(static_cast<std::size_t>(kRows) * kBuckets, 0);
    std::vector<u64_t> covered(kRows, start);
    for (const Call& call : trace.calls) {
        u64_t from = std::max(call.begin, covered[static_cast<std::size_t>(call.row)]);
        const u64_t to = std::min(call.end, end);
        if (from >= to) continue;
        covered[static_cast<std::size_t>(call.row)] = to;
        u64_t bucket = std::min<u64_t>((from - start) / width, kBuckets - 1);
        u64_t* row = &cells[static_cast<std::size_t>(call.row) * kBuckets];
        while (from < to) {
            const u64_t behind = bucket + 1 < kBuckets ? start + (bucket + 1) * width : end;
            row[bucket++] += std::min(to, behind) - from;
            from = std::min(to, behind);
        }
    }
    return cells;
}

// Every cell read once.
double sumOf(const std::vector<storelink1::OverTimeData>& data) {
    double sum = 0;
    for (const auto& row : data)
        for (const auto& series : row.series)
            for (const auto& cell : series)
                sum += cell.second;
    return sum;
}

double sumOf(const Dense& cells) {
    double sum = 0;
    for (const u64_t cell : cells)
        sum += static_cast<double>(cell);
    return sum;
}

// Both sides to the tick, also when the series of a row have to be added up first.
bool agree(const Stage& stage, const Request& request) {
    Dense found(static_cast<std::size_t>(kRows) * kBuckets, 0);
    for (const auto& row : ask(stage.trace, stage.database, request))
        for (const auto& series : row.series)
            for (const auto& cell : series)
                found[static_cast<std::size_t>(row.key.front() * kBuckets + cell.first)] +=
                    static_cast<u64_t>(cell.second);
    return found == plainPass(stage.trace, request);
}

std::size_t instancesOf(const benchmark::State& state) {
    return static_cast<std::size_t>(state.range(0));
}

void load(benchmark::State& state) {
    const Stage& on = stage(instancesOf(state));
    for (auto _ : state) {
        const auto database = lanefeed_runtime::openTimelineDatabase(on.reader, on.facts);
        const std::vector<std::string> names = {kRowPath, "#band"};
        benchmark::DoNotOptimize(database->fill(storelink1::tgTimes, "slice_data",
                                                basekit2::make_iterator(names), nullptr));
    }
}

void bucketQuery(benchmark::State& state, const Request& request) {
    const Stage& on = stage(instancesOf(state));
    ask(on.trace, on.database, request);  // reads the table and its groupings
    for (auto _ : state)
        benchmark::DoNotOptimize(sumOf(ask(on.trace, on.database, request)));
}

void plain(benchmark::State& state, const Request& request) {
    const Stage& on = stage(instancesOf(state));
    for (auto _ : state)
        benchmark::DoNotOptimize(sumOf(plainPass(on.trace, request)));
}

void sizes(benchmark::internal::Benchmark* bench) {
    for (const int size : {100'000, 1'000'000, 2'000'000, 4'000'000})
        bench->Arg(size);
    bench->Unit(benchmark::kMillisecond);
}

BENCHMARK(load)->Apply(sizes);
BENCHMARK_CAPTURE(bucketQuery, whole, Request{false, 1})->Apply(sizes);
BENCHMARK_CAPTURE(plain, whole, Request{false, 1})->Apply(sizes);
BENCHMARK_CAPTURE(bucketQuery, middle1percent, Request{false, 0.01})->Apply(sizes);
BENCHMARK_CAPTURE(plain, middle1percent, Request{false, 0.01})->Apply(sizes);
BENCHMARK_CAPTURE(bucketQuery, byName, Request{true, 1})->Apply(sizes);

}  // namespace

int main(int argc, char** argv) {
    benchmark::Initialize(&argc, argv);
    for (const std::size_t instances : {100'000, 1'000'000}) {
        for (const Request& request :
             {Request{false, 1}, Request{false, 0.01}, Request{true, 1}, Request{true, 0.3}}) {
            if (agree(stage(instances), request)) continue;
            std::fprintf(stderr, "overtime_bench: the two sides differ\n");
            return EXIT_FAILURE;
        }
        std::printf("%zu instances, %zu calls: both sides agree in every cell\n", instances,
                    stage(instances).trace.calls.size());
    }
    benchmark::RunSpecifiedBenchmarks();
    return EXIT_SUCCESS;
}
