#pragma once

#include "bound_provider.h"
#include "rowsummarytabletree.h"
#include "series_tables.h"
#include "support/captured_log.h"
#include "support/fake_filters.h"
#include "support/fake_grid.h"
#include "support/table_text.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace lanefeed_test {

// Row tables from a fake store or on a grid. The result runs from the absolute tick 1000 to 1999.
class RowTableTest : public testing::Test {
protected:
    using Table = basekit2::sptr_t<lanefeed_1::RowSummaryTableTree>;

    // A grouping by band over that path of "dd_band".
    static QueryFacts bandFacts(const std::string& path) {
        QueryFacts facts;
        facts.id = path;
        facts.name = path;
        facts.table = "dd_band";
        facts.path = path;
        facts.attr = "name";
        facts.bandColumn = "dd_band::" + path;
        return facts;
    }
    static lanefeed_1::DicerDataSource rowBy(const QueryFacts& facts) {
        lanefeed_1::DicerDataSource source;
        source.set(facts.path, facts.table, facts.attr, "");
        source.m_defaultQuery = infoQuery(facts);
        return source;
    }
    // Rows as "ID NAME" and as "ID START END".
    void addThreads(const std::string& rows) const {
        m_bound.database->tables["dd_thread"] = tableOf("rowid dd_thread.name\n" + rows);
    }
    void addBands(const std::string& path, const std::string& rows) const {
        m_bound.database->tables["dd_band::" + path] =
            tableOf("dd_band::" + path + " start_tsc end_tsc\n" + rows);
    }
    // Null when it cannot be built.
    Table build(const std::vector<lanefeed_1::DicerDataSource>& rowBys,
                const std::string& filterName = "global",
                const Query& restriction = {}) const {
        auto table = basekit2::make_object<lanefeed_1::RowSummaryTableTree>();
        const bool built = table->init(m_bound.input, rowBys, m_bound.provider.get(), filterName,
                                       dataface_1::IInfoQuery::cast(restriction));
        return built ? Table(table) : Table();
    }
    Table buildThreads() const { return build({rowBy(bandFacts("dd_thread"))}); }
    // A grid of the columns "name" and "busy"; `facts` are those of the grouping.
    Table buildOnGrid(const std::vector<GridRow>& rows, const QueryFacts& facts) const {
        const auto grouping =
            basekit2::make_object<FakeVectorQuery>(QueryList{infoQuery(facts)}, facts);
        return buildOn(gridTable(rows, grouping), grouping);
    }
    // Null when it cannot be built.
    Table buildOn(const basekit2::sptr_t<dataface_1::ITableTree>& grid,
                  const basekit2::sptr_t<dataface_1::IVectorQuery>& grouping) const {
        auto table = basekit2::make_object<lanefeed_1::RowSummaryTableTree>();
        const bool built =
            table->init(m_bound.input, grid, grouping, m_bound.provider.get(), nullptr);
        return built ? Table(table) : Table();
    }
    static std::vector<int> sortOrder(const Table& table) {
        std::vector<int> order;
        table->getSortOrder(order);
        return order;
    }

    BoundProvider m_bound;
};

}  // namespace lanefeed_test
