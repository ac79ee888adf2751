#pragma once

#include "store/filter_parts.h"
#include "store/filter_time.h"
#include "store/path_walk.h"

#include <basekit2/variant.h>

#include <string>
#include <vector>

namespace lanefeed_runtime {

class Catalog;

// What a filter asks of the rows of one table, with paths resolved and groups reduced to three
// kinds. Every node is true or false of a row, also where a value is missing.
struct FilterNode {
    enum class Kind {
        everything,
        nothing,
        all,      // of the members
        any,      // of the members
        none,     // of the members
        values,   // `path` holds one of `values`; a null among them stands for no value
        touches,  // the ticks of the row touch one of `spans`
        heldBy    // `path`, which starts in another table, leads from one of its rows that the
                  // member keeps to this row
    };

    Kind kind = Kind::everything;
    std::vector<FilterNode> members;
    StorePath path;
    std::vector<basekit2::variant_t> values;  // signed 64-bit integers, doubles, narrow texts, null
    TickSpans spans;
};

FilterNode allOf(std::vector<FilterNode> members);
FilterNode anyOf(std::vector<FilterNode> members);
FilterNode noneOf(std::vector<FilterNode> members);

// The path of a condition, seen from a table: along the way that the condition goes from its own.
// False when there is none.
bool pathFrom(const Catalog& catalog,
              int table,
              const QueryFilter::Condition& condition,
              StorePath& path);

// The ways from dd_band to an attribute table that the file holds, along tables that it holds.
std::vector<StorePath> pathsFromBands(const Catalog& catalog, int table);
// The columns of a path with dots between, as a query takes them.
std::string pathText(const Catalog& catalog, const StorePath& path);

// What a query part asks of a table. A condition that can't be told from there is taken the way
// that keeps more, so that it never hides a row by itself.
FilterNode filterTree(const Catalog& catalog, int table, const QueryFilter& filter);

// All conditions of a filter, in any order.
std::vector<const QueryFilter::Condition*> conditionsOf(const QueryFilter& filter);

}  // namespace lanefeed_runtime
