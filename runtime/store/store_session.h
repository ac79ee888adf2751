#pragma once

#include "store/catalog.h"
#include "store/sqlite_handle.h"

#include <atomic>
#include <cstdint>
#include <map>
#include <memory>
#include <mutex>
#include <string>
#include <vector>

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

    // Whether rows of an instance table stand on bands that have a value in this column of dd_band.
    // Looked up once for each table. Under the mutex.
    bool hasBandsOfType(int instanceTable, int bandColumn);

private:
    std::map<int, std::vector<bool>> m_bandTypes;  // by instance table; parallel to the columns
};

// Counts and logs a read that broke off, so that a short answer is not taken for a whole one.
void reportBrokenRead(const StoreSession& session, const std::string& sql);

}  // namespace lanefeed_runtime
