// Series that are computed from those of other queries, asked by the over-time flow for derived
// layers. The inputs are read first: one request of the store for each, with the rows and the span
// of the layer, and the answers side by side in the records of the rows. When the records have
// become tables, the formula is applied to each table. Cancelled after each read and while a table
// is derived, without a message. Tested by tests/provider/derived_test.cpp.

#include "baseproviderimpl.h"

#include "common/check.h"

#include <facekit_1_x/table_helpers.h>
#include <slicekit_1_0/rpn_processor.h>

#include <algorithm>
#include <iterator>

namespace lanefeed_1 {

namespace {

using basekit2::sptr_t;
using dataface_1::IVectorQuery;
using facekit_1_x::IDerivedTableTreeHelper;
using slicekit_1_0::IRpnProcessor;

constexpr int kPercentUnit = 1;
constexpr double kPercentScale = 100.0;

// Null, reported, when the query has no formula that can be evaluated.
sptr_t<IDerivedTableTreeHelper> createHelper(const DicerDataSource& dds,
                                             const sptr_t<IRpnProcessor>& rpnProcessor) {
    auto helper = facekit_1_x::createDerivedTableTreeHelper();
    basekit2::error_code_t err;
    helper->init(err, nullptr, IVectorQuery::pushBack(nullptr, dds.m_derivedQuery), rpnProcessor,
                 IDerivedTableTreeHelper::modeSeries);
    if (!LF_CHECK(err.succeeded())) return {};
    return helper;
}

// Puts the series of one more input behind those that each row has already.
void appendSeries(std::vector<OverTimeData>& otDataArray, std::vector<OverTimeData>& curDataArray) {
    (void)LF_CHECK(curDataArray.size() == otDataArray.size());
    const std::size_t common = std::min(curDataArray.size(), otDataArray.size());
    for (std::size_t r = 0; r < common; ++r) {
        (void)LF_CHECK(otDataArray[r].row == curDataArray[r].row);
        std::vector<OverTimeDataSeries>& added = curDataArray[r].seriesSet;
        otDataArray[r].seriesSet.insert(otDataArray[r].seriesSet.end(),
                                        std::make_move_iterator(added.begin()),
                                        std::make_move_iterator(added.end()));
    }
}

}  // namespace

bool BaseProviderImpl::getDerivedOverTimeData(const QueryParam& param,
                                              std::vector<OverTimeData>& data,
                                              sptr_t<IRpnProcessor>& rpnProcessor,
                                              double& scale) {
    if (param.dds == nullptr) return false;
    const DicerDataSource& dds = *param.dds;
    rpnProcessor = slicekit_1_0::createRpnProcessor();
    basekit2::error_code_t err;
    rpnProcessor->init(err, m_result);
    if (!LF_CHECK(err.succeeded())) return false;
    const auto helper = createHelper(dds, rpnProcessor);
    if (helper.is_null()) return false;
    scale = dds.m_derivedQuery->getUnitKind() == kPercentUnit ? kPercentScale : 1.0;
    sptr_t<IVectorQuery> inputColumnBy;
    helper->getInputColumnBy(err, inputColumnBy, scale);
    if (!LF_CHECK_AS(err.succeeded() && inputColumnBy, "err.succeeded() && inputColumnBy"))
        return false;
    std::vector<DicerDataSource> dataSources;
    const bool ret = convertQueryToDataSource(inputColumnBy, dataSources);
    if (!LF_CHECK_AS(ret && !dataSources.empty(), "ret && !dataSources.empty()")) return false;

    bool sawTimeQuery = false;
    if (!readInputs(param, dataSources, data, sawTimeQuery)) return false;
    // Times come as percentages of the bucket already.
    if (sawTimeQuery) scale = 1.0;
    return true;
}

bool BaseProviderImpl::readInputs(const QueryParam& param,
                                  std::vector<DicerDataSource>& dataSources,
                                  std::vector<OverTimeData>& otDataArray,
                                  bool& sawTimeQuery) {
    for (std::size_t i = 0; i < dataSources.size(); ++i) {
        DicerDataSource& ds = dataSources[i];
        ds.m_derivedQuery = param.dds->m_derivedQuery;
        ds.m_rowByLevels = param.dds->m_rowByLevels;
        QueryParam copy = param;
        copy.dds = &ds;
        // What the layer requires was asked of the layer; its inputs are read in any case.
        copy.ignoreRequiredFilter = true;
        std::vector<OverTimeData> curDataArray;
        const bool ret = getOverTimeData(copy, curDataArray);
        if (isCanceled() || !LF_CHECK(ret)) return false;
        if (i == 0)
            otDataArray = std::move(curDataArray);
        else
            appendSeries(otDataArray, curDataArray);
        sawTimeQuery = sawTimeQuery || ds.m_dataType == DicerDataSource::dsTime;
    }
    return true;
}

bool BaseProviderImpl::deriveTree(const DicerDataSource& dds,
                                  const sptr_t<IRpnProcessor>& rpnProcessor,
                                  const sptr_t<dataface_1::ITableTree>& overtimeTree,
                                  sptr_t<dataface_1::ITableTree>& derivedTree) {
    const auto helper = createHelper(dds, rpnProcessor);
    if (helper.is_null()) return false;
    dumpTableTreeToFile(overtimeTree, "timeline_derived_input");
    const auto err = helper->derive(derivedTree, overtimeTree, getProgress(), 0);
    if (isCanceled() || !LF_CHECK(err.succeeded())) return false;
    dumpTableTreeToFile(derivedTree, "timeline_derived_output");
    return true;
}

}  // namespace lanefeed_1
