// The facts of real traces, as an independent program found them, and the accounts of each import.
#include "common/fact_keys.h"
#include "import_fixture.h"

#include <fmt/format.h>
#include <rapidjson/document.h>
#include <sstream>

namespace lanefeed_importers {
namespace {

using rapidjson::Document;
using rapidjson::Value;

const std::string kData = std::string(LANEFEED_TEST_DATA) + "/";
const std::string kScheduler = "scheduler/";

// By the names of the traces.
const Document& factsOf(const std::string& folder) {
    static std::map<std::string, Document> known;
    Document& facts = known[folder];
    if (facts.IsNull()) facts.Parse(textOf(kData + folder + "facts.json").c_str());
    return facts;
}

std::vector<std::string> bundledTraces() {
    std::vector<std::string> names;
    for (const std::string& folder : {std::string(), kScheduler}) {
        for (const auto& member : factsOf(folder).GetObject())
            names.push_back(folder + member.name.GetString());
    }
    return names;
}

class TraceFacts : public ImportTest, public testing::WithParamInterface<std::string> {
protected:
    void expectCount(const std::string& table, const std::string& number) const {
        const std::string counted = rows("select count(*) from " + table);
        EXPECT_EQ(counted.empty() ? "0" : counted, number) << table;
    }
    void expectCoverage() const;
    void expectAccounts(const Document& skipped);
    void expectSums(const char* sums, const std::string& table, const std::string& by) const;

    bool m_isScheduler = GetParam().rfind(kScheduler, 0) == 0;
    const Value& m_expected =
        m_isScheduler ? factsOf(kScheduler)[GetParam().substr(kScheduler.size()).c_str()]
                      : factsOf("")[GetParam().c_str()];
};

// Slices of a thread, and the time that they cover.
void TraceFacts::expectCoverage() const {
    const auto is = [](const std::string& text) { return text == "-" ? "is null" : "= " + text; };
    for (const Value& thread : m_expected["busiestThreads"].GetArray()) {
        const std::string found = rows(fmt::format(
            "select count(*), sum(max(0, e - max(s, coalesce(p, s)))) from (select s.start_tsc s, "
            "s.end_tsc + 1 e, max(s.end_tsc + 1) over (order by s.rowid rows between unbounded "
            "preceding and 1 preceding) p from slice_data s join dd_band b on b.rowid = s.dd_band "
            "join dd_thread t on t.rowid = b.dd_thread join dd_process q on q.rowid = "
            "t.dd_process where q.pid {} and t.tid {})",
            is(thread["pid"].GetString()), is(thread["tid"].GetString())));
        double slices = 0;
        double covered = 0;
        std::istringstream(found) >> slices >> covered;
        EXPECT_EQ(slices, thread["slices"].GetDouble());
        // A slice of no length takes a tick, and each may round by one.
        EXPECT_NEAR(covered, thread["coveredTicks"].GetDouble(), slices);
    }
}

void TraceFacts::expectAccounts(const Document& skipped) {
    for (const auto& reason : m_expected["skipped"].GetObject()) {
        EXPECT_TRUE(skipped.HasMember(reason.name) && skipped[reason.name] == reason.value)
            << reason.name.GetString();
    }
    Document phases;
    phases.Parse(facts(fact_keys::kPhases).c_str());
    ASSERT_EQ(phases.MemberCount(), m_expected["byPhase"].MemberCount());
    for (const auto& phase : m_expected["byPhase"].GetObject())
        EXPECT_EQ(phases[phase.name]["events"].GetInt64(), phase.value.GetInt64());
    expectCount("async_data", facts(fact_keys::kAsyncPairs));
    expectCount("flow_data", facts(fact_keys::kFlowArrows));
    expectCount("dd_process", facts(fact_keys::kProcesses));
    expectCount("dd_counter", std::to_string(m_expected["counterSeries"].GetInt64()));
    // No rows that can hold nothing.
    expectCount(
        "dd_thread where rowid not in (select dd_thread from dd_band where dd_thread is not null)",
        "0");
}

// Nanoseconds of the instances of a table, by what `by` tells of them.
void TraceFacts::expectSums(const char* sums,
                            const std::string& table,
                            const std::string& by) const {
    for (const auto& sum : m_expected[sums].GetObject()) {
        EXPECT_EQ(rows(fmt::format("select sum(d.end_tsc - d.start_tsc + 1) from {} d join dd_band "
                                   "b on b.rowid = d.dd_band {} = {}",
                                   table, by, sum.name.GetString())),
                  std::to_string(sum.value.GetInt64()))
            << table << " of " << sum.name.GetString();
    }
}

TEST_P(TraceFacts, areThoseOfTheTraceAndFoundInTheTables) {
    // Small enough that the bigger ones go through the temporary file.
    m_options.sortMemory = std::size_t{1} << 20;
    const ImportOutcome outcome = importFile(kData + GetParam());
    ASSERT_FALSE(outcome.error.failed()) << outcome.error.text;
    Document skipped;
    skipped.Parse(facts(fact_keys::kSkipped).c_str());
    for (const auto& entry : m_expected.GetObject()) {
        const std::string key = entry.name.GetString();
        if (!entry.value.IsInt64() || key == "skipped" || key == "counterSeries") continue;
        const bool isTick = key == "firstTick" || key == "lastTick";
        EXPECT_EQ(facts(isTick ? key.substr(0, key.size() - 4) + "Time" : key),
                  std::to_string(entry.value.GetInt64()))
            << key;
    }
    expectCount("slice_data", facts(fact_keys::kCompleteSlices));
    if (!m_isScheduler) {
        expectCoverage();
        expectAccounts(skipped);
        return;
    }
    std::int64_t lines = 0;
    for (const auto& reason : skipped.GetObject())
        lines += reason.value.GetInt64();
    EXPECT_EQ(lines, m_expected["skipped"].GetInt64());
    expectSums("busiest", "running_data", "join dd_thread t on t.rowid = d.attr where t.tid");
    expectSums("busiest", "state_data",
               "join dd_thread t on t.rowid = b.dd_thread join dd_state s on s.rowid = d.attr "
               "where s.name = 'Running' and t.tid");
    expectSums("idle", "idle_data", "join dd_core c on c.rowid = b.dd_core where c.number");
    expectCount("wakeup_data", facts(fact_keys::kWakeups));
    expectCount("marker_data", facts(fact_keys::kInstants));
}

INSTANTIATE_TEST_SUITE_P(Bundled, TraceFacts, testing::ValuesIn(bundledTraces()));

}  // namespace
}  // namespace lanefeed_importers
