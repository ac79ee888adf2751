// Selections: which calls reach the filter registry, in which order, and what is left when one of
// them is refused.

#include "provider_fixture.h"

namespace lanefeed_test {
namespace {

using lanefeed_1::DicerDataSource;

class Selections : public ProviderTest {
protected:
    void loseRegistry() { m_input->withdraw<dataface_1::IFilterRegistry>(); }
    // The calls that reach the registry, those that drop the selection as "dropped".
    template <class Call>
    std::string callsOf(const Call& call) {
        m_registry->names = {"selection"};
        m_registry->takeCalls();
        call();
        std::string text;
        for (const std::string& made : m_registry->takeCalls())
            text += (text.empty() ? "" : ", ") + made;
        const std::string drop = "clear selection, remove selection";
        return text.compare(0, drop.size(), drop) == 0 ? "dropped" + text.substr(drop.size())
                                                       : text;
    }
    // The calls with a step refused, which is reported by that text.
    template <class Call>
    std::string callsWithout(FakeRegistry::Step step, const std::string& text, const Call& call) {
        m_log.clear();
        m_registry->refused = {step};
        const std::string calls = callsOf(call);
        EXPECT_TRUE(m_log.contains(text)) << text;
        m_registry->refused.clear();
        m_log.clear();
        return calls;
    }
};

TEST_F(Selections, InTimeAndRowShareOneName) {
    bindRows({10, 30});
    const std::string inTime = "dropped, time selection +1001..1002";
    const auto select = [&](const DicerDataSource* rows, int row) {
        return [=] { m_provider->filterByTimeAndRow(rows, 1, 2, row); };
    };
    const auto inRow = select(&m_rowBySource, 1);
    EXPECT_EQ(callsOf(inRow), inTime + ", query selection {1 slice_data::dd_thread.name=30}");
    // No row, no source, a row that is not there, a source that is no attribute.
    EXPECT_EQ(callsOf(select(&m_rowBySource, -1)), inTime);
    EXPECT_EQ(callsOf(select(nullptr, 1)), inTime);
    EXPECT_EQ(callsOf(select(&m_rowBySource, 9)), inTime);
    EXPECT_EQ(callsOf(select(&m_source, 1)), inTime);
    EXPECT_TRUE(m_log.empty());
    EXPECT_EQ(callsWithout(FakeRegistry::timeFilter, "tf", inRow), "dropped");
    EXPECT_EQ(callsWithout(FakeRegistry::queryFilter, "qf", inRow), inTime);
    loseRegistry();
    EXPECT_EQ(callsOf(inRow), "");
    EXPECT_EQ(m_log.count("filterRegistry"), 1);
}

TEST_F(Selections, OfAnObjectTakeTheFirstPartOfItsPath) {
    bind();
    m_source.set("dd_task.dd_category", "slice_data", "name", "");
    const auto select = [&] { return m_provider->filterOnAttrId(&m_source, 12, false, ""); };
    EXPECT_EQ(callsOf(select), "dropped, query selection slice_data::dd_task=12");
    EXPECT_EQ(callsWithout(FakeRegistry::queryFilter, "qf", select), "dropped");
    m_source.m_path.clear();
    expectFailure("!parts.empty()", select);
    m_source.m_path = "dd_task";
    m_library->refuses = true;
    expectFailure("filterQuery", select);
    EXPECT_FALSE(m_provider->hasFilter("selection"));
    loseRegistry();
    expectFailure("filterRegistry", select);
}

TEST_F(Selections, OfADiveAreTheValueInTheStoreUnderANameOfTheirOwn) {
    bind();
    m_db->tables["dd_task"] = tableOf("name\nmain");
    m_source.m_defaultQuery = infoQuery(factsAt("slice_data::dd_task.name"));
    const auto select = [&] { return m_provider->filterOnAttrId(&m_source, 12, true, ""); };
    const std::string dive = "deep_view_selection_filter";
    EXPECT_EQ(callsOf(select), "clear " + dive + ", remove " + dive + ", query " + dive +
                                   " slice_data::dd_task.name='main'");
    EXPECT_EQ(m_db->reads, Strings{"dd_task name rowid=12"});
    EXPECT_TRUE(m_registry->hasFilter("selection"));
    EXPECT_TRUE(m_log.empty());

    // A dive query of the source's own goes first.
    m_source.m_infoQueries = {
        dataface_1::IInfoQuery::cast(infoQuery(factsAt("slice_data::dd_gone.name")))};
    expectFailure("val.get_type() != bk2::vtNull", select);
    EXPECT_FALSE(m_registry->hasFilter(dive));
}

TEST_F(Selections, OfRowsAreDroppedFirstThenNegatedWhenRowsAreExcluded) {
    bind();
    EXPECT_FALSE(m_provider->filterOnRows({0}, false)) << "no choice of rows";
    EXPECT_TRUE(m_registry->calls.empty());
    bindRows({10, 30, 20});
    const std::string dropped = "remove selection, clear selection";
    const auto select = [&](const std::vector<int>& rows, bool exclude) {
        return callsOf([&] { EXPECT_TRUE(m_provider->filterOnRows(rows, exclude)); });
    };
    const std::string column = "slice_data::dd_thread.name";
    const std::string both = "{1 {1 " + column + "=10} {1 " + column + "=20}}";
    EXPECT_EQ(select({0, 2}, false), dropped + ", query selection " + both);
    EXPECT_EQ(select({0, 2}, true), dropped + ", query selection {2 " + both + "}");
    EXPECT_EQ(select({}, false), dropped + ", query selection {2}");
    EXPECT_EQ(select({}, true), dropped + ", query selection {2}");
    EXPECT_TRUE(m_log.empty());

    const auto refused = [&](int row, const std::string& text) {
        const auto call = [&] { return m_provider->filterOnRows({row}, true); };
        EXPECT_EQ(callsOf([&] { expectFailure(text, call); }), dropped) << text;
    };
    refused(3, "selectedUniqueIDs[i] >= 0 && selectedUniqueIDs[i] < (int)m_flatRows.size()");
    m_registry->refused = {FakeRegistry::queryFilter};
    refused(1, "qf");
    // Rows that cannot be taken the other way round leave no selection.
    m_registry->refused = {FakeRegistry::filterOfFilter};
    EXPECT_EQ(select({1}, true), dropped);
    m_provider->m_rowSummaryTable.reset();
    refused(1, "qf");
    loseRegistry();
    EXPECT_TRUE(m_provider->filterOnRows({1}, false));
}

}  // namespace
}  // namespace lanefeed_test
