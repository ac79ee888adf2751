// Tested by tests/store/filter_sql_test.cpp.
#include "store/filter_registry.h"

#include "messages/runtime_log.h"
#include "store/filter_evaluator.h"
#include "store/filter_sql.h"
#include "store/store_session.h"

namespace lanefeed_runtime {

using basekit2::sptr_t;

namespace {

template <class Own, class Part>
sptr_t<Own> ownPart(const std::string& name, const sptr_t<Part>& part) {
    sptr_t<Own> own(dynamic_cast<Own*>(part.get()));
    if (own.is_null() && !part.is_null())
        logError("filter \"" + name + "\": made by another registry, so it is not taken");
    return own;
}

}  // namespace

unsigned int FilterRegistry::get_type() const {
    return basekit2::type_id_t<dataface_1::IFilterRegistry>::id();
}

basekit2::notype_ptr_t FilterRegistry::adapt_to_pointer(unsigned int type) {
    const basekit2::notype_ptr_t found = dataface_1::IFilterRegistry::adapt_to_pointer(type);
    return found.is_null() ? storelink1::IFilterRegistry::adapt_to_pointer(type) : found;
}

sptr_t<dataface_1::IQueryFilterBuilder> FilterRegistry::createQueryFilterBuilder() {
    return makeQueryFilterBuilder();
}

sptr_t<dataface_1::ITimeFilterBuilder> FilterRegistry::createTimeFilterBuilder() {
    return makeTimeFilterBuilder();
}

void FilterRegistry::removeFilter(const std::string& name) {
    const std::lock_guard<std::mutex> lock(m_mutex);
    if (m_filters.erase(name) > 0) ++m_changes[name];
}

void FilterRegistry::clearFilter(const std::string& name) {
    const std::lock_guard<std::mutex> lock(m_mutex);
    const auto found = m_filters.find(name);
    if (found == m_filters.end()) return;
    found->second = NamedFilter();
    ++m_changes[name];
}

void FilterRegistry::setQueryFilter(const std::string& name,
                                    const sptr_t<dataface_1::IQueryFilter>& filter) {
    const sptr_t<QueryFilter> own = ownPart<QueryFilter>(name, filter);
    const std::lock_guard<std::mutex> lock(m_mutex);
    m_filters[name].query = own;
    ++m_changes[name];
}

void FilterRegistry::setTimeFilter(const std::string& name,
                                   const sptr_t<dataface_1::ITimeFilter>& filter) {
    const sptr_t<TimeFilter> own = ownPart<TimeFilter>(name, filter);
    const std::lock_guard<std::mutex> lock(m_mutex);
    m_filters[name].time = own;
    ++m_changes[name];
}

void FilterRegistry::setFilter(const std::string& name, const NamedFilter& filter) {
    const std::lock_guard<std::mutex> lock(m_mutex);
    m_filters[name] = filter;
    ++m_changes[name];
}

bool FilterRegistry::hasFilter(const std::string& name) {
    const std::lock_guard<std::mutex> lock(m_mutex);
    const auto found = m_filters.find(name);
    return found != m_filters.end() && !found->second.isEmpty();
}

bool FilterRegistry::isFilterApplicable(const std::string& name, const std::string& table) {
    const NamedFilter filter = this->filter(name);
    if (m_session == nullptr || filter.isEmpty()) return false;
    const int position = m_session->catalog.find(table.substr(0, table.find("::")));
    return position >= 0 && m_session->catalog.table(position).inFile &&
           filterApplies(*m_session, position, filter);
}

basekit2::error_code_t FilterRegistry::createEvaluator(
    sptr_t<storelink1::IFilterEvaluator>& out,
    const std::string& name,
    const basekit2::generic_iterator_t<std::string>& columns,
    const std::string& instanceTable) {
    out = nullptr;
    const NamedFilter filter = this->filter(name);
    if (filter.isEmpty())
        return basekit2::error_code_t::raise(basekit2::error::IsNot.Valid.Argument,
                                             "hasFilter(name)", __FILE__, __LINE__);
    if (m_session == nullptr) return basekit2::error_code_t::noResult;
    std::vector<std::string> paths;
    for (; !columns.at_end(); columns.next())
        paths.push_back(columns.current());
    return makeFilterEvaluator(m_session, filter, paths, instanceTable, out);
}

unsigned FilterRegistry::changesOf(const std::string& name) {
    const std::lock_guard<std::mutex> lock(m_mutex);
    const auto found = m_changes.find(name);
    return found == m_changes.end() ? 0 : found->second;
}

NamedFilter FilterRegistry::filter(const std::string& name) {
    const std::lock_guard<std::mutex> lock(m_mutex);
    const auto found = m_filters.find(name);
    return found == m_filters.end() ? NamedFilter() : found->second;
}

std::vector<std::string> FilterRegistry::names() {
    const std::lock_guard<std::mutex> lock(m_mutex);
    std::vector<std::string> out;
    for (const auto& [name, filter] : m_filters)
        if (!filter.isEmpty()) out.push_back(name);
    return out;
}

}  // namespace lanefeed_runtime
