#pragma once

#include "support/temp_directory.h"
#include "tool/run_tool.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <rapidjson/document.h>
#include <string>
#include <vector>

// A failed expectation for a text that is no JSON.
rapidjson::Document parsed(const std::string& text);

// A command line, how it ends, and what it says on stderr.
struct Said {
    std::string words;
    int exit;
    std::string text;
};

// The client in a folder of its own. Blanks part the words of a command line, quotes hold them
// together; "@" is the result of the test, "@NAME" a file in its folder, "$NAME" a bundled trace.
class ToolTest : public ::testing::Test {
protected:
    ToolRun run(const std::string& words, const RunOptions& how = {}) const;
    // What it prints, expected to end well.
    std::string out(const std::string& words, const RunOptions& how = {}) const;
    // Expects that it says nothing on stderr.
    void quiet(const std::string& words) const;
    // What it prints with --format json.
    rapidjson::Document json(const std::string& words, const RunOptions& how = {}) const;
    // A failure is one line "lanefeed: error: ..." and prints nothing else.
    void expectEach(const std::vector<Said>& cases) const;

    // A trace as the result: a command line without the verb, and the text of support/trace_text.h.
    void import(const std::string& words) const;
    void trace(const std::string& text) const;
    // The path of a file in the folder, there with this text.
    std::string write(const std::string& name, const std::string& text) const;
    std::string path(const std::string& word) const;

    lanefeed_test::TempDirectory m_folder;
};

// A viewpoint with rows by thread and these layers.
std::string threadsWith(const std::string& layers);
std::string layerXml(const std::string& type, const std::string& query);

// The same provider over the store alone.
extern const RunOptions kPlain;
