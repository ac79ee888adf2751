// Life times of what the rows stand for. Each band table that the row queries touch is read once,
// at the build, so that cells and sorts by time answer from memory. A grouping that can't be read
// is left out, and its rows live as long as the result. Tested by
// tests/unit/rowsummary_rows_test.cpp.

#include "rowsummarytabletree.h"

#include "common/check.h"
#include "common/names.h"
#include "common/tablepath.h"

#include <storelink1/database.h>
#include <storelink1/query.h>
#include <storelink1/utils.h>

#include <algorithm>
#include <utility>

namespace lanefeed_1 {

namespace {

using basekit2::sptr_t;
using basekit2::u16_t;
using basekit2::u64_t;
using dataface_1::IInfoQuery;

using InfoQueries = std::vector<sptr_t<IInfoQuery>>;
using Groupings = std::vector<std::pair<std::string, sptr_t<IInfoQuery>>>;

// Band columns are asked for with this flag.
constexpr int kBandColumnFlags = 2;

// True also when there is none.
bool isNullVector(const InfoQueries& queries) {
    return std::all_of(queries.begin(), queries.end(),
                       [](const sptr_t<IInfoQuery>& query) { return query.is_null(); });
}

// One level further down each chain; null behind its end.
void expandVector(InfoQueries& queries) {
    for (sptr_t<IInfoQuery>& query : queries) {
        if (!query.is_null()) query = IInfoQuery::cast(query->getExpansionQuery());
    }
}

// Groupings by band, level by level of all chains abreast.
Groupings bandGroupings(InfoQueries queries) {
    Groupings groupings;
    for (; !isNullVector(queries); expandVector(queries)) {
        for (const sptr_t<IInfoQuery>& query : queries) {
            if (!query.is_null() && query->getInstanceTable() == names::kBandTable)
                groupings.emplace_back(query->getAttributeTable(), query);
        }
    }
    return groupings;
}

}  // namespace

// What the rows are made of: null where it is no query on an attribute.
InfoQueries RowSummaryTableTree::rowQueries() const {
    InfoQueries queries;
    for (const DicerDataSource& rowBy : m_rowBys)
        queries.push_back(IInfoQuery::cast(rowBy.m_defaultQuery));
    if (m_grouping.is_null()) return queries;
    for (auto members = m_grouping->getQueries(); !members.at_end(); members.next())
        queries.push_back(IInfoQuery::cast(members.current()));
    return queries;
}

void RowSummaryTableTree::fillTscRanges() {
    const InfoQueries queryList = rowQueries();
    if (!LF_CHECK(!queryList.empty())) return;
    const sptr_t<IInfoQuery>& first = queryList.front();
    if (!first.is_null() && !first->getFlatGroupingName().empty()) m_flatGrouping = true;

    const sptr_t<storelink1::IDatabase> database = openDatabase();
    if (database.is_null()) return;
    // A result without a range leaves both at 0, which getGlobalTscRange reports.
    (void)database->getTimeRange(m_minDbTsc, m_maxDbTsc, 0);
    for (const auto& [grouping, query] : bandGroupings(queryList)) {
        if (grouping == names::kThreadTable) m_groupsByThread = true;
        if (m_tscRanges.count(grouping) != 0) continue;
        std::string bandColumn;
        if (!query->getBandColumn(bandColumn, names::kBandTable, kBandColumnFlags)) {
            LF_ALERT(("Failed to get bands for grouping: " + grouping).c_str());
            continue;
        }
        readTscRanges(database.get(), grouping, bandColumn);
    }
}

void RowSummaryTableTree::readTscRanges(storelink1::IDatabase* database,
                                        const std::string& grouping,
                                        const std::string& bandColumn) {
    const sptr_t<storelink1::IQuery> tq =
        database->createQuery(joinTablePath(names::kBandTable, grouping), 0);
    if (!LF_CHECK(tq)) return;
    const u16_t groupingId = tq->addColumn(bandColumn);
    if (!LF_CHECK_AS(storelink1::InvalidColIdx != groupingId, "sl1::InvalidColIdx != groupingId"))
        return;
    const u16_t startId = tq->addColumn(names::kStartColumn);
    const u16_t endId = tq->addColumn(names::kEndColumn);
    const bool hasTicks =
        startId != storelink1::InvalidColIdx && endId != storelink1::InvalidColIdx;

    const storelink1::QueryMutexHolder lock(database);
    std::string error;
    std::string sql;
    sptr_t<storelink1::IGenericRecordset<storelink1::IConstRecord>> rs;
    if (hasTicks) rs = tq->execute(nullptr, error, sql);
    if (!LF_CHECK_AS(rs && !rs->atEnd(), "rs && !rs->atEnd()",
                     " Error: " + error + ", SQL: " + sql))
        return;
    std::map<int, tsc_range_t>& ranges = m_tscRanges[grouping];
    for (; !rs->atEnd(); rs->next()) {
        const storelink1::IConstRecord& record = *rs->current();
        const int index = storelink1::utils::variantToIndex(record[groupingId]);
        const tsc_range_t range{std::max(record[startId].get<u64_t>(), m_minDbTsc),
                                record[endId].get<u64_t>()};
        const auto [entry, isNew] = ranges.emplace(index, range);
        if (isNew) continue;
        // A thing of several lives has been there from the first to the last of them.
        entry->second.start = std::min(entry->second.start, range.start);
        entry->second.end = std::max(entry->second.end, range.end);
    }
}

bool RowSummaryTableTree::getTscRange(int dbIndex,
                                      const std::string& grouping,
                                      tsc_range_t& out) const {
    const auto ranges = m_tscRanges.find(grouping);
    if (ranges == m_tscRanges.end()) return false;
    const auto range = ranges->second.find(dbIndex);
    if (range == ranges->second.end()) return false;
    out = range->second;
    return true;
}

bool RowSummaryTableTree::getGlobalTscRange(u64_t& start, u64_t& end) const {
    if (!LF_CHECK(m_minDbTsc + m_maxDbTsc)) return false;
    start = m_minDbTsc;
    end = m_maxDbTsc;
    return true;
}

}  // namespace lanefeed_1
