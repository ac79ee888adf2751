#pragma once

#include "session/open_result.h"
#include "session/shipped_viewpoints.h"
#include "support/temp_directory.h"
#include "support/trace_text.h"
#include "viewpointparser.h"

#include <basekit2/variant_bag.h>

#include <gtest/gtest.h>

#include <string>

namespace lanefeed_test {

// A trace text as an open result with a viewpoint on it, as a host would have them. The queries of
// the examples are in force.
class ViewpointResult {
public:
    explicit ViewpointResult(const std::string& trace) {
        writeTraceText(m_directory.file("t.lft"), trace);
        lanefeed_runtime::OpenOptions options;
        options.queryFiles = {example("categories.queries.xml"), example("wakeups.queries.xml")};
        lanefeed_runtime::OpenOutcome outcome;
        m_result = lanefeed_runtime::openResult(m_directory.file("t.lft"), options, outcome);
        EXPECT_TRUE(outcome.isOpened()) << outcome.text;
        EXPECT_TRUE(dataface_1::lookup(m_result, m_library));
    }

    static std::string example(const std::string& name) {
        return LANEFEED_SOURCE_DIR "/examples/viewpoints/" + name;
    }

    void parse(const basekit2::variant_bag_t& viewpoint) {
        m_parser = HostParser();  // one parser takes one ruler
        m_logger = basekit2::make_object<lanefeed_1::ParseLogger>();
        m_parser.parseViewpoint(viewpoint, m_library, nullptr, m_result, m_logger);
    }
    void parseShipped(const std::string& name) {
        basekit2::variant_bag_t bag;
        std::string error;
        ASSERT_TRUE(lanefeed_runtime::readViewpoint(lanefeed_runtime::shippedViewpointText(name),
                                                    bag, error))
            << error;
        parse(bag);
    }
    void parseExample(const std::string& name) {
        basekit2::variant_bag_t bag;
        ASSERT_TRUE(is_success(load_variant_bag2(bag, example(name), "viewpoint")));
        parse(bag);
    }

protected:
    class HostParser : public lanefeed_1::TLViewpointParser {
    public:
        std::string getString(const std::string& key,
                              const platkit_2_18::generic::varg_list& /*args*/) override {
            return lanefeed_1::getString(key);
        }
    };

    TempDirectory m_directory;
    basekit2::sptr_t<dataface_1::IInputData> m_result;
    basekit2::sptr_t<dataface_1::IQueryLibrary> m_library;
    basekit2::sptr_t<lanefeed_1::ParseLogger> m_logger;
    HostParser m_parser;
};

}  // namespace lanefeed_test
