// Sets up a pane as a host does: opens the result, parses the row set, binds the rows.
#include "support/slice_pane.h"

#include "session/open_result.h"
#include "support/trace_text.h"
#include "viewpointparser.h"

#include <basekit2/variant_bag.h>

#include <stdexcept>

namespace lanefeed_test {

using dataface_1::IInfoQuery;

namespace {

void require(bool condition, const std::string& what) {
    if (!condition) throw std::runtime_error(what);
}

std::string written(const std::string& file, const std::string& trace) {
    writeTraceText(file, trace);
    return file;
}

}  // namespace

SlicePane::SlicePane(const std::string& file,
                     const std::string& rowSet,
                     const std::string& definitions)
    : provider(basekit2::make_object<lanefeed_1::DbiProviderImpl>()) {
    lanefeed_runtime::OpenOptions options;
    if (!definitions.empty()) options.queryFiles.push_back(definitions);
    lanefeed_runtime::OpenOutcome outcome;
    m_result = lanefeed_runtime::openResult(file, options, outcome);
    require(outcome.isOpened(), outcome.text);
    require(dataface_1::lookup(m_result, m_library), "no library");
    require(dataface_1::lookup(m_result, filters), "no filters");

    basekit2::variant_bag_t bag;
    require(is_success(load_variant_bag_from_string2(
                bag, "<viewpoint><area><rowSet>" + rowSet + "</rowSet></area></viewpoint>",
                "viewpoint")),
            rowSet);
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

lanefeed_1::QueryParam SlicePane::request(basekit2::u64_t start,
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

basekit2::sptr_t<dataface_1::IQuery> SlicePane::query(const std::string& id) const {
    const auto found = m_library->findQuery(id, nullptr);
    require(!found.is_null(), id);
    return found;
}

basekit2::sptr_t<storelink1::IDatabase> SlicePane::database() const {
    basekit2::sptr_t<storelink1::IPerfDatabase> databases;
    require(dataface_1::lookup(m_result, databases), "no database");
    return databases->getDatabase(m_result);
}

void SlicePane::expandBy(const std::string& queryId, const std::vector<std::string>& values) {
    const auto info = IInfoQuery::cast(query(queryId));
    require(!info.is_null(), queryId);
    slices.addExtra(info, info->getAttributeTable(), info->getInstanceTable(),
                    info->getAttributeName(), values, "");
}

TracePane::TracePane(const std::string& trace,
                     const std::string& rowSet,
                     const std::string& definitions)
    : SlicePane(written(file("trace.lft"), trace), rowSet, definitions) {}

}  // namespace lanefeed_test
