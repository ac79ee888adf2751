// lanefeed tooltip: what a pane tells about the things under its pointer. Times are ticks from the
// first one of the result, half open. Tested by tests/tool/tooltip_test.cpp.

#include "area_view.h"
#include "failure.h"
#include "json_text.h"
#include "pointed_instances.h"
#include "session.h"
#include "time_range.h"
#include "verbs.h"

#include <charconv>
#include <fmt/format.h>
#include <iostream>
#include <limits>
#include <queryparam.h>

namespace lanefeed_tool {

namespace {

using lanefeed_1::DicerDataSource;
using lanefeed_1::TLViewpointParser;
using LayerInfo = TLViewpointParser::LayerInfo;

struct Line {
    std::string key;
    std::string value;
};

// One line of a tooltip: a source with one attribute, and the table whose rows it is asked for.
struct LineSource {
    DicerDataSource source;
    std::string table;
    bool isTime = false;  // an absolute tick
};

std::vector<LineSource> lineSources(const DicerDataSource& tooltip) {
    std::vector<LineSource> lines;
    for (const DicerDataSource::ExtraArgs& extra : tooltip.m_extras) {
        LineSource line;
        line.source.m_extras.push_back(extra);
        const std::string path = extra.suffix.empty() ? extra.attr : extra.suffix;
        line.table = path.substr(0, path.find('.'));
        basekit2::variant_t type;
        extra.query->getAttribute("valueType", type);
        line.isTime = type.can_get<const char*>() && type.get<std::string>() == "tsc";
        lines.push_back(std::move(line));
    }
    return lines;
}

std::vector<std::string> tablesOf(const std::vector<LineSource>& lines) {
    std::vector<std::string> tables;
    tables.reserve(lines.size());
    for (const LineSource& line : lines)
        tables.push_back(line.table);
    return tables;
}

// A time as the others of this verb; what is no tick stays as it is.
std::string fromFirstTick(const std::string& text, std::uint64_t firstTick) {
    std::uint64_t tick = 0;
    const char* end = text.data() + text.size();
    const auto read = std::from_chars(text.data(), end, tick);
    if (read.ec != std::errc() || read.ptr != end || tick < firstTick) return text;
    return std::to_string(tick - firstTick);
}

// What the provider tells of an instance.
std::vector<Line> linesOf(AreaView& area,
                          const std::vector<LineSource>& sources,
                          const PointedInstance& instance) {
    std::vector<Line> lines;
    for (std::size_t i = 0; i < sources.size(); ++i) {
        auto items = area.provider().getTooltips(&sources[i].source, instance.references[i]);
        for (; !items.at_end(); items.next()) {
            const auto item = items.current();
            std::string value = item->getValue().get<std::string>();
            if (sources[i].isTime) value = fromFirstTick(value, area.firstTick());
            lines.push_back(
                {lanefeed_1::getString(item->getKey().get<std::string>()), std::move(value)});
        }
    }
    return lines;
}

struct Answer {
    int area = 0;
    int layer = 0;
    std::string table;
    std::vector<PointedInstance> instances;
    std::vector<std::vector<Line>> lines;  // of each instance
    std::size_t leftOut = 0;
};

std::string rowName(const AreaView& area, int row) {
    return row < 0 ? std::string() : area.rows()[static_cast<std::size_t>(row)].name;
}

std::string rowText(int row) {
    return row < 0 ? std::string() : std::to_string(row);
}

void printJson(const AreaView& area, const Answer& answer) {
    std::string out =
        fmt::format("{{\"area\": {}, \"layer\": {}, \"table\": {}, \"leftOut\": {}, \"objects\": [",
                    areaJson(answer.area), answer.layer, jsonString(answer.table), answer.leftOut);
    for (std::size_t i = 0; i < answer.instances.size(); ++i) {
        const PointedInstance& instance = answer.instances[i];
        out += fmt::format(
            "{}\n  {{\"id\": {}, \"row\": {}, \"rowName\": {}, \"start\": {}, \"end\": {}, "
            "\"items\": [",
            i == 0 ? "" : ",", instance.id, instance.row < 0 ? "null" : rowText(instance.row),
            jsonString(rowName(area, instance.row)), instance.start, instance.end);
        for (const Line& line : answer.lines[i])
            out += fmt::format("{}{{\"key\": {}, \"value\": {}}}", out.back() == '[' ? "" : ", ",
                               jsonString(line.key), jsonString(line.value));
        out += "]}";
    }
    std::cout << out << "\n]}\n";
}

// A line of the table for each line of a tooltip; one with nothing behind the instance for an
// instance without any. On a terminal what is the same as above stands once.
TextTable textTable(const AreaView& area, const Answer& answer, Format format) {
    TextTable table;
    table.columns = {{"id", true},  {"row", true},  {"rowName", false}, {"start", true},
                     {"end", true}, {"key", false}, {"value", false}};
    for (std::size_t i = 0; i < answer.instances.size(); ++i) {
        const PointedInstance& instance = answer.instances[i];
        std::vector<std::string> head{std::to_string(instance.id), rowText(instance.row),
                                      rowName(area, instance.row), std::to_string(instance.start),
                                      std::to_string(instance.end)};
        std::vector<Line> lines = answer.lines[i];
        if (lines.empty()) lines.emplace_back();
        for (const Line& line : lines) {
            table.rows.push_back(head);
            table.rows.back().push_back(line.key);
            table.rows.back().push_back(line.value);
            if (format == Format::table) head.assign(head.size(), "");
        }
    }
    return table;
}

void checkPointer(const TooltipOptions& options) {
    const bool isPlace = options.row.has_value() || !options.at.empty();
    const bool isWhole = options.row.has_value() && !options.at.empty();
    if (options.id && isPlace)
        throw Failure(exitUsage, "--id points at one instance already; leave --row and --at out");
    if (!options.id && !isWhole)
        throw Failure(exitUsage,
                      "nothing is pointed at; write --id N, or --row R and --at TIME "
                      "(see lanefeed tooltip --help)");
}

// Empty when a layer has a tooltip to show, else why not.
std::string refusal(Session& session, AreaView& area, const LayerInfo& layer) {
    if (!layer.tooltipBy.valid || layer.tooltipBy.ds.m_extras.empty())
        return "has no tooltip; give it a <tooltipBy> in the viewpoint";
    if (layer.drawBy.ds.m_table.empty()) return "draws no instances";
    if (!session.viewpoint().isApplicable(layer, &area.provider()))
        return "needs data that the result does not hold";
    return {};
}

int chooseLayer(Session& session, AreaView& area, const ViewOptions& view) {
    static const std::vector<LayerInfo> kNone;
    const std::vector<LayerInfo>& layers = area.rowSet() != nullptr ? area.rowSet()->layers : kNone;
    if (view.layer >= static_cast<int>(layers.size()))
        throw Failure(exitUsage,
                      fmt::format("--layer {}: {} of {} has {} layers, counted from 0", view.layer,
                                  areaName(view.area), session.viewpointName(), layers.size()));
    std::string known;
    for (int i = 0; i < static_cast<int>(layers.size()); ++i) {
        const std::string why = refusal(session, area, layers[static_cast<std::size_t>(i)]);
        if (why.empty() && (view.layer < 0 || view.layer == i)) return i;
        if (why.empty()) known += (known.empty() ? "" : ", ") + std::to_string(i);
        if (view.layer != i) continue;
        throw Failure(exitUsage,
                      fmt::format("--layer {}: layer {} of {} {}", i, i, areaName(view.area), why));
    }
    throw Failure(exitUsage,
                  fmt::format("no layer of {} of {} has a tooltip that the result can fill; "
                              "give one a <tooltipBy>",
                              areaName(view.area), session.viewpointName()));
}

int idOf(long long asked) {
    return asked < 0 || asked > std::numeric_limits<int>::max() ? -1 : static_cast<int>(asked);
}

std::vector<PointedInstance> instanceWithId(const Session& session,
                                            const InstanceFinder& finder,
                                            const std::string& table,
                                            long long asked) {
    const int id = idOf(asked);
    if (id < 0 || !finder.exists(id))
        throw Failure(exitUsage, fmt::format("--id {}: the table {} of {} has no such instance; "
                                             "--row R --at TIME finds what is at a place",
                                             asked, table, session.resultName()));
    std::vector<PointedInstance> found = finder.withId(id);
    if (found.empty())
        throw Failure(exitUsage,
                      fmt::format("--id {}: the filters in force leave this instance of {} out; {}",
                                  asked, table, session.filterAdvice()));
    return found;
}

std::vector<PointedInstance> instancesAt(const AreaView& area,
                                         const InstanceFinder& finder,
                                         const ViewOptions& view,
                                         const TooltipOptions& options,
                                         const std::string& table) {
    const int row = idOf(*options.row);
    if (row < 0 || row >= static_cast<int>(area.rows().size()))
        throw Failure(exitUsage,
                      fmt::format("--row {}: {} has {} rows, counted from 0; see 'lanefeed rows'",
                                  *options.row, areaName(view.area), area.rows().size()));
    const std::uint64_t tick = parseTime(options.at, area.time(), "--at");
    std::vector<PointedInstance> found = finder.at(row, tick);
    if (found.empty())
        std::cerr << fmt::format("lanefeed: note: nothing of {} is on row {} at tick {}\n", table,
                                 row, tick);
    return found;
}

void limit(Answer& answer, long long most) {
    const auto shown = static_cast<unsigned long long>(most);
    if (answer.instances.size() <= shown) return;
    answer.leftOut = answer.instances.size() - static_cast<std::size_t>(shown);
    answer.instances.resize(static_cast<std::size_t>(shown));
    std::cerr << fmt::format(
        "lanefeed: note: {} more instances cover that time; a larger --limit shows them\n",
        answer.leftOut);
}

}  // namespace

int runTooltip(const ViewOptions& view, const TooltipOptions& options) {
    checkPointer(options);
    Session session(view);
    session.readViewpoint();
    AreaView area(session, view.area);
    Answer answer;
    answer.area = view.area;
    answer.layer = chooseLayer(session, area, view);
    const LayerInfo& layer = area.rowSet()->layers[static_cast<std::size_t>(answer.layer)];
    answer.table = layer.drawBy.ds.m_table;

    const std::vector<LineSource> sources = lineSources(layer.tooltipBy.ds);
    const InstanceFinder finder(session, area, layer, tablesOf(sources));
    answer.instances = options.id ? instanceWithId(session, finder, answer.table, *options.id)
                                  : instancesAt(area, finder, view, options, answer.table);
    limit(answer, options.limit);
    for (const LineSource& line : sources)
        area.provider().cacheTooltipData(&line.source);
    for (const PointedInstance& instance : answer.instances)
        answer.lines.push_back(linesOf(area, sources, instance));
    session.requireWholeReads();

    switch (view.format) {
    case Format::json: printJson(area, answer); break;
    case Format::csv: printCsv(std::cout, textTable(area, answer, view.format)); break;
    case Format::table: printAligned(std::cout, textTable(area, answer, view.format)); break;
    }
    return exitOk;
}

}  // namespace lanefeed_tool
