// The assertion handler of the process.
// Tested by tests/base/platform_test.cpp.
#include <platkit_2_18/debug.h>

#include <atomic>
#include <cstdio>

namespace platkit_2_18::debug {
namespace {

void printAssertion(const char* text, const char* file, int line) {
    std::fprintf(stderr, "assertion failed: %s, at file: %s:%d\n", text != nullptr ? text : "",
                 file != nullptr ? file : "", line);
}

std::atomic<assertion_handler_t> handlerInForce{printAssertion};

}  // namespace

void assertion_handler(const char* text, const char* file, int line) {
    handlerInForce.load()(text, file, line);
}

assertion_handler_t set_assertion_handler(assertion_handler_t handler) {
    return handlerInForce.exchange(handler != nullptr ? handler : printAssertion);
}

}  // namespace platkit_2_18::debug
