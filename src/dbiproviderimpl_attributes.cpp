// Series of an attribute over the rows, asked by the over-time flow. A row may be an attribute of
// bands, by which the store does not group: such a level is read by band, and the bands are
// translated. What several bands give to one row is averaged; a row has only what was read for it,
// its children add nothing. Never from a master table. A level that can't be read is left out, but
// a record without a row fails the request. Cancelled between levels, records of a translation and
// after every read. Tested by tests/provider/overtime_test.cpp.

#include "dbiproviderimpl.h"

#include "common/check.h"
#include "common/names.h"
#include "common/rowbywalk.h"
#include "common/tablepath.h"
#include "rowsummarytabletree.h"

#include <storelink1/utils.h>

namespace lanefeed_1 {

namespace {

constexpr int kNoIndex = -1;

// Index of the attribute by row id of the band's table. Empty for a level that needs none.
using BandMap = std::vector<int>;

int attributeOf(const BandMap& map, int band) {
    const auto at = static_cast<std::size_t>(band);
    return band >= 0 && at < map.size() ? map[at] : kNoIndex;
}

std::vector<int> translated(std::vector<int> indexes, const std::vector<BandMap>& bandMaps) {
    for (std::size_t i = 0; i < indexes.size() && i < bandMaps.size(); ++i)
        if (!bandMaps[i].empty()) indexes[i] = attributeOf(bandMaps[i], indexes[i]);
    return indexes;
}

}  // namespace

bool DbiProviderImpl::readBandMap(const std::string& bandTable,
                                  const std::string& attribute,
                                  const std::string& failure,
                                  std::vector<int>& map) {
    const auto db = getDb(m_result);
    if (db.is_null()) return false;
    const auto bandQuery = db->createQuery(bandTable, 0);
    if (!LF_CHECK_AS(bandQuery, "query")) return false;
    const auto bandId = bandQuery->addColumn(names::kRowIdColumn);
    const auto attrId = bandQuery->addColumn(attribute);
    if (!LF_CHECK_AS(storelink1::InvalidColIdx != attrId, "sl1::InvalidColIdx != attrId"))
        return false;
    const storelink1::QueryMutexHolder lock(db.get());
    std::string error;
    std::string sql;
    const auto rs = bandQuery->execute(m_progress, error, sql);
    if (isCanceled()) return false;
    if (!LF_CHECK_AS(rs && !rs->atEnd(), "rs && !rs->atEnd()",
                     failure + " Error: " + error + ", SQL: " + sql))
        return false;
    for (; !rs->atEnd() && !isCanceled(); rs->next()) {
        const storelink1::IConstRecord& record = *rs->current();
        const int row = storelink1::utils::variantToIndex(record[bandId]);
        if (row < 0) continue;
        const auto at = static_cast<std::size_t>(row);
        if (map.size() <= at) map.resize(at + 1, kNoIndex);
        map[at] = storelink1::utils::variantToIndex(record[attrId]);
    }
    return true;
}

bool DbiProviderImpl::translateBandLevel(RowByWalk& walk, std::vector<int>& map) {
    const auto info = walk.info();
    if (!LF_CHECK_AS(info, "infoQuery")) return false;
    const std::string attribute = info->getAttributeTable();
    const auto parts = splitPath(attribute);
    if (info->getInstanceTable() != names::kBandTable || parts.size() < 2) return true;
    const auto newQuery =
        createInfoQuery(info->getId(), info->getName(), names::kBandTable, parts[0], "");
    if (!LF_CHECK(newQuery)) return false;
    walk.replaceQuery(newQuery);
    return readBandMap(parts[0], attribute, "Failed to get band->row mapping.", map);
}

bool DbiProviderImpl::readAttributeLevel(const QueryParam& param,
                                         const QueryPath& rowByPath,
                                         const std::vector<std::vector<int>>& bandMaps,
                                         std::map<int, std::vector<OverTimeData>>& perRow) {
    std::vector<OverTimeData> current;
    std::vector<OverTimeDataSeries> series;
    const bool wasRead = getOverTimeDataForRowLevel(param, rowByPath, current, series);
    if (isCanceled()) return false;
    if (!wasRead) return true;
    for (OverTimeData& record : current) {
        if (record.dbIndexes.empty()) continue;
        int summaryId = -1;
        if (!findRow(translated(record.dbIndexes, bandMaps), summaryId)) return false;
        if (!LF_CHECK_AS(summaryId >= 0, "summaryRow")) return false;
        perRow[summaryId].push_back(std::move(record));
    }
    return true;
}

bool DbiProviderImpl::getAttrOverTimeData(const QueryParam& param,
                                          std::vector<OverTimeData>& data) {
    if (isCanceled() || param.dds == nullptr) return false;
    if (param.rowByDS == nullptr) return getOverTimeData(param, data);
    if (!LF_CHECK(m_rowSummaryTable)) return false;
    data.resize(static_cast<std::size_t>(m_rowCount));

    std::map<int, std::vector<OverTimeData>> perRow;
    std::vector<BandMap> bandMaps;
    for (RowByWalk walk(param.rowByDS); !walk.atEnd(); walk.next()) {
        if (!translateBandLevel(walk, bandMaps.emplace_back()) || isCanceled()) return false;
        if (!isApplicableRowByLevel(param, walk.level())) continue;
        if (!readAttributeLevel(param, walk.path(), bandMaps, perRow)) return false;
    }
    for (const auto& [row, records] : perRow)
        aggregateOvertimeData(data[static_cast<std::size_t>(row)], records, agAverage);
    for (std::size_t i = 0; i < data.size(); ++i)
        data[i].row = static_cast<int>(i);
    return true;
}

}  // namespace lanefeed_1
