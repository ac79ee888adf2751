#pragma once

#include <cstdint>
#include <string_view>
#include <vector>

// Tables and columns of a result file, declared once: the writer creates them from here, readers
// find them by the names below. docs/STORE.md explains them.
namespace lanefeed_runtime {

// Stand in the head of every result file. A file of another version is refused, never converted.
inline constexpr std::int32_t kApplicationId = 0x4C465452;  // "LFTR"
inline constexpr std::int32_t kSchemaVersion = 2;

enum class TableRole {
    attribute,  // "rowid", "name" and what else tells of a thing: processes, threads, slice names
    band,       // one row for each life time of a row of the pane
    instance,   // what happened: ticks, attribute, count, band
    side        // arguments, pauses, facts of the result
};

enum class TableId {
    result,
    process,
    thread,
    track,
    counter,
    core,
    state,
    task,
    marker,
    flow,
    category,
    band,
    args,
    pauses,
    filters,
    sliceData,
    markerData,
    asyncData,
    counterData,
    flowData,
    runningData,
    idleData,
    stateData,
    interruptData,
    wakeupData,
    migrationData,
};

enum class ColumnType { integer, real, text };

// What the writer puts into a column of an instance table; `none` for all other tables.
enum class InstanceField {
    none,
    start,        // first tick
    end,          // last tick, inclusive
    attr,         // row id in the attribute table of the instance
    count,        // 1 for plain instances; the rounded value for counters
    band,         // row id in dd_band
    category,     // row id in dd_category
    args,         // row id in args
    value,        // of a counter
    sourceStart,  // tick at which a transition leaves
    sourceBand,   // row id in dd_band of the band that it leaves
    core          // row id in dd_core
};

// Names that several rooms need.
namespace columns {
inline constexpr std::string_view kRowId = "rowid";
inline constexpr std::string_view kName = "name";
inline constexpr std::string_view kLabel = "label";
inline constexpr std::string_view kStart = "start_tsc";
inline constexpr std::string_view kEnd = "end_tsc";
inline constexpr std::string_view kAttr = "attr";
inline constexpr std::string_view kCount = "count";
inline constexpr std::string_view kBand = "dd_band";
}  // namespace columns

struct ColumnDef {
    std::string_view name;
    ColumnType type;
    // Table whose "rowid" the column holds; empty for a plain value. Becomes a declared foreign
    // key.
    std::string_view references;
    InstanceField field = InstanceField::none;
};

// Every table has a leading column "rowid", its integer key, which `columns` leaves out. Row ids
// start at 1.
struct TableDef {
    TableId id;
    std::string_view name;
    TableRole role;
    std::vector<ColumnDef> columns;
    // What the store answers as the kind of a band; meaningful for band types alone.
    int bandKind = 1;
};

// All tables, in the order of TableId.
const std::vector<TableDef>& schemaTables();
const TableDef& table(TableId id);
// Null for a name that is not declared here.
const TableDef* findTable(std::string_view name);
// Position in `columns`, -1 when there is none of that name.
int columnIndex(const TableDef& def, std::string_view column);
// A band type is a column of dd_band and an attribute table of the same name.
bool isBandType(std::string_view name);

// Keys of the table "result".
namespace result_keys {
inline constexpr std::string_view kTicksPerSecond = "ticks_per_second";
// Signed trace time of tick 0; absolute trace time = tick + origin.
inline constexpr std::string_view kOrigin = "origin";
inline constexpr std::string_view kFirstTick = "first_tick";
inline constexpr std::string_view kLastTick = "last_tick";
// Rows of all instance tables together.
inline constexpr std::string_view kInstances = "instances";
inline constexpr std::string_view kClock = "clock";
inline constexpr std::string_view kSource = "source";
inline constexpr std::string_view kSourceIdentity = "source_identity";
inline constexpr std::string_view kImporter = "importer";
}  // namespace result_keys

}  // namespace lanefeed_runtime
