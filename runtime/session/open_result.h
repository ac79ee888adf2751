#pragma once

#include <dataface_1/input_data.h>

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

namespace lanefeed_runtime {

struct ResultFacts;

// How a result is opened.
struct OpenOptions {
    // Files with query definitions of the user, read after the shipped ones in the order given. A
    // definition takes the place of one with the same id in an earlier file or among the shipped.
    std::vector<std::string> queryFiles;
    // Puts the shipped message catalogs in force when the host has no source of its own.
    bool installMessages = true;
};

// How the opening went. The texts say what is wrong, where (file, and line for definitions), and
// what to do about it, one line each.
struct OpenOutcome {
    enum Kind {
        opened,
        failed,        // cannot be read: no such file, permission, disk
        notUnderstood  // read, but no result, one of another schema, or definitions with errors
    };

    Kind kind = opened;
    std::string text;               // the first error
    std::vector<std::string> more;  // further errors, such as the other bad definitions of a file
    // The result is open, but not all of it is as it was left: its filters are not understood.
    std::vector<std::string> warnings;

    bool isOpened() const { return kind == opened; }
};

// Opens a result for reading, with the filters that were kept in it in force. The answer hands out
// the query library, the performance database, the filter registry, and the factory of mappers for
// the styles of values that the query definitions configure. Null on failure, with `outcome` filled
// in. Everything closes with the last reference. From any thread.
basekit2::sptr_t<dataface_1::IInputData> openResult(const std::string& path,
                                                    const OpenOptions& options,
                                                    OpenOutcome& outcome);

// What a result that openResult gave says of itself; null for any other input.
std::shared_ptr<const ResultFacts> resultFacts(
    const basekit2::sptr_t<dataface_1::IInputData>& result);

// What bucketed queries have read since the result was opened, for statistics, and how many reads
// of any kind broke off, as in a damaged file.
struct ReadCounts {
    std::uint64_t queries = 0;
    std::uint64_t instances = 0;  // looked at; once for each query
    std::uint64_t leftOut = 0;    // of those, without a row to stand on
    std::uint64_t brokenOff = 0;
    std::string brokenWhy;  // of the first that broke off
};

ReadCounts readCounts(const basekit2::sptr_t<dataface_1::IInputData>& result);

}  // namespace lanefeed_runtime
