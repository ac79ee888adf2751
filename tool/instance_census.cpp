// An independent count of the instances of a layer, by which an answer can be checked: every
// instance that touches the window is drawn, counted with a neighbour, or left out for a reason
// told here. Bars touch a half-open window; transitions touch it up to and with its end, as their
// request has it. Tested by tests/tool/layer_verbs_test.cpp.

#include "instance_census.h"

#include "area_view.h"
#include "failure.h"
#include "row_columns.h"
#include "session.h"

#include <dataface_1/query_kinds.h>
#include <storelink1/database.h>
#include <storelink1/query.h>
#include <storelink1/utils.h>

#include <algorithm>
#include <optional>
#include <utility>

namespace lanefeed_tool {

namespace {

using basekit2::sptr_t;
using basekit2::u16_t;
using basekit2::u64_t;
using lanefeed_1::DicerDataSource;
using storelink1::IConstRecord;
using storelink1::utils::variantToIndex;

constexpr const char* kGlobalFilter = "global";

// The values that a layer is narrowed to; a "!" in front of the first means all others.
struct Restriction {
    u16_t column = 0;
    std::vector<std::string> values;

    bool leavesOut(const IConstRecord& record) const {
        const bool excludes = values.front().front() == '!';
        const std::string value = storelink1::utils::variantToString(record[column]);
        const auto names = [&](const std::string& given) {
            return given.compare(given.front() == '!' ? 1 : 0, std::string::npos, value) == 0;
        };
        return std::any_of(values.begin(), values.end(), names) == excludes;
    }
};

// The type of the bands that the rows of a transition stand for is the level that ends in one, or
// the last one.
std::size_t bandLevel(const std::vector<std::string>& levels) {
    const auto isBand = [](const std::string& column) {
        return column.rfind("dd_band::", 0) == 0 && column.find('.') == std::string::npos;
    };
    const auto found = std::find_if(levels.begin(), levels.end(), isBand);
    return found == levels.end() ? levels.size() - 1
                                 : static_cast<std::size_t>(found - levels.begin());
}

class CensusTaker {
public:
    CensusTaker(Session& session, AreaView& area, const LayerInfo& layer, const LayerWindow& window)
        : m_session(session),
          m_area(area),
          m_layer(layer),
          m_kind(kindOf(layer)),
          m_first(window.span.start + area.firstTick()),
          m_end(window.span.end + area.firstTick()),
          m_index(area) {
        // Markers of all rows are on none.
        if (isOnRows(layer)) m_levelNames = rowColumns(area.rowSource(layer));
        m_database = session.database();
        if (!m_database.is_null()) m_query = m_database->createQuery(layer.drawBy.ds.m_table, 0);
        if (m_query.is_null()) fail("it is not there");
        m_query->useFilters();
        m_query->addFilter(kGlobalFilter);
        addColumns();
    }

    Census take() {
        const storelink1::QueryMutexHolder lock(m_database.get());
        std::string error;
        std::string sql;
        const auto records = m_query->execute(nullptr, error, sql);
        if (records.is_null()) fail(error);
        for (; !records->atEnd(); records->next())
            count(*records->current());
        m_session.requireWholeReads();
        return m_census;
    }

private:
    [[noreturn]] void fail(const std::string& reason) const {
        throw m_session.unreadable(m_layer.drawBy.ds.m_table, reason);
    }

    void addColumns() {
        const DicerDataSource& source = m_layer.drawBy.ds;
        const bool isLine = m_kind == LayerKind::transitions;
        m_start = column(isLine ? "multi_band_start_tsc" : "start_tsc");
        m_endTick = column("end_tsc");
        // Counts don't look at it.
        if (m_kind != LayerKind::counts && !isLine) m_references.push_back(column("attr"));
        for (const std::string& level : m_levelNames)
            m_levels.push_back(column(level));
        if (isLine) {
            addSourceLevels();
            return;
        }
        if (const auto info = dataface_1::IInfoQuery::cast(source.m_defaultQuery)) {
            Restriction restriction;
            for (auto value = info->getValues(0); !value.at_end(); value.next())
                restriction.values.push_back(storelink1::utils::variantToString(value.current()));
            restrictTo(std::move(restriction), source.m_path, source.m_attr);
        }
        for (const DicerDataSource::ExtraArgs& extra : source.m_extras) {
            if (dataface_1::IInfoQuery::cast(extra.query).is_null()) continue;
            const std::string path = joined(extra.table, extra.path, "::");
            m_references.push_back(column(path));
            Restriction restriction;
            restriction.values = extra.values;
            restrictTo(std::move(restriction), path, extra.attr);
        }
    }

    // Rows of the other end, down to the level of bands.
    void addSourceLevels() {
        const std::size_t last = bandLevel(m_levelNames);
        m_levelNames.resize(last + 1);
        m_levels.resize(last + 1);
        for (const std::string& level : m_levelNames)
            m_sourceLevels.push_back(
                column("multi_band_index." + level.substr(level.find("::") + 2)));
    }

