// Count requests: one table per row, a table row for each bin in which something counts. Asked by
// the over-time flow as counts, which add up the "count" column of what covers a bin, or as
// instance counts, the peak of how many there are at a time. Each applicable level of the rows
// reads the whole instance table in one pass, under the database lock, and fills the bins in
// memory; a level that can't be read is left out. Cancelled between records and between rows.
// Tested by tests/provider/counts_test.cpp and against a plain count by
// tests/agreement/counts_test.cpp.

#include "dbiproviderimpl.h"

#include "common/check.h"
#include "common/countbins.h"
#include "common/names.h"
#include "common/queryattribute.h"
#include "common/rowbywalk.h"
#include "common/tablepath.h"
#include "common/valuekind.h"
#include "expansionhelper.h"
#include "rowsummarytabletree.h"

#include <facekit_1_x/table_building.h>
#include <storelink1/utils.h>

#include <algorithm>
#include <unordered_map>

namespace lanefeed_1 {

namespace {

using basekit2::s64_t;
using basekit2::sptr_t;
using basekit2::u16_t;
using basekit2::u32_t;
using basekit2::u64_t;
using dataface_1::IInfoQuery;

// Fine bins in one of the request, to find the peak inside of it rather than a sample.
constexpr u32_t kFineBins = 10;

// First and last tick of an instance, absolute.
struct Ticks {
    u64_t first;
    u64_t last;
};

bool isAnyAbove(const std::vector<std::vector<s64_t>>& series, std::size_t bin) {
    return std::any_of(series.begin(), series.end(), [bin](const std::vector<s64_t>& counts) {
        return bin < counts.size() && counts[bin] > 0;
    });
}

}  // namespace

// Reads the records of one level and makes the tables of its rows.
class DbiProviderImpl::CountReader {
public:
    CountReader(DbiProviderImpl& provider,
                const sptr_t<storelink1::IDatabase>& db,
                const QueryParam& param,
                int level,
                bool merge,
                DataType type)
        : m_provider(provider),
          m_db(db),
          m_param(param),
          m_level(level),
          m_merge(merge),
          m_type(type),
          m_helper(db, &provider) {}

    // A null row query puts everything on row 0.
    bool open(const IInfoQuery* rowQuery);
    bool read();
    // Appends one table per row, null where nothing was.
    bool makeTrees(Forest& trees);

private:
    bool addColumns(const IInfoQuery* rowQuery);
    bool readRecord(const storelink1::IConstRecord& record);
    Ticks ticksOf(const storelink1::IConstRecord& record) const;
    s64_t valueOf(const storelink1::IConstRecord& record) const;
    int rowOf(int dbIndex);
    void fillTree(const std::vector<CountSeries>& row,
                  const Columns& columns,
                  const sptr_t<facekit_1_x::IDPIHelperTableTree>& tree) const;

    static constexpr int kNoRow = -2;

