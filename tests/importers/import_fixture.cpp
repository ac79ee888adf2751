// What the tests of imports share.
#include "import_fixture.h"

#include <sqlite3.h>

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <zlib.h>

namespace lanefeed_importers {

std::string ImportTest::writeFile(const std::string& name, std::string_view content) const {
    std::ofstream(path(name), std::ios::binary) << content;
    return path(name);
}

ImportOutcome ImportTest::importFile(const std::string& file) {
    ImportRequest request;
    request.source = file;
    request.target = target();
    request.options = m_options;
    return importTrace(request);
}

void ImportTest::importEvents(const std::string& events) {
    const ImportOutcome outcome = importText("[" + events + "]");
    ASSERT_FALSE(outcome.error.failed()) << outcome.error.text;
    for (const std::string& warning : outcome.warnings)
        EXPECT_NE(warning.find(" not understood; "), std::string::npos) << warning;
}

ImportOutcome ImportTest::importText(std::string_view text) {
    std::filesystem::remove(target());
    return importFile(writeFile("trace", text));
}

std::string ImportTest::refusal(std::string_view text) {
    const ImportOutcome outcome = importText(text);
    EXPECT_EQ(outcome.error.kind, ImportError::Kind::notUnderstood) << text.substr(0, 99);
    EXPECT_EQ(files(), std::vector<std::string>{"trace"});
    const std::string file = path("trace: ");
    EXPECT_EQ(outcome.error.text.rfind(file, 0), 0U) << outcome.error.text;
    return outcome.error.text.substr(std::min(outcome.error.text.size(), file.size()));
}

std::string ImportTest::rows(const std::string& sql) const {
    std::string found;
    sqlite3* database = nullptr;
    sqlite3_stmt* statement = nullptr;
    if (sqlite3_open_v2(target().c_str(), &database, SQLITE_OPEN_READONLY, nullptr) == SQLITE_OK &&
        sqlite3_prepare_v2(database, sql.c_str(), -1, &statement, nullptr) == SQLITE_OK) {
        while (sqlite3_step(statement) == SQLITE_ROW) {
            for (int i = 0; i < sqlite3_column_count(statement); ++i) {
                const auto* text = reinterpret_cast<const char*>(sqlite3_column_text(statement, i));
                found += i > 0 ? " " : found.empty() ? "" : "; ";
                found += text ? text : "-";
            }
        }
    }
    const std::string message = sqlite3_errmsg(database);
    EXPECT_TRUE(statement || message.rfind("no such table", 0) == 0) << message;
    sqlite3_finalize(statement);
    sqlite3_close(database);
    return found;
}

std::string ImportTest::facts(std::string_view keys) const {
    std::istringstream words{std::string(keys)};
    std::string values;
    for (std::string key; words >> key;)
        values += (values.empty() ? "" : " ") +
                  rows("select value from result where key = '" + key + "'");
    return values;
}

void expectAnswers(const std::function<std::string(std::string_view)>& read, const char* lines) {
    std::istringstream text(lines);
    for (std::string line; std::getline(text, line);) {
        const std::size_t begin = line.find_first_not_of(' ');
        if (begin == std::string::npos) continue;
        const std::size_t arrow = line.rfind(" -> ");
        ASSERT_NE(arrow, std::string::npos) << line;
        EXPECT_EQ(read(line.substr(begin, arrow > begin ? arrow - begin : 0)),
                  line.substr(arrow + 4));
    }
}

std::string textOf(const std::string& file) {
    std::stringstream text;
    text << std::ifstream(file, std::ios::binary).rdbuf();
    return text.str();
}

std::string packed(std::string_view text) {
    const lanefeed_test::TempDirectory folder;
    const std::string name = folder.file("packed");
    const gzFile file = gzopen(name.c_str(), "wb");
    gzwrite(file, text.data(), static_cast<unsigned>(text.size()));
    gzclose(file);
    return textOf(name);
}

}  // namespace lanefeed_importers
