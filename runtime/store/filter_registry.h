#pragma once

#include "store/filter_parts.h"

#include <storelink1/filters.h>

#include <map>
#include <mutex>
#include <string>

namespace lanefeed_runtime {

// Named filters of an open result, the one object behind both views: that of the clients, who write
// them, and that of the store. Filters are kept by name and apply to nothing that is read; the
// registry says so when it is asked for a table. From any thread.
class FilterRegistry : public dataface_1::IFilterRegistry, public storelink1::IFilterRegistry {
public:
    // One count for both views.
    void add_ref() override = 0;
    void release() override = 0;
    unsigned int get_type() const override;
    basekit2::notype_ptr_t adapt_to_pointer(unsigned int type) override;

    basekit2::sptr_t<dataface_1::IQueryFilterBuilder> createQueryFilterBuilder() override;
    basekit2::sptr_t<dataface_1::ITimeFilterBuilder> createTimeFilterBuilder() override;
    void removeFilter(const std::string& name) override;
    void clearFilter(const std::string& name) override;
    void setQueryFilter(const std::string& name,
                        const basekit2::sptr_t<dataface_1::IQueryFilter>& filter) override;
    void setTimeFilter(const std::string& name,
                       const basekit2::sptr_t<dataface_1::ITimeFilter>& filter) override;
    bool hasFilter(const std::string& name) override;

    bool isFilterApplicable(const std::string& name, const std::string& table) override;
    // An unknown name is an error; a known one has no evaluator, which is noResult.
    basekit2::error_code_t createEvaluator(basekit2::sptr_t<storelink1::IFilterEvaluator>& out,
                                           const std::string& name,
                                           const basekit2::generic_iterator_t<std::string>& columns,
                                           const std::string& instanceTable) override;

    // Grows with each change of a name; 0 for a name that was never written.
    unsigned changesOf(const std::string& name);
    // What stands under a name now; empty for an unknown one.
    NamedFilter filter(const std::string& name);
    // Names with a part, in order.
    std::vector<std::string> names();

private:
    std::mutex m_mutex;
    std::map<std::string, NamedFilter> m_filters;
    std::map<std::string, unsigned> m_changes;
};

}  // namespace lanefeed_runtime
