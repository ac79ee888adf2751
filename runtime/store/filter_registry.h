#pragma once

#include "store/filter_parts.h"

#include <storelink1/filters.h>

#include <map>
#include <memory>
#include <mutex>
#include <string>
#include <utility>
#include <vector>

namespace lanefeed_runtime {

struct StoreSession;

// Named filters of an open result, the one object behind both views: that of the clients, who write
// them, and that of the store. A part that was not made by the builders of this registry is
// refused: the name then keeps nothing of it, and the log says so. From any thread.
class FilterRegistry : public dataface_1::IFilterRegistry, public storelink1::IFilterRegistry {
public:
    // The session is what tables and evaluators are asked of; without one no filter applies to
    // anything.
    explicit FilterRegistry(std::shared_ptr<StoreSession> session = nullptr)
        : m_session(std::move(session)) {}

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

    // Whether the filter asks anything of the rows of a table that the file holds, "dd_band::X"
    // included.
    bool isFilterApplicable(const std::string& name, const std::string& table) override;
    // An unknown name is an error. noResult where the columns don't tell all that the filter asks:
    // it then has to be applied to the instances.
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
    // What filters are applied to; may be null.
    const std::shared_ptr<StoreSession>& session() const { return m_session; }
    // Sets both parts of a name; an empty filter drops it.
    void setFilter(const std::string& name, const NamedFilter& filter);

private:
    const std::shared_ptr<StoreSession> m_session;
    std::mutex m_mutex;
    std::map<std::string, NamedFilter> m_filters;
    std::map<std::string, unsigned> m_changes;
};

}  // namespace lanefeed_runtime
