// lanefeed select: time, rows or an object selected through the provider, as a pane does it, then
// put in force and kept in the result. Tested by tests/tool/selection_test.cpp.

#include "area_view.h"
#include "asked_span.h"
#include "failure.h"
#include "filter_print.h"
#include "interrupt.h"
#include "layer_source.h"
#include "session.h"
#include "verbs.h"

#include <dataface_1/filters.h>

#include <charconv>
#include <fmt/format.h>
#include <iostream>
#include <optional>
#include <session/apply_selection.h>
#include <string>
#include <string_view>
#include <vector>

namespace lanefeed_tool {

namespace {

using basekit2::sptr_t;
using lanefeed_1::DicerDataSource;
using lanefeed_runtime::FilterOutcome;

constexpr const char* kDiveFilter = "deep_view_selection_filter";

bool readNumber(std::string_view text, int& number) {
    const auto read = std::from_chars(text.data(), text.data() + text.size(), number);
    return read.ec == std::errc() && read.ptr == text.data() + text.size();
}

std::vector<int> readRowIds(const std::string& text, const AreaView& area) {
    std::vector<int> ids;
    for (std::size_t from = 0; from <= text.size();) {
        const std::size_t comma = std::min(text.find(',', from), text.size());
        int id = 0;
        if (!readNumber(std::string_view(text).substr(from, comma - from), id) || id < 0 ||
            static_cast<std::size_t>(id) >= area.rows().size()) {
            const std::string known =
                area.rows().empty() ? "there are no rows now"
                                    : fmt::format("the rows are 0 to {}", area.rows().size() - 1);
            throw Failure(exitUsage,
                          fmt::format("--rows {}: '{}' is no row; {}, see 'lanefeed rows'", text,
                                      text.substr(from, comma - from), known));
        }
        ids.push_back(id);
        from = comma + 1;
    }
    return ids;
}

void checkOptions(const ViewOptions& view, const SelectOptions& options) {
    const bool time = !view.time.empty();
    const bool rows = !options.rows.empty();
    const bool attr = !options.attr.empty();
    std::string wrong;
    if (!time && !rows && !attr && !options.clear)
        wrong = "say what to select: --time A..B, --rows N,N, --attr LAYER:ID, or --clear";
    else if (options.exclude && options.clear)
        wrong = "--exclude goes with a selection, not with --clear";
    else if (options.exclude && time && rows)
        wrong = "--exclude takes either --time or --rows; select twice";
    else if (options.clear && options.replace)
        wrong = "--replace goes with a selection, not with --clear";
    if (!wrong.empty()) throw Failure(exitUsage, wrong + " (see lanefeed select --help)");
}

// One selection of one area, in the provider's words.
class Selector {
public:
    Selector(Session& session,
             AreaView& area,
             const ViewOptions& view,
             const SelectOptions& options)
        : m_session(session), m_area(area), m_view(view), m_options(options) {}

    // False when the provider can't make the selection.
    bool select() {
        if (!m_options.attr.empty()) return selectObject();
        if (m_options.rows.empty()) return selectTime();
        if (m_area.rowSource() == nullptr) {
            throw Failure(exitUsage, fmt::format("--rows {}: {} has one row, which stands for all; "
                                                 "choose another --area",
                                                 m_options.rows, areaName(m_view.area)));
        }
        const std::vector<int> rows = readRowIds(m_options.rows, m_area);
        if (m_view.time.empty()) return m_area.provider().filterOnRows(rows, m_options.exclude);
        if (rows.size() > 1) {
            throw Failure(exitUsage, fmt::format("--rows {}: with --time only one row can be "
                                                 "selected; select twice, rows and time",
                                                 m_options.rows));
        }
        const TickSpan span = askedSpan(m_session, m_area, m_view.time);
        m_area.provider().filterByTimeAndRow(m_area.rowSource(), span.start, span.end,
                                             rows.front());
        return true;
    }

private:
    bool selectTime() {
        const TickSpan span = askedSpan(m_session, m_area, m_view.time);
        if (m_options.exclude)
            m_area.provider().filterOutByTimeSelection(span.start, span.end);
        else
            m_area.provider().filterInByTimeSelection(span.start, span.end);
        return true;
    }

