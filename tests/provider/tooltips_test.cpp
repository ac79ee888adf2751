#include "messages/message_catalogs.h"
#include "provider_fixture.h"

#include <basekit2/type_id.h>
#include <settingstore2/message_catalogs.h>

namespace lanefeed_test {
namespace {

using basekit2::variant_t;
using lanefeed_1::DicerDataSource;
using lanefeed_1::IntervalHatch;

constexpr const char* kCacheOff = "LANEFEED_TOOLTIPS_CACHE_OFF";

// A layer on slices whose tooltip has the name, the category by a query without a name, and the
// arguments without a query.
class Tooltips : public ProviderTest {
protected:
    Tooltips() {
        bind();
        m_db->attributeValues["dd_task.name"] = {{0, "zero"}, {7, "main"}, {8, ""}};
        m_db->attributeValues["dd_category"] = {{7, 42}, {9, variant_t()}};
        m_db->attributeValues["args.json"] = {{7, "{\"a\":1}"}, {9, 2.5}};
        m_ds.addExtra(named("%Name"), "", "", "name", "", "dd_task");
        m_ds.addExtra(named(""), "", "", "", "", "dd_category");
        m_ds.addExtra({}, "", "", "json", "", "args");
        m_ds.addExtra(named("Gone"), "", "", "name", "", "dd_gone");
    }
    static basekit2::sptr_t<dataface_1::IQuery> named(const std::string& name) {
        QueryFacts facts;
        facts.name = name;
        return infoQuery(facts);
    }
    // "key=value;" for each item.
    std::string items(int id) {
        std::string text;
        for (auto it = m_provider->getTooltips(&m_ds, id); !it.at_end(); it.next())
            text += it.current()->getKey().get<std::string>() + "=" +
                    it.current()->getValue().get<std::string>() + ";";
        return text;
    }

