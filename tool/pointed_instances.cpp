// From a place of the pane to the instances there, through the relational face of the result.
// The time pointed at is a named filter for the moment of the read, so that the store compares it;
// its name carries an address, and such names are never kept. Tested by
// tests/tool/tooltip_test.cpp.

#include "pointed_instances.h"

#include "area_view.h"
#include "failure.h"
#include "row_columns.h"
#include "session.h"

#include <dataface_1/filters.h>
#include <storelink1/query.h>
#include <storelink1/utils.h>

#include <algorithm>
#include <fmt/format.h>
#include <tuple>
#include <utility>

namespace lanefeed_tool {

namespace {

using basekit2::sptr_t;
using basekit2::u16_t;
using basekit2::u64_t;
using storelink1::IQuery;

constexpr const char* kGlobalFilter = "global";

// A named filter that keeps one tick, for as long as it lives.
class TickFilter {
public:
    TickFilter(const sptr_t<dataface_1::IInputData>& input, u64_t tick)
        : m_name(fmt::format("lnfd_tooltip_{}", static_cast<const void*>(this))) {
        if (!dataface_1::lookup(input, m_registry)) return;
        const auto builder = m_registry->createTimeFilterBuilder();
        builder->addRange(tick, tick + 1, false);
        m_registry->setTimeFilter(m_name, builder->build());
    }
    ~TickFilter() {
        if (!m_registry.is_null()) m_registry->removeFilter(m_name);
    }
    TickFilter(const TickFilter&) = delete;
    TickFilter& operator=(const TickFilter&) = delete;

    const std::string& name() const { return m_name; }

private:
    std::string m_name;
    sptr_t<dataface_1::IFilterRegistry> m_registry;
};

}  // namespace

// One read of the table: its query, with the columns of an instance.
class InstanceFinder::Read {
public:
    Read(const InstanceFinder& finder, bool isFiltered) : m_finder(finder) {
        m_query = finder.m_database->createQuery(finder.m_table, 0);
        if (m_query.is_null())
            throw Failure(exitFailure,
                          fmt::format("{}: the table {} can't be read; import the trace again",
                                      finder.m_session.resultName(), finder.m_table));
        if (isFiltered) {
            m_query->useFilters();
            m_query->addFilter(kGlobalFilter);
        }
        m_id = m_query->addColumn("rowid");
        m_start = m_query->addColumn("start_tsc");
        m_end = m_query->addColumn("end_tsc");
        for (const std::string& level : finder.m_levels)
            m_levels.push_back(m_query->addColumn(level));
        for (const std::string& reference : finder.m_references)
            m_references.push_back(m_query->addColumn(reference));
    }

    IQuery& query() { return *m_query; }

    // With the row that all of them are on; -1: to be found for each.
    std::vector<PointedInstance> instances(int row = -1) {
        const storelink1::QueryMutexHolder lock(m_finder.m_database.get());
        std::string error;
        std::string sql;
        const auto records = m_query->execute(nullptr, error, sql);
        if (records.is_null()) throw m_finder.m_session.unreadable(m_finder.m_table, error);
        std::vector<PointedInstance> found;
        for (; !records->atEnd(); records->next())
            found.push_back(instanceOf(*records->current(), row));
        return found;
    }

private:
    PointedInstance instanceOf(const storelink1::IConstRecord& record, int row) const {
        const u64_t first = m_finder.m_area.firstTick();
        PointedInstance instance;
        instance.id = storelink1::utils::variantToIndex(record[m_id]);
        instance.start = record[m_start].get<u64_t>() - first;
        instance.end = record[m_end].get<u64_t>() - first + 1;
        instance.row = row >= 0 ? row : rowOf(record);
        for (const u16_t reference : m_references)
            instance.references.push_back(storelink1::utils::variantToIndex(record[reference]));
        return instance;
    }

    int rowOf(const storelink1::IConstRecord& record) const {
        std::vector<int> indexes;
        for (const u16_t level : m_levels)
            indexes.push_back(storelink1::utils::variantToIndex(record[level]));
        return m_finder.rowOf(indexes);
    }

