// One over-time request of the pane, 64 rows by 1,000 buckets over the whole span, through the
// provider: from the call until every cell of the answer was read once. The result is a file made
// from a generated trace; opening it and reading its instances into memory are timed apart. Before
// anything is timed, the answer is compared with what the trace itself tells.
//
// Besides, 1,000 rows of which each has three of 1,000 names, by name against all in one series:
// what the 997,000 pairs without data cost. There the sums of a table tell which series are read.
//
//   ./request_bench --benchmark_repetitions=9 --benchmark_report_aggregates_only=true

#include "idicerprovider.h"
#include "thread_pane.h"
#include "trace_file.h"

#include <benchmark/benchmark.h>

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <map>
#include <memory>
#include <string>
#include <vector>

namespace {

using basekit2::sptr_t;
using dataface_1::IColumnInfo;
using dataface_1::ITableRow;
using dataface_1::ITableTree;
using lanefeed_1::IDicerProvider;
using lanefeed_bench::Call;
using lanefeed_bench::Trace;

constexpr int kBuckets = 1000;
constexpr std::size_t kBusyTime = 0;  // layers of that area
constexpr std::size_t kTimeByName = 1;

Trace traceOf(std::size_t instances) {
    lanefeed_bench::TraceShape shape;
    shape.instances = instances;
    return lanefeed_bench::makeTrace(shape);
}

// A provider bound to the rows of threads.
class Pane : public lanefeed_bench::ThreadPane {
public:
    using ThreadPane::ThreadPane;

    std::vector<sptr_t<ITableTree>> request(std::size_t layer) {
        lanefeed_1::QueryParam param;
        param.dds = &rowSet().layers[layer].drawBy.ds;
        param.rowByDS = &rowSet().rowBys.front().ds;
        basekit2::u64_t first = 0;
        basekit2::u64_t ticksPerSecond = 0;
        m_provider->getResultTscRange(first, param.endTime, ticksPerSecond);
        param.endTime -= first - 1;  // behind the last tick
        param.binCount = kBuckets;
        std::vector<sptr_t<ITableTree>> trees;
        if (!m_provider->getOverTimeData(param, IDicerProvider::otTime, trees)) trees.clear();
        return trees;
    }
};

constexpr int kSparseRows = 1000;
constexpr int kNamesOfARow = 3;

// Short calls one after the other in each row, of few names that no far row shares.
Trace sparseTrace() {
    constexpr std::uint64_t kLength = 500;
    constexpr int kCallsOfARow = 200;
    Trace trace;
    trace.shape.rows = kSparseRows;
    trace.shape.names = kSparseRows;
    for (int call = 0; call < kCallsOfARow; ++call) {
        for (int row = 0; row < kSparseRows; ++row) {
            const std::uint64_t begin = 1 + static_cast<std::uint64_t>(call) * 2 * kLength;
            const int name = (row + call % kNamesOfARow) % kSparseRows;
            trace.calls.push_back({begin, begin + kLength, row, name});
        }
    }
    trace.behind = trace.calls.back().end;
    return trace;
}

struct Sum {
    double percent = 0;
    std::size_t cells = 0;
};

// The columns of all series, or of those that have data.
std::vector<sptr_t<IColumnInfo>> seriesOf(const sptr_t<ITableTree>& tree, bool filledOnly) {
    std::vector<sptr_t<IColumnInfo>> series;
    auto columns = tree->getColumns(nullptr);
    sptr_t<ITableRow> sums;
    sptr_t<dataface_1::IReducibleTableTree> reducible;
    if (filledOnly && basekit2::lookup_interface(tree.get(), reducible))
        sums = reducible->reduce(tree->getRows(nullptr), nullptr);
    for (columns.next(); !columns.at_end(); columns.next()) {  // the first one is the bucket
        basekit2::variant_t sum = 1.0;
        if (!sums.is_null()) sums->getContent(columns.current(), dataface_1::ccValue, sum);
        if (sum.get<double>() != 0) series.push_back(columns.current());
    }
    return series;
}

// Reads every cell of the trees, or of those series that have data.
Sum readAll(const std::vector<sptr_t<ITableTree>>& trees, bool filledOnly = false) {
    Sum sum;
    for (const sptr_t<ITableTree>& tree : trees) {
        if (tree.is_null()) continue;
        const std::vector<sptr_t<IColumnInfo>> series = seriesOf(tree, filledOnly);
        for (auto rows = tree->getRows(nullptr); !rows.at_end(); rows.next()) {
            const sptr_t<ITableRow> row = rows.current();
            for (const sptr_t<IColumnInfo>& column : series) {
                basekit2::variant_t value;
                if (!row->getContent(column, dataface_1::ccValue, value)) continue;
                sum.percent += value.get<double>();
                ++sum.cells;
            }
        }
    }
    return sum;
}

// Covered ticks of all rows.
double busyTicks(const Trace& trace) {
    std::vector<std::uint64_t> covered(static_cast<std::size_t>(trace.shape.rows), 0);
    double ticks = 0;
    for (const Call& call : trace.calls) {
        std::uint64_t& until = covered[static_cast<std::size_t>(call.row)];
        const std::uint64_t from = std::max(call.begin, until);
        if (call.end > from) ticks += static_cast<double>(call.end - from);
        until = std::max(until, call.end);
    }
    return ticks;
}

struct Stage {
    Stage(Trace made, const std::string& name)
        : trace(std::move(made)),
          file((std::filesystem::temp_directory_path() / ("request_bench_" + name + ".lft"))
                   .string()) {
        if (!lanefeed_bench::writeTraceFile(trace, file))
            std::fprintf(stderr, "%s: not written\n", file.c_str());
        pane = std::make_unique<Pane>(file);
    }
    ~Stage() {
        pane.reset();
        std::error_code ignored;
        std::filesystem::remove(file, ignored);
    }
    Stage(const Stage&) = delete;
    Stage& operator=(const Stage&) = delete;

