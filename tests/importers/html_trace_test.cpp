// What is trace and what is page.
#include "ftrace_text/html_trace.h"

#include <gtest/gtest.h>

#include <sstream>

namespace lanefeed_importers {
namespace {

// The lines of the trace, with "/" between them.
std::string unwrapped(const std::string& page) {
    HtmlTrace trace;
    std::istringstream lines(page);
    std::string all;
    std::string_view text;
    for (std::string line; std::getline(lines, line);) {
        if (trace.take(line, text)) all += (all.empty() ? "" : "/") + std::string(text);
    }
    return trace.found() ? all : "none";
}

TEST(HtmlTraceTest, takesTheTraceOutOfEachWrapper) {
    EXPECT_EQ(unwrapped("<script>\nx-1 [0] 1.0: no:\n</script>\n"
                        "<script class=\"trace-data\">\n# tracer: nop\n#\n&lt; a\\n</b>\n"
                        "b\n  </script>\nx-1 [0] 1.0: no:\n"),
              "#/&lt; a\\n</b>/b");
    EXPECT_EQ(unwrapped("<script>\nvar d = \"\\\n# tracer: nop\\n\\\n  a b\\n\\\n"
                        "say \\\"x\\\" \\\\ \\'y\\'\\n\\\nlast\\n\";\nno\";\n</script>\nno"),
              "  a b/say \"x\" \\ 'y'/last ");
    EXPECT_EQ(
        unwrapped("<script>no</script><pre># tracer: nop\n&lt;idle&gt;-0 &amp;lt; R&D\n</pre>no\n"),
        "<idle>-0 &lt; R&D");
    // Several, such as of two recordings.
    EXPECT_EQ(unwrapped("<script># tracer: a\n1</script>\nno\n<script>\n# tracer: b\n2\n</script>"),
              "1/2");
}

TEST(HtmlTraceTest, findsNoneInPagesThatTalkAboutTraces) {
    EXPECT_EQ(unwrapped("<script>\nif (/^# tracer:/.exec(a)) x();\na = '# tracer';\n</script>\n"
                        "<p>a-1 [000] 1.0: sched_switch: x</p>\n"),
              "none");
    EXPECT_TRUE(beginsLikeHtml("\xEF\xBB\xBF\r\n <!DOCTYPE html>"));
    EXPECT_TRUE(beginsLikeHtml("<HTML lang=en>"));
    for (const char* text : {"", " ", "<!doc", "# tracer", "<idle>-0", "{\"a\":\"<html\"}"}) {
        EXPECT_FALSE(beginsLikeHtml(text)) << text;
    }
}

}  // namespace
}  // namespace lanefeed_importers
