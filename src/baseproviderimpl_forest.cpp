// Series to table trees: one tree per record of an over-time request, whose columns carry the
// queries of what they show. The columns of all trees have the shape of the first record that has
// series, so that those of different rows compare; level by level of its expansion the columns of a
// series nest. A series that has its own colour paints all its columns, else expansion values may
// be coloured by what is configured for them. Cancelled between columns. Tested by
// tests/unit/forest_test.cpp.

#include "baseproviderimpl.h"

#include "common/check.h"
#include "common/tracescope.h"
#include "tabletrees.h"

#include <dataface_1/error.h>
#include <dataface_1/manipulator.h>
#include <facekit_1_x/conversions.h>
#include <facekit_1_x/table_building.h>
#include <slicekit_1_0/prerequisites.h>
#include <slicekit_1_0/rpn_processor.h>

#include <algorithm>

namespace lanefeed_1 {

namespace {

using basekit2::error_code_t;
using basekit2::sptr_t;
using basekit2::variant_t;
using dataface_1::IColumnInfo;
using dataface_1::IInfoQuery;
using dataface_1::IManipulatorMapper;
using dataface_1::IManipulatorMapperFactory;
using dataface_1::IQuery;
using dataface_1::IVectorQuery;
using facekit_1_x::IDPIHelperTableTree;
using facekit_1_x::IWriteableColumn;

using LevelQueries = std::vector<sptr_t<IVectorQuery>>;
using LevelColumns = std::vector<sptr_t<IWriteableColumn>>;

constexpr int kColorProperty = dataface_1::ccStyle;
constexpr int kRowProperty = dataface_1::ccId;
constexpr int kNoId = -1;

sptr_t<IVectorQuery> vectorOf(const sptr_t<IQuery>& query) {
    return IVectorQuery::pushBack(nullptr, query);
}

// A query whose expansion chain is folded into it.
sptr_t<IQuery> foldedQuery(const sptr_t<IQuery>& query) {
    return query->getExpansionQuery().is_null() ? query : IQuery::combineExpansion(query, nullptr);
}

// The query of an expansion narrowed to the one value that names the series at its level.
sptr_t<IInfoQuery> valueQuery(const sptr_t<IInfoQuery>& infoQuery,
                              const OverTimeDataSeries& series,
                              std::size_t level) {
    const std::string& value =
        level < series.nameParts.size() ? series.nameParts[level] : series.name;
    const sptr_t<IQuery> restricted =
        IInfoQuery::restrict(infoQuery, basekit2::make_iterator<variant_t>({value}));
    return restricted.is_null() ? nullptr : IInfoQuery::cast(foldedQuery(restricted));
}

bool makeLevelQueries(const OverTimeDataSeries& series, LevelQueries& queries) {
    if (series.ds.m_defaultQuery.is_null()) return false;
    const std::vector<DicerDataSource::ExtraArgs>& extras = series.ds.m_extras;
    queries.resize(extras.size() + 1);
    queries[0] = vectorOf(foldedQuery(series.ds.m_defaultQuery));
    for (std::size_t j = 0; j < extras.size(); ++j) {
        const sptr_t<IInfoQuery> infoQuery = IInfoQuery::cast(extras[j].query);
        if (infoQuery.is_null()) continue;
        const sptr_t<IInfoQuery> colQuery = valueQuery(infoQuery, series, j);
        if (!LF_CHECK(colQuery)) return false;
        queries[j + 1] = vectorOf(colQuery);
    }
    return true;
}

// Columns of one series, outermost first, with the database id of the value of each.
struct NestedColumns {
    explicit NestedColumns(std::size_t levels) {
        columns.reserve(levels);
        queries.reserve(levels);
        ids.reserve(levels);
    }

