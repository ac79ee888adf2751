// The table of the pane's rows: its build and its lookups. From the store the rows are the records
// of the first row-by's table, all at the top; on a grid they nest as the grid's rows do. Order of
// operations: init, which reads the life times, makes the columns, then the rows, and indexes them;
// lookups from then on. Rows and columns know the tree and don't own it: they are told when it goes
// away. Tested by tests/unit/rowsummary_build_test.cpp.

#include "rowsummarytabletree.h"

#include "baseproviderimpl.h"
#include "common/check.h"
#include "common/names.h"
#include "common/nodewalk.h"
#include "common/tablepath.h"

#include <storelink1/database.h>
#include <storelink1/query.h>
#include <storelink1/utils.h>

namespace lanefeed_1 {

namespace {

using basekit2::sptr_t;
using basekit2::u16_t;
using basekit2::variant_t;
using dataface_1::IColumnInfo;
using dataface_1::IInfoQuery;
using dataface_1::ITableRow;
using dataface_1::ITableTree;
using dataface_1::ITreeNode;
using dataface_1::IVectorQuery;

// Keeps only records whose attribute has one of the values of the query.
void restrictTo(const IInfoQuery& restriction, storelink1::IQuery& query) {
    const std::string column =
        restriction.getAttributeTable() + names::kPathSeparator + restriction.getAttributeName();
    for (auto values = restriction.getValues(0); !values.at_end(); values.next())
        query.addCondition(column, 1, values.current());
}

// Column of the names of the rows, in the table that lists them.
u16_t addNameColumn(const std::string& table, const std::string& attr, storelink1::IQuery& query) {
    if (attr.empty()) return storelink1::InvalidColIdx;
    std::string path = table;
    concatPaths(path, attr);
    return query.addColumn(path);
}

sptr_t<IVectorQuery> joinedQuery(const std::vector<DicerDataSource>& rowBys) {
    sptr_t<IVectorQuery> joined;
    for (const DicerDataSource& rowBy : rowBys)
        joined = IVectorQuery::pushBack(joined, rowBy.m_defaultQuery);
    return joined;
}

}  // namespace

RowSummaryTableTree::RowSummaryTableTree() = default;

RowSummaryTableTree::~RowSummaryTableTree() {
    for (const sptr_t<RowSummaryTableRow>& row : m_topLevelRows)
        row->detach();
    for (const sptr_t<RowSummaryColumnInfo>& column : m_topLevelCols)
        column->detach();
}

bool RowSummaryTableTree::init(const sptr_t<dataface_1::IInputData>& result,
                               const std::vector<DicerDataSource>& rowBys,
                               BaseProviderImpl* provider,
                               const std::string& filterName,
                               const sptr_t<IInfoQuery>& restriction) {
    m_result = result;
    m_rowBys = rowBys;
    if (!LF_CHECK(m_result)) return false;
    if (!LF_CHECK(!m_rowBys.empty())) return false;
    dataface_1::lookup(m_result, m_perfDb);
    fillTscRanges();
    m_topLevelCols.emplace_back(basekit2::make_object<RowSummaryColumnInfo>(
        this, provider->createNameQuery(IDicerProvider::name, filterName)));
    addTimeColumns(provider);
    return readRows(provider, filterName, restriction) && indexRows(getRows(nullptr));
}

bool RowSummaryTableTree::init(const sptr_t<dataface_1::IInputData>& result,
                               const sptr_t<ITableTree>& gridTree,
                               const sptr_t<IVectorQuery>& grouping,
                               BaseProviderImpl* provider,
                               const sptr_t<ITableTree>& requiredData) {
    m_result = result;
    m_gridTree = gridTree;
    m_grouping = grouping;
    m_requiredData = requiredData;
    if (!LF_CHECK(m_result)) return false;
    if (!LF_CHECK(m_gridTree)) return false;
    if (!LF_CHECK(m_grouping)) return false;
    dataface_1::lookup(m_result, m_perfDb);
    fillTscRanges();
    for (auto columns = m_gridTree->getColumns(nullptr); !columns.at_end(); columns.next()) {
        const sptr_t<IColumnInfo> column = columns.current();
        if (!LF_CHECK(column)) return false;
        m_topLevelCols.emplace_back(
            basekit2::make_object<RowSummaryColumnInfo>(this, column, nullptr));
    }
    addTimeColumns(provider);
    for (auto rows = m_gridTree->getRows(nullptr); !rows.at_end(); rows.next()) {
        const sptr_t<ITableRow> row = rows.current();
        if (!LF_CHECK(row)) return false;
        addRow(basekit2::make_object<RowSummaryTableRow>(this, row, provider));
    }
    return indexRows(getRows(nullptr));
}

sptr_t<storelink1::IDatabase> RowSummaryTableTree::openDatabase() const {
    return m_perfDb.is_null() ? sptr_t<storelink1::IDatabase>() : m_perfDb->getDatabase(m_result);
}

void RowSummaryTableTree::addTimeColumns(BaseProviderImpl* provider) {
    for (const std::string& name : {IDicerProvider::startTime, IDicerProvider::endTime}) {
        m_topLevelCols.emplace_back(basekit2::make_object<RowSummaryColumnInfo>(
            this, provider->createNameQuery(name, names::kTickValueType)));
    }
}

bool RowSummaryTableTree::readRows(BaseProviderImpl* provider,
                                   const std::string& filterName,
                                   const sptr_t<IInfoQuery>& restriction) {
    const std::string leafTable = provider->getLeafTable(&m_rowBys.front());
    const sptr_t<storelink1::IDatabase> database = openDatabase();
    sptr_t<storelink1::IQuery> tq;
    if (!database.is_null()) tq = database->createQuery(leafTable, 0);
    if (!LF_CHECK(tq)) return false;
    tq->useFilters();
    tq->addColumn(names::kRowIdColumn);  // the row constructor takes the first field for it
    const u16_t nameColumn = addNameColumn(leafTable, m_rowBys.front().m_attr, *tq);
    if (!restriction.is_null()) restrictTo(*restriction, *tq);
    // The global filter holds also where none was asked for.
    tq->addFilter(filterName.empty() ? std::string(names::kGlobalFilter) : filterName);

    const storelink1::QueryMutexHolder lock(database.get());
    std::string error;
    std::string sql;
    const auto rs = tq->execute(provider->getProgress(), error, sql);
    if (provider->isCanceled()) return false;
    if (!LF_CHECK_AS(rs && !rs->atEnd(), "rs && !rs->atEnd()",
                     " Error: " + error + ", SQL: " + sql))
        return false;
    const sptr_t<IVectorQuery> rowQuery = joinedQuery(m_rowBys);
    for (; !rs->atEnd(); rs->next()) {
        addRow(basekit2::make_object<RowSummaryTableRow>(this, rs->current(), nameColumn, rowQuery,
                                                         provider));
    }
    return true;
}

// Of rows with one database index the last is found.
void RowSummaryTableTree::addRow(const sptr_t<RowSummaryTableRow>& row) {
    const int position = static_cast<int>(m_topLevelRows.size());
    m_topLevelRows.push_back(row);
    m_dbIndexToRow[row->getDbIndex()] = position;
    m_sortOrder.push_back(position);
}

bool RowSummaryTableTree::indexRows(const RowIterator& rows) {
    for (; !rows.at_end(); rows.next()) {
        const sptr_t<ITableRow> current = rows.current();
        auto* row = dynamic_cast<RowSummaryTableRow*>(current.get());
        if (!LF_CHECK(row)) return false;
        const int summaryId = static_cast<int>(m_flatRows.size());
        m_flatRows.push_back(row);
        row->setSummaryId(summaryId);
        variant_t dbIndex;
        row->getContent(nullptr, dataface_1::ccId, dbIndex);
        const int level = m_flatGrouping ? 0 : row->getLevel();
        m_rowIndex.insert({level, storelink1::utils::variantToIndex(dbIndex)}, summaryId);
        RowIterator children;
        const ITreeNode::status_t st = row->getChildren(children, nullptr, false);
        if (!LF_CHECK_AS(st != ITreeNode::ecsfError, "st != dataface1::ITreeNode::ecsfError"))
            return false;
        if (!indexRows(children)) return false;
    }
    return true;
}

RowSummaryTableTree::RowIterator RowSummaryTableTree::getRows(relay2::IProgress* /*progress*/) {
    return walkNodes<ITableRow>(this, m_topLevelRows);
}

RowSummaryTableTree::ColumnIterator RowSummaryTableTree::getColumns(
    relay2::IProgress* /*progress*/) {
    return walkNodes<IColumnInfo>(this, m_topLevelCols);
}

void RowSummaryTableTree::setMessenger(relay2::IMessenger* messenger) {
    if (!m_gridTree.is_null()) m_gridTree->setMessenger(messenger);
}

RowSummaryTableRow* RowSummaryTableTree::getRow(int summaryId) const {
    const bool known = summaryId >= 0 && summaryId < getFlatRowCount();
    return known ? m_flatRows[static_cast<std::size_t>(summaryId)] : nullptr;
}

RowSummaryTableRow* RowSummaryTableTree::getRowByDbId(int level, int dbIndex) const {
    return getRow(m_rowIndex.findId({m_flatGrouping ? 0 : level, dbIndex}));
}

RowSummaryTableRow* RowSummaryTableTree::getRowByDbIndexes(const std::vector<int>& indexes) const {
    if (!LF_CHECK(!indexes.empty())) return nullptr;
    if (m_flatGrouping) {
        // A longer path is reported, and its first index answers.
        (void)LF_CHECK(indexes.size() == 1);
        return getRowByDbId(0, indexes.front());
    }
    const auto found = m_dbIndexToRow.find(indexes.front());
    if (found == m_dbIndexToRow.end()) return nullptr;
    RowSummaryTableRow* row = m_topLevelRows[static_cast<std::size_t>(found->second)].get();
    for (std::size_t i = 1; i < indexes.size() && row != nullptr; ++i)
        row = row->getChildRowByDbIndex(indexes[i]);
    return row;
}

int RowSummaryTableTree::getRowDbIndexBySummaryId(int summaryId) const {
    return m_rowIndex.findDbIndex(summaryId);
}

int RowSummaryTableTree::getRowMaxLevel() const {
    return m_rowIndex.maxLevel();
}

}  // namespace lanefeed_1
