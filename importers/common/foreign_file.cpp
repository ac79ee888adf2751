// Files that people give instead of a trace, most of all the recording from which the trace is
// printed. Tested by tests/importers/import_trace_test.cpp.
#include "common/foreign_file.h"

#include "common/wording.h"
#include "importer.h"

#include <algorithm>
#include <fmt/format.h>
#include <iterator>

namespace lanefeed_importers {
namespace {

using namespace std::string_view_literals;

struct Foreign {
    std::string_view begin;
    std::string_view text;
};

constexpr Foreign kForeign[] = {
    {"PERFILE2"sv,
     "is a recording of perf; give the text that `perf script --ns -F "
     "comm,pid,tid,cpu,time,event,trace -i FILE` prints"},
    {"\x17\x08\x44tracing"sv,
     "is a recording of trace-cmd; give the text that `trace-cmd report FILE` prints"},
    {"\xff\xfe"sv, "is text in UTF-16; convert it with `iconv -f UTF-16 -t UTF-8`"},
    {"\xfe\xff"sv, "is text in UTF-16; convert it with `iconv -f UTF-16 -t UTF-8`"},
    {"SQLite format 3\0"sv, "is a database and no trace; a result is read by `lanefeed info`"},
    {"PK\x03\x04"sv, "is a zip archive; unpack it and give the trace in it"},
    {"\x28\xb5\x2f\xfd"sv, "is packed by zstd; unpack it with `zstd -d`"},
    {"\xfd"
     "7zXZ"sv,
     "is packed by xz; unpack it with `xz -d`"},
    {"BZh"sv, "is packed by bzip2; unpack it with `bzip2 -d`"},
};

const Foreign* foreignOf(std::string_view head) {
    const Foreign* const found =
        std::find_if(std::begin(kForeign), std::end(kForeign), [&](const Foreign& foreign) {
            return head.substr(0, foreign.begin.size()) == foreign.begin;
        });
    return found == std::end(kForeign) ? nullptr : found;
}

bool isText(std::string_view head) {
    return std::all_of(head.begin(), head.end(), [](char c) {
        return static_cast<unsigned char>(c) >= 0x20 ||
               std::string_view("\t\r\n\f").find(c) != std::string_view::npos;
    });
}

std::string beginOf(std::string_view head) {
    const std::size_t first = head.find_first_not_of(" \t\r\n");
    if (first == std::string_view::npos) return "blanks alone";
    if (isText(head.substr(0, 64))) return quotedAt(head, first);
    std::string bytes = "bytes";
    for (const char c : head.substr(0, 8))
        bytes += fmt::format(" {:02x}", static_cast<unsigned char>(c));
    return bytes;
}

}  // namespace

bool isForeignFile(std::string_view head) {
    return foreignOf(head) != nullptr;
}

std::string foreignFileText(std::string_view head) {
    if (const Foreign* const foreign = foreignOf(head)) return std::string(foreign->text);
    return fmt::format(
        "no known trace format at byte 0 ({}); give a trace of one of these, plain or as .gz: {}",
        beginOf(head), knownFormats());
}

}  // namespace lanefeed_importers
