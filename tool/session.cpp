// From the name of a result to a bound provider: what every reading verb does first.

#include "session.h"

#include "failure.h"
#include "log_output.h"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <fmt/format.h>
#include <fstream>
#include <iostream>
#include <iterator>
#include <session/open_result.h>
#include <session/shipped_viewpoints.h>
#include <store/result_facts.h>
#include <typeinfo>
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

sptr_t<dataface_1::IInputData> open(const ViewOptions& options) {
    lanefeed_runtime::OpenOptions how;
    how.queryFiles = options.queries;
    lanefeed_runtime::OpenOutcome outcome;
    sptr_t<dataface_1::IInputData> input =
        lanefeed_runtime::openResult(options.result, how, outcome);
    if (outcome.isOpened() && !input.is_null()) return input;
    throw openFailure(outcome);
}

// Name of what a column shows.
std::string columnName(IColumnInfo& column) {
    sptr_t<dataface_1::IQuery> query = column.getQuery();
    const auto vector = dataface_1::IVectorQuery::cast(query);
    if (!vector.is_null()) query = vector->getDefaultQuery();
    return query.is_null() ? std::string() : query->getName();
}

constexpr int kNameColumnBit = 1;

}  // namespace

Failure openFailure(const lanefeed_runtime::OpenOutcome& outcome) {
    std::string text = outcome.text;
    for (const std::string& further : outcome.more)
        text += "\nlanefeed: error: " + further;
    return {outcome.kind == lanefeed_runtime::OpenOutcome::notUnderstood ? exitNotUnderstood
                                                                         : exitFailure,
            text};
}

std::string readViewpointFile(const std::string& path) {
    errno = 0;
    std::ifstream file(path, std::ios::binary);
    std::string text;
    // A folder opens and fails at the first read.
    if (file) text.assign(std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>());
    if (!file || errno != 0) {
        const std::string reason = errno != 0 ? std::strerror(errno) : "it can't be read";
        throw Failure(exitFailure,
                      fmt::format("{}: {}; name a viewpoint file that can be read", path, reason));
    }
    return text;
}

std::vector<std::string> allMessages(const lanefeed_1::ParseLogger& log) {
    std::vector<std::string> all = log.globalMessages;
    for (const auto& area : log.areaMessages)
        all.insert(all.end(), area.second.begin(), area.second.end());
    for (const auto& area : log.layerMessages)
        for (const auto& layer : area.second)
            all.insert(all.end(), layer.second.begin(), layer.second.end());
    return all;
}

Session::Session(const ViewOptions& options)
    : m_options(options),
      m_input(open(options)),
      m_log(basekit2::make_object<lanefeed_1::ParseLogger>()) {
    dataface_1::lookup(m_input, m_library);
}

std::string Session::viewpointText() {
    std::string name = m_options.viewpoint;
    if (name.empty()) name = lanefeed_runtime::fittingViewpoint(m_input);
    const std::string shipped = lanefeed_runtime::shippedViewpointText(name);
    m_viewpointName = shipped.empty() ? name : fmt::format("shipped viewpoint '{}'", name);
    return shipped.empty() ? readViewpointFile(name) : shipped;
}

void Session::readViewpoint() {
    const std::string text = viewpointText();
    basekit2::variant_bag_t bag;
    std::string error;
    if (!lanefeed_runtime::readViewpoint(text, bag, error)) {
        throw Failure(
            exitNotUnderstood,
            fmt::format("{}:{}; mend it there, or leave --viewpoint out for the shipped one",
                        m_viewpointName, error));
    }
    try {
        HeldLog held;
        m_parser.parseViewpoint(bag, m_library, nullptr, m_input, m_log);
        // Severe messages are logged at once, and stand in the viewpoint's log too.
        for (const std::string& message : allMessages(*m_log))
            held.drop(message);
    } catch (const std::bad_cast&) {  // a bad_lexical_cast
        throw Failure(exitNotUnderstood,
                      fmt::format("{}: a visibleSeriesCount or rowByLevels holds a text that is no "
                                  "number; write numbers there",
                                  m_viewpointName));
    }
    if (!m_log->hasMessages()) return;
    {
        const InformativeLog shown;
        m_log->printMessages();
    }
    if (m_options.strict) {
        throw Failure(
            exitNotUnderstood,
            fmt::format("{}: the log has messages; mend what they name, or leave --strict out",
                        m_viewpointName));
    }
}

bool Session::isEmpty() const {
    const auto facts = lanefeed_runtime::resultFacts(m_input);
    return facts && facts->entry("instances") == "0";
}

bool Session::holdsDataFor(const TLViewpointParser::RowSet* rowSet, IDicerProvider& provider) {
    if (rowSet == nullptr || rowSet->layers.empty()) return true;
    return std::any_of(rowSet->layers.begin(), rowSet->layers.end(),
                       [&](const auto& layer) { return m_parser.isApplicable(layer, &provider); });
}

