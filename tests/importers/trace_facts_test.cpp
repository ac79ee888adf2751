// The facts of real traces, as an independent program found them, and the accounts of each import.
#include "common/fact_keys.h"
#include "import_fixture.h"

#include <filesystem>
#include <fstream>
#include <rapidjson/document.h>
#include <sstream>

namespace lanefeed_importers {
namespace {

using rapidjson::Document;
using rapidjson::Value;

std::string textOf(const std::string& file) {
    std::stringstream text;
    text << std::ifstream(file).rdbuf();
    return text.str();
}

const Document& allFacts() {
    static const Document facts = [] {
        Document document;
        document.Parse(textOf(std::string(LANEFEED_TEST_DATA) + "/facts.json").c_str());
        return document;
    }();
    return facts;
}

std::vector<std::string> bundledTraces() {
    std::vector<std::string> names;
    for (const auto& member : allFacts().GetObject())
        names.emplace_back(member.name.GetString());
    return names;
}

std::string number(const Value& value) {
    return value.IsNull() ? "none" : std::to_string(value.GetInt64());
}

class TraceFacts : public ImportTest, public testing::WithParamInterface<std::string> {
protected:
    void SetUp() override {
        // Small enough that the bigger ones go through the temporary file.
        m_options.sortMemory = std::size_t{1} << 20;
        const ImportOutcome outcome =
            importFile(std::string(LANEFEED_TEST_DATA) + "/" + GetParam());
        ASSERT_FALSE(outcome.error.failed()) << outcome.error.text;
        m_skipped.Parse(fact(fact_keys::kSkipped).c_str());
        m_phases.Parse(fact(fact_keys::kPhases).c_str());
        ASSERT_TRUE(m_skipped.IsObject() && m_phases.IsObject());
    }
    const Value& expected() const { return allFacts()[GetParam().c_str()]; }
    std::int64_t skipped(const char* reason) const {
        return m_skipped.HasMember(reason) ? m_skipped[reason].GetInt64() : 0;
    }

    void expectCounts() const;
    // Of each phase, what is kept and what is left out add up, and the tables hold what is kept.
    void expectAccounts() const;
    void expectCoverage() const;

    Document m_skipped;
    Document m_phases;
};

void TraceFacts::expectCounts() const {
    for (const char* key :
         {"events", "completeSlices", "orphanEnds", "unclosedBegins", "processes", "threads",
          "instants", "counterTracks", "counterSamples", "asyncPairs", "flowArrows"}) {
        EXPECT_EQ(fact(key), number(expected()[key])) << key;
    }
    EXPECT_EQ(fact(fact_keys::kFirstTime), number(expected()["firstTick"]));
    EXPECT_EQ(fact(fact_keys::kLastTime), number(expected()["lastTick"]));
    for (const auto& reason : expected()["skipped"].GetObject())
        EXPECT_EQ(skipped(reason.name.GetString()), reason.value.GetInt64());
    ASSERT_EQ(m_phases.MemberCount(), expected()["byPhase"].MemberCount());
    for (const auto& phase : expected()["byPhase"].GetObject())
        EXPECT_EQ(m_phases[phase.name.GetString()]["events"].GetInt64(), phase.value.GetInt64());
}

void TraceFacts::expectAccounts() const {
    std::int64_t missing = 0;
    for (const auto& phase : m_phases.GetObject())
        missing += phase.value["events"].GetInt64() - phase.value["kept"].GetInt64();
    for (const char* reason :
         {"badTime", "unknownPhase", "otherMetadata", "orphanEnd", "unclosedBegin",
          "orphanAsyncEnd", "unclosedAsync", "orphanFlow", "unfinishedFlow", "emptyCounter"}) {
        missing -= skipped(reason);
    }
    EXPECT_EQ(missing, 0);
    const auto count = [this](const char* table) {
        const std::string rows = cell(std::string("select count(*) from ") + table);
        return rows == "none" ? "0" : rows;
    };
    EXPECT_EQ(count("slice_data"), fact(fact_keys::kCompleteSlices));
    EXPECT_EQ(count("async_data"), fact(fact_keys::kAsyncPairs));
    EXPECT_EQ(count("flow_data"), fact(fact_keys::kFlowArrows));
    EXPECT_LE(std::stoi(count("dd_thread")), std::stoi(fact(fact_keys::kThreads)));
    EXPECT_EQ(count("dd_thread where rowid not in (select dd_thread from dd_band"
                    " where dd_thread is not null)"),
              "0")
        << "rows that can hold nothing";
    EXPECT_EQ(count("dd_process"), fact(fact_keys::kProcesses));
    EXPECT_EQ(count("dd_counter"), number(expected()["counterSeries"]));
}

void TraceFacts::expectCoverage() const {
    for (const Value& thread : expected()["busiestThreads"].GetArray()) {
        const auto id = [](const std::string& column, const std::string& text) {
            return column + (text == "-" ? " is null" : " = " + text);
        };
        const Rows slices = rows(
            "select s.start_tsc, s.end_tsc + 1 from slice_data s join dd_band b on b.rowid = "
            "s.dd_band"
            " join dd_thread t on t.rowid = b.dd_thread join dd_process p on p.rowid = t.dd_process"
            " where " +
            id("p.pid", thread["pid"].GetString()) + " and " +
            id("t.tid", thread["tid"].GetString()) + " order by s.rowid");
        ASSERT_EQ(slices.size(), thread["slices"].GetUint64());
        std::int64_t covered = 0;
        std::int64_t to = 0;
        for (const auto& slice : slices) {
            const std::int64_t begin = std::max<std::int64_t>(to, std::stoll(slice[0]));
            to = std::max<std::int64_t>(to, std::stoll(slice[1]));
            covered += std::max<std::int64_t>(0, to - begin);
        }
        // A slice of no length takes a tick, and each may round by one.
        EXPECT_NEAR(static_cast<double>(covered), thread["coveredTicks"].GetDouble(),
                    static_cast<double>(slices.size()));
    }
}

TEST_P(TraceFacts, areThoseOfTheTrace) {
    expectCounts();
    expectAccounts();
    expectCoverage();
}

std::string testName(const testing::TestParamInfo<std::string>& info) {
    std::string name;
    for (const char c : info.param)
        name += std::isalnum(static_cast<unsigned char>(c)) ? c : '_';
    return name;
}

INSTANTIATE_TEST_SUITE_P(Bundled, TraceFacts, testing::ValuesIn(bundledTraces()), testName);

class TwoClocks : public ImportTest {};

TEST_F(TwoClocks, areOneAxisWithAStretchBetweenThem) {
    importFile(std::string(LANEFEED_TEST_DATA) + "/fuchsia_trace.json.gz");
    const auto seconds = [this](std::string_view key) {
        return std::stoll(fact(key)) / 1000000000;
    };
    EXPECT_EQ(seconds(fact_keys::kLongestGapStart), 2193);
    EXPECT_EQ(seconds(fact_keys::kLongestGapEnd), 1124607);
    EXPECT_GE(seconds(fact_keys::kContentStart), 1124607);
    EXPECT_LE(seconds(fact_keys::kContentEnd), 1124617);
    // Names that stand beside the events.
    EXPECT_EQ(cell("select name from dd_process where pid = 18670").rfind("flutter:", 0), 0U);
}

}  // namespace
}  // namespace lanefeed_importers
