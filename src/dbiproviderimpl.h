#pragma once

#include "baseproviderimpl.h"

#include <storelink1/database.h>
#include <storelink1/query.h>
#include <storelink1/timeline_query.h>

#include <tbb/spin_mutex.h>

#include <map>
#include <string>
#include <utility>
#include <vector>

namespace lanefeed_1 {

class ExpansionHelper;
class IntervalReader;
class RowByWalk;
class RowSummaryTableTree;

// Answers the timeline pane from the relational side of a result.
//   binding to a result, row-by choices       dbiproviderimpl.cpp
//   series of all rows                        dbiproviderimpl_overtime.cpp
//   a request as a store query                dbiproviderimpl_timelinequery.cpp
//   bars, one table per row                   dbiproviderimpl_intervals.cpp
//   tooltips, attribute values, hatches       dbiproviderimpl_tooltips.cpp
//   series of an attribute                    dbiproviderimpl_attributes.cpp
//   lines between rows                        dbiproviderimpl_transitions.cpp
//   counts                                    dbiproviderimpl_counts.cpp
//   what is not served                        dbiproviderimpl_unserved.cpp
//   row summary, visible rows, sorting        dbiproviderimpl_rows.cpp
//   the row summary of a grid                 dbiproviderimpl_gridrows.cpp
//   what the result holds, clock, caches      dbiproviderimpl_bands.cpp
//   filter and pause intervals of the store   dbiproviderimpl_timefilters.cpp
class DbiProviderImpl : public BaseProviderImpl {
public:
    using QueryPath = std::vector<basekit2::sptr_t<dataface_1::IQuery>>;  // outermost first

    // What a count request adds up: the "count" column of instances, or the instances.
    enum DataType { countData = 0, instanceCountData = 1 };

    // Interval table of one row.
    struct InstanceDataInternal {
        basekit2::sptr_t<dataface_1::ITableTree> table;
        std::vector<int> rowIndexes;  // database indexes of the row, one per level
    };

    DbiProviderImpl();
    ~DbiProviderImpl() override;

    // --- binding to a result, row-by choices (dbiproviderimpl.cpp)
    void setResult(int areaIndex,
                   basekit2::sptr_t<dataface_1::IInputData> result,
                   TLViewpointParser::RowSet* rowSet,
                   const std::string& viewpointName,
                   int principalRowByIndex) override;
    bool openDataFile(const std::string& fileName) override;
    basekit2::generic_iterator_t<DicerDataSource> getRowByChoices() override;
    basekit2::generic_iterator_t<DicerDataSource> getRowByJoins(int principalRowByIndex) override;
    DicerDataSource getRowByUsingQuery(int principalRowByIndex,
                                       basekit2::sptr_t<dataface_1::IQuery> query) override;
    bool addRowByChoice(const DicerDataSource& choice) override;
    void setProgress(relay2::IProgress* progress) override;
    void setFilterProgress(relay2::IProgress* progress) override;
    void setMasterTableMgr(basekit2::sptr_t<IMasterTableMgr> mgr) override;
    void setRowByRestriction(const basekit2::sptr_t<dataface_1::IInfoQuery>& query) override;

    // --- series of all rows (dbiproviderimpl_overtime.cpp)
    // The entry of the base, which the read below would hide.
    using BaseProviderImpl::getOverTimeData;

    // --- bars (dbiproviderimpl_intervals.cpp); the styles in use are left as they are
    bool getTaskData(const QueryParam& param,
                     Forest& trees,
                     basekit2::generic_iterator_t<basekit2::variant_t>* values) override;
    bool getIntervalData(const QueryParam& param,
                         Forest& trees,
                         basekit2::generic_iterator_t<basekit2::variant_t>* values) override;

    // --- lines into one row (dbiproviderimpl_transitions.cpp)
    // The table form of the base, which the read below would hide.
    using BaseProviderImpl::getTransitionData;

    // --- counts (dbiproviderimpl_counts.cpp); one table per row, null for a row without any
    bool getCountData(const QueryParam& param, Forest& trees) override;
    bool getInstanceCountData(const QueryParam& param, Forest& trees) override;

