#pragma once

#include "store/instance_sink.h"
#include "store/schema.h"

#include <cstdint>
#include <optional>
#include <string>
#include <utility>
#include <vector>

// What goes into a result when all instances are there: bands, pauses, labels, facts. Each answers
// false when the connection fails.
namespace lanefeed_runtime {

class Connection;

// Trace time, with the last tick; kToEnd lasts to the end of the trace.
struct TimeSpan {
    std::int64_t begin = 0;
    std::int64_t last = kToEnd;
};

struct BandRow {
    TableId type = TableId::thread;
    int id = -1;
    std::optional<TimeSpan> span;  // none: the whole trace
};

using FactList = std::vector<std::pair<std::string, std::string>>;

bool writeBands(Connection& connection, const std::vector<BandRow>& bands, const TickScale& scale);
// Pauses that touch or overlap become one.
bool writePauses(Connection& connection, std::vector<TimeSpan> pauses, const TickScale& scale);
// Rows of these tables that were given no label are known by the name of their process and their
// own.
bool writeLabels(Connection& connection, const std::vector<const TableDef*>& tables);
bool writeFacts(Connection& connection, const FactList& facts);

}  // namespace lanefeed_runtime
