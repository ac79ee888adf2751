// The facts of real traces, as an independent program found them, and the accounts of each import.
#include "common/fact_keys.h"
#include "import_fixture.h"

#include <fmt/format.h>
#include <fstream>
#include <rapidjson/document.h>
#include <sstream>

namespace lanefeed_importers {
namespace {

using rapidjson::Document;
using rapidjson::Value;

const std::string kData = std::string(LANEFEED_TEST_DATA) + "/";
const std::string kScheduler = "scheduler/";

const Document& factsOf(const std::string& folder) {
    static std::map<std::string, Document> known;
    Document& facts = known[folder];
    if (facts.IsNull()) {
        std::stringstream text;
        text << std::ifstream(kData + folder + "facts.json").rdbuf();
        facts.Parse(text.str().c_str());
    }
    return facts;
}

std::vector<std::string> bundledTraces(const std::string& folder) {
    std::vector<std::string> names;
    for (const auto& member : factsOf(folder).GetObject())
        names.push_back(folder + member.name.GetString());
    return names;
}

std::string testName(const testing::TestParamInfo<std::string>& info) {
    std::string name;
    for (const char c : info.param)
        name += std::isalnum(static_cast<unsigned char>(c)) ? c : '_';
    return name;
}

class FactsTest : public ImportTest, public testing::WithParamInterface<std::string> {
protected:
    explicit FactsTest(const std::string& folder)
        : m_expected(factsOf(folder)[GetParam().substr(folder.size()).c_str()]) {}

    void SetUp() override {
        // Small enough that the bigger ones go through the temporary file.
        m_options.sortMemory = std::size_t{1} << 20;
        const ImportOutcome outcome = importFile(kData + GetParam());
        ASSERT_FALSE(outcome.error.failed()) << outcome.error.text;
        m_skipped.Parse(fact(fact_keys::kSkipped).c_str());
        ASSERT_TRUE(m_skipped.IsObject());
        for (const auto& entry : m_expected.GetObject()) {
            const std::string key = entry.name.GetString();
            if (!entry.value.IsInt64() || key == "skipped" || key == "counterSeries") continue;
            const std::string ours = key == "firstTick"  ? "firstTime"
                                     : key == "lastTick" ? "lastTime"
                                                         : key;
            EXPECT_EQ(fact(ours), std::to_string(entry.value.GetInt64())) << key;
        }
    }
    std::string count(const std::string& table) const {
        const std::string number = rows("select count(*) from " + table);
        return number.empty() ? "0" : number;
    }