    const InstanceFinder& m_finder;
    sptr_t<IQuery> m_query;
    u16_t m_id = 0;
    u16_t m_start = 0;
    u16_t m_end = 0;
    std::vector<u16_t> m_levels;
    std::vector<u16_t> m_references;
};

InstanceFinder::InstanceFinder(Session& session,
                               AreaView& area,
                               const lanefeed_1::TLViewpointParser::LayerInfo& layer,
                               std::vector<std::string> references)
    : m_session(session),
      m_area(area),
      m_database(session.database()),
      m_table(layer.drawBy.ds.m_table),
      m_references(std::move(references)),
      m_levels(rowColumns(area.rowSource(layer))) {
    if (m_database.is_null())
        throw Failure(exitFailure,
                      session.resultName() + ": it has no database; import the trace again");
}

std::vector<PointedInstance> InstanceFinder::withId(int id) const {
    Read read(*this, true);
    read.query().addCondition("rowid", 1, id);
    return read.instances();
}

bool InstanceFinder::exists(int id) const {
    Read read(*this, false);
    read.query().addCondition("rowid", 1, id);
    return !read.instances().empty();
}

std::vector<PointedInstance> InstanceFinder::at(int row, std::uint64_t tick) const {
    const std::uint64_t absolute = tick + m_area.firstTick();
    if (isCutOut(absolute)) return {};
    Read read(*this, true);
    addRowConditions(read.query(), row);
    const TickFilter filter(m_session.input(), absolute);
    read.query().addFilter(filter.name());
    std::vector<PointedInstance> found = read.instances(row);
    const auto misses = [tick](const PointedInstance& instance) {
        return tick < instance.start || tick >= instance.end;
    };
    found.erase(std::remove_if(found.begin(), found.end(), misses), found.end());
    // As the time of nested instances is shared: the latest start is innermost, then the earliest
    // end, then the later in the file.
    std::sort(found.begin(), found.end(), [](const PointedInstance& a, const PointedInstance& b) {
        return std::make_tuple(b.start, a.end, b.id) < std::make_tuple(a.start, b.end, a.id);
    });
    return found;
}

bool InstanceFinder::isCutOut(std::uint64_t absoluteTick) const {
    const auto query = m_database->createTimelineQuery();
    if (query.is_null()) return false;
    for (auto cut = query->getFilterIntervals(false); !cut.at_end(); cut.next())
        if (absoluteTick >= cut.current().start && absoluteTick < cut.current().end) return true;
    return false;
}

// The row and all rows above it.
void InstanceFinder::addRowConditions(IQuery& query, int row) const {
    const std::vector<RowInfo>& rows = m_area.rows();
    while (row >= 0 && !m_levels.empty()) {
        const RowInfo& info = rows[static_cast<std::size_t>(row)];
        const auto level = static_cast<std::size_t>(info.level);
        if (level >= m_levels.size() ||
            query.addCondition(m_levels[level], 1, info.dbIndex) == storelink1::InvalidCondIdx)
            throw Failure(exitUsage, fmt::format("--row {}: {} has nothing on rows of this kind; "
                                                 "choose another --layer, or point with --id",
                                                 info.id, m_table));
        row = info.parent;
    }
}

// The deepest row whose chain of rows has these indexes.
int InstanceFinder::rowOf(const std::vector<int>& indexes) const {
    const std::vector<RowInfo>& rows = m_area.rows();
    if (indexes.empty()) return rows.empty() ? -1 : rows.front().id;
    const auto fits = [&](const RowInfo& row) {
        for (int at = row.id; at >= 0; at = rows[static_cast<std::size_t>(at)].parent) {
            const RowInfo& info = rows[static_cast<std::size_t>(at)];
            const auto level = static_cast<std::size_t>(info.level);
            if (level >= indexes.size() || indexes[level] != info.dbIndex) return false;
        }
        return true;
    };
    int found = -1;
    for (const RowInfo& row : rows) {
        const bool isDeeper = found < 0 || row.level > rows[static_cast<std::size_t>(found)].level;
        if (isDeeper && fits(row)) found = row.id;
    }
    return found;
}

}  // namespace lanefeed_tool
