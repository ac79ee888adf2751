#include "tool/answers.h"

#include <gtest/gtest.h>

rapidjson::Document parsed(const std::string& text) {
    rapidjson::Document document;
    document.Parse(text.c_str());
    EXPECT_FALSE(document.HasParseError()) << "no JSON: " << text.substr(0, 400);
    return document;
}

rapidjson::Document answerOf(std::vector<std::string> arguments, const RunOptions& how) {
    arguments.insert(arguments.end(), {"--format", "json"});
    const ToolRun run = runTool(arguments, how);
    EXPECT_EQ(run.exit, 0) << run.err;
    return parsed(run.out);
}

ImportedTrace::ImportedTrace(const std::string& name) : m_result(m_folder / "trace.lft") {
    const ToolRun run = runTool({"import", traceFile(name), "-o", m_result});
    EXPECT_EQ(run.exit, 0) << name << ": " << run.err;
}
