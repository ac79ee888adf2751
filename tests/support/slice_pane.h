#pragma once

#include "dbiproviderimpl.h"
#include "support/temp_directory.h"

#include <dataface_1/filters.h>
#include <dataface_1/query_library.h>

#include <string>
#include <vector>

namespace lanefeed_test {

// Rows of a result on the real store, and what a pane asks for the slices on them.
class SlicePane {
public:
    static constexpr char kByThread[] = "<rowBy useGridQuery='false' query='thread'/>";

    // A result file; the rows of a viewpoint's row set, none for an area of one row; a file with
    // definitions that go before the shipped ones. Throws std::runtime_error.
    explicit SlicePane(const std::string& file,
                       const std::string& rowSet = kByThread,
                       const std::string& definitions = "");

    // Slices on these rows over start..end, both included.
    lanefeed_1::QueryParam request(basekit2::u64_t start,
                                   basekit2::u64_t end,
                                   basekit2::u32_t bins) const;
    basekit2::sptr_t<dataface_1::IQuery> query(const std::string& id) const;
    basekit2::sptr_t<storelink1::IDatabase> database() const;
    // Splits the slices by the values of an attribute, or by some of them.
    void expandBy(const std::string& queryId, const std::vector<std::string>& values = {});

    lanefeed_1::DicerDataSource slices;  // by name
    lanefeed_1::DicerDataSource rowBy;
    basekit2::sptr_t<lanefeed_1::DbiProviderImpl> provider;
    basekit2::sptr_t<dataface_1::IFilterRegistry> filters;

private:
    basekit2::sptr_t<dataface_1::IInputData> m_result;
    basekit2::sptr_t<dataface_1::IQueryLibrary> m_library;
};

// The same on a trace that is told as text (trace_text.h).
class TracePane : private TempDirectory, public SlicePane {
public:
    explicit TracePane(const std::string& trace,
                       const std::string& rowSet = kByThread,
                       const std::string& definitions = "");

    // A row set of processes with their threads below them.
    static constexpr char kNested[] =
        "<gridQuery><rowBy query='processAndThread'/><columnBy query='busyTime'/></gridQuery>";
};

}  // namespace lanefeed_test
