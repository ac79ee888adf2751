// The grids of viewpoints: which rows there are in which levels, with which totals. A section is
// read here once; its queries run on the store that the result gives, through the interfaces of the
// store alone, so that any store will do. Tested by tests/agreement/grid_test.cpp.
#include "grid/grid_error.h"
#include "grid/grid_section.h"
#include "grid/grid_table.h"

#include <slicekit_1_0/grid_viewpoint_parser.h>

#include <utility>

namespace lanefeed_runtime {
namespace {

using basekit2::error_code_t;
using basekit2::generic_iterator_t;
using basekit2::sptr_t;
using basekit2::variant_bag_t;
using dataface_1::IQuery;
using dataface_1::ITableTree;
using dataface_1::IVectorQuery;

// Rows keep this id also when they are asked for by other grids.
constexpr const char* kNameQuery = R"(<infoQuery id="timelineNameQuery_name" displayName="name"/>)";

error_code_t invalidArgument(const char* expression, int line) {
    return error_code_t::raise(basekit2::error::IsNot.Valid.Argument, expression, __FILE__, line);
}

// The query of the column of names, which says that it is one; null if the library makes none.
sptr_t<IQuery> makeNameQuery(dataface_1::IQueryLibrary& library, relay2::IMessenger* messenger) {
    variant_bag_t bag;
    sptr_t<IQuery> query;
    const auto err = basekit2::load_variant_bag_from_string2(bag, kNameQuery, "infoQuery");
    if (basekit2::is_success(err)) (void)library.createQuery(bag, query, messenger);
    return query;
}

class GridQuery : public slicekit_1_0::IGridQuery {
public:
    GridQuery(GridRequest request,
              sptr_t<IQuery> nameQuery,
              sptr_t<dataface_1::IFilterRegistry> filters)
        : m_request(std::move(request)),
          m_nameQuery(std::move(nameQuery)),
          m_filters(std::move(filters)) {}

    void clearFilters() override { m_request.filters.clear(); }
    void addFilter(const std::string& name) override { m_request.filters.push_back(name); }
    // There are no flags.
    error_code_t execute(sptr_t<ITableTree>& out,
                         relay2::IProgress* progress,
                         int /*flags*/) override {
        GridContents contents;
        error_code_t err = GridReader(m_request, progress).read(contents);
        if (!basekit2::is_success(err)) return err;
        contents.nameQuery = m_nameQuery;
        contents.filters = m_filters;
        out = basekit2::make_object<GridTable>(std::move(contents));
        return err;
    }

private:
    GridRequest m_request;
    const sptr_t<IQuery> m_nameQuery;
    const sptr_t<dataface_1::IFilterRegistry> m_filters;
};

class GridViewpointParser : public slicekit_1_0::IGridViewpointParser {
public:
    GridViewpointParser(GridSection section,
                        sptr_t<IQuery> nameQuery,
                        sptr_t<dataface_1::IInputData> input)
        : m_section(std::move(section)),
          m_nameQuery(std::move(nameQuery)),
          m_input(std::move(input)) {
        for (const sptr_t<IVectorQuery>& grouping : m_section.groupings)
            m_alternatives.push_back(grouping.is_null() ? RowAlternatives()
                                                        : alternativesOf(*grouping));
    }

    generic_iterator_t<sptr_t<IVectorQuery>> getGroupings() override {
        return basekit2::make_iterator(m_section.groupings);
    }
    sptr_t<IVectorQuery> getDefaultVectorQuery() override {
        sptr_t<IVectorQuery> grouping;
        (void)getGrouping(0, grouping);
        return grouping;
    }
    error_code_t getGrouping(int grouping, sptr_t<IVectorQuery>& out) override {
        out = nullptr;
        if (!isGrouping(grouping)) return invalidArgument("grouping", __LINE__);
        out = m_section.groupings[static_cast<std::size_t>(grouping)];
        return error_code_t::success;
    }
    error_code_t createQuery(const sptr_t<IVectorQuery>& grouping,
                             sptr_t<slicekit_1_0::IGridQuery>& out) override;
    int getQueryFlags() override { return 0; }
    void setColumnBy(const sptr_t<IVectorQuery>& columns) override;
    sptr_t<IQuery> getRowByForLevel(const sptr_t<IQuery>& query, int level) override {
        if (query.is_null() || !isGrouping(level)) return {};
        const RowAlternative* alternative =
            alternativeFor(m_alternatives[static_cast<std::size_t>(level)], instanceTableOf(query));
        return alternative == nullptr ? nullptr : alternative->levels.front();
    }
    sptr_t<IQuery> getRowByQuery(const sptr_t<IQuery>& query, int level) override {
        return getRowByForLevel(query, level);
    }

private:
    bool isGrouping(int number) const {
        return number >= 0 && static_cast<std::size_t>(number) < m_section.groupings.size();
    }

    GridSection m_section;
    const sptr_t<IQuery> m_nameQuery;
    const sptr_t<dataface_1::IInputData> m_input;
    std::vector<RowAlternatives> m_alternatives;  // by grouping
};

error_code_t GridViewpointParser::createQuery(const sptr_t<IVectorQuery>& grouping,
                                              sptr_t<slicekit_1_0::IGridQuery>& out) {
    if (grouping.is_null()) return invalidArgument("grouping", __LINE__);
    GridRequest request;
    request.input = m_input;
    request.alternatives = alternativesOf(*grouping);
    if (request.alternatives.empty()) return gridError("the grouping has no query for its rows");
    sptr_t<storelink1::IPerfDatabase> performance;
    if (dataface_1::lookup(m_input, performance))
        request.database = performance->getDatabase(m_input);
    if (request.database.is_null()) return gridError("the result has no store to read rows from");
    error_code_t err = checkAlternatives(request.alternatives, request.database.get());
    if (!err.succeeded()) return err;
    request.columns = m_section.columns;
    sptr_t<dataface_1::IFilterRegistry> filters;
    dataface_1::lookup(m_input, filters);
    out = basekit2::make_object<GridQuery>(std::move(request), m_nameQuery, filters);
    return err;
}

// Columns that the section names stay.
void GridViewpointParser::setColumnBy(const sptr_t<IVectorQuery>& columns) {
    if (m_section.namesColumns) return;
    m_section.columns.clear();
    if (columns.is_null()) return;
    for (auto it = columns->getQueries(); !it.at_end(); it.next()) {
        GridColumnRequest column;
        column.query = it.current();
        if (!column.query.is_null()) m_section.columns.push_back(column);
    }
}

}  // namespace
}  // namespace lanefeed_runtime

namespace slicekit_1_0 {

basekit2::error_code_t createGridViewpointParser(
    const basekit2::variant_bag_t& bag,
    basekit2::sptr_t<IGridViewpointParser>& out,
    dataface_1::IQueryLibrary* library,
    relay2::IMessenger* messenger,
    const basekit2::sptr_t<dataface_1::IInputData>& input) {
    out = nullptr;
    if (library == nullptr || input.is_null())
        return lanefeed_runtime::invalidArgument("library && input", __LINE__);
    lanefeed_runtime::GridSection section;
    basekit2::error_code_t err =
        lanefeed_runtime::readGridSection(bag, *library, messenger, section);
    if (!err.succeeded()) return err;
    out = basekit2::make_object<lanefeed_runtime::GridViewpointParser>(
        std::move(section), lanefeed_runtime::makeNameQuery(*library, messenger), input);
    return basekit2::error_code_t::success;
}

}  // namespace slicekit_1_0
