#pragma once

#include "common/bucketmath.h"
#include "common/pauseranges.h"
#include "idicerprovider.h"
#include "overtimedata.h"

#include <basekit2/error_code.h>
#include <dataface_1/query_library.h>
#include <slicekit_1_0/grid_viewpoint_parser.h>

#include <map>
#include <set>
#include <string>
#include <vector>

namespace dataface_1 {
class IManipulatorMapper;
class IManipulatorMapperFactory;
}  // namespace dataface_1
namespace facekit_1_x {
class IDPIHelperTableTree;
class IWriteableColumn;
}  // namespace facekit_1_x
namespace slicekit_1_0 {
class IRpnProcessor;
}
namespace storelink1 {
class IAttributeDataRetriever;
}

namespace lanefeed_1 {

struct Transition;

// A hatch style of bands.
struct IntervalHatch {
    int kind = 0;
    dataface_1::color_t color;
};

// What all providers share, whatever store they read: the row model, the time base and everything
// that turns records into tables. Derived classes add the reads.
//   life, time base, neutral answers, dumps     baseproviderimpl.cpp
//   flow of an over-time request                baseproviderimpl_overtime.cpp
//   change of bucket count, folding of records  baseproviderimpl_rebucket.cpp
//   inputs and tables of derived series         baseproviderimpl_derived.cpp
//   series to table trees                       baseproviderimpl_forest.cpp
//   selections in time and row, pause ranges    baseproviderimpl_timefilters.cpp
//   select, dive and restriction filters        baseproviderimpl_attrfilters.cpp
//   generated queries, paths, columns by name   baseproviderimpl_queries.cpp
//   transitions to a table                      baseproviderimpl_transitions.cpp
class BaseProviderImpl : public IDicerProvider {
public:
    using aggregation_type_t = lanefeed_1::aggregation_type_t;
    // By series, then by level of its expansion; level 0 is the series itself.
    using ColumnQueries = std::vector<std::vector<basekit2::sptr_t<dataface_1::IVectorQuery>>>;
    using Columns = std::vector<std::vector<basekit2::sptr_t<facekit_1_x::IWriteableColumn>>>;
    using Forest = std::vector<basekit2::sptr_t<dataface_1::ITableTree>>;

    BaseProviderImpl();
    ~BaseProviderImpl() override;

    // --- life, time base, neutral answers (baseproviderimpl.cpp)
    basekit2::sptr_t<dataface_1::IInputData> getResult() override;
    basekit2::u64_t getDuration() override;
    int getRowCount() override;
    bool getSortOrder(std::vector<int>& order) override;
    bool hasRowBy() override;
    std::string getSelectionFilterName() override;
    std::string getGlobalFilterName() override;
    // Pane ticks to absolute ticks and back; what lies before the first tick becomes 0.
    basekit2::u64_t addBase(basekit2::u64_t paneTick) const;
    basekit2::u64_t subtractBase(basekit2::u64_t absoluteTick) const;
    basekit2::sptr_t<dataface_1::IQueryLibrary> getQueryLibrary() const;
    // True when there is no tree at all.
    static bool isNull(const Forest& trees);
    static bool isApplicableRowByLevel(const QueryParam& param, int level);
    // Writes NAME.xml into the current directory when LANEFEED_SAVE_DATA is set.
    static void dumpTableTreeToFile(const basekit2::sptr_t<dataface_1::ITableTree>& tree,
                                    const std::string& name);

    // --- flow of an over-time request (baseproviderimpl_overtime.cpp)
    bool getOverTimeData(const QueryParam& param, overtime_type_t type, Forest& forest) override;
    // Replaces each tree by a scaled one; null entries stay. Always true.
    static bool applyTimeScaleMult(double mult, Forest& forest);

