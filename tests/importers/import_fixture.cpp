// What the tests of imports share.
#include "import_fixture.h"

#include <sqlite3.h>

#include <filesystem>
#include <fstream>
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
    std::filesystem::remove(target());
    const ImportOutcome outcome = importFile(writeFile("trace.json", "[" + events + "]"));
    ASSERT_FALSE(outcome.error.failed()) << outcome.error.text;
    ASSERT_TRUE(outcome.warnings.empty()) << outcome.warnings.front();
}

Rows ImportTest::rows(const std::string& sql) const {
    Rows found;
    sqlite3* database = nullptr;
    sqlite3_stmt* statement = nullptr;
    if (sqlite3_open_v2(target().c_str(), &database, SQLITE_OPEN_READONLY, nullptr) == SQLITE_OK &&
        sqlite3_prepare_v2(database, sql.c_str(), -1, &statement, nullptr) == SQLITE_OK) {
        while (sqlite3_step(statement) == SQLITE_ROW) {
            std::vector<std::string>& row = found.emplace_back();
            for (int i = 0; i < sqlite3_column_count(statement); ++i) {
                const auto* text = reinterpret_cast<const char*>(sqlite3_column_text(statement, i));
                row.emplace_back(text ? text : "null");
            }
        }
    }
    const std::string message = sqlite3_errmsg(database);
    EXPECT_TRUE(statement || message.rfind("no such table", 0) == 0) << message;
    sqlite3_finalize(statement);
    sqlite3_close(database);
    return found;
}

std::string ImportTest::cell(const std::string& sql) const {
    const Rows found = rows(sql);
    return found.empty() ? "none" : found.front().front();
}

std::string ImportTest::fact(std::string_view key) const {
    return cell("select value from result where key = '" + std::string(key) + "'");
}

std::string packed(std::string_view text) {
    z_stream stream{};
    deflateInit2(&stream, 6, Z_DEFLATED, 15 + 16, 8, Z_DEFAULT_STRATEGY);
    std::string bytes(deflateBound(&stream, text.size()) + 32, '\0');
    std::string input(text);
    stream.next_in = reinterpret_cast<Bytef*>(input.data());
    stream.avail_in = static_cast<uInt>(input.size());
    stream.next_out = reinterpret_cast<Bytef*>(bytes.data());
    stream.avail_out = static_cast<uInt>(bytes.size());
    deflate(&stream, Z_FINISH);
    bytes.resize(stream.total_out);
    deflateEnd(&stream);
    return bytes;
}

}  // namespace lanefeed_importers
