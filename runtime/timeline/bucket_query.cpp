// Bucketed series of rows, answered from the timeline database.
//
// The query only collects what it is told; getOverTimeData finds the grouping by rows and bands,
// plans the series and sums row after row in one pass over the part of each band that touches the
// window. Between bands it asks whether the request was cancelled. Nothing is kept between two
// calls but what the tables keep. Tested by tests/timeline/bucket_query_test.cpp.

#include "store/filter_time.h"
#include "timeline/kept_time.h"
#include "timeline/memory_timeline.h"
#include "timeline/row_sums.h"
#include "timeline/timeline_database.h"

#include <utility>

namespace lanefeed_runtime {

using basekit2::error_code_t;
using basekit2::sptr_t;
using basekit2::u64_t;
using storelink1::OverTimeData;
using storelink1::OverTimeDataSeriesMetadata;
using storelink1::time_interval_t;

namespace {

// Grouping under which overlap is resolved over all bands of a row.
constexpr const char* kWholeRow = "global_data_grouper";
constexpr const char* kGlobalFilter = "global";
constexpr int kSampleAtEnd = 2;

bool isCanceled(relay2::IProgress* progress) {
    return progress != nullptr && progress->isCanceled();
}

error_code_t invalidArgument(const char* expression, int line) {
    return error_code_t::raise(basekit2::error::IsNot.Valid.Argument, expression, __FILE__, line);
}

class BucketQuery : public storelink1::ITimelineQuery {
public:
    BucketQuery(sptr_t<MemoryTimeline> unfiltered, TimelineFilterLookup filters)
        : m_unfiltered(std::move(unfiltered)), m_filters(std::move(filters)) {}

    // The suffix names the rows; what tells them apart is the path alone.
    void addRowBy(const std::string& path, const std::string&) override {
        m_rowBys.push_back(path);
    }
    void setRequiredFilter(const std::string& name) override { m_requiredFilters.push_back(name); }
    basekit2::generic_iterator_t<time_interval_t> getFilterIntervals(bool inverted) override;
    void setSource(QueryType type,
                   const std::string& table,
                   const std::string& attrPath,
                   const std::string& grouping) override;
    void setObjectType(ObjectType type) override { m_objectType = type; }
    void setSamplePoint(int samplePoint) override { m_samplePoint = samplePoint; }
    bool addExpansion(const std::string& table,
                      const std::string& path,
                      const std::string& attr,
                      const std::vector<std::string>& values,
                      bool hideZero,
                      const std::string& sortName,
                      bool ascending) override;
    void setTimelineDatabase(const sptr_t<storelink1::ITimelineDatabase>& database) override {
        m_timeline = sptr_t<MemoryTimeline>(dynamic_cast<MemoryTimeline*>(database.get()));
    }
    void setFourthFlag(bool flag) override { m_keepZeros = flag; }
    error_code_t getOverTimeData(u64_t start,
                                 u64_t end,
                                 int bins,
                                 std::vector<OverTimeData>& data,
                                 std::vector<OverTimeDataSeriesMetadata>& metadata,
                                 relay2::IProgress* progress) override;

private:
    MemoryTimeline& timeline() const { return m_timeline.is_null() ? *m_unfiltered : *m_timeline; }
    NamedFilter filter(const std::string& name) const {
        return m_filters ? m_filters(name) : NamedFilter();
    }
    // The database that answers, with all filters that are in force for this query.
    sptr_t<MemoryTimeline> inForce() const;
    // The columns whose groups are summed apart from each other: rows first.
    InstanceTable::Columns summedApart() const;
    // False when it was cancelled.
    bool sumRows(const SumRequest& request,
                 std::vector<OverTimeData>& data,
                 std::vector<double>& totals,
                 relay2::IProgress* progress) const;

