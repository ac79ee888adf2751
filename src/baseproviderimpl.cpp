// What every provider knows about the area it serves: the result, the rows, the time base. Also the
// dump of a table for diagnosis. Tested by tests/provider/binding_test.cpp and
// tests/provider/services_test.cpp.

#include "baseproviderimpl.h"

#include "common/names.h"

#include <basekit2/environment.h>
#include <dataface_1/manipulator.h>
#include <facekit_1_x/table_helpers.h>
#include <storelink1/database.h>

#include <algorithm>

namespace lanefeed_1 {

BaseProviderImpl::BaseProviderImpl() : m_hatches{{0, {0, 0, 0, 255}}, {2, {128, 128, 255, 255}}} {}

BaseProviderImpl::~BaseProviderImpl() = default;

basekit2::sptr_t<dataface_1::IInputData> BaseProviderImpl::getResult() {
    return m_result;
}

basekit2::u64_t BaseProviderImpl::getDuration() {
    return m_duration;
}

int BaseProviderImpl::getRowCount() {
    return m_rowCount;
}

bool BaseProviderImpl::getSortOrder(std::vector<int>& /*order*/) {
    return false;
}

bool BaseProviderImpl::hasRowBy() {
    return !m_rowByAttrTable.empty();
}

std::string BaseProviderImpl::getSelectionFilterName() {
    return names::kSelectionFilter;
}

std::string BaseProviderImpl::getGlobalFilterName() {
    return names::kGlobalFilter;
}

basekit2::u64_t BaseProviderImpl::addBase(basekit2::u64_t paneTick) const {
    return paneTick + m_timeBase;
}

basekit2::u64_t BaseProviderImpl::subtractBase(basekit2::u64_t absoluteTick) const {
    return absoluteTick < m_timeBase ? 0 : absoluteTick - m_timeBase;
}

basekit2::sptr_t<dataface_1::IQueryLibrary> BaseProviderImpl::getQueryLibrary() const {
    return m_queryLibrary;
}

bool BaseProviderImpl::isNull(const Forest& trees) {
    return std::all_of(trees.begin(), trees.end(), [](const auto& tree) { return tree.is_null(); });
}

bool BaseProviderImpl::isApplicableRowByLevel(const QueryParam& param, int level) {
    return param.applicableRowLevels.empty() || param.applicableRowLevels.count(level) != 0;
}

void BaseProviderImpl::dumpTableTreeToFile(const basekit2::sptr_t<dataface_1::ITableTree>& tree,
                                           const std::string& name) {
    if (basekit2::get_environ_value("LANEFEED_SAVE_DATA").empty() || tree.is_null()) return;
    const auto helper = facekit_1_x::createTableTreeHelper(tree);
    if (helper.is_null()) return;
    basekit2::variant_bag_t bag;
    helper->write(bag, -1);
    basekit2::save_variant_bag2(bag, name + ".xml", "bag");
}

basekit2::sptr_t<storelink1::IAttributeDataRetriever> BaseProviderImpl::getRetriever(
    const std::string& /*table*/, bool /*cache*/) {
    return {};
}

int BaseProviderImpl::getRowDbIndexByUniqueId(int /*id*/) {
    return -1;
}

}  // namespace lanefeed_1
