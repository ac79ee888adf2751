// Rows come by the ids on their path, in ascending order, a row before those below it. The total of
// a row is what the store tells of its path, that of a row above the sum of the rows below it. The
// filter "global" is taken as layers take it, with the filtered timeline database; others restrict
// the query. A derived column is computed of what each row adds up to, times as percentages of the
// result, which is what a layer of it shows in a single bucket. Cancelled between records and
// between columns. Tested by tests/agreement/grid_test.cpp and grid_totals_test.cpp.
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
constexpr int kPercentUnit = 1;
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

sptr_t<dataface_1::IDerivedQuery> derivedQuery(const sptr_t<IQuery>& query) {
    const auto list = dataface_1::IVectorQuery::cast(query);
    if (list.is_null()) return dataface_1::IDerivedQuery::cast(query);
    return list->getCount() == 1 ? derivedQuery(list->getDefaultQuery()) : nullptr;
}

}  // namespace

bool hasTotals(const sptr_t<IQuery>& query) {
    ColumnSource source;
    return columnSource(query, source) || !derivedQuery(query).is_null();
}

// Columns alone tell of the rows when only rows with data are wanted.
bool GridReader::wantsAllRows() const {
    return std::none_of(m_request.columns.begin(), m_request.columns.end(),
                        [](const GridColumnRequest& column) { return column.required; });
}

GridReader::Totals& GridReader::totalsOf(const Path& path) {
    return m_found.try_emplace(path, m_reads.size(), kNoData).first->second;
}

// A query is read once, for however many columns.
bool GridReader::addRead(const sptr_t<IQuery>& query, Column& column) {
    Read read;
    read.query = query;
    if (!columnSource(query, read.source)) return false;
    const auto known = std::find_if(m_reads.begin(), m_reads.end(),
                                    [&](const Read& other) { return other.query == query; });
    column.reads.push_back(static_cast<std::size_t>(known - m_reads.begin()));
    if (known == m_reads.end()) m_reads.push_back(std::move(read));
    return true;
}

void GridReader::planColumns() {
    const auto processor = slicekit_1_0::createRpnProcessor();
    error_code_t err;
    processor->init(err, m_request.input);
    for (const GridColumnRequest& request : m_request.columns) {
        Column column;
        const auto derived = derivedQuery(request.query);
        if (derived.is_null()) {
            addRead(request.query, column);
        } else if (err.succeeded() &&
                   basekit2::is_success(processor->getProgram(derived, column.program))) {
            bool isWhole = true;
            for (auto it = column.program->getInputs(); !it.at_end(); it.next())
                isWhole = isWhole && addRead(it.current(), column);
            if (!isWhole) column.reads.clear();
        }
        m_columns.push_back(std::move(column));
    }
}

error_code_t GridReader::read(GridContents& contents) {
    if (isCanceled()) return error_code_t::noResult;
    (void)m_request.database->getTimeRange(m_firstTick, m_lastTick, 0);
    planColumns();
    error_code_t err = wantsAllRows() ? readPaths() : error_code_t();
    for (std::size_t i = 0; i < m_reads.size() && basekit2::is_success(err); ++i)
        err = readTotals(i);
    if (!basekit2::is_success(err)) return err;
    for (std::size_t level = 0; level < m_request.alternatives.front().levels.size(); ++level) {
        std::vector<sptr_t<IQuery>> queries;
        for (const RowAlternative& alternative : m_request.alternatives)
            queries.emplace_back(alternative.levels[level]);
        contents.rowQueries.push_back(makeVectorQuery(std::move(queries)));
    }
    contents.idQueries = listingAlternative(m_request.alternatives).levels;
    makeRows(contents);
    fillColumns(contents);
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

error_code_t GridReader::readTotals(std::size_t read) {
    if (isCanceled()) return error_code_t::noResult;
    const ColumnSource& source = m_reads[read].source;
    storelink1::IDatabase& database = *m_request.database;
    const RowAlternative* alternative = alternativeFor(m_request.alternatives, source.table);
    if (!database.isTableExist(source.table) || alternative == nullptr || m_lastTick == 0)
        return error_code_t::success;
    const std::string id = "\"" + m_reads[read].query->getId() + "\"";
    const sptr_t<ITimelineQuery> query = database.createTimelineQuery();
    if (query.is_null()) return gridError("the column " + id + " cannot be read from this store");
    prepare(source, *alternative, *query);
    std::vector<storelink1::OverTimeData> records;
    std::vector<storelink1::OverTimeDataSeriesMetadata> metadata;
    const error_code_t err =
        query->getOverTimeData(m_firstTick, m_lastTick + 1, 1, records, metadata, m_progress);
    if (isCanceled()) return error_code_t::noResult;
    if (!err.succeeded())
        return gridError("the column " + id + " cannot be read: " + err.as_string(1));
    for (const storelink1::OverTimeData& record : records)
        addTotal(totalsOf(record.key)[read], onlyValue(record));
    return error_code_t::success;
}

bool GridReader::isKept(const Totals& totals) const {
    if (wantsAllRows()) return true;
    for (std::size_t i = 0; i < m_columns.size(); ++i) {
        const std::vector<std::size_t>& reads = m_columns[i].reads;
        const bool hasData = std::any_of(reads.begin(), reads.end(), [&](std::size_t read) {
            return !std::isnan(totals[read]);
        });
        if (m_request.columns[i].required && hasData) return true;
    }
    return false;
}

// A path stands before those that begin with it, so that rows above come first and those below one
// of them follow each other.
void GridReader::makeRows(GridContents& contents) {
    m_sums.resize(m_reads.size());
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
            for (Totals& sums : m_sums)
                sums.push_back(kNoData);
        }
        current = path;
        for (std::size_t i = 0; i < totals.size(); ++i)
            for (const int place : places)
                addTotal(m_sums[i][static_cast<std::size_t>(place)], totals[i]);
    }
}

