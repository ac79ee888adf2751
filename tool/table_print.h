#pragma once

#include <cstddef>
#include <ostream>
#include <string>
#include <vector>

namespace lanefeed_tool {

enum class Format { table, csv, json };

// A plain table of texts for people and for csv. JSON has shapes of its own, which the verbs write.
struct TextTable {
    struct Column {
        std::string name;
        bool numeric = false;  // aligned to the right
    };
    std::vector<Column> columns;
    std::vector<std::vector<std::string>> rows;
};

// Columns aligned by what a terminal shows; control characters of a text are shown as blanks.
void printAligned(std::ostream& out, const TextTable& table);
// The same for lines that don't stand in memory: all are measured, then all printed.
class AlignedLines {
public:
    // The rows of the table are not looked at.
    AlignedLines(std::ostream& out, TextTable table);

    void measure(const std::vector<std::string>& cells);
    void printHeader();
    void print(const std::vector<std::string>& cells);

private:
    std::ostream& m_out;
    TextTable m_table;
    std::vector<std::size_t> m_widths;
};

// Header line, then a line per row; fields quoted where they have to be.
void printCsv(std::ostream& out, const TextTable& table);
std::string csvField(const std::string& text);
// A text cut to so many characters, the last one an ellipsis when something was cut.
std::string shortened(const std::string& text, std::size_t characters);

}  // namespace lanefeed_tool