    // --- change of bucket count, folding of records (baseproviderimpl_rebucket.cpp)
    // Stretches every series from the actual span, which must contain the requested one, onto
    // `requestedCount` buckets of the requested span.
    static bool rebucket(OverTimeData& data,
                         int requestedCount,
                         basekit2::u64_t requestedStart,
                         basekit2::u64_t requestedEnd,
                         basekit2::u64_t actualStart,
                         basekit2::u64_t actualEnd);
    // Folds every series to fewer buckets over the same span.
    static void rebucketToLowerWidth(OverTimeData& data,
                                     int toCount,
                                     basekit2::u64_t start,
                                     basekit2::u64_t end,
                                     aggregation_type_t type);
    static void aggregateValue(double& accumulator,
                               double value,
                               double fraction,
                               aggregation_type_t type);
    // Folds records into one; `data` takes row, flag and indexes of the first that has series.
    static bool aggregateOvertimeData(OverTimeData& data,
                                      const std::vector<OverTimeData>& dataArray,
                                      aggregation_type_t type);
    // No record has series; series without values count as series.
    static bool isOvertimeArrayEmpty(const std::vector<OverTimeData>& dataArray);

    // --- series to table trees (baseproviderimpl_forest.cpp)
    bool arrayToForest(const DicerDataSource* dds,
                       double scale,
                       const basekit2::sptr_t<slicekit_1_0::IRpnProcessor>& rpnProcessor,
                       int width,
                       const std::vector<OverTimeData>& otDataArray,
                       Forest& forest,
                       const QueryParam& param);
    bool createColumnQueries(const OverTimeData& data, ColumnQueries& columnQueries);
    bool createColumnsFromOvertimeSeries(
        const OverTimeData& data,
        const ColumnQueries& columnQueries,
        const basekit2::sptr_t<facekit_1_x::IDPIHelperTableTree>& tree,
        Columns& columns);
    basekit2::error_code_t getManipulatorColorForColumn(
        const basekit2::sptr_t<dataface_1::IColumnInfo>& column,
        unsigned int& packedColor,
        int id,
        const basekit2::sptr_t<dataface_1::IManipulatorMapperFactory>& factory);
    bool convertQueryToDataSource(const basekit2::sptr_t<dataface_1::IVectorQuery>& query,
                                  std::vector<DicerDataSource>& dataSources);

    // --- selections in time and row, pause ranges (baseproviderimpl_timefilters.cpp)
    // Null when the result has none.
    basekit2::sptr_t<dataface_1::IFilterRegistry> getFilterRegistry() const;
    bool hasFilter(const std::string& filterName) override;
    // These replace the whole filter "selection"; ticks of the pane. The first clears it when the
    // span is empty. A null source or a row below 0 selects by time alone.
    void filterInByTimeSelection(const basekit2::u64_t& start, const basekit2::u64_t& end) override;
    void filterOutByTimeSelection(const basekit2::u64_t& start,
                                  const basekit2::u64_t& end) override;
    void filterByTimeAndRow(const DicerDataSource* ds,
                            basekit2::u64_t start,
                            basekit2::u64_t end,
                            int row) override;
    bool getFilteredRanges(const QueryParam& param,
                           basekit2::sptr_t<dataface_1::ITableTree>& out) override;
    bool getFilteredRanges(basekit2::sptr_t<dataface_1::ITableTree>& out,
                           const QueryParam& param) override;
    bool getPauseRangesData(const QueryParam& param,
                            basekit2::sptr_t<dataface_1::ITableTree>& out) override;
    // What the three above are: one table of start and end, read once per span and bin count.
    bool getPauseFilterRanges(const QueryParam& param,
                              basekit2::sptr_t<dataface_1::ITableTree>& out,
                              bool paused,
                              bool inverted);

