#pragma once

#include "store/filter_parts.h"

#include <basekit2/variant.h>

#include <memory>
#include <string>
#include <vector>

namespace relay2 {
class IProgress;
}

// Whole instance tables as columns, for those who build an index in memory. Attributes and bands
// are joined in memory by id, so a read is one scan without joins.
namespace lanefeed_runtime {

struct InstanceRequest {
    std::string table;
    // Paths that end in an id, in any form that a query takes ("dd_band::dd_thread.dd_process").
    std::vector<std::string> ids;
    // One path that ends in a number ("value"); empty for none.
    std::string number;
    bool counts = false;
    // Instances must pass all of them; of a time part, touch what it keeps.
    std::vector<NamedFilter> filters = {};
};

// Instances by ascending start, equal starts in the order of the file. All filled vectors have one
// entry per instance. Ticks are absolute.
struct InstanceColumns {
    static constexpr basekit2::u32_t kNoAttr = 0xFFFFFFFF;

    std::vector<basekit2::u64_t> start;
    std::vector<basekit2::u64_t> end;  // last tick, inclusive
    std::vector<basekit2::u32_t> attr;
    std::vector<basekit2::s32_t> band;              // row id in dd_band, -1 none
    std::vector<std::vector<basekit2::s32_t>> ids;  // parallel to the request; -1 none
    std::vector<double> number;                     // NaN where there is none
    std::vector<basekit2::s64_t> count;
};

// Reads with a connection of its own, under a lock of its own: any thread, one read at a time.
// Outlives the database object that handed it out.
class InstanceReader {
public:
    enum class Outcome { done, cancelled, unknownPath, noTable, failed };

    virtual ~InstanceReader() = default;
    // On anything but `done` the columns are empty; `error` tells of unknownPath and failed.
    virtual Outcome read(const InstanceRequest& request,
                         InstanceColumns& columns,
                         relay2::IProgress* progress,
                         std::string& error) = 0;
    // Number of rows without reading them; 0 for no such table.
    virtual basekit2::u64_t rowCount(const std::string& table) = 0;
    // The paths that the reader would take for an instance table.
    virtual bool knowsPath(const std::string& table, const std::string& path) = 0;
    // The attribute table at the end of a path of an instance table; empty when it ends in none.
    virtual std::string leafTable(const std::string& table, const std::string& path) = 0;
    // Texts of the rows of an attribute table by row id (index 0 is unused), along a path such as
    // "dd_thread.name". Empty for an unknown one.
    virtual std::vector<std::string> texts(const std::string& path) = 0;

protected:
    InstanceReader() = default;
    InstanceReader(const InstanceReader&) = default;
    InstanceReader& operator=(const InstanceReader&) = default;
};

}  // namespace lanefeed_runtime
