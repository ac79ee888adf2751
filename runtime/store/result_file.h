#pragma once

#include "store/store_error.h"

#include <string>

namespace lanefeed_runtime {

// The place of a result that is being written: a temporary name beside the target, which takes the
// target's name when it is whole. The destructor removes what was not placed. The temporary name
// tells host and process, so that the leftovers of a dead process can be cleared away.
class ResultFile {
public:
    ResultFile() = default;
    ResultFile(const ResultFile&) = delete;
    ResultFile& operator=(const ResultFile&) = delete;
    ~ResultFile();

    // Tests that the target is free or may be replaced and makes the empty temporary file.
    bool open(const std::string& target,
              const std::string& sourceIdentity,
              bool force,
              StoreError& error);
    // Syncs and renames. The database on it must be closed.
    bool place(StoreError& error);

    const std::string& target() const { return m_target; }
    const std::string& temporary() const { return m_temporary; }
    std::string directory() const;

private:
    bool mayReplace(StoreError& error) const;
    bool syncAndRename();

    std::string m_target;
    std::string m_temporary;
    std::string m_identity;
    bool m_force = false;
};

}  // namespace lanefeed_runtime
