#pragma once

#include "store/filter_parts.h"
#include "store/filter_time.h"

#include <memory>
#include <string>
#include <string_view>

namespace lanefeed_runtime {

class Catalog;
class Statement;
struct FilterNode;
struct StoreSession;

// What named filters keep of the rows of one table, as a piece of SQL. docs/STORE.md tells what a
// filter means on which table. Immutable; may be shared between threads.
class FilterClause {
public:
    // Keeps every row.
    FilterClause() = default;
    explicit FilterClause(std::shared_ptr<const FilterNode> root) : m_root(std::move(root)) {}

    // False when there is nothing to test: the filters leave the table alone.
    bool applies() const { return m_root != nullptr; }
    // A condition in parentheses on the rows of the table under `alias` ("t0"), for a where clause;
    // "(1 = 1)" when it doesn't apply. It needs no joins. Values that it leaves open are numbered
    // on from `parameters`, which counts them.
    std::string text(const Catalog& catalog, std::string_view alias, int& parameters) const;
    // Binds what text() left open; `parameters` as there.
    void bindValues(Statement& statement, int& parameters) const;

private:
    friend FilterClause bothClauses(const FilterClause& a, const FilterClause& b);

    std::shared_ptr<const FilterNode> m_root;
};

// Whether a clause tests the time part. Readers that cut time to the tick themselves (keptTime)
// still want it tested, to skip what lies outside.
enum class TimeTest { touches, none };

// What a filter keeps of a table, by its position in the catalog of the session: instance tables,
// dd_band, attribute tables. What it asks of other tables is looked up here, under the lock of the
// session, so the statement compares own columns with lists of ids; a file that breaks off while
// that is read is logged and counted.
FilterClause filterClause(StoreSession& session,
                          int table,
                          const NamedFilter& filter,
                          TimeTest time = TimeTest::touches);
// Whether the filter asks anything of the rows of a table. Looks up no rows.
bool filterApplies(StoreSession& session, int table, const NamedFilter& filter);
// Rows that both keep.
FilterClause bothClauses(const FilterClause& a, const FilterClause& b);

}  // namespace lanefeed_runtime
