#include "tool/run_tool.h"

#include <csignal>
#include <cstdlib>
#include <fcntl.h>
#include <fstream>
#include <future>
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

// All that comes out of a pipe.
std::string drained(int pipe) {
    std::string text;
    char buffer[65536];
    for (ssize_t count = 0; (count = read(pipe, buffer, sizeof buffer)) > 0;)
        text.append(buffer, static_cast<std::size_t>(count));
    close(pipe);
    return text;
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
    std::future<std::string> errors = std::async(std::launch::async, drained, err[0]);
    run.out = drained(out[0]);
    run.err = errors.get();
    int status = 0;
    waitpid(pid, &status, 0);
    run.exit = WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
    return run;
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
