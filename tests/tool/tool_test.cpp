#include "tool/tool_test.h"

#include "support/trace_text.h"

#include <sqlite3.h>

#include <cstdio>
#include <fmt/format.h>
#include <fstream>
#include <iomanip>
#include <sstream>
#include <sys/wait.h>

using ::testing::HasSubstr;
using ::testing::StartsWith;

rapidjson::Document parsed(const std::string& text) {
    rapidjson::Document document;
    document.Parse(text.c_str());
    EXPECT_FALSE(document.HasParseError()) << "no JSON: " << text.substr(0, 400);
    return document;
}

std::string fileText(const std::string& path) {
    std::ifstream file(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), {}};
}

std::string ToolTest::path(const std::string& word) const {
    if (word == "@") return m_folder.file("a.lft");
    if (word[0] == '@') return m_folder.file(word.substr(1));
    return word[0] == '$' ? LANEFEED_TEST_DATA "/" + word.substr(1) : word;
}

ToolRun ToolTest::run(const std::string& words, const std::string& before) const {
    const std::string errors = path("@.stderr");
    std::string line = before + " '" LANEFEED_TOOL "'";
    std::istringstream in(words);
    for (std::string word; in >> std::quoted(word);)
        line += " '" + (word.empty() ? word : path(word)) + "'";
    ToolRun run;
    FILE* const output = popen((line + " </dev/null 2>'" + errors + "'").c_str(), "r");
    char buffer[65536];
    for (std::size_t count = 0; (count = fread(buffer, 1, sizeof buffer, output)) > 0;)
        run.out.append(buffer, count);
    const int status = pclose(output);
    run.exit = WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
    run.err = fileText(errors);
    std::remove(errors.c_str());
    return run;
}

std::string ToolTest::out(const std::string& words, const std::string& before) const {
    const ToolRun run = this->run(words, before);
    EXPECT_EQ(run.exit, 0) << words << ": " << run.err;
    return run.out;
}

void ToolTest::quiet(const std::string& words) const {
    EXPECT_EQ(run(words).err, "") << words;
}

rapidjson::Document ToolTest::json(const std::string& words, const std::string& before) const {
    return parsed(out(words + " --format json", before));
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

Counts ToolTest::ask(const std::string& statement) const {
    const auto take = [](void* counts, int /*fields*/, char** field, char** /*names*/) {
        (*static_cast<Counts*>(counts))[std::stoi(field[0])] = std::stoll(field[1]);
        return 0;
    };
    Counts counts;
    sqlite3* file = nullptr;
    EXPECT_EQ(sqlite3_open(path("@").c_str(), &file), SQLITE_OK);
    EXPECT_EQ(sqlite3_exec(file, statement.c_str(), take, &counts, nullptr), SQLITE_OK);
    sqlite3_close(file);
    return counts;
}

void ToolTest::write(const std::string& name, const std::string& text) const {
    std::ofstream(m_folder.file(name), std::ios::binary) << text;
}

std::string threadsWith(const std::string& layers) {
    return "<viewpoint><area><rowSet><rowBy useGridQuery=\"false\" query=\"thread\"/>" + layers +
           "</rowSet></area></viewpoint>";
}

std::string layerXml(const std::string& type, const std::string& query) {
    return fmt::format("<layer type=\"{0}\" displayName=\"{0}\"><drawBy query=\"{1}\"/></layer>",
                       type, query);
}