    // --- tooltips, attribute values, highlights (dbiproviderimpl_tooltips.cpp)
    std::string getTooltip(const DicerDataSource* ds, int id) override;
    basekit2::generic_iterator_t<basekit2::sptr_t<ITooltipItem>> getTooltips(
        const DicerDataSource* ds, int id) override;
    basekit2::variant_t getAttributeValue(const DicerDataSource* ds, int id) override;
    void cacheTooltipData(const DicerDataSource* ds) override;
    basekit2::variant_t getHighlightValue(const DicerDataSource* ds, int id) override;
    void clearCachedTooltipData() override;

    // --- row summary, visible rows, sorting (dbiproviderimpl_rows.cpp)
    bool getSortOrder(std::vector<int>& order) override;
    // Appends the ids of the rows that the global filter leaves, read anew; all without one, and 0
    // for an area without rows. False also when it leaves none.
    bool getVisibleRows(std::vector<int>& rows, int grouping) override;
    // Replaces the filter "selection" by those rows, or by all but them. False leaves it empty, but
    // in an area without rows as it was.
    bool filterOnRows(const std::vector<int>& rows, bool exclude) override;
    bool getRowSummary(basekit2::sptr_t<dataface_1::ITableTree>& table,
                       int grouping,
                       bool resort,
                       bool useGlobalFilter) override;
    bool getCurrentSorting(SortInfo& info) override;
    bool getDefaultSortOrder(SortInfo& info) override;
    bool setSorting(SortInfo& info) override;

    // --- what the result holds, clock, caches (dbiproviderimpl_bands.cpp)
    bool updateSBFilterData() override;
    bool isBandTableExist(const std::string& band) override;
    bool isInstanceDataExist(const std::string& instanceTable,
                             const std::string& attributeTable) override;
    bool isBandTypeSupported(const std::string& band) override;
    bool isTableExist(const std::string& table) override;
    int getBandType(const std::string& band) override;
    void filterChanged(const std::string& filterName) override;
    basekit2::sptr_t<IMasterTableMgr> createMastertableMgr() override;
    void clearCaches() override;
    bool getResultTscRange(basekit2::u64_t& start,
                           basekit2::u64_t& end,
                           basekit2::u64_t& ticksPerSecond) override;

protected:
    friend class ExpansionHelper;
    friend class MasterTable;
    friend class MasterTableMgr;

    // --- binding (dbiproviderimpl.cpp)
    basekit2::sptr_t<storelink1::IDatabase> getDb(
        const basekit2::sptr_t<dataface_1::IInputData>& input) const;
    // The groupings of a request: for each applicable level the queries from the outermost down.
    bool getApplicableRowBy(const QueryParam& param, std::vector<QueryPath>& paths);
    bool isCanceled() override;
    relay2::IProgress* getProgress() override;

    // --- series of all rows (dbiproviderimpl_overtime.cpp)
    bool getOverTimeData(const QueryParam& param, std::vector<OverTimeData>& data) override;
    bool getOverTimeDataForRowLevel(const QueryParam& param,
                                    const QueryPath& rowByPath,
                                    std::vector<OverTimeData>& data,
                                    std::vector<OverTimeDataSeries>& emptySeries);

    // --- a request as a store query (dbiproviderimpl_timelinequery.cpp)
    bool createOverTimeQuery(const QueryParam& param,
                             const QueryPath& rowByPath,
                             basekit2::sptr_t<storelink1::ITimelineQuery>& query,
                             bool& isTimeData,
                             bool& allowCollapse);
    // Sparse series of the store to dense ones; a scale of 0 leaves the values as they are.
    void copyOvertimeData(const QueryParam& param,
                          const DicerDataSource* ds,
                          double scale,
                          const storelink1::OverTimeData& src,
                          OverTimeData& dst,
                          const std::vector<storelink1::OverTimeDataSeriesMetadata>& metadata);
    void copyOvertimeData(const QueryParam& param,
                          const DicerDataSource* ds,
                          double scale,
                          const std::vector<storelink1::OverTimeDataSeries>& src,
                          OverTimeData& dst,
                          const std::vector<storelink1::OverTimeDataSeriesMetadata>& metadata);
    // The database with the global filter in force, when it concerns the table. From any thread.
    basekit2::sptr_t<storelink1::ITimelineDatabase> getTimelineDb(const std::string& table);
    bool getObjectType(const QueryParam& param, storelink1::ITimelineQuery::ObjectType& type);
    bool getQueryType(const QueryParam& param, storelink1::ITimelineQuery::QueryType& type);
    // Splits a query on records by the expansions of a source. The helper is fresh; `metadata`, one
    // entry per series, may be null.
    bool applyExpansionHelper(const DicerDataSource* ds,
                              const basekit2::sptr_t<storelink1::IQuery>& query,
                              ExpansionHelper& expansionHelper,
                              std::vector<storelink1::OverTimeDataSeriesMetadata>* metadata);

