// Column names of provider tables, and what the provider interface answers where a provider does
// not replace it. Tested by tests/provider/binding_test.cpp.

#include "idicerprovider.h"

namespace lanefeed_1 {

const std::string IDicerProvider::startTime = "startTime";
const std::string IDicerProvider::endTime = "endTime";
const std::string IDicerProvider::dbAttrIdx = "dbAttrIdx";
const std::string IDicerProvider::startRow = "startRow";
const std::string IDicerProvider::endRow = "endRow";
const std::string IDicerProvider::duplicateCount = "duplicateCount";
const std::string IDicerProvider::rowId = "rowId";
const std::string IDicerProvider::depth = "depth";
const std::string IDicerProvider::name = "name";
const std::string IDicerProvider::timeBin = "timeBin";
const std::string IDicerProvider::seriesIdx = "seriesIdx";
const std::string IDicerProvider::binStartTime = "Bin Start Time";
const std::string IDicerProvider::binEndTime = "Bin End Time";
const std::string IDicerProvider::color = "color";
const std::string IDicerProvider::hatch = "hatch";

IDicerProvider::~IDicerProvider() = default;

basekit2::generic_iterator_t<DicerDataSource> IDicerProvider::getRowByChoices() {
    return {};
}

basekit2::generic_iterator_t<DicerDataSource> IDicerProvider::getRowByJoins(
    int /*principalRowByIndex*/) {
    return {};
}

DicerDataSource IDicerProvider::getRowByUsingQuery(int /*principalRowByIndex*/,
                                                   basekit2::sptr_t<dataface_1::IQuery> /*query*/) {
    return {};
}

bool IDicerProvider::addRowByChoice(const DicerDataSource& /*choice*/) {
    return false;
}

bool IDicerProvider::filterOnRows(const std::vector<int>& /*rows*/, bool /*exclude*/) {
    return false;
}

void IDicerProvider::filterByTimeAndRow(const DicerDataSource* /*ds*/,
                                        basekit2::u64_t /*start*/,
                                        basekit2::u64_t /*end*/,
                                        int /*row*/) {}

bool IDicerProvider::isTableExist(const std::string& /*table*/) {
    return true;
}

bool IDicerProvider::getRowSummary(basekit2::sptr_t<dataface_1::ITableTree>& /*out*/,
                                   int /*grouping*/,
                                   bool /*resort*/,
                                   bool /*useGlobalFilter*/) {
    return false;
}

bool IDicerProvider::getCurrentSorting(SortInfo& /*info*/) {
    return false;
}

bool IDicerProvider::getDefaultSortOrder(SortInfo& /*info*/) {
    return false;
}

bool IDicerProvider::setSorting(SortInfo& /*info*/) {
    return false;
}

bool IDicerProvider::getFilteredRanges(basekit2::sptr_t<dataface_1::ITableTree>& /*out*/,
                                       const QueryParam& /*param*/) {
    return true;
}

void IDicerProvider::filterChanged(const std::string& /*filterName*/) {}

void IDicerProvider::cacheTooltipData(const DicerDataSource* /*ds*/) {}

basekit2::variant_t IDicerProvider::getHighlightValue(const DicerDataSource* /*ds*/, int /*id*/) {
    return -1;
}

void IDicerProvider::clearCachedTooltipData() {}

basekit2::sptr_t<IMasterTableMgr> IDicerProvider::createMastertableMgr() {
    return {};
}

void IDicerProvider::setMasterTableMgr(basekit2::sptr_t<IMasterTableMgr> /*mgr*/) {}

void IDicerProvider::clearCaches() {}

bool IDicerProvider::getResultTscRange(basekit2::u64_t& /*start*/,
                                       basekit2::u64_t& /*end*/,
                                       basekit2::u64_t& /*ticksPerSecond*/) {
    return false;
}

void IDicerProvider::setRowByRestriction(
    const basekit2::sptr_t<dataface_1::IInfoQuery>& /*query*/) {}

}  // namespace lanefeed_1
