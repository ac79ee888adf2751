#pragma once

#include <filesystem>
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

// A folder that goes away with the test.
class ScratchFolder {
public:
    ScratchFolder();
    ~ScratchFolder();
    ScratchFolder(const ScratchFolder&) = delete;
    ScratchFolder& operator=(const ScratchFolder&) = delete;

    std::string operator/(const std::string& name) const { return (m_path / name).string(); }
    // Names of the files in it, sorted.
    std::vector<std::string> files() const;
    std::string write(const std::string& name, const std::string& text) const;

private:
    std::filesystem::path m_path;
};

// A bundled trace.
std::string traceFile(const std::string& name);
std::string fileText(const std::string& path);
