#pragma once

#include "support/fake_queries.h"
#include "support/fake_store.h"
#include "viewpointparser.h"

#include <gtest/gtest.h>

#include <string>

// Viewpoints from a few lines of text, and what becomes of them as text.
namespace lanefeed_1::fakes {

using basekit2::sptr_t;

// A host: localised texts are their keys in brackets, default colours have an alpha.
class HostParser : public TLViewpointParser {
public:
    std::string getString(const std::string& key,
                          const platkit_2_18::generic::varg_list& args) override;
    unsigned char getOvertimeColor() override { return 70; }
    unsigned char getFilteredOvertimeColor() override { return 90; }
};

// An element out of XML text, under the name of its root.
basekit2::variant_bag_t element(const std::string& xml);

// All records of a parse as indented text, a line each. Flags stand by their name when set, texts
// when not empty, numbers always.
std::string recordText(const TLViewpointParser& parser);

class FakeMessenger : public relay2::IMessenger {};

// A parse against a fake library; queries are added to `m_library->vectors` before it.
class ViewpointTest : public testing::Test {
protected:
    // Parses what stands inside of a viewpoint.
    void parse(const std::string& inside);
    // Parses a viewpoint of one layer and gives that.
    TLViewpointParser::LayerInfo& parseOneLayer(const std::string& attributes,
                                                const std::string& inside);
    TLViewpointParser::RowSet& firstRowSet() { return m_parser.m_areas.at(0).rowSets.at(0); }
    // Messages of the parse, a line each after where they file: "area 1: ...", "layer 1/2: ...".
    std::string messages() const;

    sptr_t<basekit2::ref_counted_t<lanefeed_test::FakeLibrary>> m_library =
        basekit2::make_object<lanefeed_test::FakeLibrary>();
    sptr_t<dataface_1::IInputData> m_result = basekit2::make_object<lanefeed_test::FakeInput>();
    sptr_t<relay2::IMessenger> m_messenger = basekit2::make_object<FakeMessenger>();
    sptr_t<ParseLogger> m_logger = basekit2::make_object<ParseLogger>();
    HostParser m_parser;
};

}  // namespace lanefeed_1::fakes
