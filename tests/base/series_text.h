#pragma once

#include "support/fake_queries.h"

#include <facekit_1_x/table_building.h>

#include <map>
#include <sstream>
#include <string>
#include <vector>

namespace lanefeed_test {

// A table of series out of its text, as tableText would show it: a header, then a row per line.
//
//   timeBin  busy  busy.gc
//   0        12.5  -
//
// A name with a "." nests in the last column of the name before it. Rows stand for a query "row".
inline basekit2::sptr_t<facekit_1_x::IDPIHelperTableTree> seriesOf(const std::string& text) {
    using namespace facekit_1_x;  // NOLINT(google-build-using-namespace)
    auto tree = createTableTree();
    std::istringstream lines(text);
    std::string line;
    std::string word;
    std::vector<basekit2::sptr_t<IWriteableColumn>> columns;
    std::map<std::string, basekit2::sptr_t<IWriteableColumn>> named;
    std::getline(lines, line);
    for (std::istringstream header(line); header >> word;) {
        const std::size_t dot = word.rfind('.');
        const auto query = namedQuery(word.substr(dot + 1));
        columns.push_back(
            columns.empty()
                ? createColumn(columnTimeBin, query, tree)
                : createColumn(columnSeries, dataface_1::IVectorQuery::pushBack({}, query), tree));
        tree->addColumn(columns.back(),
                        dot == std::string::npos ? nullptr : named[word.substr(0, dot)], 0);
        named[word] = columns.back();
    }
    while (std::getline(lines, line)) {
        const auto row = createSparseRow(namedQuery("row"), tree);
        std::istringstream cells(line);
        for (std::size_t i = 0; cells >> word; ++i) {
            if (word == "-") continue;
            const double number = std::stod(word);
            row->setContent(columns.at(i), dataface_1::ccValue,
                            i == 0 ? basekit2::variant_t(static_cast<int>(number))
                                   : basekit2::variant_t(number));
        }
        tree->addRow(row, nullptr);
    }
    return tree;
}

}  // namespace lanefeed_test