    // --- select, dive and restriction filters (baseproviderimpl_attrfilters.cpp)
    // Replaces the filter "selection", or the one of dives. False leaves that name empty.
    bool filterOnAttrId(const DicerDataSource* ds,
                        int attrId,
                        bool dive,
                        const std::string& attrName) override;
    basekit2::sptr_t<dataface_1::IQueryFilter> createDiveFilter(const DicerDataSource* ds,
                                                                int attrId) override;
    // Keeps the values, or all but them when the first begins with "!". Null on failure; throws an
    // error_code_t when the result has no registry.
    basekit2::sptr_t<dataface_1::IQueryFilter> createRestrictionsFilter(
        const DicerDataSource::ExtraArgs& extra) const;
    basekit2::sptr_t<dataface_1::IQueryFilter> createRestrictionsFilter(
        const std::string& table,
        const std::string& path,
        const std::string& attr,
        const std::vector<std::string>& values) const;
    // Names of the filters of the viewpoint, of this area, and of both.
    void getTimelineFilterNames(std::string& base, std::string& area, std::string& full) const;

    // --- generated queries, paths, columns by name (baseproviderimpl_queries.cpp)
    // A query that is only a name, made once per provider; the value type may be empty.
    basekit2::sptr_t<dataface_1::IQuery> createNameQuery(const std::string& columnName,
                                                         const std::string& valueType);
    basekit2::sptr_t<dataface_1::IInfoQuery> createInfoQuery(const std::string& id,
                                                             const std::string& displayName,
                                                             const std::string& table,
                                                             const std::string& path,
                                                             const std::string& suffix) const;
    // From "table::path".
    basekit2::sptr_t<dataface_1::IInfoQuery> createInfoQuery(const std::string& path) const;
    // "table::path", by which groupings are compared; empty for a query of another kind.
    static std::string getPath(const basekit2::sptr_t<dataface_1::IQuery>& query);
    static std::string getPath(const DicerDataSource* ds);
    static std::string getPathSuffix(const basekit2::sptr_t<dataface_1::IQuery>& query);
    // Path and attribute of a source; of the row-by in force when null.
    std::string getAttrPath(const DicerDataSource* ds) const;
    static basekit2::sptr_t<dataface_1::IColumnInfo> getColumnByName(
        const basekit2::sptr_t<dataface_1::ITableTree>& tree, const std::string& name);
    static std::string getColumnName(const basekit2::sptr_t<dataface_1::IColumnInfo>& column);

    // --- transitions to a table (baseproviderimpl_transitions.cpp)
    // A row for each line into the row that is asked for, with those kept beside it below; an empty
    // table when there are none.
    bool getTransitionData(const QueryParam& param,
                           basekit2::sptr_t<dataface_1::ITableTree>& out) override;

protected:
    friend class RowSummaryTableTree;
    friend class RowSummaryTableRow;

    // --- the reads of a store, after those of the interface
    // Spans that are paused, or that filters cut out (inverted: keep), merged per bin.
    virtual bool readFilterAndPausedIntervals(const QueryParam& param,
                                              std::vector<SBInterval>& intervals,
                                              bool paused,
                                              bool inverted) = 0;
    // One record per row.
    virtual bool getOverTimeData(const QueryParam& param, std::vector<OverTimeData>& data) = 0;
    virtual bool getAttrOverTimeData(const QueryParam& param, std::vector<OverTimeData>& data) = 0;
    virtual bool getTransitionData(const QueryParam& param,
                                   std::vector<Transition>& transitions) = 0;
    // Last table along the path of a source; empty on failure.
    virtual std::string getLeafTable(const DicerDataSource* ds) = 0;
    virtual basekit2::sptr_t<storelink1::IAttributeDataRetriever> getRetriever(
        const std::string& table, bool cache);
    virtual bool isCanceled() = 0;
    virtual relay2::IProgress* getProgress() = 0;
    virtual basekit2::sptr_t<dataface_1::IQueryFilter> createAttributeFilter(
        const DicerDataSource* ds, int attrId, const std::string& attrName);
    // Object of a band, -1 on failure.
    virtual int bandToObject(int band, const std::string& table) = 0;
    // Takes the leaf table of a row-by, or refuses one that differs from those before.
    virtual bool addRowByDS(const DicerDataSource* ds);
    virtual void addJoinDS(int principalRowByIndex, DicerDataSource ds);
    // Database index of a row by its row id.
    virtual int getRowDbIndexByUniqueId(int id);
    virtual basekit2::u64_t ticksInMs() = 0;

