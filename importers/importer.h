#pragma once

#include "common/import_error.h"

#include <atomic>
#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace lanefeed_runtime {
class ResultWriter;
}

// A trace file in, a result out. Times are nanoseconds of the trace's own clock throughout.
//
//   ImportRequest request;
//   request.source = "run.json.gz";
//   request.target = "run.lft";
//   const ImportOutcome outcome = importTrace(request);
//   if (!outcome.error.failed()) for (const std::string& warning : outcome.warnings) ...
//
// A failed or cancelled import leaves nothing behind and an existing result as it was.
namespace lanefeed_importers {

class ByteSource;

struct ImportProgress {
    enum class Stage {
        reading,  // the source; done and total are bytes of the file, total is 0 for a pipe
        joining,  // begins with ends, in order of time; done and total are events
        writing   // the result is being put in its place; done and total are 0
    };
    Stage stage = Stage::reading;
    std::uint64_t done = 0;
    std::uint64_t total = 0;
    std::uint64_t events = 0;  // read so far
};

struct ImportOptions {
    // Keep the arguments of events, for tooltips.
    bool args = true;
    // Of a compressed file that ends early or is damaged: take what could be unpacked.
    bool keepGoing = false;
    // Bytes for events that wait to be put in order; more than these go to a temporary file in
    // `scratchFolder`.
    std::size_t sortMemory = std::size_t{32} << 20;
    std::string scratchFolder = ".";
    // Polled at least every few milliseconds; may be set by a signal handler or another thread.
    const std::atomic<bool>* cancel = nullptr;
    // Called on the thread of the import, some times a second at most per megabyte read.
    std::function<void(const ImportProgress&)> progress;

    bool cancelled() const { return cancel && cancel->load(std::memory_order_relaxed); }
};

struct ImportRequest {
    std::string source;  // file or pipe; "-" is the standard input
    std::string target;  // NAME.lft
    bool force = false;  // replaces the result of another source
    // Half open spans from the first event on, in nanoseconds.
    std::vector<std::pair<std::int64_t, std::int64_t>> pauses;
    // Its scratch folder is replaced by that of the target.
    ImportOptions options;
};

struct ImportOutcome {
    ImportError error;
    // One line each, for the user: what was wrong with the input and what that means.
    std::vector<std::string> warnings;
    std::uint64_t events = 0;
    std::uint64_t instances = 0;
    std::uint64_t bytes = 0;  // unpacked
    // Of the first event in the trace; pauses count from here.
    std::int64_t firstTime = 0;
    // Of the last one; equal to the first in an empty trace.
    std::int64_t lastTime = 0;
    bool isTimed = false;  // some event has a time

    // Nanoseconds from the first tick until behind the last one.
    std::int64_t duration() const { return isTimed ? lastTime - firstTime + 1 : 0; }
};

// One format of traces. Implementations hold no state between imports.
class Importer {
public:
    Importer() = default;
    Importer(const Importer&) = delete;
    Importer& operator=(const Importer&) = delete;
    virtual ~Importer() = default;

    // As stored with the result.
    virtual std::string_view name() const = 0;
    // For people, in a list of formats: what it reads and what makes such a file.
    virtual std::string_view description() const = 0;
    // By the first unpacked bytes of a file, at most a few kilobytes.
    virtual bool accepts(std::string_view head) const = 0;
    // The line by itself tells an event of this format. Of formats that go by lines alone.
    virtual bool isEventLine(std::string_view) const { return false; }
    // Writes instances and facts; the caller finishes the writer. Failures of the writer are left
    // for the caller to find there.
    virtual ImportOutcome import(ByteSource& source,
                                 lanefeed_runtime::ResultWriter& writer,
                                 const ImportOptions& options) const = 0;
};

// All formats, in the order in which they are asked.
const std::vector<std::unique_ptr<Importer>>& importers();

// The descriptions of all of them, in one line.
std::string knownFormats();

ImportOutcome importTrace(const ImportRequest& request);

}  // namespace lanefeed_importers