    // --- series of an attribute (dbiproviderimpl_attributes.cpp)
    bool getAttrOverTimeData(const QueryParam& param, std::vector<OverTimeData>& data) override;

    // --- bars (dbiproviderimpl_intervals.cpp)
    bool getIntervalDataForRowLevel(const QueryParam& param,
                                    const std::vector<std::string>& rowByInstanceTables,
                                    const std::vector<std::string>& rowByAttrTables,
                                    std::vector<InstanceDataInternal>& result);
    // Filter of the values that a query is restricted to; null when it is not.
    basekit2::sptr_t<dataface_1::IQueryFilter> getFilterForQuery(
        const basekit2::sptr_t<dataface_1::IQuery>& query);

    // --- lines into one row (dbiproviderimpl_transitions.cpp)
    // Appends the lines that arrive at the row whose id the request has as its row level; a row of
    // another level than the bands has none. A cancel is no failure: what was read is the answer.
    bool getTransitionData(const QueryParam& param, std::vector<Transition>& transitions) override;

    // --- counts (dbiproviderimpl_counts.cpp)
    // False also when no row of a row-by has a table; without one, no instance is an answer.
    bool getData(const QueryParam& param, Forest& trees, DataType type);
    // Whether each instance counts in all its bins, also behind another one of its series.
    bool needMergeData(const QueryParam& param, bool& merge);
    // Appends the tables of all rows with what one level gives them. The object type of the request
    // is set; a null row query puts everything on row 0.
    bool getDataForRowLevel(const QueryParam& param,
                            const basekit2::sptr_t<dataface_1::IInfoQuery>& rowQuery,
                            int level,
                            Forest& trees,
                            bool merge,
                            DataType type);

    // --- tooltips, attribute values, highlights (dbiproviderimpl_tooltips.cpp)
    basekit2::sptr_t<storelink1::IAttributeDataRetriever> getRetriever(const std::string& table,
                                                                       bool cache) override;
    bool getRetrieverNoCreate(const std::string& table,
                              basekit2::sptr_t<storelink1::IAttributeDataRetriever>& retriever);
    bool getHatchesForObject(const DicerDataSource* ds,
                             int id,
                             std::vector<IntervalHatch>& hatches);
    int bandToObject(int band, const std::string& table) override;

    // --- row summary (dbiproviderimpl_rows.cpp)
    bool getRowSummaryInternal(basekit2::sptr_t<RowSummaryTableTree>& table,
                               const std::string& filterName,
                               int grouping);
    // 0 before the first summary, -1 for an unknown id.
    int getRowDbIndexByUniqueId(int id) override;
    // Level of a row by its row id, -1 for an unknown one.
    virtual int getRowLevel(int summaryId);
    // Where a record belongs: the id of the row with these database indexes, -1 when there is none.
    // False when the row lies outside the area.
    bool findRow(const std::vector<int>& dbIndexes, int& id) const;

    // --- series of all rows (dbiproviderimpl_overtime.cpp)
    // The same answer out of a master table.
    virtual bool getOverTimeDataMasterTable(const QueryParam& param,
                                            std::vector<OverTimeData>& data,
                                            basekit2::sptr_t<IMasterTable> table);

    // --- what the result holds, clock (dbiproviderimpl_bands.cpp)
    std::string getLeafTable(const DicerDataSource* ds) override;
    std::string getLeafTable(const std::string& table);
    // Whether the rows of a source are bands; they are the last level of the rows.
    bool isGroupingByBand(const DicerDataSource* ds);
    basekit2::u64_t ticksInMs() override;

    // --- filter and pause intervals of the store (dbiproviderimpl_timefilters.cpp)
    bool readFilterAndPausedIntervals(const QueryParam& param,
                                      std::vector<SBInterval>& intervals,
                                      bool paused,
                                      bool inverted) override;

