#pragma once

#include "importer.h"
#include "support/temp_directory.h"

#include <gtest/gtest.h>

#include <string>
#include <string_view>
#include <vector>

namespace lanefeed_importers {

using Rows = std::vector<std::vector<std::string>>;

// A folder of its own for each test, imports into it, and plain looks at what was written.
class ImportTest : public testing::Test {
protected:
    std::string path(const std::string& name) const { return m_folder.file(name); }
    std::string target() const { return path("result.lft"); }
    std::string writeFile(const std::string& name, std::string_view content) const;
    std::vector<std::string> files() const { return m_folder.names(); }

    ImportOutcome importFile(const std::string& file);
    // Of events in an array; fails the test unless they are taken without a warning.
    void importEvents(const std::string& events);

    // Cells as text, "null" for none. An empty answer for a table that isn't there.
    Rows rows(const std::string& sql) const;
    std::string cell(const std::string& sql) const;
    std::string fact(std::string_view key) const;

    ImportOptions m_options;

private:
    lanefeed_test::TempDirectory m_folder;
};

std::string packed(std::string_view text);

}  // namespace lanefeed_importers
