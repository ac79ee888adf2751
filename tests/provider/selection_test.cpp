// Selections: which calls reach the filter registry, in which order, and what is left when one of
// them is refused.

#include "provider_fixture.h"

#include <basekit2/error_code.h>

namespace lanefeed_test {
namespace {

using basekit2::variant_t;
using lanefeed_1::DicerDataSource;

const Strings kDropped = {"clear selection", "remove selection"};

Strings droppedAnd(Strings more) {
    more.insert(more.begin(), kDropped.begin(), kDropped.end());
    return more;
}

class Selections : public ProviderTest {
protected:
    void loseRegistry() { m_input->withdraw<dataface_1::IFilterRegistry>(); }
    // The calls of the registry for this one.
    template <class Call>
    Strings callsOf(const Call& call) {
        m_registry->takeCalls();
        call();
        return m_registry->takeCalls();
    }
    // Makes the call with one step after another refused; each leaves no selection, and reports its
    // text, or nothing where that is empty.
    template <class Call>
    void expectRefusals(const std::vector<std::pair<FakeRegistry::Step, std::string>>& steps,
                        const Strings& calls,
                        const Call& call) {
        for (const auto& [step, text] : steps) {
            m_log.clear();
            m_registry->names = {"selection"};
            m_registry->refused = {step};
            EXPECT_EQ(callsOf(call), calls) << text;
            EXPECT_TRUE(text.empty() ? m_log.empty() : m_log.contains(text)) << step << text;
        }
        m_registry->refused.clear();
        m_log.clear();
    }
};

TEST_F(Selections, InTimeReplaceTheOneBeforeInAbsoluteTicks) {
    bind();
    for (const bool isKept : {true, false}) {
        const auto select = [&](int start, int end) {
            isKept ? m_provider->filterInByTimeSelection(start, end)
                   : m_provider->filterOutByTimeSelection(start, end);
        };
        const std::string sign = isKept ? "+" : "-";
        EXPECT_EQ(callsOf([&] { select(100, 200); }),
                  droppedAnd({"time selection " + sign + "1100..1200"}));
        // Only what is kept is cleared by an empty span.
        EXPECT_EQ(callsOf([&] { select(7, 7); }),
                  isKept ? kDropped : droppedAnd({"time selection -1007..1007"}));
        EXPECT_EQ(m_provider->hasFilter("selection"), !isKept);
        expectRefusals({{FakeRegistry::timeBuilder, ""}, {FakeRegistry::timeFilter, ""}}, kDropped,
                       [&] { select(1, 2); });
    }
    loseRegistry();
    m_provider->filterInByTimeSelection(1, 2);
    m_provider->filterOutByTimeSelection(1, 2);
    EXPECT_TRUE(m_log.empty());
}

TEST_F(Selections, InTimeAndRowShareOneName) {
    bindRows({10, 30});
    const Strings inTime = droppedAnd({"time selection +1001..1002"});
    const auto select = [&](const DicerDataSource* rows, int row) {
        return callsOf([&] { m_provider->filterByTimeAndRow(rows, 1, 2, row); });
    };
    EXPECT_EQ(select(&m_rowBySource, 1),
              droppedAnd({"time selection +1001..1002",
                          "query selection {1 slice_data::dd_thread.name=30}"}));
    // No row, no source, a row that is not there, a source that is no attribute.
    EXPECT_EQ(select(&m_rowBySource, -1), inTime);
    EXPECT_EQ(select(nullptr, 1), inTime);
    EXPECT_EQ(select(&m_rowBySource, 9), inTime);
    EXPECT_EQ(select(&m_source, 1), inTime);
    EXPECT_TRUE(m_log.empty());
    const auto selectRow = [&] { m_provider->filterByTimeAndRow(&m_rowBySource, 1, 2, 1); };
    expectRefusals({{FakeRegistry::timeBuilder, "tfBuilder"}, {FakeRegistry::timeFilter, "tf"}},
                   kDropped, selectRow);
    expectRefusals({{FakeRegistry::queryBuilder, "qfBuilder"}, {FakeRegistry::queryFilter, "qf"}},
                   inTime, selectRow);
    loseRegistry();
    selectRow();
    EXPECT_EQ(m_log.count("filterRegistry"), 1);
}

TEST_F(Selections, OfAnObjectTakeTheFirstPartOfItsPath) {
    bind();
    DicerDataSource source;
    source.set("dd_task.dd_category", "slice_data", "name", "");
    const auto select = [&] { return m_provider->filterOnAttrId(&source, 12, false, "no matter"); };
    EXPECT_EQ(callsOf([&] { EXPECT_TRUE(select()); }),
              droppedAnd({"query selection slice_data::dd_task=12"}));
    expectRefusals({{FakeRegistry::queryBuilder, "qfBuilder"}, {FakeRegistry::queryFilter, "qf"}},
                   kDropped, [&] { EXPECT_FALSE(select()); });
    source.m_path.clear();
    expectFailure("!parts.empty()", select);
    source.m_path = "dd_task";
    m_library->refuses = true;
    expectFailure("filterQuery", select);
    EXPECT_FALSE(m_provider->hasFilter("selection"));
    loseRegistry();
    expectFailure("filterRegistry", select);
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
    DicerDataSource source;
    source.m_defaultQuery = infoQuery(factsAt("slice_data::dd_task.name"));
    const std::string dive = "deep_view_selection_filter";
    const auto select = [&] { return probe->filterOnAttrId(&source, 12, true, ""); };
    EXPECT_EQ(callsOf([&] { EXPECT_TRUE(select()); }),
              (Strings{"clear " + dive, "remove " + dive,
                       "query " + dive + " slice_data::dd_task.name='main'"}));
    EXPECT_EQ(probe->asked, "slice_data::dd_task.name#12");
    EXPECT_TRUE(m_registry->hasFilter("selection"));
    // A dive query of the source's own goes first.
    source.m_infoQueries = {
        dataface_1::IInfoQuery::cast(infoQuery(factsAt("slice_data::dd_category.name")))};
    EXPECT_FALSE(probe->createDiveFilter(&source, 1).is_null());
    EXPECT_EQ(probe->asked, "slice_data::dd_category.name#1");
    EXPECT_TRUE(m_log.empty());

    const auto refused = [&](const DicerDataSource* of, const char* text) {
        expectFailure(text, [&] { return !probe->createDiveFilter(of, 1).is_null(); });
    };
    m_registry->refused = {FakeRegistry::queryFilter};
    refused(&source, "qf,");
    m_registry->refused = {FakeRegistry::queryBuilder};
    refused(&source, "qfBuilder,");
    m_registry->refused.clear();
    refused(nullptr, "dds,");
    probe->value = variant_t();
    expectFailure("val.get_type() != bk2::vtNull", select);
    EXPECT_FALSE(m_registry->hasFilter(dive));
    source.m_infoQueries.clear();
    source.m_defaultQuery.reset();
    refused(&source, "diveQuery,");
    loseRegistry();
    refused(&source, "filterRegistry,");
}

TEST_F(Selections, OfValuesHaveTheSignOfTheFirst) {
    bind();
    const auto filterOf = [&](const Strings& values) {
        DicerDataSource::ExtraArgs extra;
        extra.table = "slice_data";
        extra.path = "attr";
        extra.attr = "name";
        extra.values = values;
        const auto filter = m_provider->createRestrictionsFilter(extra);
        const auto* fake = dynamic_cast<const FakeQueryFilter*>(filter.get());
        return fake != nullptr ? fake->text : "null";
    };
    const auto isMade = [&] { return filterOf({"a"}) != "null"; };
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
    expectFailure("qfBuilder", isMade);
    m_library->refuses = true;
    expectFailure("filterQuery", isMade);
    m_library->refuses = false;
    loseRegistry();
    EXPECT_THROW(
        try { isMade(); } catch (const basekit2::error_code_t& err) {
            EXPECT_EQ(err.expression(), "filterRegistry");
            throw;
        },
        basekit2::error_code_t);
}

TEST_F(Selections, OfRowsAreDroppedFirstThenNegatedWhenRowsAreExcluded) {
    bind();
    EXPECT_FALSE(m_provider->filterOnRows({0}, false)) << "no choice of rows";
    EXPECT_TRUE(m_registry->calls.empty());
    bindRows({10, 30, 20});
    const Strings dropped = {"remove selection", "clear selection"};
    const auto select = [&](const std::vector<int>& rows, bool exclude) {
        Strings calls = callsOf([&] { EXPECT_TRUE(m_provider->filterOnRows(rows, exclude)); });
        EXPECT_EQ(Strings(calls.begin(), calls.begin() + 2), dropped);
        return calls.size() == 3 ? calls[2] : "";
    };
    const std::string column = "slice_data::dd_thread.name";
    const std::string both = "{1 {1 " + column + "=10} {1 " + column + "=20}}";
    EXPECT_EQ(select({0, 2}, false), "query selection " + both);
    EXPECT_EQ(select({0, 2}, true), "query selection {2 " + both + "}");
    EXPECT_EQ(select({}, false), "query selection {2}");
    EXPECT_EQ(select({}, true), "query selection {2}");
    EXPECT_TRUE(m_log.empty());

    const auto refused = [&](int row, const std::string& text) {
        m_registry->names = {"selection"};
        EXPECT_EQ(callsOf([&] {
                      expectFailure(text, [&] { return m_provider->filterOnRows({row}, true); });
                  }),
                  dropped);
    };
    refused(3, "selectedUniqueIDs[i] >= 0 && selectedUniqueIDs[i] < (int)m_flatRows.size()");
    m_registry->refused = {FakeRegistry::queryBuilder};
    refused(1, "qfBuilder");
    m_registry->refused = {FakeRegistry::queryFilter};
    refused(1, "qf");
    // Rows that cannot be taken the other way round leave no selection.
    m_registry->refused = {FakeRegistry::filterOfFilter};
    EXPECT_EQ(select({1}, true), "");
    m_provider->m_rowSummaryTable.reset();
    refused(1, "qf");
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
