#pragma once

#include "store/open_store.h"
#include "support/temp_directory.h"

#include <map>
#include <string>
#include <vector>

// Results that were cut by hand, in plain SQL on a copy of the file, and everything that the
// timeline face tells about a result, in a form that two results can be compared by.
namespace lanefeed_test {

// First fields of the rows of a select, or what other statements leave: nothing. Throws
// std::runtime_error with what fails.
std::vector<std::string> runSql(const std::string& file, const std::string& statements);

// A copy of a result after some statements, parted by ";". Throws as above.
class CutResult {
public:
    CutResult(const std::string& file, const std::string& statements);

    storelink1::IDatabase& database() { return *m_store.database; }

private:
    TempDirectory m_directory;
    lanefeed_runtime::OpenStore m_store;
};

// "table type object rows expansion window row series bucket" to value.
using Cells = std::map<std::string, double>;
// "intervals LEVEL THREAD" or "pieces LEVEL THREAD" to the records drawn there, each as text.
using Drawings = std::map<std::string, std::vector<std::string>>;

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