void Session::noteEmpty() const {
    if (!isEmpty()) return;
    std::cerr << "lanefeed: note: " << m_options.result
              << " holds no instances; there are no series\n";
}

void Session::requireWholeReads() const {
    if (lanefeed_runtime::readCounts(m_input).brokenOff == 0) return;
    throw Failure(exitFailure, fmt::format("{}: it could not be read to the end, so nothing of it "
                                           "is shown; import the trace again",
                                           m_options.result));
}

sptr_t<IDicerProvider> Session::boundProvider(int area) {
    sptr_t<IDicerProvider> provider = IDicerProvider::create(m_input);
    if (provider.is_null()) throw Failure(exitFailure, "no provider could be made for the result");
    auto& rowSets = m_parser.m_areas[static_cast<std::size_t>(area)].rowSets;
    provider->setResult(area, m_input, rowSets.empty() ? nullptr : &rowSets.front(),
                        m_viewpointName, 0);
    return provider;
}

AreaView::AreaView(Session& session, int index) {
    std::vector<TLViewpointParser::Area>& areas = session.viewpoint().m_areas;
    if (index < 0 || index >= static_cast<int>(areas.size())) {
        throw Failure(exitUsage,
                      fmt::format("--area {}: {} has {} area{}{}", index, session.viewpointName(),
                                  areas.size(), areas.size() == 1 ? "" : "s",
                                  areas.empty() ? "" : ", counted from 0"));
    }
    TLViewpointParser::Area& area = areas[static_cast<std::size_t>(index)];
    if (!area.rowSets.empty()) m_rowSet = &area.rowSets.front();
    m_provider = session.boundProvider(index);

    basekit2::u64_t first = 0;
    basekit2::u64_t last = 0;
    basekit2::u64_t ticksPerSecond = 0;
    if (!m_provider->getResultTscRange(first, last, ticksPerSecond)) {
        throw Failure(exitNotUnderstood, "the result tells no time range; import the trace again");
    }
    m_firstTick = first;
    m_time = {ticksPerSecond, last - first + 1};
    m_empty = session.isEmpty() || !session.holdsDataFor(m_rowSet, *m_provider);
    if (m_rowSet != nullptr && !m_rowSet->rowBys.empty() && m_provider->hasRowBy()) {
        m_rowSource = &m_rowSet->rowBys.front().ds;
    }
    readRows(session, index);
}

void AreaView::readRows(const Session& session, int index) {
    if (m_empty) return;
    if (m_rowSource == nullptr) {
        RowInfo whole;
        whole.end = m_time.duration - 1;
        m_rows.push_back(whole);
        m_order.push_back(0);
        return;
    }
    if (!m_provider->getRowSummary(m_table, -1, true, true) || m_table.is_null()) {
        throw Failure(
            exitFailure,
            fmt::format("{}: the rows of area {} could not be read; the log above says why, and "
                        "'lanefeed info' tells what the result holds",
                        session.resultName(), index));
    }
    for (auto it = m_table->getColumns(nullptr); !it.at_end(); it.next())
        m_columns.push_back(it.current());
    addRows(m_table->getRows(nullptr), -1, 0);
    m_provider->getSortOrder(m_order);
    // The order tells of the rows at the top; with rows below them ids are in order already.
    if (m_order.size() != m_rows.size()) {
        m_order.resize(m_rows.size());
        for (std::size_t i = 0; i < m_order.size(); ++i)
            m_order[i] = static_cast<int>(i);
    }
}

void AreaView::addRows(const generic_iterator_t<sptr_t<ITableRow>>& rows, int parent, int level) {
    for (; !rows.at_end(); rows.next()) {
        const sptr_t<ITableRow> row = rows.current();
        RowInfo info;
        info.id = static_cast<int>(m_rows.size());
        info.parent = parent;
        info.level = level;
        readCells(*row, info);
        m_rows.push_back(info);
        generic_iterator_t<sptr_t<ITableRow>> children;
        if (row->getChildren(children, nullptr, false) == dataface_1::ITreeNode::ecsfSuccess) {
            addRows(children, info.id, level + 1);
        }
    }
}

void AreaView::readCells(ITableRow& row, RowInfo& info) const {
    variant_t cell;
    if (row.getContent(nullptr, dataface_1::ccId, cell)) info.dbIndex = cell.get<basekit2::s32_t>();
    for (const sptr_t<IColumnInfo>& column : m_columns) {
        if (!row.getContent(column, dataface_1::ccValue, cell)) continue;
        const std::string name = columnName(*column);
        if ((column->getType() & kNameColumnBit) != 0) {
            info.name = cell.get<std::string>();
        } else if (name == IDicerProvider::startTime) {
            info.start = cell.get<basekit2::u64_t>();
        } else if (name == IDicerProvider::endTime) {
            info.end = cell.get<basekit2::u64_t>();
        }
    }
}

}  // namespace lanefeed_tool
