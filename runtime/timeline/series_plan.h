#pragma once

#include "timeline/memory_timeline.h"

#include <basekit2/error_code.h>
#include <relay2/progress.h>
#include <storelink1/records.h>

#include <map>
#include <memory>
#include <string>
#include <vector>

namespace lanefeed_runtime {

// One level that the values of a row are expanded by.
struct ExpansionLevel {
    std::string path;       // "slice_data::attr"
    std::string attribute;  // column of the table at its end that names the values; "" is "name"
    // Names that are wanted. A leading "!" of the first one makes them names that are not wanted.
    std::vector<std::string> values;
    bool hideZero = false;
    // "" by id, "value" by the total of the answer, else a column of the table at the path's end.
    std::string sortName;
    bool ascending = true;
};

// Which series an answer has: the combinations of expansion values that occur in the table, as far
// as the levels want them. Without levels there is one series without a name.
class SeriesPlan {
public:
    static constexpr const char* kUnknownName = "[Unknown]";  // of instances without the attribute

    basekit2::error_code_t make(MemoryTimeline& timeline,
                                const std::string& instanceTable,
                                const std::vector<ExpansionLevel>& levels,
                                relay2::IProgress* progress);

    std::size_t count() const { return m_ids.size(); }
    bool expanded() const { return !m_levels.empty(); }
    // Series of an instance by its place in the table; -1 for one that is not wanted.
    int seriesOf(std::size_t position) const {
        return m_levels.empty() ? 0 : m_seriesOf[m_combinations->of[position]];
    }
    // The series to hand out in their order, given the total of each one in the answer.
    std::vector<std::size_t> order(const std::vector<double>& totals) const;
    storelink1::OverTimeDataSeriesMetadata metadata(std::size_t series) const;

private:
    using Names = std::map<int, std::string>;
    using Totals = std::map<std::vector<int>, double>;  // by the ids of the outer levels

    Names names(MemoryTimeline& timeline,
                const std::string& instanceTable,
                const ExpansionLevel& level,
                const std::string& column,
                std::size_t levelIndex) const;
    bool wanted(const std::vector<int>& ids) const;
    int compare(std::size_t level,
                const std::vector<int>& a,
                const std::vector<int>& b,
                const Totals& totals) const;

    std::vector<ExpansionLevel> m_levels;
    std::vector<Names> m_names;      // by level
    std::vector<Names> m_sortTexts;  // by level
    std::shared_ptr<const Combinations> m_combinations;
    std::vector<int> m_seriesOf;          // by number of the combination
    std::vector<std::vector<int>> m_ids;  // of each series
};

}  // namespace lanefeed_runtime