    static std::string joined(const std::string& a,
                              const std::string& b,
                              const char* separator = ".") {
        return a.empty() || b.empty() ? a + b : a + separator + b;
    }

    u16_t column(const std::string& name) {
        const u16_t id = m_query->addColumn(name);
        if (id == storelink1::InvalidColIdx) fail("it has no column " + name);
        return id;
    }

    // Values are compared with the names of what a path without an attribute leads to.
    void restrictTo(Restriction restriction, const std::string& path, const std::string& attr) {
        const auto isEmpty = [](const std::string& value) { return value.empty(); };
        if (restriction.values.empty() ||
            std::any_of(restriction.values.begin(), restriction.values.end(), isEmpty))
            return;
        restriction.column =
            attr.empty() ? m_query->addColumn(path + ".name") : storelink1::InvalidColIdx;
        if (restriction.column == storelink1::InvalidColIdx)
            restriction.column = column(joined(path, attr));
        m_restrictions.push_back(std::move(restriction));
    }

    bool touches(const IConstRecord& record) const {
        const u64_t start = record[m_start].get<u64_t>();
        const u64_t end = record[m_endTick].get<u64_t>();
        if (m_kind == LayerKind::transitions)
            return (start >= m_first || end >= m_first) && (start <= m_end || end <= m_end);
        return start < m_end && end >= m_first;
    }

    void count(const IConstRecord& record) {
        const bool isTouching = touches(record);
        if (m_kind == LayerKind::transitions) {
            ++m_census.read;
            if (isTouching) countLine(record);
            return;
        }
        const std::vector<int>& wanted = m_layer.drawBy.ds.m_rowByLevels;
        const std::size_t levels = std::max<std::size_t>(m_levels.size(), 1);
        for (std::size_t level = 0; level < levels; ++level) {
            if (!wanted.empty() && !m_levels.empty() &&
                std::find(wanted.begin(), wanted.end(), static_cast<int>(level)) == wanted.end())
                continue;
            ++m_census.read;
            if (isTouching) countBar(record, level);
        }
    }

    void countBar(const IConstRecord& record, std::size_t level) {
        ++m_census.touching;
        const auto leavesOut = [&](const Restriction& one) { return one.leavesOut(record); };
        const auto lacks = [&](u16_t reference) { return variantToIndex(record[reference]) < 0; };
        if (std::any_of(m_restrictions.begin(), m_restrictions.end(), leavesOut)) {
            ++m_census.restricted;
        } else if (std::any_of(m_references.begin(), m_references.end(), lacks)) {
            ++m_census.withoutReference;
        } else if (!m_levels.empty()) {
            const auto indexes = indexesOf(record, m_levels, level + 1);
            if (!indexes) {
                ++m_census.withoutReference;
            } else if (m_index.row(*indexes) < 0) {
                ++m_census.withoutRow;
            }
        }
    }

    void countLine(const IConstRecord& record) {
        ++m_census.touching;
        const int target = rowOf(record, m_levels);
        const int source = rowOf(record, m_sourceLevels);
        const std::vector<RowInfo>& rows = m_area.rows();
        if (target < 0) {
            ++m_census.withoutRow;
        } else if (source < 0) {
            ++m_census.withoutSource;
        } else if (rows[static_cast<std::size_t>(source)].parent !=
                   rows[static_cast<std::size_t>(target)].parent) {
            ++m_census.acrossParents;
        } else if (source == target) {
            ++m_census.withinRow;
        }
    }

    // Empty when one of them is missing.
    static std::optional<std::vector<int>> indexesOf(const IConstRecord& record,
                                                     const std::vector<u16_t>& columns,
                                                     std::size_t count) {
        std::vector<int> indexes;
        for (std::size_t i = 0; i < count; ++i) {
            indexes.push_back(variantToIndex(record[columns[i]]));
            if (indexes.back() < 0) return std::nullopt;
        }
        return indexes;
    }

    int rowOf(const IConstRecord& record, const std::vector<u16_t>& columns) const {
        const auto indexes = indexesOf(record, columns, columns.size());
        return indexes ? m_index.row(*indexes) : -1;
    }

    Session& m_session;
    AreaView& m_area;
    const LayerInfo& m_layer;
    LayerKind m_kind;
    u64_t m_first;  // absolute ticks, half open
    u64_t m_end;
    RowIndex m_index;
    std::vector<std::string> m_levelNames;
    sptr_t<storelink1::IDatabase> m_database;
    sptr_t<storelink1::IQuery> m_query;
    u16_t m_start = 0;
    u16_t m_endTick = 0;
    std::vector<u16_t> m_levels;
    std::vector<u16_t> m_sourceLevels;
    std::vector<u16_t> m_references;
    std::vector<Restriction> m_restrictions;
    Census m_census;
};

}  // namespace

Census takeCensus(Session& session,
                  AreaView& area,
                  const LayerInfo& layer,
                  const LayerWindow& window) {
    return CensusTaker(session, area, layer, window).take();
}

}  // namespace lanefeed_tool