    DicerDataSource m_ds;
};

TEST_F(Tooltips, HoldWhatWasPreparedInTheOrderOfTheAttributes) {
    EXPECT_EQ(m_provider->getTooltip(&m_ds, 7), "\n");
    EXPECT_TRUE(m_db->retrievers.empty()) << "pointing at something makes no retriever";

    m_provider->cacheTooltipData(&m_ds);
    m_provider->cacheTooltipData(&m_ds);
    EXPECT_EQ(m_db->retrievers,
              (std::vector<std::string>{"dd_task.name cached", "dd_category cached",
                                        "args.json cached", "dd_gone.name cached"}))
        << "a table that is not known is asked for once, too";
    EXPECT_EQ(m_provider->getTooltip(&m_ds, 7), "\n%Name: main\n: 42\n{\"a\":1}");
    EXPECT_EQ(items(7), "%Name=main;=42;={\"a\":1};");
    EXPECT_EQ(items(8), "%Name=;");
    EXPECT_EQ(m_provider->getTooltip(&m_ds, 8), "\n%Name: ");
    EXPECT_EQ(items(9), "=2.5;") << "null is no line";
    for (int id : {-1, 10}) {
        EXPECT_EQ(m_provider->getTooltip(&m_ds, id), "\n");
        EXPECT_EQ(items(id), "");
    }
    auto item = m_provider->getTooltips(&m_ds, 8).current();
    EXPECT_EQ(item->getValue().get_type(), basekit2::vtString);

    m_provider->clearCachedTooltipData();
    EXPECT_EQ(m_provider->getTooltip(&m_ds, 7), "\n");
    EXPECT_TRUE(m_log.empty());
}

TEST_F(Tooltips, LocaliseValuesButNotTheNamesBeforeThem) {
    m_provider->cacheTooltipData(&m_ds);
    std::vector<std::string> errors;
    const auto before = settingstore2::getMessageCatalogSource();
    settingstore2::setMessageCatalogSource(lanefeed_runtime::readCatalogs(
        {"<messageCatalog name='viewpoint'><message key='%Name'>Name</message>"
         "<message key='zero'>none</message></messageCatalog>"},
        errors));
    EXPECT_EQ(m_provider->getTooltip(&m_ds, 0), "\n%Name: none");
    EXPECT_EQ(items(0), "%Name=none;");
    settingstore2::setMessageCatalogSource(before);
}

TEST_F(Tooltips, PrepareAnAttributeWithoutATableUnderAKeyThatNobodyAsksFor) {
    DicerDataSource bare;
    bare.addExtra({}, "", "", "name", "", "");
    m_db->attributeValues["name"] = m_db->attributeValues[".name"] = {{7, "main"}};
    m_provider->cacheTooltipData(&bare);
    EXPECT_EQ(m_db->retrievers.back(), ".name cached");
    EXPECT_EQ(m_provider->getTooltip(&bare, 7), "\n");
}

TEST_F(Tooltips, ReadTheirCacheSwitchForEachAttribute) {
    const EnvironmentGuard off(kCacheOff, "1");
    m_provider->cacheTooltipData(&m_ds);
    EXPECT_EQ(m_db->retrievers.front(), "dd_task.name");
    m_provider->clearCachedTooltipData();
    const EnvironmentGuard empty(kCacheOff, "");
    m_provider->cacheTooltipData(&m_ds);
    EXPECT_EQ(m_db->retrievers.back(), "dd_gone.name cached");
    // One text, one retriever, whatever it was made for first.
    DicerDataSource other;
    other.addExtra({}, "", "", "", "", "dd_task.name");
    m_db->retrievers.clear();
    EXPECT_EQ(m_provider->getHighlightValue(&other, 7).get<std::string>(), "main");
    EXPECT_TRUE(m_db->retrievers.empty());
}

TEST_F(Tooltips, HighlightByTheFirstAttributeWithoutItsColumn) {
    m_db->attributeValues["dd_task"] = {{7, 7}};
    EXPECT_EQ(m_provider->getHighlightValue(&m_ds, 7).get<int>(), 7);
    EXPECT_EQ(m_db->retrievers, (std::vector<std::string>{"dd_task cached"}));
    EXPECT_TRUE(m_provider->getHighlightValue(&m_ds, 8).is_null());
    EXPECT_TRUE(m_provider->getHighlightValue(&m_ds, -1).is_null());
    EXPECT_TRUE(m_provider->getHighlightValue(&m_source, 7).is_null());
    DicerDataSource unknown;
    unknown.addExtra({}, "", "", "", "", "dd_gone");
    EXPECT_TRUE(m_provider->getHighlightValue(&unknown, 7).is_null());
    EXPECT_TRUE(m_log.empty());
}

TEST_F(Tooltips, ReadTheValueThatAFilterIsMadeOf) {
    m_db->tables["dd_task"] = {{{"name", "main"}, {"dd_module.name", "libc"}}};
    const auto valueOf = [&](const char* path, const char* attr) {
        DicerDataSource ds;
        ds.set(path, "slice_data", attr, "");
        return m_provider->getAttributeValue(&ds, 7);
    };
    EXPECT_EQ(valueOf("dd_task", "name").get<std::string>(), "main");
    EXPECT_EQ(valueOf("dd_task.dd_module", "name").get<std::string>(), "libc");
    EXPECT_EQ(m_db->reads,
              (std::vector<std::string>{"dd_task name rowid=7", "dd_task dd_module.name rowid=7"}));
    const variant_t itself = valueOf("dd_task", "");
    EXPECT_EQ(itself.get_type(), basekit2::vtS32);
    EXPECT_EQ(itself.get<int>(), 7);
    EXPECT_EQ(m_db->reads.size(), 2U) << "the row id needs no read";
    EXPECT_TRUE(m_log.empty());

    EXPECT_TRUE(valueOf("dd_task", "colour").is_null());
    EXPECT_TRUE(m_log.contains("sl1::InvalidColIdx != idx"));
    EXPECT_TRUE(valueOf("dd_gone", "name").is_null());
    EXPECT_TRUE(m_log.contains("query"));
    EXPECT_TRUE(valueOf("", "").is_null());
    EXPECT_TRUE(m_log.contains("!parts.empty()"));
    m_db->brokenTables.insert("dd_task");
    EXPECT_TRUE(valueOf("dd_task", "name").is_null());
}

TEST_F(Tooltips, HatchByTheIndexOfAnAttributeAndTellTheObjectOfABand) {
    class Shown : public FakeInfoQuery {
    public:
        using FakeInfoQuery::FakeInfoQuery;
        std::string getDisplayText() const override { return "dd_task.dd_module"; }
    };
    m_ds.m_defaultQuery = basekit2::make_object<Shown>(QueryFacts());
    m_db->attributeValues["dd_task.dd_module"] = {
        {1, basekit2::u64_t{3}}, {2, variant_t()}, {3, "three"}, {4, -2}};
    std::vector<IntervalHatch> hatches;
    EXPECT_TRUE(m_provider->getHatchesForObject(&m_ds, 1, hatches));
    ASSERT_EQ(hatches.size(), 1U);
    EXPECT_EQ(hatches[0].kind, 2);
    EXPECT_EQ(hatches[0].color.blue, 255);
    hatches.clear();
    for (int id : {-1, 2, 4, 5})
        EXPECT_FALSE(m_provider->getHatchesForObject(&m_ds, id, hatches)) << id;
    EXPECT_TRUE(m_log.empty());
    EXPECT_FALSE(m_provider->getHatchesForObject(&m_ds, 3, hatches));
    m_ds.m_defaultQuery = timeQuery();
    EXPECT_FALSE(m_provider->getHatchesForObject(&m_ds, 1, hatches));
    EXPECT_TRUE(m_log.contains("dr"));

    EXPECT_EQ(m_provider->bandToObject(1, "dd_task.dd_module"), 3);
    EXPECT_EQ(m_provider->bandToObject(2, "dd_task.dd_module"), -1);
    EXPECT_EQ(m_provider->bandToObject(9, "dd_task.dd_module"), -1);
    EXPECT_TRUE(m_log.contains("ret"));
    EXPECT_EQ(m_provider->bandToObject(1, "dd_gone"), -1);
}

}  // namespace
}  // namespace lanefeed_test
