#include "tool/tool_test.h"

#include "support/trace_text.h"

#include <fmt/format.h>
#include <fstream>
#include <iomanip>
#include <sstream>

using ::testing::HasSubstr;
using ::testing::StartsWith;

const RunOptions kPlain{-1, {}, {"LANEFEED_SQLITE=1"}};

rapidjson::Document parsed(const std::string& text) {
    rapidjson::Document document;
    document.Parse(text.c_str());
    EXPECT_FALSE(document.HasParseError()) << "no JSON: " << text.substr(0, 400);
    return document;
}

std::string ToolTest::path(const std::string& word) const {
    if (word == "@") return m_folder.file("a.lft");
    if (word[0] == '@') return m_folder.file(word.substr(1));
    return word[0] == '$' ? traceFile(word.substr(1)) : word;
}

ToolRun ToolTest::run(const std::string& words, const RunOptions& how) const {
    std::vector<std::string> arguments;
    std::istringstream in(words);
    for (std::string word; in >> std::quoted(word);)
        arguments.push_back(word.empty() ? word : path(word));
    return runTool(arguments, how);
}

std::string ToolTest::out(const std::string& words, const RunOptions& how) const {
    const ToolRun run = this->run(words, how);
    EXPECT_EQ(run.exit, 0) << words << ": " << run.err;
    return run.out;
}

void ToolTest::quiet(const std::string& words) const {
    EXPECT_EQ(run(words).err, "") << words;
}

rapidjson::Document ToolTest::json(const std::string& words, const RunOptions& how) const {
    return parsed(out(words + " --format json", how));
}

void ToolTest::expectEach(const std::vector<Said>& cases) const {
    for (const Said& one : cases) {
        SCOPED_TRACE(one.words);
        const ToolRun run = this->run(one.words);
        EXPECT_EQ(run.exit, one.exit) << run.err;
        EXPECT_THAT(run.err, HasSubstr(one.text));
        if (one.exit == 0) continue;
        EXPECT_THAT(run.err, StartsWith("lanefeed: error: "));
        EXPECT_EQ(run.err.find('\n'), run.err.size() - 1) << run.err;
        EXPECT_EQ(run.out, "");
    }
}

void ToolTest::import(const std::string& words) const {
    out("import " + words + " -o @ --force");
}

void ToolTest::trace(const std::string& text) const {
    lanefeed_test::writeTraceText(path("@"), text);
}

std::string ToolTest::write(const std::string& name, const std::string& text) const {
    std::ofstream(m_folder.file(name), std::ios::binary) << text;
    return m_folder.file(name);
}

std::string threadsWith(const std::string& layers) {
    return "<viewpoint><area><rowSet><rowBy useGridQuery=\"false\" query=\"thread\"/>" + layers +
           "</rowSet></area></viewpoint>";
}

std::string layerXml(const std::string& type, const std::string& query) {
    return fmt::format("<layer type=\"{0}\" displayName=\"{0}\"><drawBy query=\"{1}\"/></layer>",
                       type, query);
}