    // --- state
    relay2::IProgress* m_progress = nullptr;        // not owned; progress and cancel of reads
    relay2::IProgress* m_filterProgress = nullptr;  // not owned
    std::map<std::string, basekit2::sptr_t<storelink1::IAttributeDataRetriever>>
        m_retrievers;  // by table path; null for a table that the store does not know
    basekit2::sptr_t<storelink1::IPerfDatabase> m_perfDb;
    basekit2::sptr_t<RowSummaryTableTree> m_rowSummaryTable;       // since getRowSummary
    basekit2::sptr_t<dataface_1::ITableTree> m_requiredDataTable;  // read once
    basekit2::sptr_t<IMasterTableMgr> m_masterTableMgr;            // null: no master tables
    tbb::spin_mutex m_filteredDbLock;                              // guards the next
    basekit2::sptr_t<storelink1::ITimelineDatabase> m_filteredDb;
    basekit2::sptr_t<dataface_1::IInfoQuery> m_rowByRestriction;

private:
    class CountReader;

    // Number of the grouping that a grid has by itself.
    static constexpr int kDefaultGrouping = -1;

    // --- the row summary of a grid (dbiproviderimpl_gridrows.cpp)
    bool getGridSummary(basekit2::sptr_t<RowSummaryTableTree>& table,
                        const std::string& filterName,
                        int groupingIndex);
    // Keeps only rows that have the data that the viewpoint requires, if it does.
    bool restrictToRequiredData(slicekit_1_0::IGridQuery& query,
                                dataface_1::IFilterRegistry& registry);
    bool readRequiredData();

    // --- bars (dbiproviderimpl_intervals.cpp)
    // Reads level by level into the trees of the rows.
    bool readIntervalLevels(const QueryParam& param, Forest& trees);
    // Narrows a query to the values that its source is restricted to.
    bool addIntervalFilter(storelink1::IQuery& query,
                           const basekit2::sptr_t<dataface_1::IQuery>& source);
    // Hands every record to the reader.
    bool readIntervals(storelink1::IDatabase& db,
                       storelink1::IQuery& query,
                       IntervalReader& reader);

    // --- series of an attribute (dbiproviderimpl_attributes.cpp)
    // Attribute of each row of a band's table, by row id; -1 for none. failure: said of a table
    // that can't be read or is empty. False on a cancel, too, but for one between two records.
    bool readBandMap(const std::string& bandTable,
                     const std::string& attribute,
                     const std::string& failure,
                     std::vector<int>& map);
    // Replaces a level that is an attribute of bands by the bands; the map leads back.
    bool translateBandLevel(RowByWalk& walk, std::vector<int>& map);
    // Adds the records of a level to those of their rows, by row id; a level that can't be read
    // adds nothing.
    bool readAttributeLevel(const QueryParam& param,
                            const QueryPath& rowByPath,
                            const std::vector<std::vector<int>>& bandMaps,
                            std::map<int, std::vector<OverTimeData>>& perRow);

    // --- lines into one row (dbiproviderimpl_transitions.cpp)
    // A pane asks row by row, and bands don't change: complete maps are kept, by column.
    std::map<std::string, std::vector<int>> m_bandMaps;

    // --- tooltips (dbiproviderimpl_tooltips.cpp)
    // Lines of a tooltip: the attribute, and its value as a text.
    using TooltipTexts = std::vector<std::pair<const DicerDataSource::ExtraArgs*, std::string>>;
    TooltipTexts readTooltip(const DicerDataSource* ds, int id);

    // --- binding (dbiproviderimpl.cpp)
    // Takes choices and joins; the principal source, or null.
    const DicerDataSource* takeRowBys(const TLViewpointParser::RowSet& rowSet,
                                      int principalRowByIndex);

    // --- series of all rows (dbiproviderimpl_overtime.cpp)
    bool readWithoutRows(const QueryParam& param, std::vector<OverTimeData>& data);
    // Reads level by level; tells whether any row has series then.
    bool readLevels(const QueryParam& param, std::vector<OverTimeData>& data, bool& anySeries);
    // Moves records to their rows; those without a row are left behind.
    bool placeRecords(std::vector<OverTimeData>& current, std::vector<OverTimeData>& data) const;
};

}  // namespace lanefeed_1
