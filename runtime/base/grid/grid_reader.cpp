// Rows come by the ids on their path, in ascending order, a row before those below it. The total of
// a row is what the store tells of its path, that of a row above the sum of the rows below it. The
// filter "global" is taken as layers take it, with the filtered timeline database; others restrict
// the query. Cancelled between records and between columns. Tested by
// tests/agreement/grid_test.cpp and grid_totals_test.cpp.
#include "grid_reader.h"

#include "grid_error.h"
#include "vector_query.h"

#include <storelink1/utils.h>

#include <algorithm>
#include <cmath>
#include <limits>

namespace lanefeed_runtime {

using basekit2::error_code_t;
using basekit2::sptr_t;
using basekit2::u64_t;
using dataface_1::IInfoQuery;
using dataface_1::IQuery;
using storelink1::ITimelineQuery;

namespace {

constexpr const char* kGlobalFilter = "global";
constexpr unsigned kRecordsPerPoll = 4096;
constexpr double kNoData = std::numeric_limits<double>::quiet_NaN();

std::string pathOf(const IInfoQuery& query) {
    return query.getInstanceTable() + "::" + query.getAttributeTable();
}

// Adds what is there; a row without data adds nothing.
void addTotal(double& sum, double value) {
    if (std::isnan(value)) return;
    sum = std::isnan(sum) ? value : sum + value;
}

// Where the paths of rows are listed: a table, and a column for each level.
struct Listing {
    std::string table;
    std::vector<std::string> columns;
};

// The table of the innermost rows, where it refers to the rows above them: it holds those without
// bands too, as flat rows do. Else the table that the queries start at.
Listing listingOf(const RowAlternative& alternative, storelink1::IDatabase& database) {
    Listing start{alternative.table(), {}};
    const std::string leafPath = alternative.levels.back()->getAttributeTable();
    Listing leaf{leafTableOf(*alternative.levels.back(), database), {}};
    for (const sptr_t<IInfoQuery>& level : alternative.levels) {
        const std::string path = level->getAttributeTable();
        start.columns.push_back(path);
        if (path == leafPath) {
            leaf.columns.emplace_back("rowid");
        } else if (path.compare(0, leafPath.size() + 1, leafPath + ".") == 0) {
            leaf.columns.push_back(path.substr(leafPath.size() + 1));
        }
    }
    const bool isWhole = leaf.columns.size() == start.columns.size() && !leaf.table.empty();
    return isWhole ? leaf : start;
}

// The value of the one bucket of a record without expansions.
double onlyValue(const storelink1::OverTimeData& record) {
    if (record.series.empty()) return kNoData;
    const auto found = record.series.front().find(0);
    return found == record.series.front().end() ? kNoData : found->second;
}

}  // namespace

// Columns alone tell of the rows when only rows with data are wanted.
bool GridReader::wantsAllRows() const {
    return std::none_of(m_request.columns.begin(), m_request.columns.end(),
                        [](const GridColumnRequest& column) { return column.required; });
}

GridReader::Totals& GridReader::totalsOf(const Path& path) {
    return m_found.try_emplace(path, m_request.columns.size(), kNoData).first->second;
}

error_code_t GridReader::read(GridContents& contents) {
    if (isCanceled()) return error_code_t::noResult;
    error_code_t err = wantsAllRows() ? readPaths() : error_code_t();
    for (std::size_t i = 0; i < m_request.columns.size() && basekit2::is_success(err); ++i) {
        GridContents::Column column;
        column.query = m_request.columns[i].query;
        ColumnSource source;
        if (columnSource(column.query, source)) {
            column.hasTotals = true;
            column.isWhole = source.isWhole();
            err = readColumn(i, source);
        }
        contents.columns.push_back(std::move(column));
    }
    if (!basekit2::is_success(err)) return err;
    for (std::size_t level = 0; level < m_request.alternatives.front().levels.size(); ++level) {
        std::vector<sptr_t<IQuery>> queries;
        for (const RowAlternative& alternative : m_request.alternatives)
            queries.emplace_back(alternative.levels[level]);
        contents.rowQueries.push_back(makeVectorQuery(std::move(queries)));
    }
    contents.idQueries = listingAlternative(m_request.alternatives).levels;
    makeRows(contents);
    nameRows(contents);
    return isCanceled() ? error_code_t::noResult : error_code_t::success;
}

error_code_t GridReader::readPaths() {
    const RowAlternative& alternative = listingAlternative(m_request.alternatives);
    storelink1::IDatabase& database = *m_request.database;
    const Listing listing = listingOf(alternative, database);
    const sptr_t<storelink1::IQuery> query = database.createQuery(listing.table, 0);
    // A table without rows does not exist.
    if (query.is_null()) return error_code_t::success;
    for (std::size_t level = 0; level < listing.columns.size(); ++level) {
        // Ids of columns count from 0 in this order.
        if (query->addColumn(listing.columns[level]) != storelink1::InvalidColIdx) continue;
        const IInfoQuery& row = *alternative.levels[level];
        return gridError("the rows of \"" + row.getId() + "\" cannot be read: " + pathOf(row) +
                         " is no column of the result");
    }
    for (const std::string& filter : m_request.filters)
        query->addFilter(filter);
    const storelink1::QueryMutexHolder lock(&database);
    std::string error;
    std::string sql;
    const auto records = query->execute(m_progress, error, sql);
    if (isCanceled()) return error_code_t::noResult;
    if (records.is_null())
        return gridError("the rows of \"" + alternative.levels.front()->getId() +
                         "\" cannot be read. Error: " + error + ", SQL: " + sql);
    for (unsigned count = 1; !records->atEnd(); records->next(), ++count) {
        if (count % kRecordsPerPoll == 0 && isCanceled()) return error_code_t::noResult;
        Path path;
        for (std::size_t level = 0; level < listing.columns.size(); ++level) {
            const int id = storelink1::utils::variantToIndex(
                records->current()->getField(static_cast<basekit2::u16_t>(level)));
            if (id < 0) break;
            path.push_back(id);
        }
        if (!path.empty()) totalsOf(path);
    }
    return error_code_t::success;
}

void GridReader::prepare(const ColumnSource& source,
                         const RowAlternative& alternative,
                         ITimelineQuery& query) const {
    storelink1::IDatabase& database = *m_request.database;
    for (const sptr_t<IInfoQuery>& level : alternative.levels)
        query.addRowBy(pathOf(*level), level->getAttributeName());
    query.setSource(source.type, source.table, "", source.grouping);
    query.setObjectType(source.objectType);
    if (source.samplePoint != 0) query.setSamplePoint(source.samplePoint);
    bool isGlobal = false;
    for (const std::string& filter : m_request.filters) {
        if (filter == kGlobalFilter) {
            isGlobal = true;
        } else {
            query.setRequiredFilter(filter);
        }
    }
    const auto registry = database.getFilterRegistry();
    const bool isFiltered = isGlobal && !registry.is_null() &&
                            registry->isFilterApplicable(kGlobalFilter, source.table);
    query.setTimelineDatabase(isFiltered ? database.getFilteredTimelineDatabase()
                                         : database.getTimelineDatabase());
}

error_code_t GridReader::readColumn(std::size_t column, const ColumnSource& source) {
    if (isCanceled()) return error_code_t::noResult;
    storelink1::IDatabase& database = *m_request.database;
    const RowAlternative* alternative = alternativeFor(m_request.alternatives, source.table);
    u64_t first = 0;
    u64_t last = 0;
    if (!database.isTableExist(source.table) || alternative == nullptr)
        return error_code_t::success;
    if (!database.getTimeRange(first, last, 0)) return error_code_t::success;
    const std::string id = "\"" + m_request.columns[column].query->getId() + "\"";
    const sptr_t<ITimelineQuery> query = database.createTimelineQuery();
    if (query.is_null()) return gridError("the column " + id + " cannot be read from this store");
    prepare(source, *alternative, *query);
    std::vector<storelink1::OverTimeData> records;
    std::vector<storelink1::OverTimeDataSeriesMetadata> metadata;
    const error_code_t err =
        query->getOverTimeData(first, last + 1, 1, records, metadata, m_progress);
    if (isCanceled()) return error_code_t::noResult;
    if (!err.succeeded())
        return gridError("the column " + id + " cannot be read: " + err.as_string(1));
    for (const storelink1::OverTimeData& record : records)
        addTotal(totalsOf(record.key)[column], onlyValue(record));
    return error_code_t::success;
}

bool GridReader::isKept(const Totals& totals) const {
    if (wantsAllRows()) return true;
    for (std::size_t i = 0; i < totals.size(); ++i)
        if (m_request.columns[i].required && !std::isnan(totals[i])) return true;
    return false;
}

// A path stands before those that begin with it, so that rows above come first and those below one
// of them follow each other.
void GridReader::makeRows(GridContents& contents) const {
    std::vector<GridContents::Row>& rows = contents.rows;
    Path current;
    std::vector<int> places;  // of the rows on the current path
    for (const auto& [path, totals] : m_found) {
        if (!isKept(totals)) continue;
        const auto fork = std::mismatch(current.begin(), current.end(), path.begin(), path.end());
        places.resize(static_cast<std::size_t>(fork.second - path.begin()));
        for (std::size_t level = places.size(); level < path.size(); ++level) {
            GridContents::Row row;
            row.parent = places.empty() ? -1 : places.back();
            row.level = static_cast<int>(level);
            row.id = path[level];
            places.push_back(static_cast<int>(rows.size()));
            rows.push_back(std::move(row));
            for (GridContents::Column& column : contents.columns)
                column.totals.push_back(kNoData);
        }
        current = path;
        for (std::size_t i = 0; i < totals.size(); ++i)
            for (const int place : places)
                addTotal(contents.columns[i].totals[static_cast<std::size_t>(place)], totals[i]);
    }
}

// The text that the row query of a level shows of its table; without one the id in decimal.
void GridReader::nameRows(GridContents& contents) const {
    std::vector<sptr_t<storelink1::IAttributeDataRetriever>> names;
    for (const sptr_t<IInfoQuery>& level : contents.idQueries) {
        const std::string column = level->getAttributeName();
        names.emplace_back();
        if (column.empty()) continue;
        const std::string table = leafTableOf(*level, *m_request.database);
        names.back() = m_request.database->createAttributeRetriever(table + "." + column, true);
    }
    const storelink1::QueryMutexHolder lock(m_request.database.get());
    for (GridContents::Row& row : contents.rows) {
        const auto& retriever = names[static_cast<std::size_t>(row.level)];
        basekit2::variant_t name;
        row.name = !retriever.is_null() && retriever->getValue(row.id, name)
                       ? storelink1::utils::variantToString(name)
                       : std::to_string(row.id);
    }
}

}  // namespace lanefeed_runtime
