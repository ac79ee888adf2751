// The pane's rows of a result of 100,000 bands, through the provider: the table of them, its sorts
// by text and by time, and which of them a global filter leaves. The result is a file of threads
// with a band and a slice each, in two processes. Before anything is timed, the orders and the
// visible rows are compared with what the names and life times tell.
//
//   ./rows_bench --benchmark_repetitions=5 --benchmark_report_aggregates_only=true

#include "idicerprovider.h"
#include "store/result_writer.h"
#include "thread_pane.h"

#include <benchmark/benchmark.h>

#include <algorithm>
#include <cctype>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <memory>
#include <random>
#include <string>
#include <vector>

namespace {

using basekit2::sptr_t;
using lanefeed_1::IDicerProvider;
using lanefeed_runtime::TableId;

constexpr int kBands = 100'000;

struct Band {
    std::string name;
    std::int64_t begin = 0;
    int process = 0;  // 0 or 1
};

// Names in mixed case, in no order, a tenth of them twice.
std::vector<Band> makeBands() {
    std::mt19937_64 random(1);
    std::vector<Band> bands(kBands);
    for (Band& band : bands) {
        band.name =
            (random() % 2 == 0 ? "Worker " : "worker ") + std::to_string(random() % 500'000);
        band.begin = static_cast<std::int64_t>(random() % 1'000'000'000);
        band.process = static_cast<int>(random() % 2);
    }
    return bands;
}

bool writeResult(const std::vector<Band>& bands, const std::string& file) {
    lanefeed_runtime::WriterOptions options;
    options.target = file;
    options.force = true;
    lanefeed_runtime::StoreError error;
    const auto writer = lanefeed_runtime::ResultWriter::create(options, error);
    if (writer == nullptr) return false;
    std::vector<int> processes;
    for (const char* name : {"first", "second"})
        processes.push_back(writer->attribute(
            TableId::process, name, {{"name", name}, {"pid", name[0]}, {"sort", name[0]}}));
    const int task = writer->named(TableId::task, "call");
    int position = 0;
    for (const Band& band : bands) {
        const int thread =
            writer->attribute(TableId::thread, std::to_string(position),
                              {{"name", band.name},
                               {"tid", position},
                               {"dd_process", processes[static_cast<std::size_t>(band.process)]},
                               {"sort", position}});
        ++position;
        lanefeed_runtime::InstanceRow row;
        row.begin = band.begin;
        row.end = band.begin + 1000;
        row.band = writer->addBand(TableId::thread, thread, row.begin, row.end);
        row.attr = task;
        writer->add(TableId::sliceData, row);
    }
    writer->setFact(lanefeed_runtime::result_keys::kTicksPerSecond, "1000000000");
    return writer->finish();
}

// A provider bound to the rows of threads.
class Pane : public lanefeed_bench::ThreadPane {
public:
    using ThreadPane::ThreadPane;

    // Display order by a column: 0 name, 1 start.
    std::vector<int> sort(int columnIndex, bool ascending) {
        auto columns = m_table->getColumns(nullptr);
        for (int i = 0; i < columnIndex; ++i)
            columns.next();
        IDicerProvider::SortInfo info;
        info.column = columns.current();
        info.ascending = ascending;
        m_provider->setSorting(info);
        std::vector<int> order;
        m_provider->getSortOrder(order);
        return order;
    }
    // Leaves the rows of the second process.
    void filterByProcess() {
        const auto builder = registry()->createQueryFilterBuilder();
        builder->addCondition(m_library->findQuery("process", nullptr), false,
                              basekit2::variant_t("second"));
        setGlobal(*builder);
    }
    // Leaves these rows, one by one, as a selection of rows does.
    void filterByRows(const std::vector<int>& rows) {
        const auto builder = registry()->createQueryFilterBuilder();
        const auto query = m_library->findQuery("thread", nullptr);
        builder->beginGroup(dataface_1::IQueryFilterBuilder::groupIncluded);
        for (const int row : rows) {
            builder->beginGroup(dataface_1::IQueryFilterBuilder::groupIncluded);
            builder->addCondition(query, false, row + 1);
            builder->endGroup();
        }
        builder->endGroup();
        setGlobal(*builder);
    }
    void clearFilter() {
        registry()->removeFilter("global");
        m_provider->filterChanged("global");
    }
    std::vector<int> visibleRows() {
        std::vector<int> rows;
        m_provider->getVisibleRows(rows, -1);
        return rows;
    }

private:
    sptr_t<dataface_1::IFilterRegistry> registry() const {
        sptr_t<dataface_1::IFilterRegistry> found;
        dataface_1::lookup(m_input, found);
        return found;
    }
    void setGlobal(dataface_1::IQueryFilterBuilder& builder) {
        registry()->setQueryFilter("global", builder.build());
        m_provider->filterChanged("global");
    }
};

struct Stage {
    Stage()
        : bands(makeBands()),
          file((std::filesystem::temp_directory_path() / "rows_bench.lft").string()) {
        if (!writeResult(bands, file)) std::fprintf(stderr, "%s: not written\n", file.c_str());
        pane = std::make_unique<Pane>(file);
    }
    ~Stage() {
        pane.reset();
        std::error_code ignored;
        std::filesystem::remove(file, ignored);
    }
    Stage(const Stage&) = delete;
    Stage& operator=(const Stage&) = delete;

    std::vector<Band> bands;
    std::string file;
    std::unique_ptr<Pane> pane;
};

Stage& stage() {
    static Stage kept;
    return kept;
}

// The label of a thread in a result of several processes.
std::string lowerLabel(const Band& band) {
    std::string lower = (band.process == 0 ? "first / " : "second / ") + band.name;
    for (char& letter : lower)
        letter = static_cast<char>(std::tolower(static_cast<unsigned char>(letter)));
    return lower;
}

// Rows in the order of what `keyOf` tells of their bands; rows of equal keys in any.
template <class KeyOf>
bool isOrdered(const Stage& on, const std::vector<int>& order, KeyOf keyOf) {
    std::vector<bool> seen(on.bands.size(), false);
    for (std::size_t i = 0; i < order.size(); ++i) {
        seen[static_cast<std::size_t>(order[i])] = true;
        if (i > 0 && keyOf(on.bands[static_cast<std::size_t>(order[i])]) <
                         keyOf(on.bands[static_cast<std::size_t>(order[i - 1])]))
            return false;
    }
    return order.size() == on.bands.size() && std::count(seen.begin(), seen.end(), false) == 0;
}

std::vector<int> rowsOfSecondProcess(const Stage& on) {
    std::vector<int> rows;
    for (int row = 0; row < kBands; ++row) {
        if (on.bands[static_cast<std::size_t>(row)].process == 1) rows.push_back(row);
    }
    return rows;
}

bool expect(bool holds, const char* what) {
    if (!holds) std::fprintf(stderr, "rows_bench: not those of the result: %s\n", what);
    return holds;
}

bool agree(Stage& on) {
    const std::vector<int> second = rowsOfSecondProcess(on);
    Pane& pane = *on.pane;
    bool same = expect(pane.readRows() == kBands, "number of rows");
    same &= expect(isOrdered(on, pane.sort(0, true), lowerLabel), "order by name");
    std::vector<int> reversed = pane.sort(0, false);
    std::reverse(reversed.begin(), reversed.end());
    same &= expect(isOrdered(on, reversed, lowerLabel), "reversed order by name");
    const auto beginOf = [](const Band& band) { return band.begin; };
    same &= expect(isOrdered(on, pane.sort(1, true), beginOf), "order by start");
    pane.filterByProcess();
    same &= expect(pane.visibleRows() == second, "rows of a process");
    pane.filterByRows(second);
    same &= expect(pane.visibleRows() == second, "rows of a selection of rows");
    pane.clearFilter();
    return same && expect(pane.visibleRows().size() == on.bands.size(), "rows without a filter");
}

void rowSummary(benchmark::State& state) {
    Pane& pane = *stage().pane;
    for (auto _ : state)
        benchmark::DoNotOptimize(pane.readRows());
}

// One way, then the other: each sort starts from the order of the one before.
void sort(benchmark::State& state, int columnIndex) {
    Pane& pane = *stage().pane;
    bool ascending = false;
    for (auto _ : state) {
        ascending = !ascending;
        benchmark::DoNotOptimize(pane.sort(columnIndex, ascending));
    }
}

void visibleRowsByProcess(benchmark::State& state) {
    Pane& pane = *stage().pane;
    pane.filterByProcess();
    for (auto _ : state)
        benchmark::DoNotOptimize(pane.visibleRows());
    pane.clearFilter();
}

// Half of the rows, each of them named by the filter.
void visibleRowsByRow(benchmark::State& state) {
    Pane& pane = *stage().pane;
    pane.filterByRows(rowsOfSecondProcess(stage()));
    for (auto _ : state)
        benchmark::DoNotOptimize(pane.visibleRows());
    pane.clearFilter();
}

BENCHMARK(rowSummary)->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(sort, name, 0)->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(sort, start, 1)->Unit(benchmark::kMillisecond);
BENCHMARK(visibleRowsByProcess)->Unit(benchmark::kMillisecond);
BENCHMARK(visibleRowsByRow)->Unit(benchmark::kMillisecond);

}  // namespace

int main(int argc, char** argv) {
    benchmark::Initialize(&argc, argv);
    if (!agree(stage())) return EXIT_FAILURE;
    std::printf("%d bands: orders and visible rows are those of the result\n", kBands);
    benchmark::RunSpecifiedBenchmarks();
    return EXIT_SUCCESS;
}
