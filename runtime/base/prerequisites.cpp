// Tells whether a result holds the data of queries, before a layer that needs them is offered. The
// store is asked: the table of a query on instances must exist, and for a query on an attribute the
// attribute must be reachable from its table too. A derived query needs all of its members, and a
// query that is expanded the attributes that it is expanded by. A query of another kind needs
// nothing. Members that many queries share are looked at once.
// Tested by tests/base/viewpoint_helpers_test.cpp.
#include <slicekit_1_0/prerequisites.h>
#include <storelink1/database.h>

#include <map>

namespace slicekit_1_0 {
namespace {

using basekit2::generic_iterator_t;
using basekit2::sptr_t;
using dataface_1::IQuery;

// Reads of attributes, which take no filters.
constexpr int kAttributeRead = 2;

class StoreCheck {
public:
    explicit StoreCheck(const sptr_t<dataface_1::IInputData>& input) {
        sptr_t<storelink1::IPerfDatabase> database;
        if (dataface_1::lookup(input, database)) m_database = database->getDatabase(input);
    }

    bool isReady() const { return !m_database.is_null(); }

    bool holds(const sptr_t<IQuery>& query) {
        if (query.is_null()) return false;
        const auto known = m_known.find(query);
        if (known != m_known.end()) return known->second;
        const bool held = look(query);
        m_known.emplace(query, held);
        return held;
    }

private:
    bool look(const sptr_t<IQuery>& query) {
        if (const auto vector = dataface_1::IVectorQuery::cast(query); !vector.is_null())
            return holdsAll(vector->getQueries());
        if (const auto derived = dataface_1::IDerivedQuery::cast(query); !derived.is_null())
            return holdsAll(derived->getQueries(1));
        if (const auto data = dataface_1::IDataQuery::cast(query); !data.is_null())
            return m_database->isTableExist(data->getInstanceTable()) && holdsExpansion(query);
        if (const auto info = dataface_1::IInfoQuery::cast(query); !info.is_null())
            return holdsAttribute(info->getInstanceTable(), info->getAttributeTable());
        return true;
    }

    bool holdsAll(const generic_iterator_t<sptr_t<IQuery>>& queries) {
        for (; !queries.at_end(); queries.next())
            if (!holds(queries.current())) return false;
        return true;
    }

    bool holdsExpansion(const sptr_t<IQuery>& query) const {
        for (auto link = query->getExpansionQuery(); !link.is_null();
             link = link->getExpansionQuery()) {
            const auto info = dataface_1::IInfoQuery::cast(link);
            if (!info.is_null() &&
                !holdsAttribute(info->getInstanceTable(), info->getAttributeTable()))
                return false;
        }
        return true;
    }

    bool holdsAttribute(const std::string& table, const std::string& path) const {
        if (!m_database->isTableExist(table)) return false;
        if (path.empty()) return true;
        const sptr_t<storelink1::IQuery> query = m_database->createQuery(table, kAttributeRead);
        return !query.is_null() && query->addColumn(path) != storelink1::InvalidColIdx;
    }

    sptr_t<storelink1::IDatabase> m_database;
    std::map<sptr_t<IQuery>, bool> m_known;
};

}  // namespace

struct PrerequisiteHelper::state_t {
    bool valid = true;
};

PrerequisiteHelper::PrerequisiteHelper() : m_state(std::make_unique<state_t>()) {}

PrerequisiteHelper::~PrerequisiteHelper() = default;

void PrerequisiteHelper::addPrerequisiteQuery(const sptr_t<dataface_1::IInputData>& input,
                                              const sptr_t<dataface_1::IVectorQuery>& queries,
                                              operation_t operation) {
    StoreCheck store(input);
    if (!store.isReady() || queries.is_null()) {
        m_state->valid = false;
        return;
    }
    bool all = true;
    bool any = false;
    for (const auto it = queries->getQueries(); !it.at_end(); it.next()) {
        const bool holds = store.holds(it.current());
        all = all && holds;
        any = any || holds;
    }
    m_state->valid = m_state->valid && (operation == group_or ? any : all);
}

bool PrerequisiteHelper::arePrerequisitesValid() const {
    return m_state->valid;
}

}  // namespace slicekit_1_0
