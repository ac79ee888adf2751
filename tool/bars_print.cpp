// Bars as text for people, as lines and as JSON. Tested by tests/tool/layer_verbs_test.cpp.

#include "bars_print.h"

#include "area_view.h"
#include "json_text.h"

#include <algorithm>
#include <fmt/format.h>
#include <iostream>
#include <iterator>

namespace lanefeed_tool {

namespace {

constexpr std::size_t kRowCharacters = 34;
constexpr std::size_t kNameCharacters = 60;
constexpr std::size_t kBarsShown = 20;  // of each row on a terminal

void appendBar(std::string& out, const Bar& bar) {
    const std::string color = colorText(bar.color);
    fmt::format_to(std::back_inserter(out),
                   "{{\"start\": {}, \"end\": {}, \"attr\": {}, \"name\": {}, \"color\": {}, "
                   "\"count\": {}, \"series\": {}, \"depth\": {}, \"children\": [",
                   bar.start, bar.end, bar.attr, jsonString(bar.name),
                   color.empty() ? "null" : jsonString(color), bar.count, bar.series, bar.depth);
    for (std::size_t i = 0; i < bar.children.size(); ++i) {
        if (i > 0) out += ", ";
        appendBar(out, bar.children[i]);
    }
    out += "]}";
}

class JsonBars : public BarPrinter {
public:
    JsonBars() { std::cout << '['; }
    ~JsonBars() override { std::cout << "\n]\n"; }

    void beginLayer(const LayerTitle& title) override {
        std::cout << (m_layers++ > 0 ? "," : "") << layerJson(title);
        m_list = "intervals";
        m_rows = 0;
    }
    void row(const RowInfo& row, const std::vector<Bar>& bars) override {
        std::string out = (m_rows++ > 0 ? "," : "") + rowJson(row, m_list);
        for (std::size_t i = 0; i < bars.size(); ++i) {
            out += i > 0 ? ",\n      " : "\n      ";
            appendBar(out, bars[i]);
        }
        std::cout << out << "]}";
    }
    void endLayer() override { std::cout << "]}"; }

private:
    const char* m_list = "";
    int m_layers = 0;
    int m_rows = 0;
};

// A line for each bar; those of its children follow it.
class CsvBars : public BarPrinter {
public:
    explicit CsvBars(bool several) : m_several(several) {
        std::cout << "row_id,row,start,end,attr,name,color,count,series,depth,child"
                  << (several ? ",layer\n" : "\n");
    }
    void beginLayer(const LayerTitle& title) override { m_layer = title.layer; }
    void row(const RowInfo& row, const std::vector<Bar>& bars) override {
        std::string out;
        for (const Bar& bar : bars) {
            append(out, row, bar, false);
            for (const Bar& child : bar.children)
                append(out, row, child, true);
        }
        std::cout << out;
    }
    void endLayer() override {}

private:
    void append(std::string& out, const RowInfo& row, const Bar& bar, bool isChild) const {
        fmt::format_to(std::back_inserter(out), "{},{},{},{},{},{},{},{},{},{},{}",
                       row.id < 0 ? "" : std::to_string(row.id), csvField(row.name), bar.start,
                       bar.end, bar.attr, csvField(bar.name), colorText(bar.color), bar.count,
                       bar.series, bar.depth, isChild ? 1 : 0);
        out += m_several ? fmt::format(",{}\n", m_layer) : "\n";
    }

    bool m_several;
    int m_layer = 0;
};

class BarTable : public BarPrinter {
public:
    void beginLayer(const LayerTitle& title) override {
        std::cout << fmt::format("Layer {}: {} ({}), {} buckets of {} ticks\n", title.layer,
                                 title.name, verbOf(title.kind), title.window.bins,
                                 title.window.binTicks());
        m_table.columns = {{"row", false},  {"start", true}, {"end", true},
                           {"ticks", true}, {"more", true},  {"name", false}};
        m_table.rows.clear();
        m_emptyRows = m_rows = m_hidden = 0;
    }
    void row(const RowInfo& row, const std::vector<Bar>& bars) override {
        ++m_rows;
        if (bars.empty()) ++m_emptyRows;
        const std::size_t shown = std::min(bars.size(), kBarsShown);
        for (std::size_t i = 0; i < shown; ++i) {
            const Bar& bar = bars[i];
            // Nested bars are indented.
            const std::string indent(2 * static_cast<std::size_t>(std::max(bar.depth, 0)), ' ');
            m_table.rows.push_back({i == 0 ? shortened(row.name, kRowCharacters) : "",
                                    std::to_string(bar.start), std::to_string(bar.end),
                                    std::to_string(bar.end - bar.start),
                                    bar.count == 0 ? "" : "+" + std::to_string(bar.count),
                                    shortened(indent + bar.name, kNameCharacters)});
        }
        m_hidden += bars.size() - shown;
    }
    // Never a silent truncation.
    void endLayer() override {
        printAligned(std::cout, m_table);
        if (m_emptyRows > 0)
            std::cout << fmt::format("{} of {} rows have no data here\n", m_emptyRows, m_rows);
        if (m_hidden > 0)
            std::cout << fmt::format(
                "{} further bars are not shown; a narrower --time shows "
                "them, --format csv has them all\n",
                m_hidden);
        std::cout << '\n';
    }

private:
    TextTable m_table;
    std::size_t m_emptyRows = 0;
    std::size_t m_rows = 0;
    std::size_t m_hidden = 0;
};

}  // namespace

std::string colorText(const std::optional<std::uint32_t>& color) {
    if (!color) return {};
    const auto part = [&](unsigned shift) { return (*color >> shift) & 0xFFU; };
    const std::string text = fmt::format("#{:02x}{:02x}{:02x}", part(0), part(8), part(16));
    return part(24) == 0xFF ? text : text + fmt::format("{:02x}", part(24));
}

std::unique_ptr<BarPrinter> makeBarPrinter(Format format, bool several) {
    switch (format) {
    case Format::json: return std::make_unique<JsonBars>();
    case Format::csv: return std::make_unique<CsvBars>(several);
    default: return std::make_unique<BarTable>();
    }
}

}  // namespace lanefeed_tool
