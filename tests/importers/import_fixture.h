#pragma once

#include "importer.h"
#include "support/temp_directory.h"

#include <gtest/gtest.h>

#include <functional>
#include <string>
#include <string_view>
#include <vector>

namespace lanefeed_importers {

// A folder of its own for each test, imports into it, and plain looks at what was written.
class ImportTest : public testing::Test {
protected:
    std::string path(const std::string& name) const { return m_folder.file(name); }
    std::string target() const { return path("result.lft"); }
    std::string writeFile(const std::string& name, std::string_view content) const;
    std::vector<std::string> files() const { return m_folder.names(); }

    ImportOutcome importFile(const std::string& file);
    // Of events in an array; fails the test unless they are taken, with no other warning than that
    // some are not understood.
    void importEvents(const std::string& events);

    // Of a text under the name "trace", into a new result.
    ImportOutcome importText(std::string_view text);
    // Why such a text is not understood, without the name of the file. It leaves nothing behind.
    std::string refusal(std::string_view text);

    // Rows parted by "; " and their cells by blanks, "-" for null. Empty for a table that isn't
    // there.
    std::string rows(const std::string& sql) const;
    // Facts parted by blanks, as their keys are.
    std::string facts(std::string_view keys) const;

    ImportOptions m_options;

private:
    lanefeed_test::TempDirectory m_folder;
};

std::string textOf(const std::string& file);
std::string packed(std::string_view text);

// Expects of each line "input -> answer" that `read` answers so. The line may begin with blanks.
void expectAnswers(const std::function<std::string(std::string_view)>& read, const char* lines);

}  // namespace lanefeed_importers
