// Tooltips of a layer, what is highlighted and hatched, and the values that filters are made of.

#include "provider_fixture.h"

namespace lanefeed_test {
namespace {

using basekit2::variant_t;
using lanefeed_1::DicerDataSource;

// A layer on slices whose tooltip has the name, the category by a query without a name, and the
// arguments without a query.
class Tooltips : public ProviderTest {
protected:
    Tooltips() {
        bind();
        m_db->attributeValues["dd_task.name"] = {{7, "main"}, {8, ""}};
        m_db->attributeValues["dd_category"] = {{7, 42}, {9, variant_t()}};
        m_db->attributeValues["args.json"] = {{7, "{\"a\":1}"}, {9, 2.5}};
        m_ds.addExtra(namedQuery("%Name"), "", "", "name", "", "dd_task");
        m_ds.addExtra(namedQuery(""), "", "", "", "", "dd_category");
        m_ds.addExtra({}, "", "", "json", "", "args");
        m_ds.addExtra(namedQuery("Gone"), "", "", "name", "", "dd_gone");
    }
    // The text, and "key=value;" for each item.
    std::string tooltip(int id) {
        std::string text = m_provider->getTooltip(&m_ds, id) + " / ";
        for (auto it = m_provider->getTooltips(&m_ds, id); !it.at_end(); it.next())
            text += it.current()->getKey().get<std::string>() + "=" +
                    it.current()->getValue().get<std::string>() + ";";
        return text;
    }

    DicerDataSource m_ds;
};

TEST_F(Tooltips, HoldWhatWasPreparedInTheOrderOfTheAttributes) {
    EXPECT_EQ(tooltip(7), "\n / ");
    EXPECT_TRUE(m_db->retrievers.empty()) << "pointing at something makes no retriever";
    m_provider->cacheTooltipData(&m_ds);
    m_provider->cacheTooltipData(&m_ds);
    EXPECT_EQ(m_db->retrievers, (Strings{"dd_task.name cached", "dd_category cached",
                                         "args.json cached", "dd_gone.name cached"}))
        << "a table that is not known is asked for once, too";
    EXPECT_EQ(tooltip(7), "\n%Name: main\n: 42\n{\"a\":1} / %Name=main;=42;={\"a\":1};");
    EXPECT_EQ(tooltip(8), "\n%Name:  / %Name=;");
    EXPECT_EQ(tooltip(9), "\n2.5 / =2.5;") << "null is no line";
    EXPECT_EQ(tooltip(-1), "\n / ");
    EXPECT_EQ(tooltip(10), "\n / ");
    m_provider->clearCachedTooltipData();
    EXPECT_EQ(tooltip(7), "\n / ");
    EXPECT_TRUE(m_log.empty());
}

TEST_F(Tooltips, ReadTheirCacheSwitchAndShareRetrieversByTheirText) {
    const EnvironmentGuard off("LANEFEED_TOOLTIPS_CACHE_OFF", "1");
    m_provider->cacheTooltipData(&m_ds);
    EXPECT_EQ(m_db->retrievers.front(), "dd_task.name");
    m_db->retrievers.clear();
    DicerDataSource other;
    other.addExtra({}, "", "", "", "", "dd_task.name");
    EXPECT_EQ(m_provider->getHighlightValue(&other, 7).get<std::string>(), "main");
    EXPECT_TRUE(m_db->retrievers.empty());
}

TEST_F(Tooltips, HighlightByTheFirstAttributeWithoutItsColumn) {
    m_db->attributeValues["dd_task"] = {{7, 7}};
    EXPECT_EQ(m_provider->getHighlightValue(&m_ds, 7).get<int>(), 7);
    EXPECT_EQ(m_db->retrievers, (Strings{"dd_task cached"}));
    EXPECT_TRUE(m_provider->getHighlightValue(&m_ds, 8).is_null());
    EXPECT_TRUE(m_provider->getHighlightValue(&m_ds, -1).is_null());
    EXPECT_TRUE(m_provider->getHighlightValue(&m_source, 7).is_null());
    EXPECT_TRUE(m_log.empty());
}

TEST_F(Tooltips, ReadTheValueThatAFilterIsMadeOf) {
    m_db->tables["dd_task"] = tableOf("name dd_module.name\nmain libc");
    const auto valueOf = [&](const char* path, const char* attr) {
        m_ds.set(path, "slice_data", attr, "");
        return m_provider->getAttributeValue(&m_ds, 7);
    };
    EXPECT_EQ(valueOf("dd_task", "name").get<std::string>(), "main");
    EXPECT_EQ(valueOf("dd_task.dd_module", "name").get<std::string>(), "libc");
    EXPECT_EQ(valueOf("dd_task", "").get<int>(), 7) << "the row id needs no read";
    EXPECT_EQ(m_db->reads, (Strings{"dd_task name rowid=7", "dd_task dd_module.name rowid=7"}));
    EXPECT_TRUE(m_log.empty());
    EXPECT_TRUE(valueOf("dd_gone", "name").is_null());
    m_db->brokenTables.insert("dd_task");
    EXPECT_TRUE(valueOf("dd_task", "name").is_null());
}

TEST_F(Tooltips, HatchByTheIndexOfAnAttributeAndTellTheObjectOfABand) {
    m_ds.m_defaultQuery = infoQuery(factsAt("::dd_task.dd_module"));
    m_db->attributeValues["dd_task.dd_module"] = {
        {1, basekit2::u64_t{3}}, {2, variant_t()}, {3, "three"}, {4, -2}};
    std::vector<lanefeed_1::IntervalHatch> hatches;
    const auto hatch = [&](int id) {
        hatches.clear();
        return m_provider->getHatchesForObject(&m_ds, id, hatches);
    };
    EXPECT_TRUE(hatch(1));
    ASSERT_EQ(hatches.size(), 1U);
    EXPECT_EQ(hatches[0].kind, 2);
    EXPECT_EQ(hatches[0].color.blue, 255);
    for (const int id : {-1, 2, 4, 5})
        EXPECT_FALSE(hatch(id)) << id;
    EXPECT_TRUE(m_log.empty());
    EXPECT_FALSE(hatch(3));
    m_ds.m_defaultQuery = timeQuery();
    expectFailure("dr", [&] { return hatch(1); });

    EXPECT_EQ(m_provider->bandToObject(1, "dd_task.dd_module"), 3);
    EXPECT_EQ(m_provider->bandToObject(2, "dd_task.dd_module"), -1);
    EXPECT_EQ(m_provider->bandToObject(1, "dd_gone"), -1);
    EXPECT_EQ(m_provider->bandToObject(9, "dd_task.dd_module"), -1);
}

}  // namespace
}  // namespace lanefeed_test
