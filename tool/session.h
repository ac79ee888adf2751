#pragma once

#include "failure.h"
#include "time_range.h"
#include "verbs.h"

#include <basekit2/object.h>
#include <dataface_1/input_data.h>
#include <dataface_1/query_library.h>
#include <dataface_1/table_tree.h>

#include <cstdint>
#include <idicerprovider.h>
#include <parse_logger.h>
#include <string>
#include <vector>
#include <viewpointparser.h>

namespace lanefeed_runtime {
struct OpenOutcome;
}

namespace lanefeed_tool {

// Why a result or its query definitions could not be opened, all errors of it.
Failure openFailure(const lanefeed_runtime::OpenOutcome& outcome);

// Text of a viewpoint file; throws a Failure when it can't be read.
std::string readViewpointFile(const std::string& path);
// All messages of a log, whatever they are about.
std::vector<std::string> allMessages(const lanefeed_1::ParseLogger& log);

// An open result with a viewpoint read against it: what every reading verb starts from. All throw
// a Failure for what they can't do.
class Session {
public:
    // Opens the result; reads no viewpoint yet.
    explicit Session(const ViewOptions& options);
    Session(const Session&) = delete;
    Session& operator=(const Session&) = delete;

    const basekit2::sptr_t<dataface_1::IInputData>& input() const { return m_input; }

    // No instances at all: there is nothing that a viewpoint could show.
    bool isEmpty() const;
    // Says so on stderr, if it is.
    void noteEmpty() const;

    // Fails if a read of the result broke off, since the answer would not be whole.
    void requireWholeReads() const;

    // Reads the viewpoint of the options, or the shipped one that fits, and shows its log. With
    // --strict a log with messages is a failure.
    void readViewpoint();
    lanefeed_1::TLViewpointParser& viewpoint() { return m_parser; }
    const lanefeed_1::ParseLogger& log() const { return *m_log; }
    // File of the result, for messages.
    const std::string& resultName() const { return m_options.result; }
    // File or shipped name, for messages.
    const std::string& viewpointName() const { return m_viewpointName; }
    // Whether the result holds what at least one layer of a row set needs; true for one without
    // layers.
    bool holdsDataFor(const lanefeed_1::TLViewpointParser::RowSet* rowSet,
                      lanefeed_1::IDicerProvider& provider);
    // A new provider, bound to the row set of an area that is there.
    basekit2::sptr_t<lanefeed_1::IDicerProvider> boundProvider(int area);

private:
    std::string viewpointText();

    const ViewOptions& m_options;
    basekit2::sptr_t<dataface_1::IInputData> m_input;
    basekit2::sptr_t<dataface_1::IQueryLibrary> m_library;
    basekit2::sptr_t<lanefeed_1::ParseLogger> m_log;
    std::string m_viewpointName;
    lanefeed_1::TLViewpointParser m_parser;
};

// A row of an area as the row summary tells it. Times are pane ticks, the end inclusive.
struct RowInfo {
    int id = 0;
    int dbIndex = -1;
    int parent = -1;  // id of the row above, -1 at the top
    int level = 0;
    std::string name;
    std::uint64_t start = 0;
    std::uint64_t end = 0;
};

// One area of the viewpoint, bound to a provider of its own.
class AreaView {
public:
    // Binds area `index`, from 0.
    AreaView(Session& session, int index);
    AreaView(const AreaView&) = delete;
    AreaView& operator=(const AreaView&) = delete;

    lanefeed_1::IDicerProvider& provider() { return *m_provider; }
    lanefeed_1::TLViewpointParser::RowSet* rowSet() { return m_rowSet; }
    // Source of the rows, null for an area with one row.
    const lanefeed_1::DicerDataSource* rowSource() const { return m_rowSource; }
    const std::vector<RowInfo>& rows() const { return m_rows; }
    // The result holds nothing that the area could show; there are no rows then.
    bool isEmpty() const { return m_empty; }
    // Positions in rows(), in display order.
    const std::vector<int>& order() const { return m_order; }
    // The whole result has `duration` ticks: the last one counts.
    const TimeScale& time() const { return m_time; }
    // Signed trace time of pane tick 0 less that of tick 0: what turns a pane tick into an absolute
    // tick of the result.
    std::uint64_t firstTick() const { return m_firstTick; }

private:
    void readRows(const Session& session, int index);
    void addRows(const basekit2::generic_iterator_t<basekit2::sptr_t<dataface_1::ITableRow>>& rows,
                 int parent,
                 int level);
    void readCells(dataface_1::ITableRow& row, RowInfo& info) const;

    lanefeed_1::TLViewpointParser::RowSet* m_rowSet = nullptr;
    const lanefeed_1::DicerDataSource* m_rowSource = nullptr;
    basekit2::sptr_t<lanefeed_1::IDicerProvider> m_provider;
    basekit2::sptr_t<dataface_1::ITableTree> m_table;
    std::vector<basekit2::sptr_t<dataface_1::IColumnInfo>> m_columns;
    std::vector<RowInfo> m_rows;
    std::vector<int> m_order;
    TimeScale m_time;
    std::uint64_t m_firstTick = 0;
    bool m_empty = false;  // nothing that the area could show, so no rows either
};

}  // namespace lanefeed_tool
