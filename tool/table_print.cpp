// Tables on a terminal and as csv. Tested by tests/tool/texts_test.cpp.

#include "table_print.h"

#include <algorithm>
#include <utility>

namespace lanefeed_tool {

namespace {

bool startsCharacter(char c) {
    return (static_cast<unsigned char>(c) & 0xC0) != 0x80;
}

// Characters of a UTF-8 text; every character is taken to be one cell wide.
std::size_t width(const std::string& text) {
    return static_cast<std::size_t>(std::count_if(text.begin(), text.end(), startsCharacter));
}

std::string printable(std::string text) {
    std::replace_if(
        text.begin(), text.end(),
        [](char c) { return static_cast<unsigned char>(c) < 0x20 || c == 0x7F; }, ' ');
    return text;
}

void printLine(std::ostream& out,
               const TextTable& table,
               const std::vector<std::string>& cells,
               const std::vector<std::size_t>& widths) {
    for (std::size_t i = 0; i < cells.size(); ++i) {
        if (i > 0) out << "  ";
        const std::string text = printable(cells[i]);
        const std::string fill(widths[i] - std::min(widths[i], width(text)), ' ');
        const bool last = i + 1 == cells.size();
        if (table.columns[i].numeric) {
            out << fill << text;
        } else {
            out << text << (last ? "" : fill);
        }
    }
    out << '\n';
}

std::vector<std::string> header(const TextTable& table) {
    std::vector<std::string> names;
    for (const TextTable::Column& column : table.columns)
        names.push_back(column.name);
    return names;
}

}  // namespace

AlignedLines::AlignedLines(std::ostream& out, TextTable table)
    : m_out(out), m_table(std::move(table)), m_widths(m_table.columns.size()) {
    measure(header(m_table));
}

void AlignedLines::measure(const std::vector<std::string>& cells) {
    for (std::size_t i = 0; i < cells.size(); ++i)
        m_widths[i] = std::max(m_widths[i], width(cells[i]));
}

void AlignedLines::printHeader() {
    print(header(m_table));
}

void AlignedLines::print(const std::vector<std::string>& cells) {
    printLine(m_out, m_table, cells, m_widths);
}

void printAligned(std::ostream& out, const TextTable& table) {
    AlignedLines lines(out, {table.columns, {}});
    for (const auto& row : table.rows)
        lines.measure(row);
    lines.printHeader();
    for (const auto& row : table.rows)
        lines.print(row);
}

std::string csvField(const std::string& text) {
    if (text.find_first_of(",\"\r\n") == std::string::npos) return text;
    std::string quoted = "\"";
    for (const char c : text) {
        if (c == '"') quoted += '"';
        quoted += c;
    }
    return quoted + '"';
}

void printCsv(std::ostream& out, const TextTable& table) {
    const auto line = [&out](const std::vector<std::string>& cells) {
        for (std::size_t i = 0; i < cells.size(); ++i)
            out << (i > 0 ? "," : "") << csvField(cells[i]);
        out << '\n';
    };
    line(header(table));
    for (const auto& row : table.rows)
        line(row);
}

std::string shortened(const std::string& text, std::size_t characters) {
    if (width(text) <= characters) return text;
    std::string cut;
    std::size_t kept = 0;
    for (const char c : text) {
        if (startsCharacter(c) && ++kept >= characters) break;
        cut += c;
    }
    return cut + "\u2026";
}

}  // namespace lanefeed_tool
