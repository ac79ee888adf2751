// Which queries a result has data for. Tested by tests/tool/viewpoint_author_test.cpp.

#include "held_data.h"

#include <slicekit_1_0/prerequisites.h>

namespace lanefeed_tool {

using slicekit_1_0::PrerequisiteHelper;

HeldData::HeldData(const basekit2::sptr_t<dataface_1::IInputData>& input) : m_input(input) {
    dataface_1::lookup(input, m_library);
}

bool HeldData::holds(const std::string& id) const {
    basekit2::variant_bag_t reference("queryRef");
    reference.add("#text", basekit2::variant_t(id));
    PrerequisiteHelper prerequisites;
    prerequisites.addPrerequisiteQuery(m_input, m_library->resolveQuery(reference, nullptr),
                                       PrerequisiteHelper::group_and);
    return prerequisites.arePrerequisitesValid();
}

}  // namespace lanefeed_tool
