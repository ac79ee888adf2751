// The facts of real kernel traces, as an independent program found them, and the accounts of each
// import.
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

const std::string kFolder = std::string(LANEFEED_TEST_DATA) + "/scheduler/";

Document parsed(const std::string& json) {
    Document document;
    document.Parse(json.c_str());
    return document;
}

const Document& allFacts() {
    static const Document facts = [] {
        std::stringstream text;
        text << std::ifstream(kFolder + "facts.json").rdbuf();
        return parsed(text.str());
    }();
    return facts;
}

std::vector<std::string> bundledTraces() {
    std::vector<std::string> names;
    for (const auto& member : allFacts().GetObject())
        names.emplace_back(member.name.GetString());
    return names;
}

class SchedulerFacts : public ImportTest, public testing::WithParamInterface<std::string> {
protected:
    void SetUp() override {
        const ImportOutcome outcome = importFile(kFolder + GetParam());
        ASSERT_FALSE(outcome.error.failed()) << outcome.error.text;
    }
    const Value& expected() const { return allFacts()[GetParam().c_str()]; }

    // Nanoseconds of the instances of a table, by what `by` tells of them.
    void expectSums(const Value& sums, const std::string& table, const std::string& by) const {
        for (const auto& sum : sums.GetObject()) {
            EXPECT_EQ(cell(fmt::format("select sum(d.end_tsc - d.start_tsc + 1) from {} d {} = {}",
                                       table, by, sum.name.GetString())),
                      std::to_string(sum.value.GetInt64()))
                << table << " of " << sum.name.GetString();
        }
    }
};

TEST_P(SchedulerFacts, areThoseOfTheTrace) {
    for (const auto& entry : expected().GetObject()) {
        const std::string key = entry.name.GetString();
        if (key != "skipped" && entry.value.IsInt64()) {
            EXPECT_EQ(fact(key), std::to_string(entry.value.GetInt64())) << key;
        }
    }
    std::int64_t skipped = 0;
    const Document reasons = parsed(fact(fact_keys::kSkipped));
    for (const auto& reason : reasons.GetObject())
        skipped += reason.value.GetInt64();
    EXPECT_EQ(skipped, expected()["skipped"].GetInt64());
}

TEST_P(SchedulerFacts, areFoundInTheTablesToTheNanosecond) {
    expectSums(expected()["busiest"], "running_data",
               "join dd_thread t on t.rowid = d.attr where t.tid");
    expectSums(expected()["busiest"], "state_data",
               "join dd_band b on b.rowid = d.dd_band join dd_thread t on t.rowid = b.dd_thread "
               "join dd_state s on s.rowid = d.attr where s.name = 'Running' and t.tid");
    expectSums(expected()["idle"], "idle_data",
               "join dd_band b on b.rowid = d.dd_band join dd_core c on c.rowid = b.dd_core "
               "where c.number");
    const std::pair<const char*, const char*> counts[] = {
        {"completeSlices", "slice_data"}, {"wakeups", "wakeup_data"}, {"instants", "marker_data"}};
    for (const auto& [key, table] : counts) {
        const std::string count = cell(std::string("select count(*) from ") + table);
        EXPECT_EQ(count == "none" ? "0" : count, fact(key)) << table;
    }
}

INSTANTIATE_TEST_SUITE_P(Bundled,
                         SchedulerFacts,
                         testing::ValuesIn(bundledTraces()),
                         [](const testing::TestParamInfo<std::string>& trace) {
                             std::string name;
                             for (const char c : trace.param)
                                 name += std::isalnum(static_cast<unsigned char>(c)) ? c : '_';
                             return name;
                         });

}  // namespace
}  // namespace lanefeed_importers
