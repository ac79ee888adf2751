#pragma once

#include "store/broken_reads.h"
#include "store/store_error.h"

#include <dataface_1/filters.h>
#include <storelink1/database.h>

#include <memory>
#include <string>

namespace lanefeed_runtime {

class InstanceReader;
struct ResultFacts;

// A result that has been opened, and the faces that its session hands out. Reading only: none of
// them changes the file, nor a file beside it.
struct OpenStore {
    basekit2::sptr_t<storelink1::IPerfDatabase> perfDatabase;
    basekit2::sptr_t<storelink1::IDatabase> database;
    // One registry with that of the database. Holds the filters of the file, unless these failed.
    basekit2::sptr_t<dataface_1::IFilterRegistry> filters;
    StoreError filterError;
    std::shared_ptr<const ResultFacts> facts;
    std::shared_ptr<InstanceReader> instances;
    std::shared_ptr<const BrokenReads> brokenReads;

    bool failed() const { return database.is_null(); }
};

// On failure the database is null and the error is filled in: cannotRead where there is no file, no
// permission or no disk, notUnderstood for what is no result, another schema version or damaged.
OpenStore openStore(const std::string& file, StoreError& error);

}  // namespace lanefeed_runtime
