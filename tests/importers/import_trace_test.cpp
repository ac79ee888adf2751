// The frame of an import: bad input with place and remedy, cancelling, what happens to the files.
#include "common/fact_keys.h"
#include "import_fixture.h"
#include "store/filter_file.h"
#include "store/open_store.h"

#include <csignal>
#include <filesystem>
#include <sys/resource.h>

namespace lanefeed_importers {
namespace {

using Kind = ImportError::Kind;

using Ranges = std::vector<lanefeed_runtime::TimeFilter::Range>;

constexpr const char* kEvent = R"({"ph":"X","ts":1,"dur":1,"name":"a"})";

class ImportTrace : public ImportTest {
protected:
    void expectError(const std::string& content, Kind kind, const std::string& part) {
        const ImportOutcome outcome = importFile(writeFile("trace", content));
        EXPECT_EQ(outcome.error.kind, kind) << outcome.error.text;
        EXPECT_NE(outcome.error.text.find(part), std::string::npos) << outcome.error.text;
        EXPECT_EQ(outcome.error.text.rfind(path("trace"), 0), 0U) << outcome.error.text;
        EXPECT_EQ(files(), (std::vector<std::string>{"trace"}));
    }
    static std::string manyEvents(int count) {
        std::string events = "[";
        for (int i = 0; i < count; ++i)
            events += R"({"ph":"X","ts":)" + std::to_string(i) +
                      R"(,"dur":1,"name":"a","args":{"i":)" + std::to_string(i) + "}},";
        return events.substr(0, events.size() - 1) + "]";
    }
};

TEST_F(ImportTrace, refusesWhatIsNoTraceWithPlaceAndRemedy) {
    const std::pair<std::string, const char*> cases[] = {
        {"hello\nthere", "no known trace format at byte 0 (\"hello\"); give a trace of one of"},
        {" \n", "byte 0 (blanks alone); give"},
        {std::string("\0\x1a", 2), "byte 0 (bytes 00 1a); give"},
        {"[section]\nkey=1", "byte 0 (\"[section]\"); give"},
        {"{key: 1}", "byte 0 (\"{key: 1}\"); give"},
        {"PERFILE2\x18", "recording of perf; give the text that `perf script"},
        {"\xff\xfe[", "UTF-16; convert it with `iconv"},
        {R"({"a":[1,2]})", "no event array up to byte 11 (it has no array of events); give"},
        {R"({"a":tru})", "byte 8, where \"}\" stands (Invalid value); give an array of events"},
        {"[INFO] on", "byte 2, where \"NFO] on\" stands (Invalid value); give"},
        {"[{x", "no event array up to byte 2, where \"x\" stands"},
        {"[ ] to do", "byte 4, where \"to do\" stands (an empty array with other text"},
        {"[1,2,3]", "none of the 3 entries of the array up to byte 7 is an event with \"ph\""},
        {R"([{"a":1},2)", "none of the 2 entries"},
        {R"([{"args":)" + std::string(1000, '['), "deeper than 512"},
    };
    for (const auto& [text, message] : cases)
        expectError(text, Kind::notUnderstood, message);
    const std::string archive = packed("[" + std::string(kEvent) + "]");
    expectError(archive.substr(0, archive.size() - 9), Kind::notUnderstood, "--keep-going");
}

TEST_F(ImportTrace, takesACutTraceUpToTheLastEventAndSaysWhere) {
    const std::string text = "[" + std::string(kEvent) + ",\n" + kEvent;
    const ImportOutcome outcome =
        importFile(writeFile("cut.json", text.substr(0, text.size() - 3)));
    ASSERT_FALSE(outcome.error.failed());
    ASSERT_EQ(outcome.warnings.size(), 1U);
    EXPECT_NE(outcome.warnings[0].find("ends early at byte 7"), std::string::npos)
        << outcome.warnings[0];
    EXPECT_NE(outcome.warnings[0].find("inside an event"), std::string::npos);
    EXPECT_EQ(outcome.instances, 1U);
    EXPECT_EQ(fact(fact_keys::kSkipped), R"({"cut":1})");
    EXPECT_NE(fact(fact_keys::kWarnings).find("inside an event"), std::string::npos);
}

TEST_F(ImportTrace, tellsWhatFollowsTheEndOfTheTrace) {
    const std::string trace = "[" + std::string(kEvent) + "]";
    const ImportOutcome blanks = importFile(writeFile("blanks", trace + std::string("\n\0 \r", 4)));
    EXPECT_TRUE(blanks.warnings.empty()) << blanks.warnings.front();
    std::filesystem::remove(target());
    const ImportOutcome two = importFile(writeFile("two", trace + "\n" + trace));
    ASSERT_FALSE(two.error.failed()) << two.error.text;
    ASSERT_EQ(two.warnings.size(), 1U);
    const std::string place = "ends at byte " + std::to_string(trace.size() + 1) + ";";
    EXPECT_NE(two.warnings[0].find(place), std::string::npos) << two.warnings[0];
    EXPECT_EQ(two.instances, 1U);
}

TEST_F(ImportTrace, keepsBytesThatAreNoTextOutOfTheResult) {
    const std::string event =
        "{\"ph\":\"X\",\"ts\":1,\"dur\":1,\"pid\":\"p\xff\",\"tid\":\"t\xfe\"}";
    const ImportOutcome outcome = importFile(writeFile("odd\xff", "[" + event));
    ASSERT_FALSE(outcome.error.failed()) << outcome.error.text;
    EXPECT_EQ(cell("select label from dd_thread"), "p\xEF\xBF\xBD / t\xEF\xBF\xBD");
    EXPECT_EQ(cell("select name from dd_process"), "p\xEF\xBF\xBD");
    EXPECT_NE(fact(fact_keys::kWarnings).find("odd\xEF\xBF\xBD: the trace ends"), std::string::npos)
        << fact(fact_keys::kWarnings);
}

TEST_F(ImportTrace, takesWhatUnpackedIfTold) {
    std::string events = manyEvents(20000);
    const std::string archive = packed(events);
    m_options.keepGoing = true;
    const ImportOutcome outcome =
        importFile(writeFile("early.gz", archive.substr(0, archive.size() / 2)));
    ASSERT_FALSE(outcome.error.failed()) << outcome.error.text;
    EXPECT_EQ(outcome.warnings.size(), 2U);
    EXPECT_GT(outcome.instances, 5000U);
    EXPECT_LT(outcome.instances, 20000U);
}

TEST_F(ImportTrace, aTraceWithoutTimesIsAnEmptyResultWithAWarning) {
    for (const char* text :
         {"[]", "[", "[{", R"([{"ph" x)", R"({"traceEvents":[]})",
          R"([{"ph":"M","name":"process_name"}])", R"([{"ph":"X","ts":9223372036854775}])"}) {
        const ImportOutcome outcome = importFile(writeFile("trace.json", text));
        ASSERT_FALSE(outcome.error.failed()) << outcome.error.text;
        ASSERT_FALSE(outcome.warnings.empty());
        EXPECT_NE(outcome.warnings.back().find("the result is empty"), std::string::npos);
        EXPECT_EQ(fact(fact_keys::kFirstTime), "none");
        EXPECT_EQ(outcome.instances, 0U);
        std::filesystem::remove(target());
    }
}

// Looks at the flag happen from the first piece to the last row.
TEST_F(ImportTrace, cancelsAnywhereAndLeavesNothingBehind) {
    const std::string trace = writeFile("trace", manyEvents(40000));
    std::atomic<bool> cancel{false};
    m_options.cancel = &cancel;
    m_options.sortMemory = std::size_t{1} << 20;
    int reports = 0;
    m_options.progress = [&](const ImportProgress&) { ++reports; };
    ASSERT_FALSE(importFile(trace).error.failed());
    const int all = reports;
    ASSERT_GT(all, 10);
    std::filesystem::remove(target());
    for (int at = 1; at <= all; at += std::max(1, all / 10)) {
        reports = 0;
        cancel = false;
        m_options.progress = [&](const ImportProgress&) { cancel = ++reports == at || cancel; };
        EXPECT_EQ(importFile(trace).error.kind, Kind::cancelled) << at;
        EXPECT_EQ(files(), (std::vector<std::string>{"trace"})) << at;
        EXPECT_LE(reports, at + 1);
    }
    cancel = false;
    m_options.progress = [&](const ImportProgress& progress) {
        if (progress.stage == ImportProgress::Stage::writing) cancel = true;
    };
    EXPECT_EQ(importFile(trace).error.kind, Kind::cancelled);
    EXPECT_EQ(files(), (std::vector<std::string>{"trace"}));
}

TEST_F(ImportTrace, progressRunsForwardToTheEnd) {
    const std::string trace = writeFile("trace", manyEvents(50000));
    ImportProgress last;
    m_options.progress = [&](const ImportProgress& now) {
        EXPECT_GE(now.stage, last.stage);
        if (now.stage == last.stage) {
            EXPECT_GE(now.done, last.done);
        }
        if (now.stage != ImportProgress::Stage::writing) {
            EXPECT_LE(now.done, now.total);
        }
        last = now;
    };
    const ImportOutcome outcome = importFile(trace);
    EXPECT_EQ(last.stage, ImportProgress::Stage::writing);
    EXPECT_EQ(last.events, 50000U);
    EXPECT_EQ(outcome.events, 50000U);
    EXPECT_EQ(outcome.bytes, std::filesystem::file_size(trace));
}

TEST_F(ImportTrace, replacesTheResultOfTheSameSourceAlone) {
    importEvents(kEvent);
    EXPECT_EQ(fact("source"), path("trace.json"));
    EXPECT_EQ(fact("importer"), "trace_event_json");
    lanefeed_runtime::StoreError error;
    lanefeed_runtime::FilterMap filters;
    filters["global"].time =
        basekit2::make_object<lanefeed_runtime::TimeFilter>(Ranges{{{1, 5}, false}});
    bool isReadOnly = false;
    writeFilters(*lanefeed_runtime::openStore(target(), error).facts, filters, isReadOnly);
    const ImportOutcome again = importFile(path("trace.json"));
    EXPECT_EQ(
        again.warnings,
        (std::vector<std::string>{
            target() +
            ": 1 filter of the result that stood there (global) is gone with it; select anew"}));
    EXPECT_TRUE(importFile(path("trace.json")).warnings.empty());
    const ImportOutcome other =
        importFile(writeFile("other.json", "[" + std::string(kEvent) + ",\n]"));
    EXPECT_EQ(other.error.kind, Kind::failed);
    EXPECT_EQ(fact("source"), path("trace.json"));
    // A trace that breaks leaves the old result alone too.
    EXPECT_TRUE(importFile(writeFile("bad.json", "{")).error.failed());
    EXPECT_EQ(fact("source"), path("trace.json"));
}

TEST_F(ImportTrace, pausesCountFromTheFirstEvent) {
    ImportRequest request;
    request.source = writeFile("trace.json", R"([{"ph":"X","ts":5,"dur":9,"name":"a"}])");
    request.target = target();
    request.pauses = {{1000, 3000}, {2000, 4000}};
    ASSERT_FALSE(importTrace(request).error.failed());
    EXPECT_EQ(rows("select start_tsc, end_tsc from pauses"), (Rows{{"1001", "4000"}}));
}

TEST_F(ImportTrace, aFullDiskIsAnErrorWithARemedy) {
    const std::string trace = writeFile("trace", manyEvents(40000));
    m_options.sortMemory = std::size_t{1} << 20;
    rlimit old{};
    ASSERT_EQ(getrlimit(RLIMIT_FSIZE, &old), 0);
    const auto handler = std::signal(SIGXFSZ, SIG_IGN);
    for (const rlim_t bytes : {100U << 10U, 1U << 20U}) {
        const rlimit limited{bytes, old.rlim_max};
        ASSERT_EQ(setrlimit(RLIMIT_FSIZE, &limited), 0);
        const ImportOutcome outcome = importFile(trace);
        ASSERT_EQ(setrlimit(RLIMIT_FSIZE, &old), 0);
        EXPECT_EQ(outcome.error.kind, Kind::failed) << bytes << outcome.error.text;
        EXPECT_NE(outcome.error.text.find("make room"), std::string::npos) << outcome.error.text;
        EXPECT_EQ(files(), (std::vector<std::string>{"trace"})) << bytes;
    }
    std::signal(SIGXFSZ, handler);
}

}  // namespace
}  // namespace lanefeed_importers
