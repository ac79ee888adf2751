// Entry of the command line client: runs the verb, and turns what ends it into one line on stderr
// and an exit code.

#include "command_line.h"
#include "failure.h"
#include "interrupt.h"

#include <csignal>
#include <exception>
#include <iostream>
#include <new>

int main(int count, char** arguments) {
    // A write beyond a size limit is to fail with an error, as on a full disk, whatever the verb.
    std::signal(SIGXFSZ, SIG_IGN);
    lanefeed_tool::endOnInterrupt();
    try {
        const int code = lanefeed_tool::runCommandLine(count, arguments);
        std::cout.flush();
        if (!std::cout) {
            std::cerr
                << "lanefeed: error: stdout: the output could not be written; is the disk full?\n";
            return lanefeed_tool::exitFailure;
        }
        return code;
    } catch (const lanefeed_tool::Failure& failure) {
        std::cerr << "lanefeed: error: " << failure.what() << '\n';
        return failure.code();
    } catch (const std::bad_alloc&) {
        std::cerr << "lanefeed: error: out of memory; ask for fewer buckets or a shorter span\n";
    } catch (const std::exception& error) {
        std::cerr << "lanefeed: error: " << error.what() << '\n';
    }
    return lanefeed_tool::exitFailure;
}
