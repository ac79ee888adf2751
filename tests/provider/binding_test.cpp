// A provider before and after it is bound to a result: choices of rows and their joins, and what it
// tells of the result: kinds of bands, clock, tables.

#include "provider_fixture.h"
#include "support/fake_grid.h"

namespace lanefeed_test {
namespace {

using basekit2::iterator_util::get_item_count;
using lanefeed_1::IDicerProvider;
using lanefeed_1::TLViewpointParser;

class Binding : public ProviderTest {
protected:
    Binding() { m_db->tables["dd_core"]; }
    // Row-bys of slices by these paths; "+" before one that joins the one before it.
    static TLViewpointParser::RowSet rowSetOf(const Strings& paths) {
        TLViewpointParser::RowSet rowSet;
        for (const std::string& path : paths) {
            const bool joins = path.front() == '+';
            rowSet.rowBys.push_back(rowBy(factsAt("slice_data::" + path.substr(joins)), joins));
        }
        return rowSet;
    }
};

TEST_F(Binding, KnowsNothingBeforeAResult) {
    EXPECT_EQ(m_provider->getRowCount(), 0);
    EXPECT_EQ(m_provider->getDuration(), 0U);
    EXPECT_FALSE(m_provider->hasRowBy());
    EXPECT_EQ(m_provider->getRowDbIndexByUniqueId(5), 0);
    EXPECT_TRUE(m_provider->getResult().is_null());
    EXPECT_TRUE(m_log.empty());
    expectFailure("summaryRow", [this] { return m_provider->getRowLevel(0) != -1; });
}

TEST_F(Binding, SortsRowBysIntoChoicesAndJoinsOfTheSameTable) {
    auto rowSet = rowSetOf({"dd_thread.tid", "+x.dd_thread.name", "dd_core.number"});
    bind(&rowSet);
    EXPECT_TRUE(m_log.empty());
    EXPECT_EQ(get_item_count(m_provider->getRowByChoices()), 2);
    const auto joins = m_provider->getRowByJoins(0);
    EXPECT_EQ(joins.current().m_path, "x.dd_thread");
    EXPECT_EQ(get_item_count(joins), 1);
    EXPECT_TRUE(m_provider->getRowByJoins(1).at_end());
    EXPECT_TRUE(m_provider->getRowByUsingQuery(0, nullptr).m_path.empty()) << "without a grid";
    // The table is that of the last choice, the attribute that of the principal one.
    EXPECT_EQ(m_provider->getAttrPath(nullptr), "dd_core.tid");
    EXPECT_TRUE(m_provider->hasRowBy());
    EXPECT_EQ(m_provider->getRowCount(), 0) << "rows are counted with the first summary";
    EXPECT_TRUE(m_provider->getRowByJoins(2).at_end());
    EXPECT_TRUE(m_log.contains(
        "principalRowByIndex >= 0 && principalRowByIndex < (int)m_rowByJoins.size()"));

    rowSet = rowSetOf({"dd_thread.name", "+dd_core.name"});
    m_provider = basekit2::make_object<DbiProbe>();
    bind(&rowSet);
    EXPECT_TRUE(
        m_log.contains("Incorrect leaf table for rowBy attr table: dd_core. Expected: "
                       "dd_thread. All rowBy's must have the same leaf table."));
    EXPECT_FALSE(m_provider->addRowByDS(&rowSet.rowBys[1].ds));
    EXPECT_TRUE(m_provider->addRowByDS(&rowSet.rowBys[0].ds));
    EXPECT_EQ(get_item_count(m_provider->getRowByJoins(0)), 1);
}

TEST_F(Binding, GivesTheRowByThatTheGridPicksOfAChoiceAndItsJoins) {
    auto rowSet = rowSetOf({"dd_thread.tid", "+x.dd_thread.name", "dd_core.number"});
    // The fake picks what it is given.
    rowSet.gridQuery = basekit2::make_object<FakeGridParser>("", nullptr);
    bind(&rowSet);
    std::string picked;
    for (const auto& [choice, rowBy] : {std::pair(0, 0), {0, 1}, {1, 2}, {1, 0}, {2, 2}, {-1, 0}}) {
        const Query& query = rowSet.rowBys.at(rowBy).ds.m_defaultQuery;
        picked += m_provider->getRowByUsingQuery(choice, query).m_path + "|";
    }
    EXPECT_EQ(picked, "dd_thread|x.dd_thread|dd_core||||");
    EXPECT_EQ(m_log.count("principalRowByIndex < (int)m_rowByOptions.size()"), 2);
}

TEST_F(Binding, ShowsOneRowWithoutAPrincipalRowBy) {
    auto rowSet = rowSetOf({"dd_thread.name"});
    rowSet.rowBys.front().valid = false;
    bind(&rowSet);
    EXPECT_EQ(m_provider->getRowCount(), 1);
}

TEST_F(Binding, MakesTheProviderThatTheEnvironmentAsksFor) {
    const auto isTimeline = [&] {
        const auto provider = IDicerProvider::create(m_input);
        return dynamic_cast<lanefeed_1::TimelineDbProviderImpl*>(provider.get()) != nullptr;
    };
    const EnvironmentGuard unset("LANEFEED_SQLITE");
    EXPECT_TRUE(isTimeline());
    for (const char* value : {"", "0"}) {
        const EnvironmentGuard set("LANEFEED_SQLITE", value);
        EXPECT_EQ(isTimeline(), *value == '\0');
    }
    EXPECT_FALSE(IDicerProvider::create(nullptr).is_null());
    EXPECT_TRUE(m_log.empty());
}

using Bands = ProviderTest;

TEST_F(Bands, HaveAKindAndATableOnlyWhereThereAreSome) {
    m_db->tables["dd_band"] = tableOf("rowid dd_band dd_band::dd_thread\n1 1 4");
    bind();
    std::string types;
    for (int kind = 0; kind <= 7; ++kind) {
        m_db->bandKinds["band"] = kind;
        types += std::to_string(m_provider->getBandType("band"));
    }
    EXPECT_EQ(types, "25351450");
    EXPECT_EQ(m_provider->getBandType("other"), 5);
    EXPECT_TRUE(m_provider->isBandTypeSupported("band"));
    EXPECT_FALSE(m_provider->isBandTypeSupported("other"));

    const auto hasThreads = [this] { return m_provider->isBandTableExist("dd_thread"); };
    EXPECT_TRUE(hasThreads());
    m_db->tables["dd_band"].clear();
    EXPECT_FALSE(hasThreads());
    EXPECT_TRUE(m_log.empty());
    m_db->tables.erase("dd_band");
    expectFailure("query, at file: ", hasThreads);
}

TEST_F(Bands, GroupRowsByTheirTableAPathOfOnePartAndNoExpansion) {
    QueryFacts expanded;
    expanded.next = infoQuery({});
    std::string answers;
    for (const auto& [path, table, query] : {std::tuple("dd_thread", "dd_band", Query()),
                                             {"dd_thread", "dd_band", infoQuery({})},
                                             {"dd_thread", "dd_band", infoQuery(expanded)},
                                             {"dd_thread.name", "dd_band", Query()},
                                             {"", "dd_band", Query()},
                                             {"dd_thread", "slice_data", Query()}}) {
        m_source.set(path, table, "", "");
        m_source.m_defaultQuery = query;
        answers += m_provider->isGroupingByBand(&m_source) ? "y" : "n";
    }
    EXPECT_EQ(answers, "yynnnn");
    EXPECT_FALSE(m_provider->isGroupingByBand(nullptr));
}

TEST_F(Bands, AreNotKnownWithoutADatabase) {
    bind();
    EXPECT_EQ(m_provider->ticksInMs(), 1000U);
    m_input->withdraw<storelink1::IPerfDatabase>();
    bind();
    EXPECT_EQ(m_provider->getBandType("dd_thread"), 5);
    EXPECT_FALSE(m_provider->isTableExist("dd_thread"));
    EXPECT_FALSE(m_provider->isBandTableExist("dd_thread"));
    expectFailure("db, at file: ", [this] { return m_provider->ticksInMs() != 0; });
    m_provider->clearCaches();
    EXPECT_TRUE(m_log.contains("ret && perfDb"));
}

}  // namespace
}  // namespace lanefeed_test
