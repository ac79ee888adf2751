// The rows of an area as a pane reads them: the row summary of the provider, its order, and what
// filters leave of it. Tested by tests/tool/series_facts_test.cpp and selection_test.cpp.

#include "area_view.h"

#include "failure.h"
#include "held_data.h"
#include "log_output.h"
#include "nearest.h"
#include "row_columns.h"
#include "session.h"
#include "verbs.h"

#include <facekit_1_x/conversions.h>

#include <algorithm>
#include <fmt/format.h>
#include <iostream>
#include <locale>
#include <map>
#include <set>
#include <utility>

namespace lanefeed_tool {

namespace {

using basekit2::generic_iterator_t;
using basekit2::sptr_t;
using basekit2::variant_t;
using dataface_1::IColumnInfo;
using dataface_1::ITableRow;
using lanefeed_1::IDicerProvider;
using lanefeed_1::TLViewpointParser;

constexpr int kNameColumnBit = 1;
constexpr const char* kGlobalFilter = "global";

// What a column shows; of a vector its first query.
sptr_t<dataface_1::IQuery> columnQuery(IColumnInfo& column) {
    sptr_t<dataface_1::IQuery> query = column.getQuery();
    const auto vector = dataface_1::IVectorQuery::cast(query);
    return vector.is_null() ? query : vector->getDefaultQuery();
}

// Columns with the same caption get the id of their query behind it, or their number.
void nameApart(std::vector<ValueColumn>& columns) {
    std::map<std::string, int> captions;
    for (const ValueColumn& column : columns)
        ++captions[column.name];
    std::set<std::string> used;
    for (std::size_t i = 0; i < columns.size(); ++i) {
        ValueColumn& column = columns[i];
        if (captions[column.name] > 1 && !column.id.empty())
            column.name = fmt::format("{} ({})", column.name, column.id);
        if (captions[column.name] > 1 || used.count(column.name) > 0)
            column.name = fmt::format("{} #{}", column.name, i + 1);
        used.insert(column.name);
    }
}

// Order of cells as the provider sorts rows: texts without regard to case.
variant_t sortKey(const variant_t& value) {
    if (value.get_type() != basekit2::vtString && value.get_type() != basekit2::vtConstString)
        return value;
    auto text = value.get<std::string>();
    const std::locale locale;
    std::use_facet<std::ctype<char>>(locale).tolower(text.data(), text.data() + text.size());
    return text;
}

}  // namespace

std::string areaName(int area) {
    return area == kRuler ? "the ruler" : fmt::format("area {}", area);
}

std::string areaJson(int area) {
    return area == kRuler ? "null" : std::to_string(area);
}

void AreaView::chooseRowSet(Session& session, int index) {
    if (index == kRuler) {
        m_ruler.layers = m_viewpoint.m_rulerLayers;
        m_rowSet = &m_ruler;
        if (m_ruler.layers.empty())
            throw Failure(exitUsage, "--area ruler: " + session.viewpointName() + " has no ruler");
        return;
    }
    std::vector<TLViewpointParser::Area>& areas = m_viewpoint.m_areas;
    if (index < 0 || index >= static_cast<int>(areas.size())) {
        throw Failure(exitUsage,
                      fmt::format("--area {}: {} has {} area{}{}", index, session.viewpointName(),
                                  areas.size(), areas.size() == 1 ? "" : "s",
                                  areas.empty() ? "" : ", counted from 0"));
    }
    TLViewpointParser::Area& area = areas[static_cast<std::size_t>(index)];
    if (!area.rowSets.empty()) m_rowSet = &area.rowSets.front();
}

AreaView::AreaView(Session& session, int index) : m_viewpoint(session.viewpoint()) {
    chooseRowSet(session, index);
    m_provider = session.boundProvider(index);

    basekit2::u64_t first = 0;
    basekit2::u64_t last = 0;
    basekit2::u64_t ticksPerSecond = 0;
    if (!m_provider->getResultTscRange(first, last, ticksPerSecond)) {
        throw Failure(exitNotUnderstood, "the result tells no time range; import the trace again");
    }
    m_firstTick = first;
    m_time = {ticksPerSecond, last - first + 1};
    if (m_rowSet != nullptr && !m_rowSet->rowBys.empty() && m_provider->hasRowBy()) {
        m_rowSource = &m_rowSet->rowBys.front().ds;
        m_lacksRows = !HeldData(session.input()).hasRowsFor(m_rowSource->m_defaultQuery);
    }
    m_empty = m_lacksRows || session.isEmpty() || !session.holdsDataFor(m_rowSet, *m_provider);
    readRows(session, index);
}

const lanefeed_1::DicerDataSource* AreaView::rowSource(
    const TLViewpointParser::LayerInfo& layer) const {
    if (m_rowSource == nullptr) return nullptr;
    const TLViewpointParser::RowBy picked = m_viewpoint.getLayerRowBy(layer, *m_rowSet, 0);
    for (const TLViewpointParser::RowBy& row : m_rowSet->rowBys)
        if (row.ds.m_defaultQuery == picked.ds.m_defaultQuery) return &row.ds;
    return m_rowSource;
}

void AreaView::readRows(Session& session, int index) {
    if (m_empty) return;
    if (m_rowSource == nullptr) {
        RowInfo whole;
        whole.end = m_time.duration - 1;
        m_rows.push_back(whole);
        m_order.push_back(0);
        return;
    }
    HeldLog held;
    const bool isRead = m_provider->getRowSummary(m_table, -1, true, true) && !m_table.is_null();
    // Of a damaged file the log tells what follows from that alone.
    if (!session.hasWholeReads()) held.drop("");
    session.requireWholeReads();
    if (!isRead) {
        m_filteredOut = session.isFiltered();
        if (m_filteredOut) {
            // An empty table is no failure when filters made it so.
            held.drop("");
            return;
        }
        throw Failure(
            exitFailure,
            fmt::format("{}: the rows of {} could not be read; the log above says why, and "
                        "'lanefeed info' tells what the result holds",
                        session.resultName(), areaName(index)));
    }
    readColumns(m_table->getColumns(nullptr), "");
    nameApart(m_values);
    addRows(m_table->getRows(nullptr), -1, 0);
    readOrder();
}

void AreaView::readColumns(const generic_iterator_t<sptr_t<IColumnInfo>>& columns,
                           const std::string& prefix) {
    for (; !columns.at_end(); columns.next()) {
        const sptr_t<IColumnInfo> column = columns.current();
        const sptr_t<dataface_1::IQuery> query = columnQuery(*column);
        const std::string key = query.is_null() ? std::string() : query->getName();
        const std::string name = prefix + lanefeed_1::getString(key);
        const int type = column->getType();
        if ((type & kNameColumnBit) != 0) {
            // Whatever is called "name" has the names of the rows in its cells.
            if (!m_name.is_null())
                std::cerr << "lanefeed: note: a column called 'name' passes for that of names and "
                             "is not shown; give its query another displayName\n";
            else
                m_name = column;
        } else if (key == IDicerProvider::startTime) {
            m_start = column;
        } else if (key == IDicerProvider::endTime) {
            m_end = column;
        } else if ((type & dataface_1::numericColumnBit) != 0) {
            m_values.push_back({name, query.is_null() ? key : query->getId(), column});
        }
        generic_iterator_t<sptr_t<IColumnInfo>> children;
        if (column->getChildren(children, nullptr, false) == dataface_1::ITreeNode::ecsfSuccess)
            readColumns(children, name + ":");
    }
}

void AreaView::addRows(const Rows& rows, int parent, int level) {
    for (; !rows.at_end(); rows.next()) {
        const sptr_t<ITableRow> row = rows.current();
        RowInfo info;
        info.id = static_cast<int>(m_rows.size());
        info.parent = parent;
        info.level = level;
        readCells(*row, info);
        m_rows.push_back(info);
        m_tableRows.push_back(row);
        Rows children;
        if (row->getChildren(children, nullptr, false) == dataface_1::ITreeNode::ecsfSuccess) {
            addRows(children, info.id, level + 1);
        }
    }
}

void AreaView::readCells(ITableRow& row, RowInfo& info) const {
    variant_t cell;
    if (row.getContent(nullptr, dataface_1::ccId, cell)) info.dbIndex = cell.get<basekit2::s32_t>();
    const auto read = [&](const sptr_t<IColumnInfo>& column) {
        return !column.is_null() && row.getContent(column, dataface_1::ccValue, cell);
    };
    if (read(m_name)) info.name = cell.get<std::string>();
    if (read(m_start)) info.start = cell.get<basekit2::u64_t>();
    if (read(m_end)) info.end = cell.get<basekit2::u64_t>();
    for (const ValueColumn& value : m_values)
        info.values.push_back(read(value.column) ? cell : variant_t());
}

// The provider tells the order of the rows at the top; those below are put into the same order,
// each within its parent.
void AreaView::readOrder() {
    std::vector<std::vector<int>> children(m_rows.size());
    std::vector<int> top;
    for (const RowInfo& row : m_rows)
        (row.parent < 0 ? top : children[static_cast<std::size_t>(row.parent)]).push_back(row.id);
    IDicerProvider::SortInfo sorting;
    if (m_provider->getCurrentSorting(sorting)) {
        if (sorting.column == m_name && sorting.content == dataface_1::ccValue)
            sorting.content = facekit_1_x::getSortValueType(m_tableRows.front()->getQuery());
        std::vector<variant_t> keys(m_rows.size());
        for (std::size_t i = 0; i < m_rows.size(); ++i) {
            variant_t cell;
            m_tableRows[i]->getContent(sorting.column, sorting.content, cell);
            keys[i] = sortKey(cell);
        }
        const auto before = [&](int a, int b) {
            const variant_t& keyA = keys[static_cast<std::size_t>(a)];
            const variant_t& keyB = keys[static_cast<std::size_t>(b)];
            return sorting.ascending ? keyA < keyB : keyB < keyA;
        };
        for (std::vector<int>& level : children)
            std::stable_sort(level.begin(), level.end(), before);
    }
    std::vector<int> positions;
    m_provider->getSortOrder(positions);
    m_order.clear();
    for (const int position : positions)
        if (position >= 0 && static_cast<std::size_t>(position) < top.size())
            addInOrder(top[static_cast<std::size_t>(position)], children);
}

void AreaView::addInOrder(int row, const std::vector<std::vector<int>>& children) {
    m_order.push_back(row);
    for (const int child : children[static_cast<std::size_t>(row)])
        addInOrder(child, children);
}

sptr_t<IColumnInfo> AreaView::sortColumn(const std::string& name) const {
    if (name == "name") return m_name;
    if (name == "start") return m_start;
    if (name == "end") return m_end;
    for (const ValueColumn& value : m_values)
        if (name == value.name || name == value.id) return value.column;
    return nullptr;
}

std::string AreaView::columnNames() const {
    std::string names = "name, start, end";
    for (const ValueColumn& value : m_values)
        names += ", " + value.name;
    return names;
}

void AreaView::sortBy(const std::string& text) {
    IDicerProvider::SortInfo sorting;
    const std::size_t colon = text.rfind(':');
    const std::string direction = colon == std::string::npos ? "" : text.substr(colon + 1);
    const bool directed = direction == "asc" || direction == "desc";
    const std::string name = directed ? text.substr(0, colon) : text;
    // Without rows there is nothing to sort, whatever the column.
    if (m_tableRows.empty()) return;
    sorting.column = sortColumn(name);
    sorting.ascending = direction != "desc";
    if (sorting.column.is_null()) {
        throw Failure(exitUsage,
                      fmt::format("--sort {}: no column '{}'; known: {}; a :desc behind it turns "
                                  "the order round",
                                  text, name, columnNames()));
    }
    m_provider->setSorting(sorting);
    readOrder();
}

void AreaView::takeValues(const AreaView& other) {
    const RowIndex index(*this);
    std::vector<std::size_t> place(m_rows.size(), m_rows.size());
    for (std::size_t i = 0; i < other.m_order.size(); ++i) {
        const RowInfo& row = other.m_rows[static_cast<std::size_t>(other.m_order[i])];
        const int mine = index.row(other.pathOf(row.id));
        if (mine < 0) continue;
        m_rows[static_cast<std::size_t>(mine)].values = row.values;
        place[static_cast<std::size_t>(mine)] = i;
    }
    std::stable_sort(m_order.begin(), m_order.end(), [&](int a, int b) {
        return place[static_cast<std::size_t>(a)] < place[static_cast<std::size_t>(b)];
    });
}

std::vector<int> AreaView::pathOf(int row) const {
    std::vector<int> path;
    for (int at = row; at >= 0; at = m_rows[static_cast<std::size_t>(at)].parent)
        path.push_back(m_rows[static_cast<std::size_t>(at)].dbIndex);
    std::reverse(path.begin(), path.end());
    return path;
}

void AreaView::keepVisible(Session& session) {
    if (m_rows.empty()) return;
    m_provider->filterChanged(kGlobalFilter);
    std::vector<int> visible;
    HeldLog held;
    if (!m_provider->getVisibleRows(visible, -1)) {
        if (!session.isFiltered())
            throw Failure(exitFailure,
                          fmt::format("{}: the visible rows could not be read; the log above says "
                                      "why",
                                      session.resultName()));
        session.requireWholeReads();
        held.drop("");
    }
    std::vector<bool> kept(m_rows.size());
    for (const int row : visible)
        if (row >= 0 && static_cast<std::size_t>(row) < kept.size())
            kept[static_cast<std::size_t>(row)] = true;
    m_filteredOut = visible.empty();
    m_order.erase(std::remove_if(m_order.begin(), m_order.end(),
                                 [&](int row) { return !kept[static_cast<std::size_t>(row)]; }),
                  m_order.end());
}

}  // namespace lanefeed_tool
