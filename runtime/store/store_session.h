#pragma once

#include "store/catalog.h"
#include "store/sqlite_handle.h"

#include <atomic>
#include <cstdint>
#include <memory>
#include <mutex>
#include <string>

namespace lanefeed_runtime {

// What everything that reads an open result shares: the connection, the lock that serialises its
// use, and the tables. Statements hold it, so that it outlives the database object if they do.
struct StoreSession {
    std::string file;
    std::unique_ptr<Connection> connection;
    Catalog catalog;
    // Recursive: readers of attributes work inside the walk of a record set.
    std::recursive_mutex mutex;
    // Reads that broke off, of all sessions of one open result.
    std::shared_ptr<std::atomic<std::uint64_t>> brokenReads =
        std::make_shared<std::atomic<std::uint64_t>>(0);
};

// Counts and logs a read that broke off, so that a short answer is not taken for a whole one.
void reportBrokenRead(const StoreSession& session, const std::string& sql);

}  // namespace lanefeed_runtime
