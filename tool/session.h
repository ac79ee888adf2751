#pragma once

#include "failure.h"
#include "verbs.h"

#include <basekit2/object.h>
#include <dataface_1/input_data.h>
#include <dataface_1/query_library.h>
#include <storelink1/database.h>

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

// Text of a viewpoint file; throws a Failure when it can't be read. `others`: behind its remedy.
std::string readViewpointFile(const std::string& path, const std::string& others = "");
// All messages of a log, whatever they are about.
std::vector<std::string> allMessages(const lanefeed_1::ParseLogger& log);

// An open result with a viewpoint read against it: what every reading verb starts from. All throw
// a Failure for what they can't do.
class Session {
public:
    // Opens the result and applies the filters of the options; reads no viewpoint yet.
    explicit Session(const ViewOptions& options);
    Session(const Session&) = delete;
    Session& operator=(const Session&) = delete;

    const basekit2::sptr_t<dataface_1::IInputData>& input() const { return m_input; }

    // Puts filters as users write them in force on top of those that the result has, for this
    // session alone; the constructor does it with those of the options.
    void applyFilters(const std::vector<std::string>& texts);
    // Whether "global" is in force, and whether it leaves any instance.
    bool isFiltered() const;
    bool leavesAnything() const;

    // The store of the result, null without one.
    basekit2::sptr_t<storelink1::IDatabase> database() const;
    // Whether a table is there and has a row. Throws when it can't be read.
    bool holdsRows(const std::string& table) const;

    // The failure of a read of a table.
    Failure unreadable(const std::string& table, const std::string& reason) const;

    // No instances at all: there is nothing that a viewpoint could show.
    bool isEmpty() const;
    // Says on stderr why there is nothing to show, if the result is empty or filters leave nothing.
    void noteEmpty() const;

    // What to do about filters that leave too little.
    std::string filterAdvice() const;

    // Whether no read of the result broke off. The second one fails if one did, since the answer
    // would not be whole.
    bool hasWholeReads() const;
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
    // A new provider, bound to the row set of an area that is there, or to none for kRuler.
    basekit2::sptr_t<lanefeed_1::IDicerProvider> boundProvider(int area);

private:
    // Whether a table is there and has a row, that a filter leaves if one is named. `error` tells
    // why it can't be read.
    bool findRow(const std::string& table, const char* filter, std::string& error) const;
    std::string viewpointText();

    const ViewOptions& m_options;
    basekit2::sptr_t<dataface_1::IInputData> m_input;
    basekit2::sptr_t<dataface_1::IQueryLibrary> m_library;
    basekit2::sptr_t<lanefeed_1::ParseLogger> m_log;
    std::string m_viewpointName;
    lanefeed_1::TLViewpointParser m_parser;
};

}  // namespace lanefeed_tool
