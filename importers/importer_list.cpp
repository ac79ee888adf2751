// The only list of formats, and the frame around every import: open the source, find its format,
// write, put the result in its place. Tested by tests/importers/import_trace_test.cpp.
#include "importer.h"

#include "common/byte_source.h"
#include "common/clean_text.h"
#include "common/counts_by_name.h"
#include "common/fact_keys.h"
#include "common/foreign_file.h"
#include "common/wording.h"
#include "format_choice.h"
#include "ftrace_text/ftrace_importer.h"
#include "perf_script/perf_script_importer.h"
#include "trace_event_json/trace_event_importer.h"

#include <relay2/progress.h>

#include <algorithm>
#include <filesystem>
#include <fmt/format.h>
#include <store/filter_registry.h>
#include <store/open_store.h>
#include <store/result_writer.h>
#include <system_error>
#include <utility>

namespace lanefeed_importers {
namespace {

using lanefeed_runtime::ResultWriter;
using lanefeed_runtime::StoreError;
using lanefeed_runtime::WriterOptions;
namespace result_keys = lanefeed_runtime::result_keys;

// Beside the events in the sorter, of which there are none left when these are written.
constexpr std::size_t kWriterSortMemory = std::size_t{24} << 20;
constexpr std::size_t kWriterCacheMemory = std::size_t{16} << 20;

// Asked by the writer between rows.
class CancelProgress : public relay2::IProgress {
public:
    explicit CancelProgress(const ImportOptions& options) : m_options(options) {}
    bool isCanceled() override { return m_options.cancelled(); }

private:
    const ImportOptions& m_options;
};

ImportError errorOf(const StoreError& error) {
    switch (error.kind) {
    case StoreError::Kind::none: return {};
    case StoreError::Kind::cancelled: return ImportError::cancelled();
    case StoreError::Kind::notUnderstood: return ImportError::badInput(error.text);
    case StoreError::Kind::cannotRead:
    case StoreError::Kind::cannotWrite:
    case StoreError::Kind::exists: break;
    }
    return ImportError::failure(error.text);
}

// A cancelled import says which, and what stands now. What fails when it is cancelled, such as a
// read of a pipe, fails for that.
ImportError named(ImportError error, const ImportRequest& request) {
    if (error.failed() && request.options.cancelled()) error = ImportError::cancelled();
    if (error.kind == ImportError::Kind::cancelled) {
        error.text = fmt::format("{}: the import was interrupted; {} is as it was before",
                                 ByteSource::nameOf(request.source), request.target);
    }
    return error;
}

std::string jsonArray(const std::vector<std::string>& texts) {
    std::string json;
    for (const std::string& text : texts)
        json += fmt::format("{}{}", json.empty() ? "" : ",", jsonQuoted(text));
    return "[" + json + "]";
}

void describeSource(const ByteSource& source, const Importer& importer, ResultWriter& writer) {
    writer.setFact(result_keys::kImporter, importer.name());
    writer.setFact(result_keys::kSource, cleanText(source.path()));
    writer.setFact(fact_keys::kSourceModified, std::to_string(source.modified()));
    writer.setFact(fact_keys::kSourceBytes, std::to_string(source.fileBytesRead()));
    writer.setFact(fact_keys::kUnpackedBytes, std::to_string(source.unpackedBytes()));
}

// Pauses make no result longer than its trace; what lies behind the trace is told and left out.
void addPauses(const ImportRequest& request, ResultWriter& writer, ImportOutcome& outcome) {
    const std::int64_t length = outcome.duration();
    for (const auto& [begin, end] : request.pauses) {
        if (end > length) {
            outcome.warnings.push_back(
                fmt::format("{}: the pause {}ns..{}ns reaches beyond the {} ns of the trace; what "
                            "lies behind them is left out",
                            ByteSource::nameOf(request.source), begin, end, length));
        }
        if (begin >= length) continue;
        writer.addPause(outcome.firstTime + begin, outcome.firstTime + std::min(end, length));
    }
}

// Of the result that stands there, if one does.
std::vector<std::string> filtersOf(const std::string& result) {
    StoreError error;
    const lanefeed_runtime::OpenStore store = lanefeed_runtime::openStore(result, error);
    if (store.failed()) return {};
    return dynamic_cast<lanefeed_runtime::FilterRegistry&>(*store.filters).names();
}

// As a whole, since a message that names it has to say which.
std::string folderOf(const std::string& target) {
    std::error_code error;
    const std::filesystem::path whole = std::filesystem::absolute(target, error);
    return error ? "." : whole.parent_path().string();
}

void finishResult(const ImportRequest& request, ResultWriter& writer, ImportOutcome& outcome) {
    addPauses(request, writer, outcome);
    writer.setFact(fact_keys::kWarnings, jsonArray(outcome.warnings));
    outcome.instances = writer.instanceCount();
    const std::vector<std::string> filters = filtersOf(request.target);
    if (request.options.progress) {
        request.options.progress({ImportProgress::Stage::writing, 0, 0, outcome.events});
    }
    const auto progress = basekit2::make_object<CancelProgress>(request.options);
    if (!writer.finish(progress.get())) {
        outcome.error = named(errorOf(writer.error()), request);
    } else if (!filters.empty()) {
        outcome.warnings.push_back(
            fmt::format("{}: {} of the result that stood there ({}) {} gone with it; select anew",
                        request.target, counted(filters.size(), "filter", "filters"),
                        fmt::join(filters, ", "), filters.size() == 1 ? "is" : "are"));
    }
}

}  // namespace

const std::vector<std::unique_ptr<Importer>>& importers() {
    static const std::vector<std::unique_ptr<Importer>> all = [] {
        std::vector<std::unique_ptr<Importer>> list;
        list.push_back(std::make_unique<TraceEventImporter>());
        list.push_back(std::make_unique<FtraceImporter>());
        list.push_back(std::make_unique<PerfScriptImporter>());
        return list;
    }();
    return all;
}

std::string knownFormats() {
    std::string texts;
    for (const auto& importer : importers())
        texts += fmt::format("{}{}", texts.empty() ? "" : "; ", importer->description());
    return texts;
}

ImportOutcome importTrace(const ImportRequest& request) {
    ImportOutcome outcome;
    const std::unique_ptr<ByteSource> source =
        ByteSource::open(request.source, outcome.error, request.options.cancel);
    if (!source) {
        outcome.error = named(std::move(outcome.error), request);
        return outcome;
    }
    const Importer* importer = importerFor(source->head());
    if (!importer) {
        outcome.error = ImportError::badInput(
            fmt::format("{}: {}", source->path(), foreignFileText(source->head())));
        return outcome;
    }
    WriterOptions writing;
    writing.target = request.target;
    writing.sourceIdentity = source->identity();
    writing.force = request.force;
    writing.sortMemory = kWriterSortMemory;
    writing.cacheMemory = kWriterCacheMemory;
    StoreError storeError;
    const std::unique_ptr<ResultWriter> writer = ResultWriter::create(writing, storeError);
    if (!writer) {
        outcome.error = errorOf(storeError);
        return outcome;
    }
    ImportOptions options = request.options;
    options.scratchFolder = folderOf(request.target);
    outcome = importer->import(*source, *writer, options);
    if (source->hasTail()) {
        outcome.warnings.push_back(
            fmt::format("{}: what stands behind the compressed data is not gzip and was not read",
                        source->path()));
    }
    if (!outcome.error.failed()) outcome.error = errorOf(writer->error());
    outcome.error = named(std::move(outcome.error), request);
    if (outcome.error.failed()) return outcome;
    describeSource(*source, *importer, *writer);
    finishResult(request, *writer, outcome);
    return outcome;
}

}  // namespace lanefeed_importers
