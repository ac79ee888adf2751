// Which importer gets a file: by most of its lines, whatever the first one has become, else by how
// it begins.
#include "format_choice.h"

#include "import_fixture.h"

#include <fmt/format.h>

namespace lanefeed_importers {
namespace {

std::string formatOf(const std::string& text) {
    const Importer* const importer = importerFor(text);
    return importer ? std::string(importer->name()) : "none";
}

std::string times(int count, std::string_view text) {
    std::string all;
    for (int i = 0; i < count; ++i)
        all += text;
    return all;
}

TEST(FormatChoice, goesByMostLinesAndThenByTheBegin) {
    const std::string kernel = " ls-1 [120] 1.5: sched_switch: ls:1 [120] S ==> a:2 [120]\n";
    const std::string perf = " :-1  -1 [000] 1.5: sched:sched_switch: prev_comm=a\n";
    const std::string chain = "\tffffffff815f63fe change_protection+0x5ce ([kernel])\n";
    const std::string quoted = "\" ls-1 [000] 1.5: sched_switch: x\",\n";
    const std::pair<std::string, const char*> cases[] = {
        {kernel, "ftrace_text"},
        {kernel.substr(kernel.find("[120] S")) + kernel, "ftrace_text"},
        {kernel.substr(kernel.find("[120] S")) + "# x\n\r\n" + kernel, "ftrace_text"},
        {kernel.substr(kernel.find("[120] S")) + "x\n" + kernel, "trace_event_json"},
        {"p\n pm 2/3 [000] 1.5: a:b: c\n", "perf_script"},
        {"[12\n" + perf, "perf_script"},
        {perf + times(9, chain), "perf_script"},
        {std::string(5000, '\0') + "\n" + perf, "perf_script"},
        {std::string(5000, 'x') + "\n" + perf + times(2, "x\n"), "none"},
        {"{\"cut\":1}\n" + kernel, "ftrace_text"},
        {"[\n" + times(3, quoted) + quoted, "trace_event_json"},
        {"{\"ph\" x\n" + kernel + times(2, "x\n"), "trace_event_json"},
        {"PERFILE2\n" + times(3, perf), "none"},
        {"oops\n<script>\n", "ftrace_text"},
        {perf + "<html>\n", "perf_script"},
    };
    for (const auto& [text, name] : cases)
        EXPECT_EQ(formatOf(text), name) << text.substr(0, 200);
}

class DamagedBegin : public ImportTest {};

TEST_F(DamagedBegin, isCountedAndTold) {
    const std::string events =
        " a-5 [000] 1.000000001: print: B|5|x\n a-5 [000] 1.000000005: print: E|5\n";
    std::string escaped = events;
    for (std::size_t at = 0; (at = escaped.find('\n', at)) != std::string::npos; at += 4)
        escaped.replace(at, 1, "\\n\\\n");
    const std::pair<std::string, const char*> cases[] = {
        {"[120] S ==> a\n" + events, R"(2 {"noEvent":1})"},
        {"[120] S ==> a\\n\\\n" + escaped + "\";</script>\n", "2 {}"},
        {"<!DOC\nTYPE html>\n<script>x</script>\n<script class=\"trace-data\">\n# trac\n" + events +
             "</script>\nb-5 [000] 1.0: print: x\n",
         "2 {}"},
        {"<html>\n<script>var x = \"\\\n# \xff\\n\\\n" + escaped + "\";\n</script>\n", "2 {}"},
        {"<html>\n<pre>\n#  TASK-PID  CPU#  TIMESTAMP\n" + events + "</pre>\n", "2 {}"},
    };
    for (const auto& [text, counts] : cases) {
        const ImportOutcome outcome = importText(text);
        EXPECT_EQ(rows("select end_tsc, name from slice_data join dd_task t on t.rowid = attr"),
                  "4 x")
            << text << outcome.error.text;
        EXPECT_EQ(facts("events skipped"), counts);
        EXPECT_EQ(outcome.warnings.size(), std::string_view(counts) == "2 {}" ? 0U : 1U);
    }
}

}  // namespace
}  // namespace lanefeed_importers
