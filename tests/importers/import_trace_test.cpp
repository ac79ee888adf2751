// The frame of an import: which importer gets a file, bad input with place and remedy, cancelling,
// what happens to the files.
#include "common/fact_keys.h"
#include "format_choice.h"
#include "import_fixture.h"
#include "store/filter_file.h"
#include "store/open_store.h"
#include "support/random_seed.h"

#include <csignal>
#include <filesystem>
#include <random>
#include <sys/resource.h>

namespace lanefeed_importers {
namespace {

using Kind = ImportError::Kind;
using Names = std::vector<std::string>;
using Ranges = std::vector<lanefeed_runtime::TimeFilter::Range>;

const std::string kEvent = R"({"ph":"X","ts":1,"dur":1,"name":"a"})";

class ImportTrace : public ImportTest {
protected:
    static std::string manyEvents(int count) {
        std::string events = "[";
        for (int i = 0; i < count; ++i)
            events += kEvent + (i + 1 < count ? "," : "]");
        return events;
    }
    // Of a text that is taken with a single warning, which has to begin so.
    void expectWarning(const std::string& text, const std::string& begin) {
        const ImportOutcome outcome = importText(text);
        EXPECT_FALSE(outcome.error.failed()) << outcome.error.text;
        ASSERT_EQ(outcome.warnings.size(), 1U) << text;
        EXPECT_EQ(outcome.warnings[0].rfind(path("trace: ") + begin, 0), 0U) << outcome.warnings[0];
        EXPECT_NE(facts(fact_keys::kWarnings).find(begin), std::string::npos);
    }
};

TEST_F(ImportTrace, refusesWhatIsNoTraceWithPlaceAndRemedy) {
    const std::string archive = packed("[" + kEvent + "]");
    const std::pair<std::string, const char*> cases[] = {
        {"hello\nthere", "no known trace format at byte 0 (\"hello\"); give a trace of one of"},
        {std::string("\0\x1a", 2), "byte 0 (bytes 00 1a); give"},
        {"[section]\nkey=1", "byte 0 (\"[section]\"); give"},
        {"PERFILE2\x18\nls-1 [0] 1.0: print: x", "recording of perf; give the text that `perf"},
        {R"({"a":[1,2]})", "no event array up to byte 11 (it has no array of events); give"},
        {R"({"a":tru})", "byte 8, where \"}\" stands (Invalid value); give an array of events"},
        {"[INFO] on", "byte 2, where \"NFO] on\" stands (Invalid value); give"},
        {"[ ] to do", "byte 4, where \"to do\" stands (an empty array with other text"},
        {"[1,2,3]", "the array up to byte 7 has 3 entries and no event with \"ph\""},
        {R"([{"args":)" + std::string(1000, '['), "deeper than 512"},
        {archive.substr(0, archive.size() - 9), "--keep-going"},
    };
    for (const auto& [text, message] : cases) {
        const std::string told = refusal(text);
        EXPECT_NE(told.find(message), std::string::npos) << told;
    }
}

TEST_F(ImportTrace, saysWhatItLeftOutAndWhere) {
    const std::string text = "[" + kEvent + ",\n" + kEvent;
    expectWarning(text.substr(0, text.size() - 3), "the trace ends early at byte 7");
    EXPECT_EQ(facts("completeSlices skipped"), R"(1 {"cut":1})");
    expectWarning("[" + kEvent + "]\n[" + kEvent + "]",
                  "the trace ends at byte " + std::to_string(kEvent.size() + 3) + ";");
    expectWarning("[" + kEvent + R"(,1,{"ph":"Q","ts":1}])", "2 events or values are not underst");
    EXPECT_TRUE(importText("[" + kEvent + "]" + std::string("\n\0 \r", 4)).warnings.empty());
    expectWarning(packed("[" + kEvent + "]") + "rest", "what stands behind the compressed data");

    for (const char* empty : {"[]", "[", "[{", R"([{"ph" x)", R"({"traceEvents":[]})",
                              R"([{"ph":"M"}])", R"([{"ph":"X","ts":9223372036854775}])"}) {
        const ImportOutcome outcome = importText(empty);
        ASSERT_FALSE(outcome.error.failed() || outcome.warnings.empty()) << outcome.error.text;
        EXPECT_NE(outcome.warnings.back().find("the result is empty"), std::string::npos);
        EXPECT_EQ(facts(fact_keys::kFirstTime), "");
        EXPECT_EQ(outcome.instances, 0U);
    }
}

// Looks at the flag happen from the first piece to the last row.
TEST_F(ImportTrace, cancelsAnywhereAndLeavesNothingBehind) {
    const std::string trace = writeFile("trace", manyEvents(40000));
    std::atomic<bool> cancel{false};
    m_options.cancel = &cancel;
    m_options.sortMemory = std::size_t{1} << 20;
    int reports = 0;
    ImportProgress last;
    m_options.progress = [&](const ImportProgress& now) {
        ++reports;
        EXPECT_TRUE(now.stage > last.stage || (now.stage == last.stage && now.done >= last.done));
        EXPECT_TRUE(now.stage == ImportProgress::Stage::writing || now.done <= now.total);
        last = now;
    };
    EXPECT_EQ(importFile(trace).bytes, std::filesystem::file_size(trace));
    EXPECT_TRUE(last.stage == ImportProgress::Stage::writing && last.events == 40000);
    const int all = reports;
    ASSERT_GT(all, 10);
    std::filesystem::remove(target());
    for (int at = 1; at <= all; at = at == all ? all + 1 : std::min(all, at + all / 5)) {
        reports = 0;
        cancel = false;
        m_options.progress = [&](const ImportProgress&) { cancel = ++reports == at || cancel; };
        EXPECT_EQ(importFile(trace).error.kind, Kind::cancelled) << at;
        EXPECT_EQ(files(), Names{"trace"}) << at;
        EXPECT_LE(reports, at + 1);
    }
}

TEST_F(ImportTrace, replacesTheResultOfTheSameSourceAlone) {
    importEvents(kEvent);
    EXPECT_EQ(facts("source importer"), path("trace") + " trace_event_json");
    lanefeed_runtime::StoreError error;
    lanefeed_runtime::FilterMap filters;
    filters["global"].time =
        basekit2::make_object<lanefeed_runtime::TimeFilter>(Ranges{{{1, 5}, false}});
    bool isReadOnly = false;
    writeFilters(*lanefeed_runtime::openStore(target(), error).facts, filters, isReadOnly);
    EXPECT_EQ(importFile(path("trace")).warnings,
              Names{target() + ": 1 filter of the result that stood there (global) is gone with "
                               "it; select anew"});
    EXPECT_TRUE(importFile(path("trace")).warnings.empty());
    EXPECT_TRUE(importFile(writeFile("other.json", "[" + kEvent + ",\n]")).error.failed());
    EXPECT_EQ(facts("source"), path("trace"));
}

// Of the file in which events wait to be put in order.
TEST_F(ImportTrace, aFullDiskIsAnErrorWithPlaceAndRemedy) {
    const std::string trace = writeFile("trace", manyEvents(40000));
    m_options.sortMemory = std::size_t{1} << 20;
    rlimit old{};
    ASSERT_EQ(getrlimit(RLIMIT_FSIZE, &old), 0);
    const auto handler = std::signal(SIGXFSZ, SIG_IGN);
    const rlimit limited{1U << 20U, old.rlim_max};
    ASSERT_EQ(setrlimit(RLIMIT_FSIZE, &limited), 0);
    const ImportOutcome outcome = importFile(trace);
    ASSERT_EQ(setrlimit(RLIMIT_FSIZE, &old), 0);
    std::signal(SIGXFSZ, handler);
    EXPECT_EQ(outcome.error.kind, Kind::failed);
    const std::string folder = target().substr(0, target().rfind('/'));
    EXPECT_EQ(outcome.error.text.rfind(folder + ": cannot write a temporary file: ", 0), 0U)
        << outcome.error.text;
    EXPECT_NE(outcome.error.text.find("give the result another folder (-o)"), std::string::npos);
    EXPECT_EQ(files(), Names{"trace"});
}

// Whatever becomes of the text, the import ends, in a result whose spans run forward, or in an
// error that tells why.
TEST_F(ImportTrace, survivesDamage) {
    std::mt19937 random(lanefeed_test::randomSeed());
    m_options.keepGoing = true;
    for (const char* name : {"trace-cmd-report.txt", "systrace.html", "perf-script.txt"}) {
        const std::string whole = textOf(std::string(LANEFEED_TEST_DATA) + "/scheduler/" + name);
        for (int round = 0; round < 20; ++round) {
            std::string text = whole;
            for (int i = 0; i < 1 << (round % 10); ++i)
                text[random() % text.size()] = "\n\0\r |:[]-0=\xff"[random() % 12];
            text.resize(text.size() - random() % (text.size() / 2));
            const ImportOutcome outcome = importText(text);
            if (outcome.error.failed()) {
                EXPECT_EQ(outcome.error.kind, Kind::notUnderstood) << outcome.error.text;
                EXPECT_EQ(files(), Names{"trace"});
                continue;
            }
            EXPECT_GT(outcome.events, 0U);
            EXPECT_EQ(rows("select * from running_data where end_tsc < start_tsc"), "");
        }
    }
}

std::string formatOf(const std::string& text) {
    const Importer* const importer = importerFor(text);
    return importer ? std::string(importer->name()) : "none";
}

TEST(FormatChoice, goesByMostLinesAndThenByTheBegin) {
    const std::string kernel = " ls-1 [120] 1.5: sched_switch: ls:1 [120] S ==> a:2 [120]\n";
    const std::string perf = " :-1  -1 [000] 1.5: sched:sched_switch: prev_comm=a\n";
    const std::string chain = "\tffffffff815f63fe change_protection+0x5ce ([kernel])\n";
    const std::string quoted = "\" ls-1 [000] 1.5: sched_switch: x\",\n";
    const std::pair<std::string, const char*> cases[] = {
        {kernel.substr(kernel.find("[120] S")) + "# x\n\r\n" + kernel, "ftrace_text"},
        {kernel.substr(kernel.find("[120] S")) + "x\n" + kernel, "trace_event_json"},
        {"p\n pm 2/3 [000] 1.5: a:b: c\n", "perf_script"},
        {perf + chain + chain + chain, "perf_script"},
        {std::string(5000, '\0') + "\n" + perf, "perf_script"},
        {std::string(5000, 'x') + "\n" + perf + "x\nx\n", "none"},
        {"[\n" + quoted + quoted + quoted, "trace_event_json"},
        {"{\"a\":\"\n" + kernel + kernel + "\"}", "trace_event_json"},
        {"{\"ph\" x\n" + kernel + "x\nx\n", "trace_event_json"},
        {"oops\n<script>\n", "ftrace_text"},
    };
    for (const auto& [text, name] : cases)
        EXPECT_EQ(formatOf(text), name) << text.substr(0, 200);
}

}  // namespace
}  // namespace lanefeed_importers
