// Requests that the providers of this version don't serve: selections, attribute filters, derived
// series and transition tables. Each answers what it answers on a failure.

#include "baseproviderimpl.h"

#include <slicekit_1_0/rpn_processor.h>

namespace lanefeed_1 {

bool BaseProviderImpl::getDerivedOverTimeData(
    const QueryParam& /*param*/,
    std::vector<OverTimeData>& /*data*/,
    basekit2::sptr_t<slicekit_1_0::IRpnProcessor>& /*rpnProcessor*/,
    double& /*scale*/) {
    return false;
}

void BaseProviderImpl::filterInByTimeSelection(const basekit2::u64_t& /*start*/,
                                               const basekit2::u64_t& /*end*/) {}

void BaseProviderImpl::filterOutByTimeSelection(const basekit2::u64_t& /*start*/,
                                                const basekit2::u64_t& /*end*/) {}

void BaseProviderImpl::filterByTimeAndRow(const DicerDataSource* /*ds*/,
                                          basekit2::u64_t /*start*/,
                                          basekit2::u64_t /*end*/,
                                          int /*row*/) {}

bool BaseProviderImpl::filterOnAttrId(const DicerDataSource* /*ds*/,
                                      int /*attrId*/,
                                      bool /*dive*/,
                                      const std::string& /*attrName*/) {
    return false;
}

basekit2::sptr_t<dataface_1::IQueryFilter> BaseProviderImpl::createDiveFilter(
    const DicerDataSource* /*ds*/, int /*attrId*/) {
    return {};
}

basekit2::sptr_t<dataface_1::IQueryFilter> BaseProviderImpl::createAttributeFilter(
    const DicerDataSource* /*ds*/, int /*attrId*/, const std::string& /*attrName*/) {
    return {};
}

basekit2::sptr_t<dataface_1::IQueryFilter> BaseProviderImpl::createRestrictionsFilter(
    const DicerDataSource::ExtraArgs& /*extra*/) {
    return {};
}

basekit2::sptr_t<dataface_1::IQueryFilter> BaseProviderImpl::createRestrictionsFilter(
    const std::string& /*table*/,
    const std::string& /*path*/,
    const std::string& /*attr*/,
    const std::vector<std::string>& /*values*/) {
    return {};
}

void BaseProviderImpl::getTimelineFilterNames(std::string& /*base*/,
                                              std::string& /*area*/,
                                              std::string& /*full*/) const {}

bool BaseProviderImpl::getTransitionData(const QueryParam& /*param*/,
                                         basekit2::sptr_t<dataface_1::ITableTree>& /*out*/) {
    return false;
}

}  // namespace lanefeed_1
