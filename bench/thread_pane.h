#pragma once

#include "idicerprovider.h"
#include "viewpointparser.h"

#include <dataface_1/input_data.h>
#include <dataface_1/query_library.h>
#include <dataface_1/table_tree.h>

#include <cstddef>
#include <string>

namespace lanefeed_bench {

// A result as a pane opens it: the shipped viewpoint of event traces, and a provider bound to its
// area of threads, whose rows are read. Not for more than one thread.
class ThreadPane {
public:
    explicit ThreadPane(const std::string& file);
    ~ThreadPane() { m_provider.reset(); }  // holds copies of what the parser owns
    ThreadPane(const ThreadPane&) = delete;
    ThreadPane& operator=(const ThreadPane&) = delete;

    // Reads the rows anew; how many there are.
    int readRows();

protected:
    static constexpr std::size_t kThreads = 0;  // area of the shipped viewpoint

    lanefeed_1::TLViewpointParser::RowSet& rowSet() {
        return m_parser.m_areas[kThreads].rowSets.front();
    }

    basekit2::sptr_t<dataface_1::IInputData> m_input;
    basekit2::sptr_t<dataface_1::IQueryLibrary> m_library;
    lanefeed_1::TLViewpointParser m_parser;
    basekit2::sptr_t<lanefeed_1::IDicerProvider> m_provider;
    basekit2::sptr_t<dataface_1::ITableTree> m_table;  // of the rows
};

}  // namespace lanefeed_bench