    bool selectObject() {
        const std::string option = "--attr " + m_options.attr;
        const std::size_t colon = m_options.attr.find(':');
        int layer = 0;
        if (colon == std::string::npos ||
            !readNumber(std::string_view(m_options.attr).substr(0, colon), layer)) {
            throw Failure(exitUsage,
                          option + ": write LAYER:ID or LAYER:NAME, as in 1:17 or 1:main");
        }
        const DicerDataSource source = objectSource(m_area, layer, option);
        const int id =
            objectId(m_session, m_area, source, m_options.attr.substr(colon + 1), option);
        const basekit2::variant_t value = m_area.provider().getAttributeValue(&source, id);
        basekit2::variant_t name;
        basekit2::print_variant(value, name, false);
        return m_area.provider().filterOnAttrId(&source, id, m_options.dive,
                                                name.get<std::string>());
    }

    Session& m_session;
    AreaView& m_area;
    const ViewOptions& m_view;
    const SelectOptions& m_options;
};

// False when the result can't be written to; throws when nothing could be done.
bool keep(const sptr_t<dataface_1::IInputData>& result) {
    const FilterOutcome saved = lanefeed_runtime::saveFilters(result);
    if (saved.kind == FilterOutcome::failed) throw Failure(exitFailure, saved.text);
    if (saved.kind != FilterOutcome::memoryOnly) return true;
    std::cerr << "lanefeed: error: " << saved.text << '\n';
    return false;
}

// The selection put in force and kept.
bool apply(Session& session, AreaView& area, const SelectOptions& options, bool selected) {
    const sptr_t<dataface_1::IInputData>& result = session.input();
    const std::string name = options.dive ? kDiveFilter : area.provider().getSelectionFilterName();
    if (!selected || !area.provider().hasFilter(name)) {
        throw Failure(exitFailure, fmt::format("{}: nothing could be selected; what is in force "
                                               "stays as it was, 'lanefeed info' shows it",
                                               session.resultName()));
    }
    if (options.exclude && !options.attr.empty()) {
        const FilterOutcome excluded = lanefeed_runtime::excludeSelection(result, name);
        if (excluded.kind != FilterOutcome::done) throw Failure(exitFailure, excluded.text);
    }
    const FilterOutcome applied =
        lanefeed_runtime::applySelection(result, name,
                                         options.replace ? lanefeed_runtime::SelectionMode::replace
                                                         : lanefeed_runtime::SelectionMode::narrow);
    if (applied.kind == FilterOutcome::failed || applied.kind == FilterOutcome::nothingSelected)
        throw Failure(exitFailure, applied.text);
    const bool kept = keep(result);
    area.provider().filterChanged(area.provider().getGlobalFilterName());
    return kept;
}

void printFilters(const Session& session, Format format) {
    if (format == Format::json) {
        std::cout << "{\n  \"filters\": " << filtersJson(session.input()) << "\n}\n";
        return;
    }
    const TextTable table = filtersTable(session.input());
    if (format == Format::csv)
        printCsv(std::cout, table);
    else if (table.rows.empty())
        std::cout << "no filter is in force\n";
    else
        printAligned(std::cout, table);
}

}  // namespace

int runSelect(const ViewOptions& view, const SelectOptions& options) {
    checkOptions(view, options);
    Session session(view);
    bool kept = true;
    // From the first change on: whoever interrupts is told what has become of it.
    std::optional<HeldInterrupt> held;
    if (options.clear) {
        held.emplace();
        lanefeed_runtime::clearFilters(session.input());
        kept = keep(session.input());
    } else {
        session.readViewpoint();
        AreaView area(session, view.area);
        const bool selected = Selector(session, area, view, options).select();
        session.requireWholeReads();
        held.emplace();
        kept = apply(session, area, options, selected);
    }
    if (kept) {
        session.noteEmpty();
        printFilters(session, view.format);
    }
    if (held->flag()) {
        throw Failure(exitInterrupted,
                      kept ? "interrupted; the filters are kept already" : "interrupted");
    }
    return kept ? exitOk : exitFailure;
}

}  // namespace lanefeed_tool