    LevelColumns columns;
    LevelQueries queries;
    std::vector<int> ids;
};

// Database id of the value at a level; the series itself, level 0, has none.
int idOf(const OverTimeDataSeries& series, std::size_t level) {
    return level > 0 && level <= series.idParts.size() ? series.idParts[level - 1] : kNoId;
}

void addNestedColumn(const sptr_t<IVectorQuery>& query,
                     int id,
                     const sptr_t<IDPIHelperTableTree>& tree,
                     NestedColumns& nested) {
    const sptr_t<IColumnInfo> parent =
        nested.columns.empty() ? sptr_t<IColumnInfo>() : nested.columns.back();
    nested.columns.push_back(facekit_1_x::createColumn(facekit_1_x::columnSeries, query, tree));
    nested.queries.push_back(query);
    nested.ids.push_back(id);
    tree->addColumn(nested.columns.back(), parent, 0);
}

// Text of the first value that a query is restricted to; empty for none.
std::string firstValue(const IInfoQuery& query) {
    const auto values = query.getValues(0);
    return values.at_end() ? std::string() : facekit_1_x::variantToString(values.current());
}

// What the query counts; false for a query of another kind.
bool setDataType(const sptr_t<IQuery>& query, DicerDataSource& dataSource) {
    if (!dataface_1::ITimeQuery::cast(query).is_null()) {
        dataSource.m_dataType = DicerDataSource::dsTime;
    } else if (!dataface_1::ICountQuery::cast(query).is_null()) {
        dataSource.m_dataType = DicerDataSource::dsCount;
    } else if (!dataface_1::IInstanceCountQuery::cast(query).is_null()) {
        dataSource.m_dataType = DicerDataSource::dsInstanceCount;
    } else {
        return false;
    }
    const auto dataQuery = dataface_1::IDataQuery::cast(query);
    dataSource.set("", dataQuery.is_null() ? "" : dataQuery->getInstanceTable(), "", "");
    return true;
}

void addExpansions(const IQuery& query, DicerDataSource& dataSource) {
    for (auto link = query.getExpansionQuery(); !link.is_null(); link = link->getExpansionQuery()) {
        const sptr_t<IInfoQuery> infoQuery = IInfoQuery::cast(link);
        if (infoQuery.is_null()) continue;
        dataSource.addExtra(link, infoQuery->getAttributeTable(), infoQuery->getInstanceTable(),
                            infoQuery->getAttributeName(), firstValue(*infoQuery), "");
    }
}

}  // namespace

bool BaseProviderImpl::arrayToForest(const DicerDataSource* dds,
                                     double scale,
                                     const sptr_t<slicekit_1_0::IRpnProcessor>& rpnProcessor,
                                     int /*width*/,
                                     const std::vector<OverTimeData>& otDataArray,
                                     Forest& forest,
                                     const QueryParam& param) {
    const trace_event_scope scope("BaseProviderImpl::arrayToForest");
    if (!LF_CHECK_AS(!otDataArray.empty(), "otDataArray.size() > 0")) return false;
    if (!rpnProcessor.is_null() && dds == nullptr) return false;
    const auto filled =
        std::find_if(otDataArray.begin(), otDataArray.end(),
                     [](const OverTimeData& data) { return !data.seriesSet.empty(); });
    if (filled == otDataArray.end()) return false;
    ColumnQueries columnQueries;
    const bool ret = createColumnQueries(*filled, columnQueries);
    if (isCanceled()) return false;
    if (!LF_CHECK_AS(ret && !columnQueries.empty(), "ret && columnQueries.size() > 0"))
        return false;
    for (const OverTimeData& data : otDataArray) {
        const sptr_t<IDPIHelperTableTree> tree = facekit_1_x::createTableTree();
        sptr_t<dataface_1::ITableTree> pauseRanges;  // stays null when there are none to be had
        (void)getPauseRangesData(param, pauseRanges);
        Columns columns;
        const bool bRet = createColumnsFromOvertimeSeries(data, columnQueries, tree, columns);
        const sptr_t<IQuery> nameQuery = createNameQuery(timeBin, "");
        const sptr_t<dataface_1::ITableTree> overtimeTree =
            createOvertimeTableTree(tree, nameQuery, data, scale, param, pauseRanges);
        if (isCanceled()) return false;
        if (!LF_CHECK(bRet)) return false;
        sptr_t<dataface_1::ITableTree> derivedTree;
        if (!rpnProcessor.is_null() && !deriveTree(*dds, rpnProcessor, overtimeTree, derivedTree))
            return false;
        forest.push_back(rpnProcessor.is_null() ? overtimeTree : derivedTree);
    }
    return true;
}

bool BaseProviderImpl::createColumnQueries(const OverTimeData& data, ColumnQueries& columnQueries) {
    columnQueries.clear();
    columnQueries.resize(data.seriesSet.size());
    for (std::size_t i = 0; i < data.seriesSet.size(); ++i) {
        if (isCanceled() || !makeLevelQueries(data.seriesSet[i], columnQueries[i])) return false;
    }
    return true;
}

bool BaseProviderImpl::createColumnsFromOvertimeSeries(const OverTimeData& data,
                                                       const ColumnQueries& columnQueries,
                                                       const sptr_t<IDPIHelperTableTree>& tree,
                                                       Columns& columns) {
    const sptr_t<IWriteableColumn> binColumn =
        facekit_1_x::createColumn(facekit_1_x::columnTimeBin, createNameQuery(timeBin, ""), tree);
    binColumn->setProperty(kRowProperty, data.row);
    tree->addColumn(binColumn, nullptr, 0);
    columns.clear();
    columns.reserve(columnQueries.size());
    sptr_t<IManipulatorMapperFactory> factory;
    dataface_1::lookup(m_result, factory);
    const OverTimeDataSeries noSeries;
    for (std::size_t i = 0; i < columnQueries.size(); ++i) {
        // A record with fewer series than the first filled one has columns for them all.
        const OverTimeDataSeries& series = i < data.seriesSet.size() ? data.seriesSet[i] : noSeries;
        NestedColumns nested(columnQueries[i].size());
        for (std::size_t level = 0; level < columnQueries[i].size(); ++level) {
            if (isCanceled()) return false;
            if (!columnQueries[i][level].is_null())
                addNestedColumn(columnQueries[i][level], idOf(series, level), tree, nested);
        }
        for (std::size_t k = 0; k < nested.columns.size(); ++k) {
            if (isCanceled()) return false;
            unsigned int packedColor = series.color;
            const bool isConfigured = !series.hasColor && k != 0 && !factory.is_null() &&
                                      basekit2::is_success(getMappedColor(
                                          nested.queries[k], packedColor, nested.ids[k], factory));
            if (series.hasColor || isConfigured)
                nested.columns[k]->setProperty(kColorProperty, packedColor);
        }
        columns.push_back(std::move(nested.columns));
    }
    return true;
}

error_code_t BaseProviderImpl::getManipulatorColorForColumn(
    const sptr_t<IColumnInfo>& column,
    unsigned int& packedColor,
    int id,
    const sptr_t<IManipulatorMapperFactory>& factory) {
    if (id == kNoId) return error_code_t::noResult;
    const sptr_t<IVectorQuery> colVectorQuery = IVectorQuery::cast(column->getQuery());
    if (!LF_CHECK(colVectorQuery)) {
        return error_code_t::raise(dataface_1::error::IsNot.Valid.Query, "colVectorQuery", __FILE__,
                                   __LINE__);
    }
    return getMappedColor(colVectorQuery, packedColor, id, factory);
}

error_code_t BaseProviderImpl::getMappedColor(const sptr_t<IVectorQuery>& colVectorQuery,
                                              unsigned int& packedColor,
                                              int id,
                                              const sptr_t<IManipulatorMapperFactory>& factory) {
    if (id == kNoId) return error_code_t::noResult;
    auto entry = m_manipulatorMappers.find(colVectorQuery);
    if (entry == m_manipulatorMappers.end()) {
        sptr_t<IManipulatorMapper> mapper;
        error_code_t err = factory->createMapper(colVectorQuery, mapper);
        if (!LF_CHECK(err.succeeded())) return err;
        const bool isMade = basekit2::is_success(err);
        entry = m_manipulatorMappers
                    .emplace(colVectorQuery, isMade ? mapper : sptr_t<IManipulatorMapper>())
                    .first;
        if (!isMade) return err;
    }
    if (entry->second.is_null()) return error_code_t::noResult;
    variant_t value;
    error_code_t err = entry->second->map(id, value, IManipulatorMapper::modeColor);
    if (!LF_CHECK(err.succeeded())) return err;
    if (!basekit2::is_success(err)) return error_code_t::noResult;
    dataface_1::color_t bytes{0, 0, 0, 255};
    const bool bRet = facekit_1_x::unpackColor(value, bytes);
    if (!LF_CHECK(bRet)) {
        return error_code_t::raise(dataface_1::error::FailedTo.Convert.The.Object, "packed color",
                                   __FILE__, __LINE__);
    }
    packedColor = static_cast<unsigned int>(bytes.blue) << 24U |
                  static_cast<unsigned int>(bytes.green) << 16U |
                  static_cast<unsigned int>(bytes.red) << 8U | bytes.alpha;
    return error_code_t::success;
}

bool BaseProviderImpl::convertQueryToDataSource(const sptr_t<IVectorQuery>& query,
                                                std::vector<DicerDataSource>& dataSources) {
    if (query.is_null()) return false;
    for (auto queries = query->getQueries(); !queries.at_end(); queries.next()) {
        const sptr_t<IQuery> currQuery = queries.current();
        if (!LF_CHECK(currQuery)) return false;
        slicekit_1_0::PrerequisiteHelper prerequisites;
        prerequisites.addPrerequisiteQuery(m_result, vectorOf(currQuery),
                                           slicekit_1_0::PrerequisiteHelper::group_and);
        if (!prerequisites.arePrerequisitesValid()) continue;
        DicerDataSource dataSource;
        dataSource.m_defaultQuery = currQuery;
        if (!setDataType(currQuery, dataSource)) continue;
        addExpansions(*currQuery, dataSource);
        dataSource.addExtra(dataSource.m_defaultQuery, dataSource.m_path, dataSource.m_table,
                            dataSource.m_attr, dataSource.m_value, "");
        dataSources.push_back(dataSource);
    }
    return true;
}

}  // namespace lanefeed_1
