#pragma once

#include "store/open_store.h"
#include "store/result_writer.h"
#include "support/temp_directory.h"

#include <string>

namespace lanefeed_test {

// A trace as a few lines of text, made into a result by the writer that importers use. One line per
// thing, words parted by blanks, "#" starts a comment:
//
//   process viewer                        for the lines that follow; "app" before the first one
//   thread main  0..100 a  10..12 b       slices, half open; the text of one thread may go on later
//   track upload  3..9 part               async slices on a track of their own
//   counter load  0=5  10=7.5  20=0       samples, each good until the next one
//   marker main  5 gc  9 gc               points on a thread
//   flow main 5 other/worker 9 wake       from a thread at a time to one (of a process) at a time
//   core 0  0..10 main  10..20 -          threads that run on a core; "-" for none: it is idle
//   state main  0..10 Running%0  10..20 Sleeping      states of a thread, "%" the core it runs on
//   interrupt 0  12..13 timer@irq         on a core
//   wakeup main 5 worker 9 wake%0         as a flow; "%" the core that it is woken for
//   migration 0 5 1 9 main                from a core at a time to a core at a time, a thread
//   pause 20..30
//   alive main 0..50                      life time of a thread; more than one are several bands
//
// A name may go on with "*3" (count), "@io" (category), "%0" (core) and "{...}" (arguments, without
// blanks), in this order; "-" is no name. ".." before nothing ("10..") lasts to the end of the
// trace. Times are trace times: in the result the first one is tick 1, so with a first time of 0
// times of the text are those of the pane.
void addTraceText(lanefeed_runtime::ResultWriter& writer, const std::string& text);

// Writes the text into a new file. Throws std::runtime_error with the line that it doesn't take.
void writeTraceText(const std::string& file,
                    const std::string& text,
                    long long ticksPerSecond = 1000000000);

// A text as an open result in a folder of its own.
class TextResult {
public:
    explicit TextResult(const std::string& text, long long ticksPerSecond = 1000000000);

    const std::string& file() const { return m_file; }
    lanefeed_runtime::OpenStore& store() { return m_store; }
    storelink1::IDatabase& database() const { return *m_store.database; }

private:
    TempDirectory m_directory;
    std::string m_file;
    lanefeed_runtime::OpenStore m_store;
};

}  // namespace lanefeed_test
