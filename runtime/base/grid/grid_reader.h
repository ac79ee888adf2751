#pragma once

#include "column_source.h"
#include "grid_contents.h"
#include "row_alternatives.h"

#include <basekit2/error_code.h>
#include <relay2/progress.h>
#include <slicekit_1_0/rpn_processor.h>
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
    basekit2::sptr_t<dataface_1::IInputData> input;
    basekit2::sptr_t<storelink1::IDatabase> database;
    RowAlternatives alternatives;  // at least one
    std::vector<GridColumnRequest> columns;
    std::vector<std::string> filters;  // names; all of them hold
};

// Whether a column of the query has totals: a query on instances, or one derived of such.
bool hasTotals(const basekit2::sptr_t<dataface_1::IQuery>& query);

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
    // What the store is asked for: a column, or an input of derived ones.
    struct Read {
        basekit2::sptr_t<dataface_1::IQuery> query;
        ColumnSource source;
    };
    struct Column {
        std::vector<std::size_t> reads;                       // none for a column without totals
        basekit2::sptr_t<slicekit_1_0::IRpnProgram> program;  // of a derived column
    };

    bool isCanceled() const { return m_progress != nullptr && m_progress->isCanceled(); }
    bool wantsAllRows() const;
    Totals& totalsOf(const Path& path);
    bool addRead(const basekit2::sptr_t<dataface_1::IQuery>& query, Column& column);
    void planColumns();
    basekit2::error_code_t readPaths();
    basekit2::error_code_t readTotals(std::size_t read);
    void prepare(const ColumnSource& source,
                 const RowAlternative& alternative,
                 storelink1::ITimelineQuery& query) const;
    bool isKept(const Totals& totals) const;
    void makeRows(GridContents& contents);
    void fillColumns(GridContents& contents) const;
    double countFactor(const dataface_1::IQuery& query, const Column& column) const;
    Totals derived(const Column& column, double countFactor, std::size_t rows) const;
    void nameRows(GridContents& contents) const;

    const GridRequest& m_request;
    relay2::IProgress* const m_progress;  // may be null
    basekit2::u64_t m_firstTick = 0;
    basekit2::u64_t m_lastTick = 0;
    std::vector<Read> m_reads;
    std::vector<Column> m_columns;   // as requested
    std::map<Path, Totals> m_found;  // by read
    std::vector<Totals> m_sums;      // by read, then by row
};

}  // namespace lanefeed_runtime