    const sptr_t<MemoryTimeline> m_unfiltered;
    const TimelineFilterLookup m_filters;
    sptr_t<MemoryTimeline> m_timeline;
    InstanceTable::Columns m_rowBys;
    std::vector<ExpansionLevel> m_levels;
    QueryType m_type = qtTime;
    std::string m_table;
    std::string m_attrPath;
    std::string m_grouping;
    std::vector<std::string> m_requiredFilters;
    ObjectType m_objectType = otInterval;
    int m_samplePoint = 0;
    bool m_keepZeros = false;
};

// Within the result: a filter that keeps a span cuts out all before and behind it.
basekit2::generic_iterator_t<time_interval_t> BucketQuery::getFilterIntervals(bool inverted) {
    time_interval_t result;
    result.start = m_unfiltered->facts().firstTick;
    result.end = m_unfiltered->facts().lastTick + 1;
    const TickSpans kept = commonTime(keptTime(filter(kGlobalFilter).time), {result});
    return basekit2::make_iterator(inverted ? kept : timeBetween(kept, result));
}

void BucketQuery::setSource(QueryType type,
                            const std::string& table,
                            const std::string& attrPath,
                            const std::string& grouping) {
    m_type = type;
    m_table = table;
    m_attrPath = attrPath;
    m_grouping = grouping;
}

bool BucketQuery::addExpansion(const std::string& table,
                               const std::string& path,
                               const std::string& attr,
                               const std::vector<std::string>& values,
                               bool hideZero,
                               const std::string& sortName,
                               bool ascending) {
    ExpansionLevel level;
    level.path = table + (table.empty() || path.empty() ? "" : "::") + path;
    if (!timeline().reader().knowsPath(m_table, level.path)) return false;
    level.attribute = attr;
    level.values = values;
    level.hideZero = hideZero;
    level.sortName = sortName;
    level.ascending = ascending;
    m_levels.push_back(std::move(level));
    return true;
}

sptr_t<MemoryTimeline> BucketQuery::inForce() const {
    sptr_t<MemoryTimeline> database = m_timeline;
    if (database.is_null()) database = m_unfiltered->narrowed(kGlobalFilter, filter(kGlobalFilter));
    for (const std::string& name : m_requiredFilters)
        database = database->narrowed(name, filter(name));
    return database;
}

InstanceTable::Columns BucketQuery::summedApart() const {
    InstanceTable::Columns columns = m_rowBys;
    if (m_type == qtAttribute) {
        columns.emplace_back(InstanceTable::kBandColumn);
        columns.emplace_back(InstanceTable::kAttrColumn);
    } else if (m_grouping != kWholeRow) {
        const bool isPath =
            !m_grouping.empty() && timeline().reader().knowsPath(m_table, m_grouping);
        columns.emplace_back(isPath ? m_grouping : InstanceTable::kBandColumn);
    }
    return columns;
}

bool BucketQuery::sumRows(const SumRequest& request,
                          std::vector<OverTimeData>& data,
                          std::vector<double>& totals,
                          relay2::IProgress* progress) const {
    const std::unique_ptr<RowSums> sums = makeRowSums(request);
    TimelineReads reads;
    const auto& segments = request.instances.segments();
    const auto rowKey = [&](std::size_t segment) {
        const std::vector<int>& key = request.instances.key(segments[segment]);
        return std::vector<int>(key.begin(),
                                key.begin() + static_cast<std::ptrdiff_t>(m_rowBys.size()));
    };
    for (std::size_t i = 0; i < segments.size();) {
        OverTimeData row;
        row.key = rowKey(i);
        const bool isRow = std::find(row.key.begin(), row.key.end(), -1) == row.key.end();
        for (; i < segments.size() && rowKey(i) == row.key; ++i) {
            if (isCanceled(progress)) return false;
            if (isRow)
                sums->add(segments[i]);
            else
                reads.leftOut += segments[i].end - segments[i].begin;
        }
        if (sums->take(row.series, totals)) data.push_back(std::move(row));
    }
    if (m_rowBys.empty() && data.empty()) {
        // What isn't asked by rows is one sum, of nothing too.
        data.emplace_back().series.resize(totals.size());
    }
    reads.queries = 1;
    reads.instances = sums->visited();
    m_unfiltered->countReads(reads);
    return true;
}

// Puts the series of every row into the order of the answer and leaves out what is hidden.
void arrange(const SeriesPlan& plan,
             const std::vector<double>& totals,
             std::vector<OverTimeData>& data,
             std::vector<OverTimeDataSeriesMetadata>& metadata) {
    const std::vector<std::size_t> order = plan.order(totals);
    for (const std::size_t series : order)
        metadata.push_back(plan.metadata(series));
    for (OverTimeData& row : data) {
        std::vector<storelink1::OverTimeDataSeries> arranged;
        arranged.reserve(order.size());
        for (const std::size_t series : order)
            arranged.push_back(std::move(row.series[series]));
        row.series = std::move(arranged);
    }
}

error_code_t BucketQuery::getOverTimeData(u64_t start,
                                          u64_t end,
                                          int bins,
                                          std::vector<OverTimeData>& data,
                                          std::vector<OverTimeDataSeriesMetadata>& metadata,
                                          relay2::IProgress* progress) {
    data.clear();
    metadata.clear();
    const Buckets buckets(start, end, bins);
    if (!buckets.valid()) return error_code_t::noResult;
    if (m_type < qtTime || m_type > qtCountOverTime) return invalidArgument("m_type", __LINE__);

    const sptr_t<MemoryTimeline> database = inForce();
    const std::shared_ptr<InstanceTable> table = database->instances(m_table);
    std::shared_ptr<const GroupedInstances> instances;
    error_code_t err = table->grouped(summedApart(), instances, progress);
    if (!basekit2::is_success(err)) return err;
    std::shared_ptr<const std::vector<double>> numbers;
    if (m_type == qtAttribute && !m_attrPath.empty())
        err = table->numbers(m_attrPath, numbers, progress);
    if (!basekit2::is_success(err)) return err;
    SeriesPlan plan;
    err = plan.make(*database, m_table, m_levels, progress);
    if (!basekit2::is_success(err)) return err;

    const SumRequest request{m_type,       m_objectType, m_samplePoint == kSampleAtEnd,
                             m_keepZeros,  buckets,      database->counted(),
                             *table,       *instances,   plan,
                             numbers.get()};
    std::vector<double> totals(plan.count(), 0);
    if (!sumRows(request, data, totals, progress)) {
        data.clear();
        return error_code_t::noResult;
    }
    arrange(plan, totals, data, metadata);
    return data.empty() ? error_code_t::noResult : error_code_t::success;
}

}  // namespace

sptr_t<storelink1::ITimelineQuery> makeTimelineQuery(
    const sptr_t<storelink1::ITimelineDatabase>& unfiltered, TimelineFilterLookup filters) {
    sptr_t<MemoryTimeline> timeline(dynamic_cast<MemoryTimeline*>(unfiltered.get()));
    if (timeline.is_null()) return {};
    return basekit2::make_object<BucketQuery>(std::move(timeline), std::move(filters));
}

}  // namespace lanefeed_runtime
