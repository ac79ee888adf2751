#pragma once

#include "tool/run_tool.h"

#include <rapidjson/document.h>
#include <string>
#include <vector>

// A failed expectation for a text that is no JSON.
rapidjson::Document parsed(const std::string& text);

// What a verb prints with --format json; expects it to end well.
rapidjson::Document answerOf(std::vector<std::string> arguments, const RunOptions& how = {});

// A bundled trace as a result in a folder of its own.
class ImportedTrace {
public:
    explicit ImportedTrace(const std::string& name);
    const std::string& result() const { return m_result; }

private:
    ScratchFolder m_folder;
    std::string m_result;
};
