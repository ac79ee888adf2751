// Selections put in force, kept and told. Tested by tests/queries/filters_test.cpp.
#include "apply_selection.h"

#include "filter_description.h"
#include "open_result.h"
#include "store/filter_file.h"
#include "store/filter_registry.h"
#include "store/filter_time.h"
#include "store/result_facts.h"

#include <algorithm>
#include <utility>

namespace lanefeed_runtime {
namespace {

using basekit2::sptr_t;
using dataface_1::IInputData;

constexpr const char* kGlobalFilter = "global";

sptr_t<FilterRegistry> registryOf(const sptr_t<IInputData>& result) {
    sptr_t<dataface_1::IFilterRegistry> filters;
    dataface_1::lookup(result, filters);
    return sptr_t<FilterRegistry>(dynamic_cast<FilterRegistry*>(filters.get()));
}

FilterOutcome noRegistry() {
    return {FilterOutcome::failed, "filters can be applied to results that were opened here alone"};
}

template <class T>
void addNew(std::vector<T>& into, const std::vector<T>& from) {
    for (const T& one : from)
        if (std::find(into.begin(), into.end(), one) == into.end()) into.push_back(one);
}

// One list of members, however often filters are joined; what both ask for is asked for once.
sptr_t<QueryFilter> joined(const sptr_t<QueryFilter>& a, const sptr_t<QueryFilter>& b) {
    if (a.is_null() || a == b) return b;
    if (b.is_null()) return a;
    QueryFilter::Group root = a->root();
    addNew(root.conditions, b->root().conditions);
    addNew(root.filters, b->root().filters);
    addNew(root.groups, b->root().groups);
    return basekit2::make_object<QueryFilter>(std::move(root));
}

sptr_t<TimeFilter> joined(const sptr_t<TimeFilter>& a, const sptr_t<TimeFilter>& b) {
    if (a.is_null() || a == b) return b;
    if (b.is_null()) return a;
    std::vector<TimeFilter::Range> ranges;
    for (const storelink1::time_interval_t& span : commonTime(keptTime(a), keptTime(b)))
        ranges.push_back({span, false});
    // To keep no time is not to have no range.
    if (ranges.empty()) ranges.emplace_back();
    return basekit2::make_object<TimeFilter>(std::move(ranges));
}

FilterOutcome nothingSelected(const std::string& name) {
    return {FilterOutcome::nothingSelected,
            "nothing is selected: there is no filter \"" + name + "\""};
}

}  // namespace

FilterOutcome applySelection(const sptr_t<IInputData>& result,
                             const std::string& name,
                             SelectionMode mode) {
    const sptr_t<FilterRegistry> filters = registryOf(result);
    if (filters.is_null()) return noRegistry();
    const NamedFilter selection = filters->filter(name);
    if (selection.isEmpty()) return nothingSelected(name);
    NamedFilter global;
    if (mode == SelectionMode::narrow) global = filters->filter(kGlobalFilter);
    global.query = joined(global.query, selection.query);
    global.time = joined(global.time, selection.time);
    filters->setFilter(kGlobalFilter, global);
    return {};
}

FilterOutcome excludeSelection(const sptr_t<IInputData>& result, const std::string& name) {
    const sptr_t<FilterRegistry> filters = registryOf(result);
    if (filters.is_null()) return noRegistry();
    NamedFilter selection = filters->filter(name);
    if (selection.query.is_null()) return nothingSelected(name);
    QueryFilter::Group others;
    others.kind = dataface_1::IQueryFilterBuilder::groupNegated;
    others.filters.push_back(selection.query);
    QueryFilter::Group root;
    root.groups.push_back(std::move(others));
    selection.query = basekit2::make_object<QueryFilter>(std::move(root));
    filters->setFilter(name, selection);
    return {};
}

FilterOutcome saveFilters(const sptr_t<IInputData>& result) {
    const sptr_t<FilterRegistry> filters = registryOf(result);
    const std::shared_ptr<const ResultFacts> facts = resultFacts(result);
    if (filters.is_null() || facts == nullptr) return noRegistry();
    FilterMap kept;
    for (const std::string& name : filters->names())
        kept[name] = filters->filter(name);
    bool isReadOnly = false;
    const StoreError error = writeFilters(*facts, kept, isReadOnly);
    if (!error.failed()) return {};
    return {isReadOnly ? FilterOutcome::memoryOnly : FilterOutcome::failed, error.text};
}

void clearFilters(const sptr_t<IInputData>& result) {
    const sptr_t<FilterRegistry> filters = registryOf(result);
    if (filters.is_null()) return;
    for (const std::string& name : filters->names())
        filters->removeFilter(name);
}

std::vector<FilterDescription> describeFilters(const sptr_t<IInputData>& result) {
    std::vector<FilterDescription> out;
    const sptr_t<FilterRegistry> filters = registryOf(result);
    const std::shared_ptr<const ResultFacts> facts = resultFacts(result);
    if (filters.is_null() || facts == nullptr) return out;
    for (const std::string& name : filters->names()) {
        if (!isKeptInFile(name)) continue;
        const NamedFilter filter = filters->filter(name);
        FilterDescription described;
        described.name = name;
        described.hasTime = !filter.time.is_null();
        const storelink1::time_interval_t all{facts->firstTick, facts->lastTick + 1};
        described.kept = commonTime(keptTime(filter.time), {all});
        if (!filter.query.is_null()) described.query = filterDescription(*filters, *filter.query);
        out.push_back(std::move(described));
    }
    return out;
}

}  // namespace lanefeed_runtime