    // --- state, with what it is until setResult
    basekit2::sptr_t<dataface_1::IInputData> m_result;
    basekit2::u64_t m_duration = 0;  // ticks
    int m_rowCount = 0;
    std::string m_rowByAttrTable;  // leaf table of the row-by; not empty: the area has one
    std::string m_rowByAttr;
    int m_areaIndex = -1;
    std::vector<int> m_rowList;
    std::string m_viewpointName;
    basekit2::sptr_t<dataface_1::IQueryLibrary> m_queryLibrary;
    int m_mode = 0;
    std::map<std::string, basekit2::sptr_t<dataface_1::IQuery>> m_nameQueries;  // by query id
    // One key serves both cached tables, also when only one of them was read under it.
    basekit2::u64_t m_cachedSpanStart = 0;  // pane ticks
    basekit2::u64_t m_cachedSpanEnd = 0;
    int m_cachedSpanBins = 0;
    basekit2::sptr_t<dataface_1::ITableTree> m_cachedFilteredRanges;
    basekit2::sptr_t<dataface_1::ITableTree> m_cachedPauseRanges;
    basekit2::sptr_t<slicekit_1_0::IGridViewpointParser> m_gridQuery;
    basekit2::sptr_t<slicekit_1_0::IGridViewpointParser> m_requiredData;
    std::vector<DicerDataSource> m_rowByOptions;             // row-by choices of the area
    std::vector<std::vector<DicerDataSource>> m_rowByJoins;  // for each choice, what is joined
    basekit2::u64_t m_timeBase = 0;                          // first tick of the result, absolute
    basekit2::u64_t m_resultEnd = 0;                         // last tick of the result, absolute
    std::vector<IntervalHatch> m_hatches;
    // Null remembers that a query has no mapper.
    std::map<basekit2::sptr_t<dataface_1::IVectorQuery>,
             basekit2::sptr_t<dataface_1::IManipulatorMapper>>
        m_manipulatorMappers;

private:
    // --- forest (baseproviderimpl_forest.cpp)
    // As getManipulatorColorForColumn, for the query of a column.
    basekit2::error_code_t getMappedColor(
        const basekit2::sptr_t<dataface_1::IVectorQuery>& colVectorQuery,
        unsigned int& packedColor,
        int id,
        const basekit2::sptr_t<dataface_1::IManipulatorMapperFactory>& factory);

    // --- derived series (baseproviderimpl_derived.cpp)
    // Series of all inputs of a derived query, side by side, with the processor and the factor that
    // the forest needs.
    bool getDerivedOverTimeData(const QueryParam& param,
                                std::vector<OverTimeData>& data,
                                basekit2::sptr_t<slicekit_1_0::IRpnProcessor>& rpnProcessor,
                                double& scale);
    bool readInputs(const QueryParam& param,
                    std::vector<DicerDataSource>& dataSources,
                    std::vector<OverTimeData>& otDataArray,
                    bool& sawTimeQuery);
    // Applies the formula of the source to the table of one row.
    bool deriveTree(const DicerDataSource& dds,
                    const basekit2::sptr_t<slicekit_1_0::IRpnProcessor>& rpnProcessor,
                    const basekit2::sptr_t<dataface_1::ITableTree>& overtimeTree,
                    basekit2::sptr_t<dataface_1::ITableTree>& derivedTree);
    // --- the flow (baseproviderimpl_overtime.cpp)
    // Span and bucket count of the store request: the client's, or whole buckets of the layer's
    // smallest resolution.
    QueryParam widenToResolution(const QueryParam& param);
    bool normaliseToTimeScale(const QueryParam& param, Forest& forest);
};

}  // namespace lanefeed_1
