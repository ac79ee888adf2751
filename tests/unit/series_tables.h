#pragma once

#include "overtimedata.h"
#include "queryparam.h"
#include "support/fake_queries.h"

#include <facekit_1_x/table_building.h>

#include <limits>
#include <string>
#include <vector>

namespace lanefeed_test {

// Small inputs for tests of tables of series.

inline const double kNoData = std::numeric_limits<double>::quiet_NaN();

// The bucket column, then one column per name; a name that begins with "." nests in the one before.
inline basekit2::sptr_t<facekit_1_x::IDPIHelperTableTree> seriesColumns(
    const std::vector<std::string>& names) {
    auto tree = facekit_1_x::createTableTree();
    const auto add = [&tree](int kind, const std::string& name, const auto& parent) {
        const auto column = facekit_1_x::createColumn(kind, namedQuery(name), tree);
        tree->addColumn(column, parent, 0);
        return basekit2::sptr_t<dataface_1::IColumnInfo>(column);
    };
    using Column = basekit2::sptr_t<dataface_1::IColumnInfo>;
    add(facekit_1_x::columnTimeBin, "timeBin", Column());
    Column last;
    for (const std::string& name : names) {
        const bool nests = name.front() == '.';
        last =
            add(facekit_1_x::columnSeries, nests ? name.substr(1) : name, nests ? last : Column());
    }
    return tree;
}

inline lanefeed_1::OverTimeData recordOf(const std::vector<std::vector<double>>& series) {
    lanefeed_1::OverTimeData data;
    for (const std::vector<double>& values : series) {
        data.seriesSet.emplace_back();
        data.seriesSet.back().values = values;
    }
    return data;
}

inline lanefeed_1::QueryParam windowOf(basekit2::u64_t start,
                                       basekit2::u64_t end,
                                       basekit2::u32_t bins) {
    lanefeed_1::QueryParam param;
    param.startTime = start;
    param.endTime = end;
    param.binCount = bins;
    return param;
}

}  // namespace lanefeed_test
