#include "tool/run_tool.h"

#include <algorithm>
#include <array>
#include <csignal>
#include <cstdlib>
#include <fcntl.h>
#include <fstream>
#include <poll.h>
#include <sstream>
#include <stdexcept>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

namespace {

[[noreturn]] void becomeTool(const std::vector<std::string>& arguments,
                             const RunOptions& options,
                             int out,
                             int err) {
    dup2(out, STDOUT_FILENO);
    dup2(err, STDERR_FILENO);
    const int nothing = open("/dev/null", O_RDONLY);
    dup2(nothing, STDIN_FILENO);
    // Whoever runs the tests may have it ignored, as in the background of a script.
    std::signal(SIGINT, SIG_DFL);
    if (options.fileSizeLimit >= 0) {
        const auto bytes = static_cast<rlim_t>(options.fileSizeLimit);
        const rlimit limit{bytes, bytes};
        setrlimit(RLIMIT_FSIZE, &limit);
    }
    for (const std::string& entry : options.environment)
        putenv(const_cast<char*>(entry.c_str()));
    std::vector<char*> words{const_cast<char*>(LANEFEED_TOOL)};
    for (const std::string& argument : arguments)
        words.push_back(const_cast<char*>(argument.c_str()));
    words.push_back(nullptr);
    execv(LANEFEED_TOOL, words.data());
    _exit(127);
}

// Reads both pipes until the process has closed them.
void drain(std::array<pollfd, 2>& pipes, std::array<std::string*, 2> texts) {
    std::array<char, 65536> buffer;
    int open = 2;
    while (open > 0 && poll(pipes.data(), pipes.size(), -1) > 0) {
        for (std::size_t i = 0; i < pipes.size(); ++i) {
            if (pipes[i].fd < 0 || pipes[i].revents == 0) continue;
            const ssize_t count = read(pipes[i].fd, buffer.data(), buffer.size());
            if (count > 0) {
                texts[i]->append(buffer.data(), static_cast<std::size_t>(count));
            } else {
                close(pipes[i].fd);
                pipes[i].fd = -1;
                --open;
            }
        }
    }
}

}  // namespace

ToolRun runTool(const std::vector<std::string>& arguments, const RunOptions& options) {
    int out[2];
    int err[2];
    if (pipe2(out, O_CLOEXEC) != 0 || pipe2(err, O_CLOEXEC) != 0) throw std::runtime_error("pipe");
    const pid_t pid = fork();
    if (pid == 0) becomeTool(arguments, options, out[1], err[1]);
    close(out[1]);
    close(err[1]);
    if (options.onStart) options.onStart(pid);
    ToolRun run;
    std::array<pollfd, 2> pipes{{{out[0], POLLIN, 0}, {err[0], POLLIN, 0}}};
    drain(pipes, {&run.out, &run.err});
    int status = 0;
    waitpid(pid, &status, 0);
    run.exit = WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
    return run;
}

ScratchFolder::ScratchFolder() {
    std::string name = (std::filesystem::temp_directory_path() / "lanefeed-tool-XXXXXX").string();
    if (mkdtemp(name.data()) == nullptr) throw std::runtime_error("mkdtemp");
    m_path = name;
}

ScratchFolder::~ScratchFolder() {
    std::error_code ignored;
    std::filesystem::remove_all(m_path, ignored);
}

std::vector<std::string> ScratchFolder::files() const {
    std::vector<std::string> names;
    for (const auto& entry : std::filesystem::directory_iterator(m_path))
        names.push_back(entry.path().filename().string());
    std::sort(names.begin(), names.end());
    return names;
}

std::string ScratchFolder::write(const std::string& name, const std::string& text) const {
    std::ofstream(m_path / name, std::ios::binary) << text;
    return *this / name;
}

std::string traceFile(const std::string& name) {
    return std::string(LANEFEED_TEST_DATA) + "/" + name;
}

std::string fileText(const std::string& path) {
    std::ifstream file(path, std::ios::binary);
    std::ostringstream text;
    text << file.rdbuf();
    return text.str();
}
