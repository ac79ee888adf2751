#pragma once

#include <functional>
#include <string>
#include <vector>

// The client as users start it: a process of its own, with what it printed and how it ended.
struct ToolRun {
    int exit = -1;  // 128 + signal when a signal ended it
    std::string out;
    std::string err;
};

// With a size limit the process can't write files beyond so many bytes. `onStart` runs beside the
// process and may send it signals.
struct RunOptions {
    long fileSizeLimit = -1;
    std::function<void(int pid)> onStart;
    std::vector<std::string> environment;  // NAME=value
};

ToolRun runTool(const std::vector<std::string>& arguments, const RunOptions& options = {});

// A bundled trace.
std::string traceFile(const std::string& name);
std::string fileText(const std::string& path);
