#pragma once

#include <dataface_1/input_data.h>

#include <string>
#include <vector>

namespace lanefeed_runtime {

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

    bool isOpened() const { return kind == opened; }
};

// Opens a result for reading. The answer hands out the query library, the performance database and
// the filter registry; it has no mapper factory, so that values get no configured colours. Null on
// failure, with `outcome` filled in. Everything closes with the last reference. From any thread.
basekit2::sptr_t<dataface_1::IInputData> openResult(const std::string& path,
                                                    const OpenOptions& options,
                                                    OpenOutcome& outcome);

}  // namespace lanefeed_runtime
