#include "expansionhelper.h"
#include "provider_fixture.h"
#include "session/open_result.h"
#include "support/temp_directory.h"
#include "support/trace_text.h"

#include <gmock/gmock.h>

namespace lanefeed_test {
namespace {

using lanefeed_1::ExpansionHelper;
using Restrictions = std::vector<std::string>;
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
        m_db->tables["dd_task"] = {task(4, "a"), task(2, "b"), task(-1, "none"), task(7, "c")};
        m_db->tables["dd_kind"] = {{{"rowid", 0}, {"dd_kind", 0}}, {{"rowid", 1}, {"dd_kind", 1}}};
        m_db->tables["slice_data"] = {{{"slice_data::dd_task", 4}, {"slice_data::dd_kind", 0}}};
    }
    static std::map<std::string, basekit2::variant_t> task(int id, const char* name) {
        return {{"dd_task", id}, {"dd_task.name", name}};
    }
    static Series seriesSet(const ExpansionHelper& helper) {
        Series series;
        helper.getEmptySeries(series);
        return series;
    }
    static std::string names(const ExpansionHelper& helper) {
        std::string text;
        for (const auto& entry : seriesSet(helper))
            text += (text.empty() ? "" : " ") + entry.name;
        return text;
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
    EXPECT_EQ(names(helper), "a:0 a:1 b:0 b:1 c:0 c:1");
    EXPECT_EQ(helper.getSeriesNum(), 6U);
    EXPECT_EQ(seriesSet(helper).back().nameParts, (std::vector<std::string>{"c", "1"}));
    EXPECT_EQ(seriesSet(helper).back().idParts, (std::vector<int>{7, 1}));
    int expected = 0;
    for (const int task : {4, 2, 7})
        for (const int kind : {0, 1})
            EXPECT_EQ(seriesOf(helper, {task, kind}), expected++);
    // Values that were not read: between, behind and before the known ones.
    for (const int task : {3, 8, 1 << 30, -2})
        EXPECT_EQ(seriesOf(helper, {task, 0}), -1) << task;
    for (const int kind : {2, -2})
        EXPECT_EQ(seriesOf(helper, {4, kind}), -1);
    EXPECT_TRUE(m_log.empty());
    // None at all is no such value, also behind one.
    EXPECT_EQ(seriesOf(helper, {4, -1}), -1);
    EXPECT_EQ(m_log.count("sl1::Index::NoValue != expansionId"), 2);
    const Record noKind({3, basekit2::variant_t()});
    EXPECT_FALSE(helper.getSeriesIdx(&noKind, index));
    const Record text({"4", 0});
    EXPECT_FALSE(helper.getSeriesIdx(&text, index));
    EXPECT_EQ(m_log.count("sl1::Index::NoValue != expansionId"), 4);
    EXPECT_TRUE(m_log.contains("Variant cannot be converted to db index - type mismatch"));
    // The last of equal ids gets the records.
    lanefeed_1::ExpansionLevel twice;
    twice.addValue(3, "first");
    twice.addValue(3, "last");
    EXPECT_EQ(twice.values.size(), 2U);
    EXPECT_EQ(twice.positions, (std::vector<int>{-1, -1, -1, 1}));
    // Low bits of a wide id.
    const Record wide({basekit2::s64_t{(1LL << 32) + 7}, basekit2::s64_t{1}});
    EXPECT_TRUE(helper.getSeriesIdx(&wide, index));
    EXPECT_EQ(index, 5U);
}

TEST_F(Expansions, AreOneSeriesWithoutLevelsAndNoneWithoutValues) {
    QueryFacts busy;
    busy.name = "Busy";
    m_source.m_defaultQuery = timeQuery(busy);
    const auto apply = [this](ExpansionHelper& helper) {
        Series series;
        EXPECT_TRUE(m_provider->applyExpansionHelper(&m_source, m_db->createQuery("slice_data", 0),
                                                     helper, &series));
        return series.size();
    };
    ExpansionHelper unused(m_db, m_provider.get());
    EXPECT_EQ(seriesOf(unused, {}), -1);
    EXPECT_EQ(m_log.count("seriesIndex < m_emptySeries.size()"), 2);
    m_log.clear();
    // An extra that is no attribute does not expand.
    m_source.addExtra(timeQuery(), "dd_task", "slice_data", "name", "", "");
    ExpansionHelper plain(m_db, m_provider.get());
    EXPECT_EQ(apply(plain), 1U);
    EXPECT_EQ(names(plain), "Busy");
    EXPECT_EQ(seriesOf(plain, {}), 0);
    EXPECT_TRUE(m_log.empty());

    m_db->tables["dd_task"] = {task(-1, "none")};
    m_source.addExtra(infoQuery({}), "dd_task", "slice_data", "name", "", "");
    ExpansionHelper empty(m_db, m_provider.get());
    EXPECT_EQ(apply(empty), 0U);
    EXPECT_TRUE(m_log.contains("m_emptySeries.size()"));
    EXPECT_EQ(seriesOf(empty, {4}), -1);
}

TEST_F(Expansions, FailWithAReasonAndAddNothing) {
    const auto reasonOf = [this](const std::string& path, const std::string& attr,
                                 const Restrictions& restrictions = {}) {
        m_log.clear();
        ExpansionHelper helper(m_db, m_provider.get());
        EXPECT_FALSE(helper.addExpansion("slice_data", path, attr, restrictions));
        EXPECT_TRUE(helper.applyExpansions(nullptr));
        EXPECT_EQ(helper.getSeriesNum(), 1U);
        return m_log.entries().empty() ? "" : m_log.entries().front().text;
    };
    using testing::HasSubstr;
    EXPECT_THAT(reasonOf("", "name"), HasSubstr("!parts.empty()"));
    EXPECT_THAT(reasonOf("dd_moon", "name"), HasSubstr("query"));
    EXPECT_THAT(reasonOf("dd_task.moon", ""), HasSubstr("sl1::InvalidColIdx != id"));
    EXPECT_THAT(reasonOf("dd_task", "moon"), HasSubstr("sl1::InvalidColIdx != nameId"));
    EXPECT_THAT(reasonOf("dd_task", "name", {""}), HasSubstr("!rName.empty()"));
    EXPECT_TRUE(m_log.contains("qf"));
    m_db->brokenTables.insert("dd_task");
    EXPECT_THAT(reasonOf("dd_task", "name"),
                HasSubstr("Failed to get expansion rowset. Error: disk on fire, SQL: SELECT"));
    m_db->brokenTables.clear();
    m_db->tables["dd_task"].clear();
    EXPECT_THAT(reasonOf("dd_task", "name"), HasSubstr("rs && !rs->atEnd()"));
    m_input->offered.erase(basekit2::type_id_t<dataface_1::IFilterRegistry>::id());
    EXPECT_THAT(reasonOf("dd_task", "name", {"a"}), HasSubstr("qf"));

    m_source.addExtra(infoQuery({}), "dd_task", "slice_data", "name", "", "");
    ExpansionHelper helper(m_db, m_provider.get());
    EXPECT_FALSE(m_provider->applyExpansionHelper(&m_source, {}, helper, nullptr));
    EXPECT_TRUE(m_log.contains("ret"));
    // Values that are there, of which the records know nothing.
    m_source.m_extras.clear();
    m_source.addExtra(infoQuery({}), "dd_kind", "other_data", "", "", "");
    m_log.clear();
    ExpansionHelper other(m_db, m_provider.get());
    EXPECT_FALSE(m_provider->applyExpansionHelper(&m_source, m_db->createQuery("slice_data", 0),
                                                  other, nullptr));
    EXPECT_TRUE(m_log.contains("sl1::InvalidColIdx != id") && m_log.contains("ret"));
}

TEST_F(Expansions, NarrowBothReadsByAFilterOfTheirOwnName) {
    ExpansionHelper helper(m_db, m_provider.get());
    m_registry->takeCalls();
    ASSERT_TRUE(helper.addExpansion("slice_data", "dd_task", "name", {"a", "c"}));
    const std::string name =
        "restrictions_filter_dd_task_" + std::to_string(reinterpret_cast<std::uintptr_t>(&helper));
    const std::vector<std::string> calls = {"remove " + name,
                                            "query " + name +
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

// The series of each slice of a real result, those of others left out.
TEST(ExpansionsOnAStore, KeepWhatTheyAreRestrictedTo) {
    const CapturedLog log(log4cplus::ERROR_LOG_LEVEL);
    const TempDirectory directory;
    writeTraceText(directory.file("t.lft"),
                   "thread main  0..9 a@ui  10..19 b@io  20..29 c@io  30..39 a@io\n"
                   "alive second 0..1\nprocess other\nalive third 0..1");
    lanefeed_runtime::OpenOutcome outcome;
    const auto result = lanefeed_runtime::openResult(directory.file("t.lft"), {}, outcome);
    ASSERT_TRUE(outcome.isOpened()) << outcome.text;
    const auto provider = basekit2::make_object<Probe<lanefeed_1::DbiProviderImpl>>();
    lanefeed_1::TLViewpointParser::RowSet rowSet;
    provider->setResult(1, result, &rowSet, "", 0);
    const auto db = provider->getDb(result);
    const auto series = [&](const Restrictions& names, const Restrictions& categories) {
        ExpansionHelper helper(db, provider.get());
        const auto query = db->createQuery("slice_data", 0);
        const auto start = query->addColumn("start_tsc");
        EXPECT_TRUE(helper.addExpansion("slice_data", "dd_task", "name", names) &&
                    helper.addExpansion("slice_data", "dd_category", "name", categories) &&
                    helper.applyExpansions(query));
        Series all;
        helper.getEmptySeries(all);
        std::string text = std::to_string(all.size());
        for (const auto records = query->execute(); !records->atEnd(); records->next()) {
            unsigned long index = 0;
            EXPECT_TRUE(helper.getSeriesIdx(records->current(), index)) << "left to the helper";
            text += " " + std::to_string((*records->current())[start].get<int>() - 1) + "=" +
                    all.at(index).name;
        }
        return text;
    };
    EXPECT_EQ(series({}, {}), "6 0=a:ui 10=b:io 20=c:io 30=a:io");
    EXPECT_EQ(series({"a", "c"}, {}), "4 0=a:ui 20=c:io 30=a:io");
    EXPECT_EQ(series({"!a", "b"}, {"io"}), "1 20=c:io");
    EXPECT_EQ(series({"a"}, {"!ui"}), "1 30=a:io") << "a name that a helper left is free again";
    // Three threads refer to two processes, each of which is a value once.
    ExpansionHelper byProcess(db, provider.get());
    EXPECT_TRUE(byProcess.addExpansion("slice_data", "dd_thread.dd_process", "name", {}) &&
                byProcess.applyExpansions(nullptr));
    EXPECT_EQ(byProcess.getSeriesNum(), 2U);
    EXPECT_TRUE(log.empty()) << log.lines().front();
}

}  // namespace
}  // namespace lanefeed_test
