#pragma once

#include "store/open_store.h"
#include "support/temp_directory.h"

#include <map>
#include <string>
#include <vector>

// Results that were cut by hand, in plain SQL on a copy of the file, and everything that the
// timeline face tells about a result, in a form that two results can be compared by.
namespace lanefeed_test {

// A copy of a result after some statements. Throws std::runtime_error with what fails.
class CutResult {
public:
    CutResult(const std::string& file, const std::vector<std::string>& statements);

    lanefeed_runtime::OpenStore& store() { return m_store; }

private:
    TempDirectory m_directory;
    lanefeed_runtime::OpenStore m_store;
};

// First field of the first row; throws when there is none.
long long numberIn(const std::string& file, const std::string& select);
std::string textIn(const std::string& file, const std::string& select);
// Those of the instance tables of bands that the file has.
std::vector<std::string> instanceTables(const std::string& file);

// "table type object rows expansion window row series bucket" to value.
using Cells = std::map<std::string, double>;
// "kind level row" to the records drawn there.
using Drawings = std::map<std::string, std::string>;

// Answers of bucketed queries over all instance tables, rows and expansions. A null `timeline` asks
// the raw result. `required` is a filter that the queries require. Without `everything`: not of
// point objects, nor of means over whole buckets.
Cells cellsOf(storelink1::IDatabase& database,
              const basekit2::sptr_t<storelink1::ITimelineDatabase>& timeline,
              bool everything,
              const std::string& required = "");
// Intervals and pieces by level of every thread.
Drawings drawingsOf(storelink1::ITimelineDatabase& timeline);

}  // namespace lanefeed_test
