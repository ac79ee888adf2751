#pragma once

#include "idicerprovider.h"
#include "viewpointparser.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace lanefeed_test {

// A result with a viewpoint on it, asked for its layers as a pane does. The queries of the examples
// are in force. What parsing and answers say to the log is a failure of the test.
class ViewpointResult {
public:
    using Forest = std::vector<basekit2::sptr_t<dataface_1::ITableTree>>;
    using LayerInfo = lanefeed_1::TLViewpointParser::LayerInfo;
    using RowSet = lanefeed_1::TLViewpointParser::RowSet;

    explicit ViewpointResult(const std::string& file);

    // A shipped viewpoint by its name, an example "NAME.xml", or the text of one.
    void show(const std::string& viewpoint);
    // Reads rows anew, as another filter wants it.
    void reopen() { m_provider = nullptr; }

    std::size_t areas() const { return m_parser.m_areas.size(); }
    RowSet& rowSet(std::size_t area) { return m_parser.m_areas.at(area).rowSets.at(0); }
    // The table of the rows of an area, good until another area is asked for; null for none.
    basekit2::sptr_t<dataface_1::ITableTree> rows(std::size_t area);
    // Ticks between the ends of the trace; after the rows of an area.
    basekit2::u64_t duration() const { return m_provider->getDuration(); }

    // A layer from the begin of the trace on, to `end` when given: a table for each row. Empty when
    // it is not served.
    Forest ask(std::size_t area, std::size_t layer, unsigned bins = 10, basekit2::u64_t end = 0);
    // The same as text, "not shown" for a layer without data; rows are parted by "|", series by
    // ";", equal buckets together: a series is "io 0=20 1-4=100", a bar "START..END TOOLTIP". Each
    // bar must have a tooltip.
    std::string text(std::size_t area, std::size_t layer, unsigned bins = 10);

    const basekit2::sptr_t<dataface_1::IInputData>& result() const { return m_result; }
    const basekit2::sptr_t<dataface_1::IQueryLibrary>& library() const { return m_library; }

private:
    class HostParser : public lanefeed_1::TLViewpointParser {
    public:
        std::string getString(const std::string& key,
                              const platkit_2_18::generic::varg_list& args) override;
    };

    bool serve(const LayerInfo& layer, lanefeed_1::QueryParam& param, Forest& forest);
    std::string barsText(const LayerInfo& layer,
                         const basekit2::sptr_t<dataface_1::ITableTree>& table);

    basekit2::sptr_t<dataface_1::IInputData> m_result;
    basekit2::sptr_t<dataface_1::IQueryLibrary> m_library;
    HostParser m_parser;
    std::size_t m_area = 0;                                   // asked for last
    basekit2::sptr_t<lanefeed_1::IDicerProvider> m_provider;  // of that area
    basekit2::sptr_t<dataface_1::ITableTree> m_rows;
};

}  // namespace lanefeed_test
