#pragma once

#include <string>
#include <vector>

namespace lanefeed_runtime {

class Catalog;

// Attributes by the names that people call them by: "thread" for rows of dd_thread, "tid" for a
// column of these, "name" for what instances are called.
struct FilterTarget {
    std::string leafTable;           // whose row ids conditions hold
    std::vector<std::string> texts;  // columns of it that a value is compared with
    std::string table;               // of the conditions
    std::vector<std::string> paths;  // in that table; any of them may lead to the row
    // Of "name": all instance tables whose attribute it is.
    std::vector<std::string> tables;
};

struct FilterColumnDef {
    std::string name;
    // All of them have to hold, each on the tables from which it can be told.
    std::vector<FilterTarget> targets;
};

// Those of the tables that the file holds, in the order of names.
std::vector<FilterColumnDef> filterColumnsOf(const Catalog& catalog);

}  // namespace lanefeed_runtime
