// What Ctrl-C does. Verbs that read leave nothing behind and end at once, wherever they are; those
// that write hold the signal back until the file is whole or gone. Tested by
// tests/tool/errors_test.cpp.

#include "interrupt.h"

#include "failure.h"

#include <csignal>
#include <cstddef>
#include <unistd.h>

namespace lanefeed_tool {

namespace {

std::atomic<bool> g_isHeld{false};
std::atomic<bool> g_hasCome{false};
static_assert(std::atomic<bool>::is_always_lock_free, "set by a signal handler");

// Calls only what a handler may.
void onInterrupt(int /*signal*/) {
    g_hasCome.store(true, std::memory_order_relaxed);
    if (g_isHeld.load(std::memory_order_relaxed)) return;
    constexpr char kText[] = "lanefeed: error: interrupted\n";
    [[maybe_unused]] const ssize_t written = write(STDERR_FILENO, kText, sizeof kText - 1);
    _exit(exitInterrupted);
}

}  // namespace

void endOnInterrupt() {
    for (const int signal : {SIGINT, SIGTERM, SIGHUP}) {
        struct sigaction action = {};
        sigaction(signal, nullptr, &action);
        if (action.sa_handler == SIG_IGN) continue;
        action = {};
        action.sa_handler = onInterrupt;
        sigemptyset(&action.sa_mask);
        sigaction(signal, &action, nullptr);
    }
}

HeldInterrupt::HeldInterrupt() {
    g_hasCome.store(false);
    g_isHeld.store(true);
}

HeldInterrupt::~HeldInterrupt() {
    g_isHeld.store(false);
}

const std::atomic<bool>& HeldInterrupt::flag() const {
    return g_hasCome;
}

}  // namespace lanefeed_tool
