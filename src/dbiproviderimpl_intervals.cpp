// Bars: one table for each row of the area, read from the instance table of the layer level by
// level of the row-by. The query takes what narrows the layer as a filter of its own, under a name
// of this provider, renewed by each request. Tasks are bars that are told how deep they are nested.
// Cancelled before each record and after each level, always without a message. Tested by
// tests/provider/intervals_test.cpp and tests/agreement/intervals_test.cpp.

#include "dbiproviderimpl.h"

#include "common/check.h"
#include "common/names.h"
#include "common/rowbywalk.h"
#include "common/tablepath.h"
#include "common/valuefilter.h"
#include "expansionhelper.h"
#include "intervalreader.h"
#include "rowsummarytabletree.h"

#include <storelink1/utils.h>

namespace lanefeed_1 {

namespace {

using basekit2::sptr_t;
using dataface_1::IManipulatorMapper;
using storelink1::InvalidFieldId;
using storelink1::IQuery;

bool addInstanceColumns(IQuery& query, const QueryParam& param, IntervalColumns& columns) {
    columns.start = query.addColumn(names::kStartColumn);
    if (!LF_CHECK_AS(columns.start != InvalidFieldId, "startId != sl1::InvalidFieldId"))
        return false;
    columns.end = query.addColumn(names::kEndColumn);
    if (!LF_CHECK_AS(columns.end != InvalidFieldId, "endId != sl1::InvalidFieldId")) return false;
    columns.attr = query.addColumn(names::kAttrColumn);
    if (!LF_CHECK_AS(columns.attr != InvalidFieldId, "attrId != sl1::InvalidFieldId")) return false;
    if (!param.taskMode) return true;
    query.addOrderBy(names::kStartColumn, false);
    std::string name = param.dds->m_path;
    concatPaths(name, param.dds->m_attr);
    columns.name = query.addColumn(name);
    return LF_CHECK_AS(columns.name != InvalidFieldId, "nameId != sl1::InvalidFieldId");
}

bool addRowColumns(IQuery& query,
                   const std::vector<std::string>& instanceTables,
                   const std::vector<std::string>& attrTables,
                   IntervalColumns& columns) {
    for (std::size_t i = 0; i < attrTables.size(); ++i) {
        const std::string column = instanceTables[i].empty()
                                       ? attrTables[i]
                                       : instanceTables[i] + names::kTableSeparator + attrTables[i];
        columns.rows.push_back(query.addColumn(column));
        if (!LF_CHECK_AS(columns.rows.back() != InvalidFieldId, "rowById != sl1::InvalidFieldId"))
            return false;
    }
    return true;
}

// Null when nothing is configured for the values. False on failure.
bool createColorMapper(const sptr_t<dataface_1::IInputData>& result,
                       const sptr_t<dataface_1::IQuery>& colorBy,
                       sptr_t<IManipulatorMapper>& mapper) {
    sptr_t<dataface_1::IManipulatorMapperFactory> mapperFactory;
    dataface_1::lookup(result, mapperFactory);
    if (!LF_CHECK(mapperFactory)) return false;
    const auto err =
        mapperFactory->createMapper(dataface_1::IVectorQuery::pushBack(nullptr, colorBy), mapper);
    if (!basekit2::is_success(err)) mapper.reset();
    return LF_CHECK(err.succeeded());
}

// Of a request with colours the column of the values and what colours them.
bool addColors(const sptr_t<dataface_1::IInputData>& result,
               const DicerDataSource* colorBy,
               IQuery& query,
               IntervalColumns& columns,
               sptr_t<IManipulatorMapper>& mapper) {
    if (colorBy == nullptr || colorBy->m_defaultQuery.is_null()) return true;
    columns.color = query.addColumn(BaseProviderImpl::getPath(colorBy));
    if (!LF_CHECK_AS(columns.color != InvalidFieldId, "colorId != sl1::InvalidFieldId"))
        return false;
    return createColorMapper(result, colorBy->m_defaultQuery, mapper);
}

}  // namespace

bool DbiProviderImpl::getTaskData(const QueryParam& param,
                                  Forest& trees,
                                  basekit2::generic_iterator_t<basekit2::variant_t>* values) {
    QueryParam taskParam = param;
    taskParam.taskMode = true;
    return getIntervalData(taskParam, trees, values);
}

bool DbiProviderImpl::getIntervalData(
    const QueryParam& param,
    Forest& trees,
    basekit2::generic_iterator_t<basekit2::variant_t>* /*values*/) {
    if (!LF_CHECK_AS(param.dds, "dds")) return false;
    trees.resize(static_cast<std::size_t>(m_rowCount));
    std::vector<std::string> instanceTables;
    std::vector<std::string> attrTables;
    if (param.rowByDS != nullptr) {
        if (!param.rowByDS->m_defaultQuery.is_null()) return readIntervalLevels(param, trees);
        instanceTables.push_back(param.rowByDS->m_table);
        attrTables.push_back(param.rowByDS->m_path);
    }
    std::vector<InstanceDataInternal> intervalDataCurrent;
    if (!getIntervalDataForRowLevel(param, instanceTables, attrTables, intervalDataCurrent))
        return false;
    if (!LF_CHECK(intervalDataCurrent.size() == 1) || !LF_CHECK(!trees.empty())) return false;
    trees[0] = intervalDataCurrent[0].table;
    return true;
}

bool DbiProviderImpl::readIntervalLevels(const QueryParam& param, Forest& trees) {
    if (!LF_CHECK(m_rowSummaryTable)) return false;
    std::vector<std::string> instanceTables;
    std::vector<std::string> attrTables;
    for (RowByWalk walk(param.rowByDS); !walk.atEnd(); walk.next()) {
        const auto info = walk.info();
        if (!LF_CHECK_AS(info, "infoQuery")) return false;
        instanceTables.push_back(info->getInstanceTable());
        attrTables.push_back(info->getAttributeTable());
        if (!isApplicableRowByLevel(param, walk.level())) continue;
        std::vector<InstanceDataInternal> current;
        const bool bRet = getIntervalDataForRowLevel(param, instanceTables, attrTables, current);
        if (isCanceled() || !LF_CHECK(bRet)) return false;
        for (const InstanceDataInternal& entry : current) {
            if (entry.table.is_null()) continue;
            int row = -1;
            if (!findRow(entry.rowIndexes, row)) return false;
            if (row >= 0) trees[static_cast<std::size_t>(row)] = entry.table;
        }
    }
    return true;
}

bool DbiProviderImpl::getIntervalDataForRowLevel(
    const QueryParam& param,
    const std::vector<std::string>& rowByInstanceTables,
    const std::vector<std::string>& rowByAttrTables,
    std::vector<InstanceDataInternal>& result) {
    if (!LF_CHECK(rowByInstanceTables.size() == rowByAttrTables.size())) return false;
    const DicerDataSource* dds = param.dds;
    if (!LF_CHECK(dds)) return false;
    const auto db = getDb(m_result);
    if (db.is_null()) return false;
    const auto query = db->createQuery(dds->m_table, 0);
    if (!LF_CHECK(query)) return false;
    query->useFilters();
    query->addFilter(names::kGlobalFilter);
    IntervalColumns columns;
    if (!addInstanceColumns(*query, param, columns)) return false;
    if (!addRowColumns(*query, rowByInstanceTables, rowByAttrTables, columns)) return false;
    if (columns.rows.empty()) result.resize(1);

    ExpansionHelper expansionHelper(db, this);
    const bool ret = applyExpansionHelper(dds, query, expansionHelper, nullptr);
    if (!LF_CHECK(ret)) return false;
    const auto infoId = query->addColumn(dds->m_path);
    if (!LF_CHECK_AS(infoId != InvalidFieldId, "infoId != sl1::InvalidFieldId")) return false;
    sptr_t<IManipulatorMapper> mapper;
    if (!addColors(m_result, param.colorByDS, *query, columns, mapper)) return false;
    if (!addIntervalFilter(*query, dds->m_defaultQuery)) return false;
    IntervalReader reader(*this, param, columns, expansionHelper, mapper);
    if (!readIntervals(*db, *query, reader)) return false;
    if (reader.hasEmptyRefs() && isLogged(logError)) {
        logText(logError, "Empty references found in " + dds->m_table + " instance table", LF_HERE);
    }
    reader.finish(result);
    return true;
}

bool DbiProviderImpl::addIntervalFilter(IQuery& query, const sptr_t<dataface_1::IQuery>& source) {
    const std::string filterName =
        "lnfd_intervals_" + std::to_string(reinterpret_cast<std::uintptr_t>(this));
    const auto filterRegistry = getFilterRegistry();
    if (!LF_CHECK(filterRegistry)) return false;
    filterRegistry->removeFilter(filterName);
    const auto filter = getFilterForQuery(source);
    if (!filter.is_null()) filterRegistry->setQueryFilter(filterName, filter);
    query.addFilter(filterName);
    return true;
}

bool DbiProviderImpl::readIntervals(storelink1::IDatabase& db,
                                    IQuery& query,
                                    IntervalReader& reader) {
    const storelink1::QueryMutexHolder lock(&db);
    std::string error;
    std::string sql;
    const auto rs = query.execute(m_progress, error, sql);
    const bool hasRecords = !rs.is_null() && !rs->atEnd();
    // A cancelled read has no records either.
    if (!hasRecords && isCanceled()) return false;
    if (!LF_CHECK_AS(hasRecords, "rs && !rs->atEnd()",
                     "Failed to get sorted intervals." + (" Error: " + error) + ", SQL: " + sql))
        return false;
    if (!reader.canPlace()) return true;
    for (; !rs->atEnd(); rs->next()) {
        if (isCanceled()) return false;
        reader.add(*rs->current());
    }
    // The store ends a read early when it is cancelled.
    return !isCanceled();
}

sptr_t<dataface_1::IQueryFilter> DbiProviderImpl::getFilterForQuery(
    const sptr_t<dataface_1::IQuery>& query) {
    const auto filterRegistry = getFilterRegistry();
    if (!LF_CHECK(filterRegistry)) return {};
    const auto info = dataface_1::IInfoQuery::cast(query);
    if (info.is_null()) return {};
    std::vector<std::string> values;
    for (auto it = info->getValues(0); !it.at_end(); it.next())
        values.push_back(storelink1::utils::variantToString(it.current()));
    if (values.empty()) return {};
    const auto qfBuilder = filterRegistry->createQueryFilterBuilder();
    if (!LF_CHECK(qfBuilder)) return {};
    return valueFilter(values, info, *qfBuilder);
}

}  // namespace lanefeed_1
