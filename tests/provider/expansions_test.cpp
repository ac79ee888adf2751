// Series by the values of attributes: which value of a record leads to which series, what narrows
// them, and why they can't be made.

#include "expansionhelper.h"
#include "provider_fixture.h"

namespace lanefeed_test {
namespace {

using lanefeed_1::ExpansionHelper;
using Series = std::vector<storelink1::OverTimeDataSeriesMetadata>;

// A record of the columns that a helper adds.
struct Record : storelink1::IConstRecord {
    explicit Record(std::vector<basekit2::variant_t> values) : fields(std::move(values)) {}
    const basekit2::variant_t& getField(basekit2::u16_t column) const override {
        return fields.at(column);
    }

    std::vector<basekit2::variant_t> fields;
};

// Levels of three and of two values, over instances of both.
class Expansions : public ProviderTest {
protected:
    Expansions() {
        bind();
        m_db->tables["dd_task"] = tableOf("dd_task dd_task.name\n4 a\n2 b\n-1 none\n7 c");
        m_db->tables["dd_kind"] = tableOf("rowid dd_kind\n0 0\n1 1");
        m_db->tables["slice_data"] = tableOf("slice_data::dd_task slice_data::dd_kind\n4 0");
    }
    static Series seriesSet(const ExpansionHelper& helper) {
        Series series;
        helper.getEmptySeries(series);
        return series;
    }
    // The series of one id per level, asked both ways; -1 for none.
    static int seriesOf(const ExpansionHelper& helper, const std::vector<int>& ids) {
        unsigned long byIds = 0;
        unsigned long byRecord = 0;
        const Record record({ids.begin(), ids.end()});
        const bool isKnown = helper.getSeriesIdx(ids, byIds);
        EXPECT_EQ(helper.getSeriesIdx(&record, byRecord), isKnown);
        if (!isKnown) return -1;
        EXPECT_EQ(byIds, byRecord);
        return static_cast<int>(byIds);
    }
    // The series of the source, or the failure to make them.
    bool apply(ExpansionHelper& helper, Series* series = nullptr) {
        return m_provider->applyExpansionHelper(&m_source, m_db->createQuery("slice_data", 0),
                                                helper, series);
    }
    void expandSource(const Query& query) {
        m_source.addExtra(query, "dd_task", "slice_data", "name", "", "");
    }
};

TEST_F(Expansions, TellRecordsApartWithTheLastLevelFastest) {
    ExpansionHelper helper(m_db, m_provider.get());
    ASSERT_TRUE(helper.addExpansion("slice_data", "dd_task", "name", {}));
    ASSERT_TRUE(helper.addExpansion("slice_data", "dd_kind", "", {}));
    ASSERT_TRUE(helper.applyExpansions(nullptr));
    unsigned long index = 0;
    const Record first({4, 0});
    EXPECT_FALSE(helper.getSeriesIdx(&first, index)) << "applied to no query";
    // The second query takes the place of the first.
    for (int i = 0; i < 2; ++i)
        ASSERT_TRUE(helper.applyExpansions(m_db->createQuery("slice_data", 0)));
    EXPECT_EQ(helper.getSeriesNum(), 6U);
    EXPECT_EQ(seriesSet(helper).back().name, "c:1");
    EXPECT_EQ(seriesSet(helper).back().idParts, (std::vector<int>{7, 1}));
    int expected = 0;
    for (const int task : {4, 2, 7})
        for (const int kind : {0, 1})
            EXPECT_EQ(seriesOf(helper, {task, kind}), expected++);
    // Values that were not read: between, behind and before the known ones.
    for (const int task : {3, 8, 1 << 30, -2})
        EXPECT_EQ(seriesOf(helper, {task, 0}), -1) << task;
    EXPECT_TRUE(m_log.empty());
    // None at all is no such value, also behind one.
    EXPECT_EQ(seriesOf(helper, {4, -1}), -1);
    const Record text({"4", 0});
    EXPECT_FALSE(helper.getSeriesIdx(&text, index));
    EXPECT_TRUE(m_log.contains("Variant cannot be converted to db index - type mismatch"));
}

TEST_F(Expansions, AreOneSeriesWithoutLevelsAndNoneWithoutValues) {
    QueryFacts busy;
    busy.name = "Busy";
    m_source.m_defaultQuery = timeQuery(busy);
    ExpansionHelper plain(m_db, m_provider.get());
    EXPECT_EQ(seriesOf(plain, {}), -1);
    EXPECT_EQ(m_log.count("seriesIndex < m_emptySeries.size()"), 2);
    expandSource(timeQuery());  // no attribute
    Series series;
    EXPECT_TRUE(apply(plain, &series));
    EXPECT_EQ(series.at(0).name, "Busy");
    EXPECT_EQ(seriesOf(plain, {}), 0);

    m_db->tables["dd_task"] = tableOf("dd_task dd_task.name\n-1 none");
    expandSource(infoQuery({}));
    ExpansionHelper empty(m_db, m_provider.get());
    EXPECT_TRUE(apply(empty, &series));
    EXPECT_TRUE(series.empty());
    EXPECT_EQ(seriesOf(empty, {4}), -1);
}

TEST_F(Expansions, FailWithAReasonAndAddNothing) {
    const auto refused = [this](const char* text, const std::string& path, const std::string& attr,
                                const Strings& values = {}) {
        ExpansionHelper helper(m_db, m_provider.get());
        expectFailure(text, [&] { return helper.addExpansion("slice_data", path, attr, values); });
        EXPECT_TRUE(helper.applyExpansions(nullptr));
        EXPECT_EQ(helper.getSeriesNum(), 1U);
    };
    refused("query", "dd_moon", "name");
    refused("sl1::InvalidColIdx != nameId", "dd_task", "moon");
    refused("!rName.empty()", "dd_task", "name", {""});
    EXPECT_TRUE(m_log.contains("qf"));
    m_db->brokenTables.insert("dd_task");
    refused("Failed to get expansion rowset. Error: disk on fire, SQL: SELECT", "dd_task", "name");
    m_db->brokenTables.clear();
    ExpansionHelper helper(m_db, m_provider.get());
    // Values that are there, of which the records know nothing.
    m_source.addExtra(infoQuery({}), "dd_kind", "other_data", "", "", "");
    expectFailure("sl1::InvalidColIdx != id", [&] { return apply(helper); });
}

TEST_F(Expansions, NarrowBothReadsByAFilterOfTheirOwnName) {
    ExpansionHelper helper(m_db, m_provider.get());
    m_registry->takeCalls();
    ASSERT_TRUE(helper.addExpansion("slice_data", "dd_task", "name", {"a", "c"}));
    const std::string name =
        "restrictions_filter_dd_task_" + std::to_string(reinterpret_cast<std::uintptr_t>(&helper));
    const Strings calls = {"remove " + name, "query " + name +
                                                 " mode 1 {1 slice_data::dd_task.name='a' "
                                                 "slice_data::dd_task.name='c'}"};
    EXPECT_EQ(m_registry->takeCalls(), calls);
    EXPECT_EQ(m_db->reads.back(),
              "dd_task dd_task rising=dd_task key=dd_task dd_task.name filter=" + name);
    const auto query = m_db->createQuery("slice_data", 0);
    ASSERT_TRUE(helper.applyExpansions(query));
    EXPECT_EQ(m_registry->takeCalls(), calls);
    query->execute();
    EXPECT_EQ(m_db->reads.back(), "slice_data slice_data::dd_task filter=" + name);
}

}  // namespace
}  // namespace lanefeed_test