void GridReader::fillColumns(GridContents& contents) const {
    for (std::size_t i = 0; i < m_columns.size(); ++i) {
        const Column& plan = m_columns[i];
        GridContents::Column column;
        column.query = m_request.columns[i].query;
        column.hasTotals = !plan.reads.empty();
        if (!column.hasTotals) {
            column.totals.assign(contents.rows.size(), kNoData);
        } else if (plan.program.is_null()) {
            column.isWhole = m_reads[plan.reads.front()].source.isWhole();
            column.totals = m_sums[plan.reads.front()];
        } else {
            column.isWhole = false;
            column.totals =
                derived(plan, countFactor(*derivedQuery(column.query), plan), contents.rows.size());
        }
        contents.columns.push_back(std::move(column));
    }
}

// In a percentage of counts alone each counts a hundredfold, as in a layer; a time that the result
// does not hold makes no difference there.
double GridReader::countFactor(const IQuery& query, const Column& column) const {
    const bool hasTime =
        std::any_of(column.reads.begin(), column.reads.end(), [this](std::size_t read) {
            const ColumnSource& source = m_reads[read].source;
            return source.type == ITimelineQuery::qtTime &&
                   m_request.database->isTableExist(source.table);
        });
    return query.getUnitKind() == kPercentUnit && !hasTime ? 100.0 : 1.0;
}

// An input without data counts as 0, since no time and no count is 0; a row without any has none.
GridReader::Totals GridReader::derived(const Column& column,
                                       double countFactor,
                                       std::size_t rows) const {
    const double percent = 100.0 / static_cast<double>(m_lastTick - m_firstTick + 1);
    Totals totals(rows, kNoData);
    std::vector<double> inputs(column.reads.size());
    for (std::size_t row = 0; row < rows; ++row) {
        bool hasData = false;
        for (std::size_t i = 0; i < inputs.size(); ++i) {
            const double sum = m_sums[column.reads[i]][row];
            const bool isTime = m_reads[column.reads[i]].source.type == ITimelineQuery::qtTime;
            hasData = hasData || !std::isnan(sum);
            inputs[i] = std::isnan(sum) ? 0 : sum * (isTime ? percent : countFactor);
        }
        if (hasData) totals[row] = column.program->evaluate(inputs);
    }
    return totals;
}

// The text that the row query of a level shows of its table; without one the id in decimal.
void GridReader::nameRows(GridContents& contents) const {
    std::vector<sptr_t<storelink1::IAttributeDataRetriever>> names;
    for (const sptr_t<IInfoQuery>& level : contents.idQueries) {
        names.emplace_back();
        if (level->getAttributeName().empty()) continue;
        std::string path = leafTableOf(*level, *m_request.database);
        path += ".";
        path += level->getAttributeName();
        names.back() = m_request.database->createAttributeRetriever(path, true);
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
