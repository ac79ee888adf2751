// The small tables of a result, written last. Tested by tests/store/result_writer_test.cpp.
#include "store/result_rest.h"

#include "store/dialect.h"
#include "store/sqlite_handle.h"

#include <algorithm>

namespace lanefeed_runtime {
namespace {

std::vector<TimeSpan> merged(std::vector<TimeSpan> spans, std::int64_t lastTime) {
    std::sort(spans.begin(), spans.end(),
              [](const TimeSpan& a, const TimeSpan& b) { return a.begin < b.begin; });
    std::vector<TimeSpan> out;
    for (TimeSpan span : spans) {
        if (span.last == kToEnd) span.last = lastTime;
        if (!out.empty() && span.begin <= out.back().last + 1) {
            out.back().last = std::max(out.back().last, span.last);
        } else {
            out.push_back(span);
        }
    }
    return out;
}

}  // namespace

bool writeBands(Connection& connection, const std::vector<BandRow>& bands, const TickScale& scale) {
    const TableDef& def = table(TableId::band);
    Statement insert = connection.prepare(dialect::insertRow(def, false));
    if (!insert) return false;
    const int start = columnIndex(def, columns::kStart) + 1;
    const int end = columnIndex(def, columns::kEnd) + 1;
    for (const BandRow& band : bands) {
        const TimeSpan span = band.span.value_or(TimeSpan{scale.origin + 1, kToEnd});
        const std::int64_t last = span.last == kToEnd ? scale.lastTime : span.last;
        for (int column = 1; column < start; ++column)
            insert.bindNull(column);
        insert.bind(columnIndex(def, table(band.type).name) + 1, std::int64_t{band.id});
        insert.bind(start, scale.tick(span.begin));
        insert.bind(end, scale.tick(last));
        if (!insert.run()) return false;
    }
    return true;
}

bool writePauses(Connection& connection, std::vector<TimeSpan> pauses, const TickScale& scale) {
    if (pauses.empty()) return true;
    const TableDef& def = table(TableId::pauses);
    if (!connection.run(dialect::createTable(def))) return false;
    Statement insert = connection.prepare(dialect::insertRow(def, false));
    if (!insert) return false;
    for (const TimeSpan& pause : merged(std::move(pauses), scale.lastTime)) {
        insert.bind(1, scale.tick(pause.begin));
        insert.bind(2, scale.tick(pause.last));
        if (!insert.run()) return false;
    }
    return true;
}

bool writeLabels(Connection& connection, const std::vector<const TableDef*>& tables) {
    const TableDef& processes = table(TableId::process);
    const bool hasProcesses = std::find(tables.begin(), tables.end(), &processes) != tables.end();
    for (const TableDef* def : tables) {
        std::string label = "\"name\"";
        if (hasProcesses && columnIndex(*def, processes.name) >= 0) {
            label =
                "coalesce((select p.\"name\" || ' / ' from \"dd_process\" p"
                " where p.\"rowid\" = " +
                dialect::quoted(def->name) + ".\"dd_process\"), '') || \"name\"";
        }
        if (!connection.run("update " + dialect::quoted(def->name) + " set \"label\" = " + label +
                            " where \"label\" is null"))
            return false;
    }
    return true;
}

bool writeFacts(Connection& connection, const FactList& facts) {
    Statement insert = connection.prepare(dialect::insertRow(table(TableId::result), false));
    if (!insert) return false;
    for (const auto& [key, value] : facts) {
        insert.bind(1, std::string_view(key));
        insert.bind(2, std::string_view(value));
        if (!insert.run()) return false;
    }
    return true;
}

}  // namespace lanefeed_runtime
