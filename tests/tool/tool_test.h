#pragma once

#include "support/temp_directory.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <map>
#include <rapidjson/document.h>
#include <string>
#include <vector>

// What the client printed, as users start it, and how it ended.
struct ToolRun {
    int exit = -1;  // 128 + signal when a signal ended it
    std::string out;
    std::string err;
};

// A command line, how it ends, and what it says on stderr.
struct Said {
    std::string words;
    int exit;
    std::string text;
};

using Counts = std::map<int, long long>;

// In front of the client: the same provider over the store alone.
constexpr const char* kPlain = "LANEFEED_SQLITE=1";

// The client in a folder of its own. Blanks part the words of a command line, quotes hold them
// together; "@" is the result of the test, "@NAME" a file in its folder, "$NAME" a bundled trace.
class ToolTest : public ::testing::Test {
protected:
    // `before`: what a shell reads in front of the client.
    ToolRun run(const std::string& words, const std::string& before = "") const;
    // What it prints, expected to end well.
    std::string out(const std::string& words, const std::string& before = "") const;
    // Expects that it says nothing on stderr.
    void quiet(const std::string& words) const;
    // What it prints with --format json.
    rapidjson::Document json(const std::string& words, const std::string& before = "") const;
    // A failure is one line "lanefeed: error: ..." and prints nothing else.
    void expectEach(const std::vector<Said>& cases) const;

    // A trace as the result: a bundled one, or the text of support/trace_text.h.
    void import(const std::string& words) const;
    void trace(const std::string& text) const;
    // Asks the file of the result, for rows of two numbers, or changes it.
    Counts ask(const std::string& statement) const;
    void write(const std::string& name, const std::string& text) const;
    std::string path(const std::string& word) const;

    lanefeed_test::TempDirectory m_folder;
};

// A failed expectation for a text that is no JSON.
rapidjson::Document parsed(const std::string& text);
// The text of a file; "$NAME" is a bundled trace.
std::string fileText(const std::string& path);
// A viewpoint with rows by thread and these layers.
std::string threadsWith(const std::string& layers);
std::string layerXml(const std::string& type, const std::string& query);