    Trace trace;
    std::string file;
    std::unique_ptr<Pane> pane;
};

Stage& stage(std::size_t instances) {
    static std::map<std::size_t, std::unique_ptr<Stage>> stages;
    std::unique_ptr<Stage>& kept = stages[instances];
    if (kept == nullptr)
        kept = std::make_unique<Stage>(traceOf(instances), std::to_string(instances));
    return *kept;
}

Stage& sparseStage() {
    static Stage kept(sparseTrace(), "sparse");
    return kept;
}

// Percent of a bucket back into ticks, within what printing them as percent rounds off.
bool agree(Stage& on, std::size_t layer) {
    std::uint64_t first = ~std::uint64_t{0};
    for (const Call& call : on.trace.calls)
        first = std::min(first, call.begin);
    const auto width = static_cast<double>((on.trace.behind - first) / kBuckets);
    const double expected = busyTicks(on.trace);
    const double found = readAll(on.pane->request(layer), true).percent * width / 100;
    if (std::abs(found - expected) < 1e-6 * expected) return true;
    std::fprintf(stderr, "request_bench: layer %zu: %f ticks instead of %f\n", layer, found,
                 expected);
    return false;
}

// Opening, reading the instances and the first answer.
void openAndAsk(benchmark::State& state) {
    const Stage& on = stage(static_cast<std::size_t>(state.range(0)));
    for (auto _ : state)
        benchmark::DoNotOptimize(readAll(Pane(on.file).request(kBusyTime)).percent);
}

void request(benchmark::State& state, std::size_t layer) {
    Pane& pane = *stage(static_cast<std::size_t>(state.range(0))).pane;
    Sum sum = readAll(pane.request(layer));
    for (auto _ : state)
        benchmark::DoNotOptimize(sum = readAll(pane.request(layer)));
    state.counters["cells"] = static_cast<double>(sum.cells);
}

void sparseRequest(benchmark::State& state, std::size_t layer) {
    Pane& pane = *sparseStage().pane;
    Sum sum = readAll(pane.request(layer), true);
    for (auto _ : state)
        benchmark::DoNotOptimize(sum = readAll(pane.request(layer), true));
    state.counters["cells"] = static_cast<double>(sum.cells);
}

void sizes(benchmark::internal::Benchmark* bench) {
    for (const int size : {100'000, 1'000'000, 2'000'000, 4'000'000})
        bench->Arg(size);
    bench->Unit(benchmark::kMillisecond);
}

BENCHMARK_CAPTURE(request, busyTime, kBusyTime)->Apply(sizes);
BENCHMARK(openAndAsk)->Apply(sizes);
BENCHMARK_CAPTURE(sparseRequest, oneSeries, kBusyTime)->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(sparseRequest, byName, kTimeByName)->Unit(benchmark::kMillisecond);

}  // namespace

int main(int argc, char** argv) {
    benchmark::Initialize(&argc, argv);
    for (Stage* on : {&stage(100'000), &sparseStage()})
        if (!agree(*on, kBusyTime) || !agree(*on, kTimeByName)) return EXIT_FAILURE;
    std::printf("100000 instances, sparse names: the answers are those of the traces\n");
    benchmark::RunSpecifiedBenchmarks();
    return EXIT_SUCCESS;
}
