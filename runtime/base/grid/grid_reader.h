#pragma once

#include "column_source.h"
#include "grid_contents.h"
#include "row_alternatives.h"

#include <basekit2/error_code.h>
#include <relay2/progress.h>
#include <storelink1/database.h>

#include <map>
#include <string>
#include <vector>

namespace lanefeed_runtime {

// A column as the section or the layers ask for it.
struct GridColumnRequest {
    basekit2::sptr_t<dataface_1::IQuery> query;
    bool required = false;  // rows without data in any such column are left out
};

// What a grid query reads.
struct GridRequest {
    basekit2::sptr_t<storelink1::IDatabase> database;
    RowAlternatives alternatives;  // at least one
    std::vector<GridColumnRequest> columns;
    std::vector<std::string> filters;  // names; all of them hold
};

// Reads rows and totals out of a store: one statement for the rows and one bucketed query of one
// bucket for each column, whatever the number of rows. For one read.
class GridReader {
public:
    GridReader(const GridRequest& request, relay2::IProgress* progress)
        : m_request(request), m_progress(progress) {}

    // Fills rows, columns and row queries. noResult when it was cancelled.
    basekit2::error_code_t read(GridContents& contents);

private:
    using Path = std::vector<int>;  // ids from the outermost level; may end early
    using Totals = std::vector<double>;

    bool isCanceled() const { return m_progress != nullptr && m_progress->isCanceled(); }
    bool wantsAllRows() const;
    Totals& totalsOf(const Path& path);
    basekit2::error_code_t readPaths();
    basekit2::error_code_t readColumn(std::size_t column, const ColumnSource& source);
    void prepare(const ColumnSource& source,
                 const RowAlternative& alternative,
                 storelink1::ITimelineQuery& query) const;
    bool isKept(const Totals& totals) const;
    void makeRows(GridContents& contents) const;
    void nameRows(GridContents& contents) const;

    const GridRequest& m_request;
    relay2::IProgress* const m_progress;  // may be null
    std::map<Path, Totals> m_found;
};

}  // namespace lanefeed_runtime
