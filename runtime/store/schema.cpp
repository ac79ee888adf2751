// Tables and columns of a result file. Instance tables for further kinds of traces are declared in
// this list and nowhere else; a column of a new meaning also gets a value of InstanceField.
// Tested through everything that writes or reads a result, above all by tests/store/path_test.cpp.
#include "store/schema.h"

#include <algorithm>

namespace lanefeed_runtime {
namespace {

constexpr ColumnType kInteger = ColumnType::integer;
constexpr ColumnType kReal = ColumnType::real;
constexpr ColumnType kText = ColumnType::text;
using Field = InstanceField;

ColumnDef value(std::string_view name, ColumnType type) {
    return {name, type, {}, Field::none};
}

// A column that bears the name of the table it refers to.
ColumnDef reference(std::string_view table) {
    return {table, kInteger, table, Field::none};
}

// The columns that every instance table starts with.
std::vector<ColumnDef> instanceColumns(std::string_view attributeTable,
                                       std::initializer_list<ColumnDef> more) {
    std::vector<ColumnDef> all = {
        {columns::kStart, kInteger, {}, Field::start},
        {columns::kEnd, kInteger, {}, Field::end},
        {columns::kAttr, kInteger, attributeTable, Field::attr},
        {columns::kCount, kInteger, {}, Field::count},
        {columns::kBand, kInteger, "dd_band", Field::band},
    };
    all.insert(all.end(), more);
    return all;
}

// Those of a table of transitions: a row is where one arrives, two columns tell where it leaves.
std::vector<ColumnDef> transitionColumns(std::string_view attributeTable,
                                         std::initializer_list<ColumnDef> more) {
    std::vector<ColumnDef> all = instanceColumns(
        attributeTable, {{"multi_band_start_tsc", kInteger, {}, Field::sourceStart},
                         {"multi_band_index", kInteger, "dd_band", Field::sourceBand}});
    all.insert(all.end(), more);
    return all;
}

std::vector<TableDef> declareTables() {
    constexpr TableRole kAttribute = TableRole::attribute;
    constexpr TableRole kInstance = TableRole::instance;
    const ColumnDef name = value(columns::kName, kText);
    const ColumnDef label = value(columns::kLabel, kText);
    const ColumnDef sort = value("sort", kInteger);
    const ColumnDef process = reference("dd_process");
    const ColumnDef start = value(columns::kStart, kInteger);
    const ColumnDef end = value(columns::kEnd, kInteger);
    const ColumnDef category = {"dd_category", kInteger, "dd_category", Field::category};
    const ColumnDef core = {"dd_core", kInteger, "dd_core", Field::core};
    const ColumnDef args = {"args", kInteger, "args", Field::args};
    return {
        {TableId::result, "result", TableRole::side, {value("key", kText), value("value", kText)}},
        {TableId::process,
         "dd_process",
         kAttribute,
         {name, label, value("pid", kInteger), sort},
         2},
        {TableId::thread,
         "dd_thread",
         kAttribute,
         {name, label, value("tid", kInteger), process, sort},
         0},
        {TableId::track, "dd_track", kAttribute, {name, label, process, sort}, 4},
        {TableId::counter,
         "dd_counter",
         kAttribute,
         {name, label, value("unit", kText), process, sort},
         5},
        {TableId::core, "dd_core", kAttribute, {name, label, value("number", kInteger), sort}, 3},
        {TableId::state, "dd_state", kAttribute, {name}},
        {TableId::task, "dd_task", kAttribute, {name}},
        {TableId::marker, "dd_marker", kAttribute, {name}},
        {TableId::flow, "dd_flow", kAttribute, {name}},
        {TableId::category, "dd_category", kAttribute, {name}},
        {TableId::band,
         "dd_band",
         TableRole::band,
         {reference("dd_thread"), reference("dd_process"), reference("dd_track"),
          reference("dd_counter"), reference("dd_core"), start, end},
         7},
        {TableId::args, "args", TableRole::side, {value("json", kText)}},
        {TableId::pauses, "pauses", TableRole::side, {start, end}},
        {TableId::filters,
         "filters",
         TableRole::side,
         {name, value("level", kInteger), value("kind", kText), start, end,
          value("of_table", kText), value("path", kText), value("suffix", kText),
          value("integer", kInteger), value("real", kReal), value("text", kText)}},
        {TableId::sliceData, "slice_data", kInstance, instanceColumns("dd_task", {category, args})},
        {TableId::markerData, "marker_data", kInstance,
         instanceColumns("dd_marker", {category, args})},
        {TableId::asyncData, "async_data", kInstance, instanceColumns("dd_task", {category, args})},
        {TableId::counterData, "counter_data", kInstance,
         instanceColumns("dd_counter", {{"value", kReal, {}, Field::value}})},
        {TableId::flowData, "flow_data", kInstance, transitionColumns("dd_flow", {category, args})},
        {TableId::runningData, "running_data", kInstance, instanceColumns("dd_thread", {})},
        {TableId::idleData, "idle_data", kInstance, instanceColumns("dd_state", {})},
        {TableId::stateData, "state_data", kInstance, instanceColumns("dd_state", {core})},
        {TableId::interruptData, "interrupt_data", kInstance,
         instanceColumns("dd_task", {category})},
        {TableId::wakeupData, "wakeup_data", kInstance, transitionColumns("dd_flow", {core})},
        {TableId::migrationData, "migration_data", kInstance, transitionColumns("dd_thread", {})},
    };
}

}  // namespace

const std::vector<TableDef>& schemaTables() {
    static const std::vector<TableDef> tables = declareTables();
    return tables;
}

const TableDef& table(TableId id) {
    return schemaTables()[static_cast<std::size_t>(id)];
}

const TableDef* findTable(std::string_view name) {
    for (const TableDef& def : schemaTables()) {
        if (def.name == name) return &def;
    }
    return nullptr;
}

int columnIndex(const TableDef& def, std::string_view column) {
    const auto found = std::find_if(def.columns.begin(), def.columns.end(),
                                    [&](const ColumnDef& c) { return c.name == column; });
    return found == def.columns.end() ? -1 : static_cast<int>(found - def.columns.begin());
}

bool isBandType(std::string_view name) {
    const TableDef& bands = table(TableId::band);
    const int index = columnIndex(bands, name);
    return index >= 0 && !bands.columns[static_cast<std::size_t>(index)].references.empty();
}

}  // namespace lanefeed_runtime
