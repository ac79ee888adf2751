// From the name of a result to a bound provider: what every reading verb does first.

#include "session.h"

#include "failure.h"
#include "log_output.h"

#include <dataface_1/filters.h>
#include <storelink1/database.h>

#include <algorithm>
#include <cerrno>
#include <fmt/format.h>
#include <fmt/ranges.h>
#include <fstream>
#include <iostream>
#include <session/apply_selection.h>
#include <session/filter_text.h>
#include <session/open_result.h>
#include <session/shipped_viewpoints.h>
#include <sstream>
#include <store/result_facts.h>
#include <store/schema.h>
#include <system_error>
#include <typeinfo>
#include <utility>

namespace lanefeed_tool {

namespace {

using basekit2::sptr_t;
using lanefeed_1::IDicerProvider;
using lanefeed_1::TLViewpointParser;

constexpr const char* kGlobalFilter = "global";
// Holds the filters of one call, until they are part of the global one.
constexpr const char* kCallFilter = "call_filter";

sptr_t<dataface_1::IInputData> open(const ViewOptions& options) {
    lanefeed_runtime::OpenOptions how;
    how.queryFiles = options.queries;
    lanefeed_runtime::OpenOutcome outcome;
    sptr_t<dataface_1::IInputData> input =
        lanefeed_runtime::openResult(options.result, how, outcome);
    for (const std::string& warning : outcome.warnings)
        std::cerr << "lanefeed: warning: " << warning << '\n';
    if (outcome.isOpened() && !input.is_null()) return input;
    throw openFailure(outcome);
}

}  // namespace

Failure openFailure(const lanefeed_runtime::OpenOutcome& outcome) {
    std::string text = outcome.text;
    for (const std::string& further : outcome.more)
        text += "\nlanefeed: error: " + further;
    return {outcome.kind == lanefeed_runtime::OpenOutcome::notUnderstood ? exitNotUnderstood
                                                                         : exitFailure,
            text};
}

std::string readViewpointFile(const std::string& path, const std::string& others) {
    errno = 0;
    const std::ifstream file(path, std::ios::binary);
    std::ostringstream text;
    // A folder opens and fails at the first read.
    if (file) text << file.rdbuf();
    if (!file || errno != 0) {
        const std::string reason =
            errno != 0 ? std::generic_category().message(errno) : "it can't be read";
        throw Failure(exitFailure, fmt::format("{}: {}; name a viewpoint file that can be read{}",
                                               path, reason, others));
    }
    return text.str();
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
    applyFilters(options.filters);
}

void Session::applyFilters(const std::vector<std::string>& texts) {
    if (texts.empty()) return;
    std::string error;
    std::vector<std::string> notes;
    if (!lanefeed_runtime::readFilterTexts(m_input, texts, kCallFilter, error, &notes))
        throw Failure(exitUsage, "--filter " + error);
    for (const std::string& note : notes)
        std::cerr << "lanefeed: warning: --filter " << note << '\n';
    const lanefeed_runtime::FilterOutcome outcome =
        lanefeed_runtime::applySelection(m_input, kCallFilter);
    if (outcome.kind == lanefeed_runtime::FilterOutcome::failed)
        throw Failure(exitFailure, outcome.text);
    sptr_t<dataface_1::IFilterRegistry> filters;
    if (dataface_1::lookup(m_input, filters)) filters->removeFilter(kCallFilter);
}

bool Session::isFiltered() const {
    sptr_t<dataface_1::IFilterRegistry> filters;
    return dataface_1::lookup(m_input, filters) && filters->hasFilter(kGlobalFilter);
}

sptr_t<storelink1::IDatabase> Session::database() const {
    sptr_t<storelink1::IPerfDatabase> performance;
    if (!dataface_1::lookup(m_input, performance)) return nullptr;
    return performance->getDatabase(m_input);
}

bool Session::holdsRows(const std::string& table) const {
    std::string error;
    const bool found = findRow(table, nullptr, error);
    if (!error.empty()) throw unreadable(table, error);
    return found;
}

bool Session::findRow(const std::string& table, const char* filter, std::string& error) const {
    const sptr_t<storelink1::IDatabase> store = database();
    if (store.is_null() || !store->isTableExist(table)) return false;
    const sptr_t<storelink1::IQuery> query = store->createQuery(table, 0);
    if (query.is_null()) return false;
    query->addColumn("rowid");
    if (filter != nullptr) query->addFilter(filter);
    const storelink1::QueryMutexHolder lock(store.get());
    std::string sql;
    const auto records = query->execute(nullptr, error, sql);
    if (records.is_null() && error.empty()) error = "no reason is told";
    return !records.is_null() && !records->atEnd();
}

Failure Session::unreadable(const std::string& table, const std::string& reason) const {
    return {exitFailure, fmt::format("{}: the table {} can't be read ({}); import the trace again",
                                     m_options.result, table, reason)};
}

bool Session::leavesAnything() const {
    const auto& tables = lanefeed_runtime::schemaTables();
    return std::any_of(tables.begin(), tables.end(), [&](const lanefeed_runtime::TableDef& def) {
        if (def.role != lanefeed_runtime::TableRole::instance) return false;
        // Something may be left in a table that can't be read; whoever reads it is told.
        std::string error;
        return findRow(std::string(def.name), kGlobalFilter, error) || !error.empty();
    });
}

std::string Session::viewpointText() {
    std::string name = m_options.viewpoint;
    if (name.empty()) name = lanefeed_runtime::fittingViewpoint(m_input);
    const std::string shipped = lanefeed_runtime::shippedViewpointText(name);
    m_viewpointName = shipped.empty() ? name : fmt::format("shipped viewpoint '{}'", name);
    if (!shipped.empty()) return shipped;
    return readViewpointFile(
        name, fmt::format(", or a shipped one: {}",
                          fmt::join(lanefeed_runtime::shippedViewpointNames(), ", ")));
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
    if (isEmpty()) {
        std::cerr << "lanefeed: note: " << m_options.result
                  << " holds no instances; there is nothing to show\n";
    } else if (isFiltered() && !leavesAnything()) {
        std::cerr << "lanefeed: note: the filters in force leave nothing of " << m_options.result
                  << "; " << filterAdvice() << '\n';
    }
}

std::string Session::filterAdvice() const {
    return m_options.filters.empty()
               ? "'lanefeed info' shows them, 'lanefeed select --clear' drops them"
               : "leave --filter out for what is selected alone";
}

bool Session::hasWholeReads() const {
    return lanefeed_runtime::readCounts(m_input).brokenOff == 0;
}

void Session::requireWholeReads() const {
    const lanefeed_runtime::ReadCounts reads = lanefeed_runtime::readCounts(m_input);
    if (reads.brokenOff == 0) return;
    throw Failure(exitFailure, fmt::format("{}: it could not be read to the end ({}), so nothing "
                                           "of it is shown; try again, then import the trace again",
                                           m_options.result, reads.brokenWhy));
}

sptr_t<IDicerProvider> Session::boundProvider(int area) {
    sptr_t<IDicerProvider> provider = IDicerProvider::create(m_input);
    if (provider.is_null()) throw Failure(exitFailure, "no provider could be made for the result");
    TLViewpointParser::RowSet* rowSet = nullptr;
    if (area != kRuler) {
        auto& rowSets = m_parser.m_areas[static_cast<std::size_t>(area)].rowSets;
        if (!rowSets.empty()) rowSet = &rowSets.front();
    }
    provider->setResult(area, m_input, rowSet, m_viewpointName, 0);
    return provider;
}

}  // namespace lanefeed_tool
