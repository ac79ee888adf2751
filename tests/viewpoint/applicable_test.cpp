#include "dbiproviderimpl.h"
#include "viewpoint_text.h"

#include <set>

#include "support/fake_store.h"

namespace lanefeed_1 {
namespace {

using fakes::Facts;
using fakes::info;
using lanefeed_test::FakeDatabase;

// Holds the tables it is told, and writes down what it is asked.
class AskedProvider : public DbiProviderImpl {
public:
    bool isInstanceDataExist(const std::string& table, const std::string& path) override {
        return answer("instances " + table + " " + path);
    }
    bool isBandTypeSupported(const std::string& table) override { return answer("band " + table); }
    bool isTableExist(const std::string& table) override { return answer("table " + table); }

    std::set<std::string> missing;
    std::string asked;

private:
    bool answer(const std::string& question) {
        asked += question + ";";
        return missing.count(question) == 0;
    }
};

class Applicable : public fakes::ViewpointTest {
protected:
    void SetUp() override {
        layer.drawBy.ds.m_dataType = DicerDataSource::dsTime;
        layer.drawBy.ds.set("dd_task", "slice_data", "", "");
        addExtra(layer.drawBy.ds, "dd_thread");
        const auto data = fakes::make<fakes::FakeData<dataface_1::ITimeQuery>>({});
        layer.drawBy.ds.addExtra(data, "not asked", "", "", std::string(), "");
        addExtra(layer.tooltipBy.ds, "dd_core");
        addExtra(layer.highlightBy.ds, "not asked");
    }
    static void addExtra(DicerDataSource& ds, const char* path) {
        ds.addExtra(info({}), path, "slice_data", "", std::string(), "");
    }
    bool isApplicable(const std::set<std::string>& missing) {
        provider->missing = missing;
        provider->asked.clear();
        return parser.isApplicable(layer, provider.get());
    }

    TLViewpointParser::LayerInfo layer;
    sptr_t<basekit2::ref_counted_t<AskedProvider>> provider =
        basekit2::make_object<AskedProvider>();
};

TEST_F(Applicable, WantsEveryTableOfTheLayerAndItsTooltip) {
    EXPECT_TRUE(isApplicable({}));
    EXPECT_EQ(provider->asked,
              "instances slice_data dd_task;band slice_data;table dd_thread;table dd_core;");
    for (const char* missing :
         {"instances slice_data dd_task", "band slice_data", "table dd_thread", "table dd_core"})
        EXPECT_FALSE(isApplicable({missing})) << missing;
    EXPECT_FALSE(parser.isApplicable(layer, nullptr));
}

TEST_F(Applicable, WantsNothingForALifetimePair) {
    layer.drawBy.isLifetime = true;
    EXPECT_TRUE(isApplicable({"instances slice_data dd_task"}));
    EXPECT_EQ(provider->asked, "");
}

TEST_F(Applicable, AsksTheStoreForTheMembersOfADerivedQuery) {
    Facts facts;
    facts.table = "slice_data";
    Facts derived;
    derived.members = {fakes::make<fakes::FakeData<dataface_1::ITimeQuery>>(facts)};
    layer.drawBy.ds.m_dataType = DicerDataSource::dsDerived;
    layer.drawBy.ds.m_derivedQuery = basekit2::make_object<fakes::FakeDerived>(derived);
    const auto store = basekit2::make_object<FakeDatabase>();
    const auto input = basekit2::make_object<lanefeed_test::FakeInput>();
    input->offer<storelink1::IPerfDatabase>(
        basekit2::make_object<lanefeed_test::FakePerfDatabase>(store));
    result = input;
    parse("<area/>");
    EXPECT_FALSE(isApplicable({}));
    store->tables["slice_data"];
    EXPECT_TRUE(isApplicable({}));
    EXPECT_EQ(provider->asked, "table dd_thread;table dd_core;");
    EXPECT_FALSE(isApplicable({"table dd_core"}));
}

}  // namespace
}  // namespace lanefeed_1