    const Value& m_expected;
    Document m_skipped;
};

class TraceFacts : public FactsTest {
protected:
    TraceFacts() : FactsTest("") {}
    std::int64_t skipped(const char* reason) const {
        return m_skipped.HasMember(reason) ? m_skipped[reason].GetInt64() : 0;
    }
    void expectCoverage() const;
};

void TraceFacts::expectCoverage() const {
    const auto is = [](const std::string& text) {
        return text == "-" ? std::string("is null") : "= " + text;
    };
    for (const Value& thread : m_expected["busiestThreads"].GetArray()) {
        const std::string found = rows(fmt::format(
            "select count(*), sum(max(0, e - max(s, coalesce(p, s)))) from (select s.start_tsc s, "
            "s.end_tsc + 1 e, max(s.end_tsc + 1) over (order by s.rowid rows between unbounded "
            "preceding and 1 preceding) p from slice_data s join dd_band b on b.rowid = s.dd_band "
            "join dd_thread t on t.rowid = b.dd_thread join dd_process q on q.rowid = "
            "t.dd_process where q.pid {} and t.tid {})",
            is(thread["pid"].GetString()), is(thread["tid"].GetString())));
        std::uint64_t slices = 0;
        std::int64_t covered = 0;
        std::istringstream(found) >> slices >> covered;
        EXPECT_EQ(slices, thread["slices"].GetUint64());
        // A slice of no length takes a tick, and each may round by one.
        EXPECT_NEAR(static_cast<double>(covered), thread["coveredTicks"].GetDouble(),
                    static_cast<double>(slices));
    }
}

// Of each phase, what is kept and what is left out add up, and the tables hold what is kept.
TEST_P(TraceFacts, areThoseOfTheTrace) {
    for (const auto& reason : m_expected["skipped"].GetObject())
        EXPECT_EQ(skipped(reason.name.GetString()), reason.value.GetInt64());
    Document phases;
    phases.Parse(fact(fact_keys::kPhases).c_str());
    ASSERT_EQ(phases.MemberCount(), m_expected["byPhase"].MemberCount());
    std::int64_t missing = 0;
    for (const auto& phase : m_expected["byPhase"].GetObject()) {
        const Value& ours = phases[phase.name.GetString()];
        EXPECT_EQ(ours["events"].GetInt64(), phase.value.GetInt64());
        missing += ours["events"].GetInt64() - ours["kept"].GetInt64();
    }
    for (const char* reason :
         {"badTime", "unknownPhase", "otherMetadata", "orphanEnd", "unclosedBegin",
          "orphanAsyncEnd", "unclosedAsync", "orphanFlow", "unfinishedFlow", "emptyCounter"}) {
        missing -= skipped(reason);
    }
    EXPECT_EQ(missing, 0);
    expectCoverage();
    EXPECT_EQ(count("slice_data"), fact(fact_keys::kCompleteSlices));
    EXPECT_EQ(count("async_data"), fact(fact_keys::kAsyncPairs));
    EXPECT_EQ(count("flow_data"), fact(fact_keys::kFlowArrows));
    EXPECT_EQ(count("dd_process"), fact(fact_keys::kProcesses));
    EXPECT_EQ(count("dd_counter"), std::to_string(m_expected["counterSeries"].GetInt64()));
    EXPECT_LE(std::stoi(count("dd_thread")), std::stoi(fact(fact_keys::kThreads)));
    EXPECT_EQ(count("dd_thread where rowid not in (select dd_thread from dd_band"
                    " where dd_thread is not null)"),
              "0")
        << "rows that can hold nothing";
}

INSTANTIATE_TEST_SUITE_P(Bundled, TraceFacts, testing::ValuesIn(bundledTraces("")), testName);

class SchedulerFacts : public FactsTest {
protected:
    SchedulerFacts() : FactsTest(kScheduler) {}

    // Nanoseconds of the instances of a table, by what `by` tells of them.
    void expectSums(const char* sums, const std::string& table, const std::string& by) const {
        for (const auto& sum : m_expected[sums].GetObject()) {
            EXPECT_EQ(rows(fmt::format("select sum(d.end_tsc - d.start_tsc + 1) from {} d {} = {}",
                                       table, by, sum.name.GetString())),
                      std::to_string(sum.value.GetInt64()))
                << table << " of " << sum.name.GetString();
        }
    }
};

TEST_P(SchedulerFacts, areThoseOfTheTraceAndFoundInTheTables) {
    std::int64_t skipped = 0;
    for (const auto& reason : m_skipped.GetObject())
        skipped += reason.value.GetInt64();
    EXPECT_EQ(skipped, m_expected["skipped"].GetInt64());
    const std::string band = "join dd_band b on b.rowid = d.dd_band ";
    expectSums("busiest", "running_data", "join dd_thread t on t.rowid = d.attr where t.tid");
    expectSums("busiest", "state_data",
               band +
                   "join dd_thread t on t.rowid = b.dd_thread join dd_state s on s.rowid = "
                   "d.attr where s.name = 'Running' and t.tid");
    expectSums("idle", "idle_data", band + "join dd_core c on c.rowid = b.dd_core where c.number");
    EXPECT_EQ(count("slice_data"), fact(fact_keys::kCompleteSlices));
    EXPECT_EQ(count("wakeup_data"), fact(fact_keys::kWakeups));
    EXPECT_EQ(count("marker_data"), fact(fact_keys::kInstants));
}

INSTANTIATE_TEST_SUITE_P(Bundled,
                         SchedulerFacts,
                         testing::ValuesIn(bundledTraces(kScheduler)),
                         testName);

}  // namespace
}  // namespace lanefeed_importers
