// Selections: which calls reach the filter registry, in which order, and what is left when one of
// them is refused.

#include "provider_fixture.h"

#include <basekit2/error_code.h>

namespace lanefeed_test {
namespace {

using basekit2::sptr_t;
using basekit2::variant_t;
using dataface_1::IInfoQuery;
using dataface_1::IQueryFilter;
using lanefeed_1::DicerDataSource;
using Calls = std::vector<std::string>;

const Calls kDropped = {"clear selection", "remove selection"};

Calls droppedAnd(const Calls& more) {
    Calls calls = kDropped;
    calls.insert(calls.end(), more.begin(), more.end());
    return calls;
}

class Selections : public ProviderTest {
protected:
    // Drops the registry of the result.
    void loseRegistry() {
        m_input->offered.erase(basekit2::type_id_t<dataface_1::IFilterRegistry>::id());
    }
    // Makes the call with one step after another refused; each leaves no selection, and reports its
    // text, or nothing where that is empty.
    template <class Call>
    void expectRefusals(const std::vector<std::pair<FakeRegistry::Step, std::string>>& steps,
                        const Calls& calls,
                        const Call& call) {
        for (const auto& [step, text] : steps) {
            m_log.clear();
            m_registry->names = {"selection"};
            m_registry->refused = {step};
            m_registry->takeCalls();
            call();
            EXPECT_EQ(m_registry->takeCalls(), calls) << text;
            if (text.empty()) {
                EXPECT_TRUE(m_log.empty()) << step;
            } else {
                EXPECT_TRUE(m_log.contains(text)) << text;
            }
        }
        m_registry->refused.clear();
        m_log.clear();
    }
};

TEST_F(Selections, InTimeReplaceTheOneBeforeInAbsoluteTicks) {
    bind();
    m_provider->filterInByTimeSelection(100, 200);
    EXPECT_EQ(m_registry->takeCalls(), droppedAnd({"time selection +1100..1200"}));
    m_provider->filterOutByTimeSelection(100, 200);
    EXPECT_EQ(m_registry->takeCalls(), droppedAnd({"time selection -1100..1200"}));
    // Only what is kept is cleared by an empty span.
    m_provider->filterOutByTimeSelection(7, 7);
    EXPECT_EQ(m_registry->takeCalls(), droppedAnd({"time selection -1007..1007"}));
    m_provider->filterInByTimeSelection(7, 7);
    EXPECT_EQ(m_registry->takeCalls(), kDropped);
    EXPECT_FALSE(m_provider->hasFilter("selection"));

    const auto steps = {std::make_pair(FakeRegistry::timeBuilder, std::string()),
                        std::make_pair(FakeRegistry::timeFilter, std::string())};
    expectRefusals(steps, kDropped, [&] { m_provider->filterInByTimeSelection(1, 2); });
    expectRefusals(steps, kDropped, [&] { m_provider->filterOutByTimeSelection(1, 2); });
    loseRegistry();
    m_provider->filterInByTimeSelection(1, 2);
    m_provider->filterOutByTimeSelection(1, 2);
    EXPECT_TRUE(m_log.empty());
}

TEST_F(Selections, InTimeAndRowShareOneName) {
    bindRows({10, 30});
    m_registry->takeCalls();
    const Calls inTime = droppedAnd({"time selection +1001..1002"});
    m_provider->filterByTimeAndRow(&m_rowBySource, 1, 2, 1);
    EXPECT_EQ(m_registry->takeCalls(),
              droppedAnd({"time selection +1001..1002",
                          "query selection {1 slice_data::dd_thread.name=30}"}));
    // No row, no source, a row that is not there, a source that is no attribute.
    m_provider->filterByTimeAndRow(&m_rowBySource, 1, 2, -1);
    EXPECT_EQ(m_registry->takeCalls(), inTime);
    m_provider->filterByTimeAndRow(nullptr, 1, 2, 1);
    EXPECT_EQ(m_registry->takeCalls(), inTime);
    m_provider->filterByTimeAndRow(&m_rowBySource, 1, 2, 9);
    EXPECT_EQ(m_registry->takeCalls(), inTime);
    m_provider->filterByTimeAndRow(&m_source, 1, 2, 1);
    EXPECT_EQ(m_registry->takeCalls(), inTime);
    EXPECT_TRUE(m_log.empty());

    const auto select = [&] { m_provider->filterByTimeAndRow(&m_rowBySource, 1, 2, 1); };
    expectRefusals({{FakeRegistry::timeBuilder, "tfBuilder"}, {FakeRegistry::timeFilter, "tf"}},
                   kDropped, select);
    expectRefusals({{FakeRegistry::queryBuilder, "qfBuilder"}, {FakeRegistry::queryFilter, "qf"}},
                   inTime, select);
    loseRegistry();
    select();
    EXPECT_EQ(m_log.count("filterRegistry"), 1);
}

TEST_F(Selections, OfAnObjectTakeTheFirstPartOfItsPath) {
    bind();
    DicerDataSource source;
    source.set("dd_task.dd_category", "slice_data", "name", "");
    EXPECT_TRUE(m_provider->filterOnAttrId(&source, 12, false, "of no account"));
    EXPECT_EQ(m_registry->takeCalls(), droppedAnd({"query selection slice_data::dd_task=12"}));

    const auto select = [&] { EXPECT_FALSE(m_provider->filterOnAttrId(&source, 12, false, "")); };
    expectRefusals({{FakeRegistry::queryBuilder, "qfBuilder"}, {FakeRegistry::queryFilter, "qf"}},
                   kDropped, select);
    source.m_path.clear();
    select();
    EXPECT_TRUE(m_log.contains("!parts.empty()"));
    source.m_path = "dd_task";
    m_library->refuses = true;
    select();
    EXPECT_TRUE(m_log.contains("filterQuery"));
    EXPECT_FALSE(m_provider->hasFilter("selection"));
    loseRegistry();
    select();
    EXPECT_TRUE(m_log.contains("filterRegistry"));
}

// Answers the values of attributes by itself.
class DiveProbe : public lanefeed_1::DbiProviderImpl {
public:
    variant_t getAttributeValue(const DicerDataSource* ds, int id) override {
        asked = ds->m_table + "::" + ds->m_path + "." + ds->m_attr + "#" + std::to_string(id);
        return value;
    }