    DbiProviderImpl& m_provider;
    sptr_t<storelink1::IDatabase> m_db;
    const QueryParam& m_param;
    const int m_level;
    const bool m_merge;
    const DataType m_type;
    sptr_t<storelink1::IQuery> m_query;
    u16_t m_startTscId = storelink1::InvalidFieldId;
    u16_t m_endTscId = storelink1::InvalidFieldId;
    u16_t m_countId = storelink1::InvalidFieldId;
    u16_t m_rowById = storelink1::InvalidFieldId;
    bool m_hasRows = false;
    ExpansionHelper m_helper;
    std::vector<storelink1::OverTimeDataSeriesMetadata> m_metadata;
    CountGrid m_grid;
    std::vector<std::vector<CountSeries>> m_rows;  // by row id, then series; empty: no instance
    std::unordered_map<int, int> m_rowIds;         // by database index, as far as asked
};

bool DbiProviderImpl::CountReader::open(const IInfoQuery* rowQuery) {
    const DicerDataSource& dds = *m_param.dds;
    m_query = m_db->createQuery(dds.m_table, 0);
    if (!LF_CHECK_AS(m_query, "query")) return false;
    m_query->useFilters();
    m_query->addFilter(names::kGlobalFilter);
    if (!addColumns(rowQuery)) return false;
    const bool ret = m_provider.applyExpansionHelper(&dds, m_query, m_helper, &m_metadata);
    if (!LF_CHECK(ret)) return false;
    m_grid = CountGrid(m_provider.addBase(m_param.startTime), m_provider.addBase(m_param.endTime),
                       m_param.binCount, m_type == instanceCountData ? kFineBins : 1);
    if (!LF_CHECK_AS(m_grid.binWidth() > 0, "timeBinWidth > 0")) return false;
    m_rows.resize(static_cast<std::size_t>(m_provider.m_rowCount));
    return true;
}

bool DbiProviderImpl::CountReader::addColumns(const IInfoQuery* rowQuery) {
    const auto add = [this](const std::string& name, u16_t& id, const char* text) {
        id = m_query->addColumn(name);
        return LF_CHECK_AS(id != storelink1::InvalidFieldId, text);
    };
    m_hasRows = rowQuery != nullptr;
    const std::string rowPath = m_hasRows ? rowQuery->getInstanceTable() + names::kTableSeparator +
                                                rowQuery->getAttributeTable()
                                          : names::kBandTable;
    return add(names::kStartColumn, m_startTscId, "sl1::InvalidFieldId != startTscId") &&
           add(names::kEndColumn, m_endTscId, "sl1::InvalidFieldId != endTscId") &&
           (m_type != countData ||
            add(names::kCountColumn, m_countId, "sl1::InvalidFieldId != countId")) &&
           add(rowPath, m_rowById, "sl1::InvalidFieldId != rowById");
}

bool DbiProviderImpl::CountReader::read() {
    const storelink1::QueryMutexHolder lock(m_db.get());
    std::string error;
    std::string sql;
    const auto rs = m_query->execute(m_provider.m_progress, error, sql);
    if (m_provider.isCanceled()) return false;
    if (!LF_CHECK_AS(rs && !rs->atEnd(), "rs && !rs->atEnd()",
                     "Failed to query sorted intervals. Error: " + error + ", SQL: " + sql))
        return false;
    for (; !rs->atEnd(); rs->next())
        if (m_provider.isCanceled() || !readRecord(*rs->current())) return false;
    return true;
}

// False only for what fails the level.
bool DbiProviderImpl::CountReader::readRecord(const storelink1::IConstRecord& record) {
    const Ticks ticks = ticksOf(record);
    if (ticks.last < m_provider.m_timeBase || ticks.first > m_provider.m_resultEnd) return true;
    std::size_t row = 0;
    if (m_hasRows) {
        const int id = rowOf(storelink1::utils::variantToIndex(record[m_rowById]));
        if (id == kNoRow) return true;
        row = static_cast<std::size_t>(id);
        const auto rowCount = static_cast<std::size_t>(m_provider.m_rowCount);
        if (!LF_CHECK_AS(row < rowCount, "row < (size_t)m_rowCount")) return false;
    }
    if (!LF_CHECK_AS(row < m_rows.size(), "row < activeCounts.size()")) return false;
    unsigned long series = 0;
    if (!m_helper.getSeriesIdx(&record, series)) return true;
    if (!m_grid.touches(ticks.first, ticks.last)) return true;
    std::vector<CountSeries>& counts = m_rows[row];
    if (counts.empty()) counts.resize(m_helper.getSeriesNum());
    counts[series].add(m_grid, ticks.first, ticks.last, valueOf(record), m_merge);
    return true;
}

Ticks DbiProviderImpl::CountReader::ticksOf(const storelink1::IConstRecord& record) const {
    Ticks ticks{record[m_startTscId].get<u64_t>(), record[m_endTscId].get<u64_t>()};
    if (m_param.objectType != storelink1::ITimelineQuery::otPoint) return ticks;
    if (m_param.samplePoint == TLViewpointParser::markerEnd) ticks.first = ticks.last;
    if (m_param.samplePoint == TLViewpointParser::markerStart) ticks.last = ticks.first;
    return ticks;
}

s64_t DbiProviderImpl::CountReader::valueOf(const storelink1::IConstRecord& record) const {
    if (m_type == instanceCountData) return 1;
    const basekit2::variant_t& value = record[m_countId];
    return isFlag(value) ? value.get<s64_t>() : 0;
}

// Looked up once for each database index.
int DbiProviderImpl::CountReader::rowOf(int dbIndex) {
    if (dbIndex < 0) return kNoRow;
    const auto [place, isNew] = m_rowIds.try_emplace(dbIndex, kNoRow);
    if (isNew) {
        const RowSummaryTableRow* row =
            m_provider.m_rowSummaryTable->getRowByDbId(m_level, dbIndex);
        if (row != nullptr) place->second = row->getSummaryId();
    }
    return place->second;
}

bool DbiProviderImpl::CountReader::makeTrees(Forest& trees) {
    OverTimeData data;
    for (const storelink1::OverTimeDataSeriesMetadata& entry : m_metadata) {
        OverTimeDataSeries& series = data.seriesSet.emplace_back();
        series.name = entry.name;
        series.nameParts = entry.nameParts;
        series.idParts = entry.idParts;
        series.ds = *m_param.dds;
    }
    ColumnQueries columnQueries;
    const bool areMade = m_provider.createColumnQueries(data, columnQueries);
    if (m_provider.isCanceled() || !LF_CHECK_AS(areMade, "ret")) return false;
    for (std::size_t r = 0; r < m_rows.size(); ++r) {
        if (m_provider.isCanceled()) return false;
        sptr_t<facekit_1_x::IDPIHelperTableTree> tree;
        if (!m_rows[r].empty()) {
            tree = facekit_1_x::createTableTree();
            data.row = static_cast<int>(r);
            Columns columns;
            const bool ret =
                m_provider.createColumnsFromOvertimeSeries(data, columnQueries, tree, columns);
            if (m_provider.isCanceled() || !LF_CHECK(ret)) return false;
            fillTree(m_rows[r], columns, tree);
        }
        trees.emplace_back(tree);
    }
    return true;
}

void DbiProviderImpl::CountReader::fillTree(
    const std::vector<CountSeries>& row,
    const Columns& columns,
    const sptr_t<facekit_1_x::IDPIHelperTableTree>& tree) const {
    std::vector<std::vector<s64_t>> series;
    series.reserve(row.size());
    for (const CountSeries& counts : row)
        series.push_back(counts.counts(m_grid));
    const auto nameQuery = m_provider.createNameQuery(timeBin, "");
    const auto binColumn = getColumnByName(tree, timeBin);
    for (std::size_t bin = 0; bin < m_param.binCount; ++bin) {
        if (!isAnyAbove(series, bin)) continue;
        const auto tableRow = facekit_1_x::createSparseRow(nameQuery, tree);
        tableRow->setContent(binColumn, dataface_1::ccValue, static_cast<int>(bin));
        for (std::size_t i = 0; i < columns.size(); ++i) {
            const s64_t count = bin < series[i].size() ? series[i][bin] : 0;
            for (const auto& column : columns[i])
                tableRow->setContent(column, dataface_1::ccValue, count);
        }
        tree->addRow(tableRow, nullptr);
    }
}

bool DbiProviderImpl::getCountData(const QueryParam& param, Forest& trees) {
    return getData(param, trees, countData);
}

bool DbiProviderImpl::getInstanceCountData(const QueryParam& param, Forest& trees) {
    return getData(param, trees, instanceCountData);
}

bool DbiProviderImpl::getData(const QueryParam& param, Forest& trees, DataType type) {
    if (!LF_CHECK_AS(param.dds, "dds")) return false;
    storelink1::ITimelineQuery::ObjectType objectType = storelink1::ITimelineQuery::otInterval;
    const bool bRet = getObjectType(param, objectType);
    if (!LF_CHECK(bRet)) return false;
    QueryParam copy = param;
    copy.objectType = objectType;
    bool merge = false;
    if (!needMergeData(copy, merge)) return false;
    if (param.rowByDS == nullptr) return getDataForRowLevel(copy, nullptr, 0, trees, merge, type);

    if (isCanceled() || !LF_CHECK(m_rowSummaryTable)) return false;
    trees.resize(static_cast<std::size_t>(m_rowCount));
    for (RowByWalk walk(param.rowByDS); !walk.atEnd(); walk.next()) {
        // A level that is no grouping of instances has no place for them.
        const auto rowQuery = walk.info();
        if (rowQuery.is_null() || !isApplicableRowByLevel(param, walk.level())) continue;
        Forest current;
        const bool wasRead = getDataForRowLevel(copy, rowQuery, walk.level(), current, merge, type);
        if (isCanceled()) return false;
        for (std::size_t i = 0; wasRead && i < current.size(); ++i)
            if (!current[i].is_null()) trees[i] = current[i];
    }
    return !isNull(trees);
}

bool DbiProviderImpl::needMergeData(const QueryParam& param, bool& merge) {
    const DicerDataSource& dds = *param.dds;
    const basekit2::variant_t own = queryAttribute(dds.m_vectorQuery.get(), names::kMergeDataMode);
    if (isFlag(own)) {
        merge = own.get<bool>();
        return true;
    }
    if (!LF_CHECK_AS(dds.m_defaultQuery, "param.dds->m_defaultQuery")) return false;
    merge = flagAttribute(dds.m_defaultQuery.get(), names::kMergeDataMode, LF_HERE, false);
    return true;
}

bool DbiProviderImpl::getDataForRowLevel(const QueryParam& param,
                                         const sptr_t<IInfoQuery>& rowQuery,
                                         int level,
                                         Forest& trees,
                                         bool merge,
                                         DataType type) {
    const auto db = getDb(m_result);
    if (db.is_null()) return false;
    CountReader reader(*this, db, param, level, merge, type);
    return reader.open(rowQuery.get()) && reader.read() && reader.makeTrees(trees);
}

}  // namespace lanefeed_1
