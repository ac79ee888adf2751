#pragma once

#include "imastertable.h"
#include "overtimedata.h"

#include <basekit2/error_code.h>
#include <dataface_1/query.h>
#include <relay2/progress.h>

#include <vector>

namespace lanefeed_1 {

// A master table as the provider that owns it sees it: besides what the public interface tells, it
// can be folded down to what a request asks for.
class IReducibleMasterTable : public basekit2::interface_t<IReducibleMasterTable, IMasterTable> {
public:
    // Records of the request grouped by `rowBys`, outermost first, and its series without values.
    // noResult, with both outputs untouched, when the table is empty or the reduction is cancelled.
    virtual basekit2::error_code_t reduce(
        std::vector<OverTimeData>& data,
        std::vector<OverTimeDataSeries>& series,
        const std::vector<basekit2::sptr_t<dataface_1::IQuery>>& rowBys,
        const QueryParam& param,
        relay2::IProgress* progress) = 0;

    static const char* interface_name() { return "lanefeed::IReducibleMasterTable"; }
};

}  // namespace lanefeed_1
