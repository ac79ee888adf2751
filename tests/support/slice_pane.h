#pragma once

#include "dbiproviderimpl.h"
#include "session/open_result.h"
#include "support/temp_directory.h"
#include "support/trace_text.h"
#include "viewpointparser.h"

#include <basekit2/variant_bag.h>
#include <dataface_1/filters.h>
#include <dataface_1/query_library.h>

#include <stdexcept>
#include <string>
#include <vector>

namespace lanefeed_test {

// Rows of a result on the real store, and what a pane asks for the slices on them: set up as a host
// does it, opened, the row set parsed, the rows bound. Throws std::runtime_error.
class SlicePane {
public:
    static constexpr char kByThread[] = "<rowBy useGridQuery='false' query='thread'/>";

    // A result file; the rows of a viewpoint's row set, none for an area of one row; a file with
    // definitions that go before the shipped ones.
    explicit SlicePane(const std::string& file,
                       const std::string& rowSet = kByThread,
                       const std::string& definitions = "")
        : provider(basekit2::make_object<lanefeed_1::DbiProviderImpl>()) {
        lanefeed_runtime::OpenOptions options;
        if (!definitions.empty()) options.queryFiles.push_back(definitions);
        lanefeed_runtime::OpenOutcome outcome;
        m_result = lanefeed_runtime::openResult(file, options, outcome);
        require(outcome.isOpened(), outcome.text);
        require(dataface_1::lookup(m_result, m_library), "no library");
        require(dataface_1::lookup(m_result, filters), "no filters");

        const std::string viewpoint =
            "<viewpoint><area><rowSet>" + rowSet + "</rowSet></area></viewpoint>";
        basekit2::variant_bag_t bag;
        require(is_success(load_variant_bag_from_string2(bag, viewpoint, "viewpoint")), rowSet);
        lanefeed_1::TLViewpointParser parser;
        parser.parseViewpoint(bag, m_library, nullptr, m_result,
                              basekit2::make_object<lanefeed_1::ParseLogger>());
        auto& rows = parser.m_areas.at(0).rowSets.at(0);
        provider->setResult(1, m_result, rowSet.empty() ? nullptr : &rows, "test", 0);
        if (!rows.rowBys.empty()) rowBy = rows.rowBys.front().ds;
        basekit2::sptr_t<dataface_1::ITableTree> table;
        require(rowSet.empty() || provider->getRowSummary(table, -1, false, true), "no rows");

        slices.set("dd_task", "slice_data", "name", "");
        slices.m_defaultQuery = query("sliceName");
    }

    // Slices on these rows over start..end, both included.
    lanefeed_1::QueryParam request(basekit2::u64_t start,
                                   basekit2::u64_t end,
                                   basekit2::u32_t bins) const {
        lanefeed_1::QueryParam param;
        param.dds = &slices;
        if (!rowBy.m_defaultQuery.is_null()) param.rowByDS = &rowBy;
        param.startTime = start;
        param.endTime = end;
        param.binCount = bins;
        return param;
    }
    basekit2::sptr_t<dataface_1::IQuery> query(const std::string& id) const {
        const auto found = m_library->findQuery(id, nullptr);
        require(!found.is_null(), id);
        return found;
    }
    // Splits the slices by the values of an attribute, or by some of them.
    void expandBy(const std::string& queryId, const std::vector<std::string>& values = {}) {
        const auto info = dataface_1::IInfoQuery::cast(query(queryId));
        require(!info.is_null(), queryId);
        slices.addExtra(info, info->getAttributeTable(), info->getInstanceTable(),
                        info->getAttributeName(), values, "");
    }

    lanefeed_1::DicerDataSource slices;  // by name
    lanefeed_1::DicerDataSource rowBy;
    basekit2::sptr_t<lanefeed_1::DbiProviderImpl> provider;
    basekit2::sptr_t<dataface_1::IFilterRegistry> filters;

private:
    static void require(bool condition, const std::string& what) {
        if (!condition) throw std::runtime_error(what);
    }

    basekit2::sptr_t<dataface_1::IInputData> m_result;
    basekit2::sptr_t<dataface_1::IQueryLibrary> m_library;
};

// The same on a trace that is told as text (trace_text.h).
class TracePane : private TempDirectory, public SlicePane {
public:
    explicit TracePane(const std::string& trace,
                       const std::string& rowSet = kByThread,
                       const std::string& definitions = "")
        : SlicePane(written(file("trace.lft"), trace), rowSet, definitions) {}

    // A row set of processes with their threads below them.
    static constexpr char kNested[] =
        "<gridQuery><rowBy query='processAndThread'/><columnBy query='busyTime'/></gridQuery>";

private:
    static std::string written(const std::string& file, const std::string& trace) {
        writeTraceText(file, trace);
        return file;
    }
};

}  // namespace lanefeed_test