    std::string asked;
    variant_t value = "main";
};

TEST_F(Selections, OfADiveAreTheValueInTheStoreUnderANameOfTheirOwn) {
    const auto probe = basekit2::make_object<DiveProbe>();
    probe->setResult(3, m_input, nullptr, "", 0);
    m_registry->names = {"selection"};
    QueryFacts facts;
    facts.table = "slice_data";
    facts.path = "dd_task";
    facts.attr = "name";
    DicerDataSource source;
    source.m_defaultQuery = infoQuery(facts);
    const std::string dive = "deep_view_selection_filter";
    EXPECT_TRUE(probe->filterOnAttrId(&source, 12, true, ""));
    EXPECT_EQ(probe->asked, "slice_data::dd_task.name#12");
    EXPECT_EQ(m_registry->takeCalls(),
              (Calls{"clear " + dive, "remove " + dive,
                     "query " + dive + " slice_data::dd_task.name='main'"}));
    EXPECT_TRUE(m_registry->hasFilter("selection"));

    // A dive query of the source's own goes first.
    facts.path = "dd_category";
    source.m_infoQueries = {IInfoQuery::cast(infoQuery(facts))};
    EXPECT_FALSE(probe->createDiveFilter(&source, 1).is_null());
    EXPECT_EQ(probe->asked, "slice_data::dd_category.name#1");
    EXPECT_TRUE(m_log.empty());

    const auto refused = [&](const DicerDataSource* of, const char* text) {
        EXPECT_TRUE(probe->createDiveFilter(of, 1).is_null()) << text;
        EXPECT_TRUE(m_log.contains(text)) << text;
    };
    m_registry->refused = {FakeRegistry::queryFilter};
    refused(&source, "qf,");
    m_registry->refused = {FakeRegistry::queryBuilder};
    refused(&source, "qfBuilder,");
    m_registry->refused.clear();
    refused(nullptr, "dds,");
    probe->value = variant_t();
    EXPECT_FALSE(probe->filterOnAttrId(&source, 12, true, ""));
    EXPECT_TRUE(m_log.contains("val.get_type() != bk2::vtNull"));
    EXPECT_FALSE(m_registry->hasFilter(dive));
    source.m_infoQueries.clear();
    source.m_defaultQuery.reset();
    refused(&source, "diveQuery,");
    loseRegistry();
    refused(&source, "filterRegistry,");
}

TEST_F(Selections, OfValuesHaveTheSignOfTheFirst) {
    bind();
    const auto filterOf = [&](const std::vector<std::string>& values) {
        DicerDataSource::ExtraArgs extra;
        extra.table = "slice_data";
        extra.path = "attr";
        extra.attr = "name";
        extra.values = values;
        const auto filter = m_provider->createRestrictionsFilter(extra);
        const auto* fake = dynamic_cast<const FakeQueryFilter*>(filter.get());
        return fake != nullptr ? fake->text : "null";
    };
    const std::string column = "slice_data::attr.name";
    EXPECT_EQ(filterOf({"a", "!b"}), "mode 1 {1 " + column + "='a' " + column + "='b'}");
    EXPECT_EQ(filterOf({"!a", "b"}), "mode 1 {0 " + column + "!='a' " + column + "!='b'}");
    EXPECT_EQ(filterOf({"!"}), "mode 1 {0 " + column + "!=''}");
    EXPECT_TRUE(m_log.empty());
    EXPECT_EQ(filterOf({}), "null");
    EXPECT_EQ(filterOf({"a", ""}), "null");
    EXPECT_EQ(m_log.count("!rName.empty()"), 2);
    EXPECT_TRUE(m_registry->calls.empty());
    m_registry->refused = {FakeRegistry::queryBuilder};
    EXPECT_EQ(filterOf({"a"}), "null");
    EXPECT_TRUE(m_log.contains("qfBuilder"));
    m_library->refuses = true;
    EXPECT_EQ(filterOf({"a"}), "null");
    EXPECT_TRUE(m_log.contains("filterQuery"));
    m_library->refuses = false;
    loseRegistry();
    try {
        filterOf({"a"});
        ADD_FAILURE() << "nothing thrown";
    } catch (const basekit2::error_code_t& err) {
        EXPECT_EQ(err.expression(), "filterRegistry");
    }
}

TEST_F(Selections, OfRowsAreDroppedFirstThenNegatedWhenRowsAreExcluded) {
    bind();
    EXPECT_FALSE(m_provider->filterOnRows({0}, false));  // no choice of rows
    EXPECT_TRUE(m_registry->calls.empty());
    bindRows({10, 30, 20});
    m_registry->takeCalls();
    const Calls dropped = {"remove selection", "clear selection"};
    const auto callsOf = [&](const std::vector<int>& rows, bool exclude) {
        EXPECT_TRUE(m_provider->filterOnRows(rows, exclude));
        const Calls calls = m_registry->takeCalls();
        EXPECT_EQ(calls.size(), 3U);
        EXPECT_EQ(Calls(calls.begin(), calls.begin() + 2), dropped);
        return calls.back();
    };
    const std::string column = "slice_data::dd_thread.name";
    const std::string both = "{1 {1 " + column + "=10} {1 " + column + "=20}}";
    EXPECT_EQ(callsOf({0, 2}, false), "query selection " + both);
    EXPECT_EQ(callsOf({0, 2}, true), "query selection {2 " + both + "}");
    EXPECT_EQ(callsOf({}, false), "query selection {2}");
    EXPECT_EQ(callsOf({}, true), "query selection {2}");
    EXPECT_TRUE(m_log.empty());

    const auto refused = [&](const std::vector<int>& rows, const std::string& text) {
        m_registry->names = {"selection"};
        EXPECT_FALSE(m_provider->filterOnRows(rows, true));
        EXPECT_TRUE(m_log.contains(text)) << text;
        EXPECT_EQ(m_registry->takeCalls(), dropped);
    };
    refused({3}, "selectedUniqueIDs[i] >= 0 && selectedUniqueIDs[i] < (int)m_flatRows.size()");
    m_registry->refused = {FakeRegistry::queryBuilder};
    refused({1}, "qfBuilder");
    m_registry->refused = {FakeRegistry::queryFilter};
    refused({1}, "qf");
    // Rows that cannot be taken the other way round leave no selection.
    m_registry->refused = {FakeRegistry::filterOfFilter};
    EXPECT_TRUE(m_provider->filterOnRows({1}, true));
    EXPECT_EQ(m_registry->takeCalls(), dropped);
    m_provider->m_rowSummaryTable.reset();
    refused({1}, "qf");
    loseRegistry();
    EXPECT_TRUE(m_provider->filterOnRows({1}, false));
}

TEST_F(Selections, HaveAreasWithFiltersOfTheirOwn) {
    std::string base;
    std::string area;
    std::string full;
    bind();
    m_provider->getTimelineFilterNames(base, area, full);
    EXPECT_EQ(base + "," + area + "," + full, "timeline_filter,area_3,timeline_filter_area_3");
    bindRows({1});
    m_provider->getTimelineFilterNames(base, area, full);
    EXPECT_EQ(base + "," + area + "," + full,
              "timeline_filter_view,area_3,timeline_filter_view_area_3");
}

}  // namespace
}  // namespace lanefeed_test
