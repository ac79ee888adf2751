// Which queries a result has data for. Tested by tests/tool/viewpoint_author_test.cpp.

#include "held_data.h"

#include <dataface_1/query_kinds.h>
#include <slicekit_1_0/prerequisites.h>
#include <storelink1/database.h>

namespace lanefeed_tool {

using slicekit_1_0::PrerequisiteHelper;

HeldData::HeldData(const basekit2::sptr_t<dataface_1::IInputData>& input) : m_input(input) {
    dataface_1::lookup(input, m_library);
}

bool HeldData::holds(const std::string& id) const {
    basekit2::variant_bag_t reference("queryRef");
    reference.add("#text", basekit2::variant_t(id));
    const auto queries = m_library->resolveQuery(reference, nullptr);
    PrerequisiteHelper prerequisites;
    prerequisites.addPrerequisiteQuery(m_input, queries, PrerequisiteHelper::group_and);
    return prerequisites.arePrerequisitesValid() && hasRowsFor(queries->getDefaultQuery());
}

bool HeldData::hasBands(const std::string& type) const {
    basekit2::sptr_t<storelink1::IPerfDatabase> performance;
    if (!dataface_1::lookup(m_input, performance)) return false;
    const basekit2::sptr_t<storelink1::IDatabase> database = performance->getDatabase(m_input);
    const auto query = database->createQuery("dd_band::" + type, 0);
    if (query.is_null()) return false;
    query->addColumn("rowid");
    const storelink1::QueryMutexHolder lock(database.get());
    const auto records = query->execute();
    // Whoever reads the rows tells why they can't be read.
    return records.is_null() || !records->atEnd();
}

bool HeldData::hasRowsFor(const basekit2::sptr_t<dataface_1::IQuery>& rowBy) const {
    const auto info = dataface_1::IInfoQuery::cast(rowBy);
    if (info.is_null() || info->getInstanceTable() != "dd_band") return true;
    const std::string path = info->getAttributeTable();
    return hasBands(path.substr(0, path.find('.')));
}

}  // namespace lanefeed_tool
