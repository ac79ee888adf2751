// Series of all rows of the area, asked by the over-time flow, one record per row. A master table
// serves them where there is one that fits; otherwise the levels of the row-by are read from the
// store one after the other. Cancelled before the walk, at every level and after every read, always
// without a message. Tested by tests/provider/overtime_test.cpp.

#include "dbiproviderimpl.h"

#include "common/check.h"
#include "common/rowbywalk.h"
#include "common/tracescope.h"
#include "reduciblemastertable.h"
#include "rowsummarytabletree.h"

namespace lanefeed_1 {

namespace {

// Numbers the records and gives those without series the empty ones. True when some record has
// series then.
bool completeRows(std::vector<OverTimeData>& data,
                  const std::vector<OverTimeDataSeries>& emptySeries) {
    bool anySeries = false;
    for (std::size_t i = 0; i < data.size(); ++i) {
        data[i].row = static_cast<int>(i);
        if (data[i].seriesSet.empty()) data[i].seriesSet = emptySeries;
        anySeries = anySeries || !data[i].seriesSet.empty();
    }
    return anySeries;
}

}  // namespace

bool DbiProviderImpl::getOverTimeData(const QueryParam& param, std::vector<OverTimeData>& data) {
    const trace_event_scope scope("DbiProviderImpl::getOverTimeData");
    if (param.dds == nullptr) return false;
    const auto rowCount = static_cast<std::size_t>(m_rowCount);
    data.resize(rowCount);
    // Values of attributes never come from a master table.
    const bool usesMasterTables =
        param.dds->m_dataType != DicerDataSource::dsInfo && !m_masterTableMgr.is_null();
    bool served = false;
    if (usesMasterTables) {
        basekit2::sptr_t<IMasterTable> table;
        const auto err = m_masterTableMgr->getMasterTable(param, table, m_progress);
        served = basekit2::is_success(err) && !table.is_null() &&
                 getOverTimeDataMasterTable(param, data, table);
        if (!served) data.assign(rowCount, OverTimeData());
    }
    if (!served) {
        if (isCanceled()) return false;
        if (param.rowByDS == nullptr) return readWithoutRows(param, data);
        if (!LF_CHECK(m_rowSummaryTable)) return false;
        bool anySeries = false;
        if (!readLevels(param, data, anySeries)) return false;
        if (anySeries && usesMasterTables)
            LF_ALERT(
                "Master table skipped for overtime query. Cache config update may be required!");
    }
    return m_rowSummaryTable.is_null() || m_rowSummaryTable->recursiveAggregation(data);
}

bool DbiProviderImpl::readWithoutRows(const QueryParam& param, std::vector<OverTimeData>& data) {
    std::vector<OverTimeDataSeries> emptySeries;
    if (!getOverTimeDataForRowLevel(param, {}, data, emptySeries)) return false;
    if (data.size() == 1) data[0].row = 0;
    return true;
}

bool DbiProviderImpl::readLevels(const QueryParam& param,
                                 std::vector<OverTimeData>& data,
                                 bool& anySeries) {
    bool levelRead = false;
    std::vector<OverTimeDataSeries> firstSeries;
    for (RowByWalk walk(param.rowByDS); !walk.atEnd(); walk.next()) {
        if (isCanceled()) return false;
        if (!isApplicableRowByLevel(param, walk.level())) continue;
        std::vector<OverTimeData> current;
        std::vector<OverTimeDataSeries> series;
        if (!getOverTimeDataForRowLevel(param, walk.path(), current, series)) {
            // A level that cannot be read is left out, but not for a cancel.
            if (isCanceled()) return false;
            continue;
        }
        if (!placeRecords(current, data)) return false;
        // Rows without data show the series of the first level that was read.
        if (!levelRead) firstSeries = std::move(series);
        levelRead = true;
    }
    anySeries = completeRows(data, firstSeries);
    return true;
}

bool DbiProviderImpl::placeRecords(std::vector<OverTimeData>& current,
                                   std::vector<OverTimeData>& data) const {
    for (OverTimeData& record : current) {
        if (record.dbIndexes.empty()) continue;
        int summaryId = -1;
        if (!findRow(record.dbIndexes, summaryId)) return false;
        if (summaryId >= 0) data[static_cast<std::size_t>(summaryId)] = std::move(record);
    }
    return true;
}

bool DbiProviderImpl::getOverTimeDataForRowLevel(const QueryParam& param,
                                                 const QueryPath& rowByPath,
                                                 std::vector<OverTimeData>& data,
                                                 std::vector<OverTimeDataSeries>& emptySeries) {
    const basekit2::u64_t start = addBase(param.startTime);
    const basekit2::u64_t end = addBase(param.endTime);
    basekit2::sptr_t<storelink1::ITimelineQuery> query;
    bool isTimeData = false;
    bool allowCollapse = false;  // matters to master tables only
    if (!createOverTimeQuery(param, rowByPath, query, isTimeData, allowCollapse)) return false;
    // Times become percentages of the bucket, whose width counts in whole ticks.
    const basekit2::u64_t binTicks = (end - start) / param.binCount;
    const double scale = isTimeData ? 100.0 / static_cast<double>(binTicks) : 0.0;

    std::vector<storelink1::OverTimeData> dbData;
    std::vector<storelink1::OverTimeDataSeriesMetadata> metadata;
    // A failed read shows up as no data.
    query->getOverTimeData(start, end, static_cast<int>(param.binCount), dbData, metadata,
                           m_progress);
    if (isCanceled()) return false;
    for (const auto& entry : metadata) {
        OverTimeDataSeries series;
        series.name = entry.name;
        series.nameParts = entry.nameParts;
        series.idParts = entry.idParts;
        series.ds = *param.dds;
        emptySeries.push_back(std::move(series));
    }
    data.resize(dbData.size());
    for (std::size_t i = 0; i < dbData.size(); ++i)
        copyOvertimeData(param, param.dds, scale, dbData[i], data[i], metadata);
    return true;
}

bool DbiProviderImpl::getOverTimeDataMasterTable(const QueryParam& param,
                                                 std::vector<OverTimeData>& data,
                                                 basekit2::sptr_t<IMasterTable> table) {
    std::vector<QueryPath> paths;
    if (!LF_CHECK_AS(getApplicableRowBy(param, paths), "ret")) return false;
    const auto master = basekit2::interface_cast<IReducibleMasterTable>(table.get());
    if (!LF_CHECK_AS(master, "masterTableImpl")) return false;
    // Rows without data show the series of the last level here, unlike in the walk over the store.
    std::vector<OverTimeDataSeries> series;
    for (const QueryPath& path : paths) {
        series.clear();
        // Fresh for each path: an empty table leaves it as it is.
        std::vector<OverTimeData> currentArray;
        const auto err = master->reduce(currentArray, series, path, param, m_progress);
        if (isCanceled() || !LF_CHECK(err.succeeded())) return false;
        if (param.rowByDS != nullptr) {
            if (!LF_CHECK(m_rowSummaryTable) || !placeRecords(currentArray, data)) return false;
        } else if (!currentArray.empty()) {
            if (!LF_CHECK(m_rowCount == 1 && currentArray.size() == 1)) return false;
            data[0] = std::move(currentArray[0]);
        }
    }
    completeRows(data, series);
    return true;
}

}  // namespace lanefeed_1
