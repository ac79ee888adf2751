// Series of an expanded answer.
//
// The combinations of ids come from the table as a whole, not from the window, so that the series
// of one source are the same at every zoom unless zeros are to be hidden. Names decide what is
// wanted, ids what is told apart: two values of one name are two series.
// Tested by tests/timeline/bucket_query_test.cpp.

#include "timeline/series_plan.h"

#include <algorithm>
#include <charconv>
#include <utility>

namespace lanefeed_runtime {

using basekit2::error_code_t;
using storelink1::OverTimeDataSeriesMetadata;

namespace {

constexpr const char* kSortByValue = "value";

bool isNumber(const std::string& text, double& number) {
    const char* end = text.data() + text.size();
    const auto read = std::from_chars(text.data(), end, number);
    return read.ec == std::errc() && read.ptr == end;
}

// Numbers by value, all else as text.
int compareTexts(const std::string& a, const std::string& b) {
    double left = 0;
    double right = 0;
    if (!isNumber(a, left) || !isNumber(b, right)) return a.compare(b);
    return left < right ? -1 : static_cast<int>(left > right);
}

template <class T>
int compareValues(const T& a, const T& b) {
    return a < b ? -1 : static_cast<int>(b < a);
}

}  // namespace

error_code_t SeriesPlan::make(MemoryTimeline& timeline,
                              const std::string& instanceTable,
                              const std::vector<ExpansionLevel>& levels,
                              relay2::IProgress* progress) {
    m_levels = levels;
    if (m_levels.empty()) {
        m_ids.resize(1);
        return error_code_t::success;
    }
    InstanceTable::Columns paths;
    for (const ExpansionLevel& level : levels)
        paths.push_back(level.path);
    error_code_t err =
        timeline.instances(instanceTable)->combinations(paths, m_combinations, progress);
    if (!basekit2::is_success(err)) return err;

    for (std::size_t i = 0; i < levels.size(); ++i) {
        const std::string& attribute = levels[i].attribute;
        m_names.push_back(
            names(timeline, instanceTable, levels[i], attribute.empty() ? "name" : attribute, i));
        const std::string& sort = levels[i].sortName;
        m_sortTexts.push_back(sort.empty() || sort == kSortByValue
                                  ? Names()
                                  : names(timeline, instanceTable, levels[i], sort, i));
    }
    for (const std::vector<int>& ids : m_combinations->keys) {
        m_seriesOf.push_back(wanted(ids) ? static_cast<int>(m_ids.size()) : -1);
        if (m_seriesOf.back() >= 0) m_ids.push_back(ids);
    }
    return error_code_t::success;
}

SeriesPlan::Names SeriesPlan::names(MemoryTimeline& timeline,
                                    const std::string& instanceTable,
                                    const ExpansionLevel& level,
                                    const std::string& column,
                                    std::size_t levelIndex) const {
    InstanceReader& reader = timeline.reader();
    const std::string leaf = reader.leafTable(instanceTable, level.path);
    std::vector<std::string> texts;
    if (!leaf.empty()) texts = reader.texts(leaf + "." + column);
    Names result;
    for (const std::vector<int>& ids : m_combinations->keys) {
        const int id = ids[levelIndex];
        const bool known = id >= 0 && static_cast<std::size_t>(id) < texts.size();
        std::string& name = result[id];
        if (known)
            name = texts[static_cast<std::size_t>(id)];
        else
            name = id < 0 ? kUnknownName : std::to_string(id);
    }
    return result;
}

bool SeriesPlan::wanted(const std::vector<int>& ids) const {
    for (std::size_t i = 0; i < m_levels.size(); ++i) {
        const std::vector<std::string>& values = m_levels[i].values;
        if (values.empty()) continue;
        const auto isMarked = [](const std::string& value) {
            return !value.empty() && value.front() == '!';
        };
        const std::string& name = m_names[i].at(ids[i]);
        const bool listed =
            std::any_of(values.begin(), values.end(), [&](const std::string& value) {
                return (isMarked(value) ? value.substr(1) : value) == name;
            });
        if (listed == isMarked(values.front())) return false;
    }
    return true;
}

int SeriesPlan::compare(std::size_t level,
                        const std::vector<int>& a,
                        const std::vector<int>& b,
                        const Totals& totals) const {
    if (a[level] == b[level]) return 0;
    const std::string& sort = m_levels[level].sortName;
    int order = 0;
    if (sort == kSortByValue) {
        const auto total = [&](const std::vector<int>& ids) {
            return totals.at({ids.begin(), ids.begin() + static_cast<std::ptrdiff_t>(level) + 1});
        };
        order = compareValues(total(a), total(b));
    } else if (!sort.empty()) {
        order = compareTexts(m_sortTexts[level].at(a[level]), m_sortTexts[level].at(b[level]));
    }
    if (!m_levels[level].ascending) order = -order;
    return order != 0 ? order : compareValues(a[level], b[level]);
}

std::vector<std::size_t> SeriesPlan::order(const std::vector<double>& totals) const {
    const bool hideZero = std::any_of(m_levels.begin(), m_levels.end(),
                                      [](const ExpansionLevel& level) { return level.hideZero; });
    std::vector<std::size_t> order;
    Totals prefixTotals;
    for (std::size_t series = 0; series < m_ids.size(); ++series) {
        if (!hideZero || totals[series] != 0) order.push_back(series);
        const std::vector<int>& ids = m_ids[series];
        for (auto end = ids.begin(); end != ids.end();)
            prefixTotals[std::vector<int>(ids.begin(), ++end)] += totals[series];
    }
    std::sort(order.begin(), order.end(), [&](std::size_t a, std::size_t b) {
        for (std::size_t level = 0; level < m_levels.size(); ++level)
            if (const int sign = compare(level, m_ids[a], m_ids[b], prefixTotals); sign != 0)
                return sign < 0;
        return false;
    });
    return order;
}

OverTimeDataSeriesMetadata SeriesPlan::metadata(std::size_t series) const {
    OverTimeDataSeriesMetadata metadata;
    metadata.idParts = m_ids[series];
    for (std::size_t level = 0; level < m_levels.size(); ++level) {
        metadata.nameParts.push_back(m_names[level].at(m_ids[series][level]));
        if (level > 0) metadata.name += ":";
        metadata.name += metadata.nameParts.back();
    }
    return metadata;
}

}  // namespace lanefeed_runtime
