#pragma once

#include "store/broken_reads.h"
#include "store/catalog.h"
#include "store/sqlite_handle.h"

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
    std::shared_ptr<BrokenReads> brokenReads = std::make_shared<BrokenReads>();

    // Whether rows of an instance table stand on bands that have a value in this column of dd_band.
    // Looked up once for each table. Under the mutex.
    bool hasBandsOfType(int instanceTable, int bandColumn);

private:
    std::map<int, std::vector<bool>> m_bandTypes;  // by instance table; parallel to the columns
};

// Counts and logs a read that broke off, so that a short answer is not taken for a whole one. The
// reason is that of the engine where none is given.
void reportBrokenRead(const StoreSession& session,
                      const std::string& sql,
                      const std::string& reason = {});

}  // namespace lanefeed_runtime
