// Generated traces as results, for benchmarks that read files.
#include "trace_file.h"

#include "store/result_writer.h"

#include <cstdint>
#include <vector>

namespace lanefeed_bench {

using lanefeed_runtime::TableId;

bool writeTraceFile(const Trace& trace, const std::string& file) {
    lanefeed_runtime::WriterOptions options;
    options.target = file;
    options.force = true;
    lanefeed_runtime::StoreError error;
    const auto writer = lanefeed_runtime::ResultWriter::create(options, error);
    if (writer == nullptr) return false;
    const int process =
        writer->attribute(TableId::process, "p", {{"name", "p"}, {"pid", 1}, {"sort", 1}});
    std::vector<int> bands;
    for (int row = 0; row < trace.shape.rows; ++row) {
        const std::string name = "t" + std::to_string(row);
        const int thread = writer->attribute(
            TableId::thread, name,
            {{"name", name}, {"tid", row}, {"dd_process", process}, {"sort", row}});
        bands.push_back(writer->band(TableId::thread, thread));
    }
    std::vector<int> names;
    for (int name = 0; name < trace.shape.names; ++name)
        names.push_back(writer->named(TableId::task, "call" + std::to_string(name)));
    for (const Call& call : trace.calls) {
        lanefeed_runtime::InstanceRow row;
        row.begin = static_cast<std::int64_t>(call.begin);
        row.end = static_cast<std::int64_t>(call.end);
        row.band = bands[static_cast<std::size_t>(call.row)];
        row.attr = names[static_cast<std::size_t>(call.name)];
        writer->add(TableId::sliceData, row);
    }
    writer->setFact(lanefeed_runtime::result_keys::kTicksPerSecond, "1000000000");
    return writer->finish();
}

}  // namespace lanefeed_bench
