// Whole viewpoints against the bundled query library: each golden/NAME.xml is parsed, and what
// comes out is compared with golden/NAME.txt: the records, what was logged while parsing, and what
// printMessages writes. LANEFEED_UPDATE_GOLDEN=1 writes the files anew.
#include "queries/query_library.h"
#include "support/captured_log.h"
#include "viewpoint_text.h"

#include <basekit2/environment.h>

#include <fstream>
#include <sstream>

namespace lanefeed_1 {
namespace {

using lanefeed_test::CapturedLog;

const char* const kFolder = LANEFEED_SOURCE_DIR "/tests/viewpoint/golden/";

std::string readFile(const std::string& name) {
    std::ifstream in(kFolder + name);
    EXPECT_TRUE(in.good()) << name;
    std::stringstream text;
    text << in.rdbuf();
    return text.str();
}

// What was logged at a level; without the places, which move with every change of the sources.
std::string logged(const CapturedLog& log, int level) {
    std::string text;
    for (const CapturedLog::Entry& entry : log.entries())
        if (entry.level == level)
            text += entry.text.substr(0, entry.text.find(", at file: ")) + "\n";
    return text;
}

TEST(Golden, ViewpointsGiveTheRecordsAndTheLogToTheLetter) {
    std::vector<std::string> errors;
    const auto library =
        lanefeed_runtime::loadQueryLibrary({{"queries.xml", readFile("queries.xml")}}, {}, errors);
    EXPECT_TRUE(errors.empty());
    for (const std::string name : {"attributes", "drawing", "grids", "broken"}) {
        const auto logger = basekit2::make_object<ParseLogger>();
        fakes::HostParser parser;
        const CapturedLog log;
        parser.parseViewpoint(fakes::element(readFile(name + ".xml")), library, nullptr,
                              basekit2::make_object<lanefeed_test::FakeInput>(), logger);
        logger->printMessages();
        const std::string found = "=== Records\n" + fakes::recordText(parser) +
                                  "=== Severe reports\n" + logged(log, 40000) + "=== Messages\n" +
                                  logged(log, 20000);
        if (!basekit2::get_environ_value("LANEFEED_UPDATE_GOLDEN").empty())
            std::ofstream(kFolder + name + ".txt") << found;
        EXPECT_EQ(found, readFile(name + ".txt")) << name;
    }
}

}  // namespace
}  // namespace lanefeed_1
