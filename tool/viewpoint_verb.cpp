// lanefeed viewpoint: reads a viewpoint against a result, shows its log on stderr and what came of
// it on stdout. Tested by tests/tool/series_facts_test.cpp.

#include "area_view.h"
#include "failure.h"
#include "json_text.h"
#include "session.h"
#include "verbs.h"

#include <fmt/format.h>
#include <iostream>
#include <string>
#include <vector>

namespace lanefeed_tool {

namespace {

using lanefeed_1::DicerDataSource;
using lanefeed_1::TLViewpointParser;

const char* layerTypeName(TLViewpointParser::LayerType type) {
    switch (type) {
    case TLViewpointParser::Background: return "background";
    case TLViewpointParser::Overtime: return "overtime";
    case TLViewpointParser::EventMarker: return "eventMarker";
    case TLViewpointParser::EventMarkerGlobal: return "eventMarkerGlobal";
    case TLViewpointParser::RowInterval: return "rowInterval";
    case TLViewpointParser::RowIntervalNested: return "rowIntervalNested";
    case TLViewpointParser::Transition: return "transition";
    case TLViewpointParser::InstanceCountOverTime: return "instanceCountOverTime";
    case TLViewpointParser::CountOverTime: return "countOverTime";
    case TLViewpointParser::GlobalCrossLine: return "globalCrossLine";
    }
    return "unknown";
}

std::string queryId(const DicerDataSource& source) {
    if (!source.m_derivedQuery.is_null()) return source.m_derivedQuery->getId();
    return source.m_defaultQuery.is_null() ? std::string() : source.m_defaultQuery->getId();
}

// One line of the answer: a layer, or an area without any.
struct Line {
    int area = 0;  // or kRuler
    std::string areaId;
    std::string rowBy;
    int layer = -1;
    std::string type;
    std::string query;
    bool applicable = false;
};

// The ruler first, as a pane shows it.
std::vector<Line> describe(Session& session) {
    std::vector<Line> lines;
    const auto addLayers = [&](Line line, const std::vector<TLViewpointParser::LayerInfo>& layers) {
        const auto provider = session.boundProvider(line.area);
        for (const TLViewpointParser::LayerInfo& layer : layers) {
            ++line.layer;
            line.type = layerTypeName(layer.type);
            line.query = queryId(layer.drawBy.ds);
            line.applicable = session.viewpoint().isApplicable(layer, provider.get());
            lines.push_back(line);
        }
    };
    Line ruler;
    ruler.area = kRuler;
    addLayers(ruler, session.viewpoint().m_rulerLayers);
    const auto& areas = session.viewpoint().m_areas;
    for (std::size_t i = 0; i < areas.size(); ++i) {
        Line line;
        line.area = static_cast<int>(i);
        line.areaId = areas[i].id;
        if (areas[i].rowSets.empty()) {
            lines.push_back(line);
            continue;
        }
        const TLViewpointParser::RowSet& rowSet = areas[i].rowSets.front();
        if (!rowSet.rowBys.empty()) line.rowBy = queryId(rowSet.rowBys.front().ds);
        addLayers(line, rowSet.layers);
    }
    return lines;
}

// As options count them: from 0, while the log counts from 1 and has -1 for the ruler.
std::string placeJson(int area, int layer) {
    const auto number = [](int value) {
        return value > 0 ? std::to_string(value - 1) : std::string("null");
    };
    return fmt::format("\"area\": {}, \"layer\": {}, \"ruler\": {}, ", number(area), number(layer),
                       area == kRuler);
}

std::string messagesJson(const lanefeed_1::ParseLogger& log) {
    std::string out = "[";
    const auto add = [&out](const std::string& place, const std::string& message) {
        out += fmt::format("{}\n    {{{}\"message\": {}}}", out.size() == 1 ? "" : ",", place,
                           jsonString(message));
    };
    for (const std::string& message : log.globalMessages)
        add(placeJson(0, 0), message);
    for (const auto& [area, messages] : log.areaMessages) {
        for (const std::string& message : messages)
            add(placeJson(area, 0), message);
    }
    for (const auto& [area, layers] : log.layerMessages) {
        for (const auto& [layer, messages] : layers) {
            for (const std::string& message : messages)
                add(placeJson(area, layer), message);
        }
    }
    return out + (out.size() == 1 ? "]" : "\n  ]");
}

void printJson(Session& session, const std::vector<Line>& lines) {
    std::string out = fmt::format("{{\n  \"viewpoint\": {},\n  \"layers\": [",
                                  jsonString(session.viewpointName()));
    bool first = true;
    for (const Line& line : lines) {
        out += fmt::format(
            "{}\n    {{\"area\": {}, \"areaId\": {}, \"rowBy\": {}, \"layer\": {}, \"type\": {}, "
            "\"query\": {}, \"applicable\": {}}}",
            first ? "" : ",", areaJson(line.area), jsonString(line.areaId), jsonString(line.rowBy),
            line.layer < 0 ? "null" : std::to_string(line.layer), jsonString(line.type),
            jsonString(line.query), line.applicable);
        first = false;
    }
    out += fmt::format("\n  ],\n  \"messages\": {}\n}}\n", messagesJson(session.log()));
    std::cout << out;
}

}  // namespace

int runViewpoint(const ViewOptions& options) {
    Session session(options);
    session.readViewpoint();
    const std::vector<Line> lines = describe(session);
    session.requireWholeReads();
    if (options.format == Format::json) {
        printJson(session, lines);
        return exitOk;
    }
    TextTable table;
    table.columns = {{"area", true},  {"id", false},    {"rows by", false},   {"layer", true},
                     {"type", false}, {"query", false}, {"applicable", false}};
    for (const Line& line : lines) {
        table.rows.push_back({line.area == kRuler ? "ruler" : std::to_string(line.area),
                              line.areaId, line.rowBy,
                              line.layer < 0 ? "" : std::to_string(line.layer), line.type,
                              line.query, line.layer < 0 ? "" : (line.applicable ? "yes" : "no")});
    }
    if (options.format == Format::csv) {
        printCsv(std::cout, table);
    } else {
        printAligned(std::cout, table);
    }
    return exitOk;
}

}  // namespace lanefeed_tool
