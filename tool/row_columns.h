#pragma once

#include <dataface_1/query.h>

#include <dicerdatasource.h>
#include <map>
#include <string>
#include <vector>

namespace lanefeed_tool {

class AreaView;

// Columns of an instance table that lead to the rows of an area: "table::path" of each level,
// outermost first. None for an area with one row (a null source).
std::vector<std::string> rowColumns(const lanefeed_1::DicerDataSource* rows);

// Finds rows of an area by what instances refer to.
class RowIndex {
public:
    explicit RowIndex(const AreaView& area);

    // Id of the row with these database indexes, one for each level down to it; -1 for none. No
    // indexes mean the only row of an area.
    int row(const std::vector<int>& indexes) const;

private:
    std::map<std::vector<int>, int> m_rows;
};

}  // namespace lanefeed_tool
