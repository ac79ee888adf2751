#include "common/tracescope.h"
#include "provider_fixture.h"
#include "support/temp_directory.h"
#include "texts.h"

#include <facekit_1_x/table_building.h>
#include <settingstore2/message_catalogs.h>

#include <filesystem>
#include <fstream>
#include <sstream>

namespace lanefeed_test {
namespace {

class FakeCatalog : public platkit_2_18::i18n::catalog_t {
public:
    explicit FakeCatalog(std::map<std::string, std::string> texts) : m_texts(std::move(texts)) {}
    bool has_message(const std::string& key) const override { return m_texts.count(key) != 0; }
    platkit_2_18::i18n::message_t message(const std::string& key) const override {
        return platkit_2_18::i18n::message_t(m_texts.at(key));
    }

private:
    std::map<std::string, std::string> m_texts;
};

class FakeCatalogs : public settingstore2::IMessageCatalogSource {
public:
    basekit2::sptr_t<platkit_2_18::i18n::catalog_t> getCatalog(const std::string& name) override {
        const auto found = texts.find(name);
        if (found == texts.end()) return {};
        return basekit2::make_object<FakeCatalog>(found->second);
    }

    std::map<std::string, std::map<std::string, std::string>> texts;
};

class CatalogsInForce {
public:
    explicit CatalogsInForce(const basekit2::sptr_t<FakeCatalogs>& source)
        : m_old(settingstore2::getMessageCatalogSource()) {
        settingstore2::setMessageCatalogSource(source);
    }
    ~CatalogsInForce() { settingstore2::setMessageCatalogSource(m_old); }
    CatalogsInForce(const CatalogsInForce&) = delete;
    CatalogsInForce& operator=(const CatalogsInForce&) = delete;

private:
    basekit2::sptr_t<settingstore2::IMessageCatalogSource> m_old;
};

TEST(Texts, ComeFromTheFirstCatalogThatKnowsTheKey) {
    const auto catalogs = basekit2::make_object<FakeCatalogs>();
    catalogs->texts["storelink1"] = {{"%A", "store a"}, {"%B", "store b"}, {"%C", "store c"}};
    catalogs->texts["viewpoint"] = {{"%A", "view a"}, {"%B", "view b"}};
    catalogs->texts["slicer2"] = {{"%A", "slicer a"}};
    const CatalogsInForce inForce(catalogs);
    EXPECT_EQ(lanefeed_1::getString("%A"), "slicer a");
    EXPECT_EQ(lanefeed_1::getString("%B"), "view b");
    EXPECT_EQ(lanefeed_1::getString("%C"), "store c");
    EXPECT_EQ(lanefeed_1::getString("%D"), "%D");
    catalogs->texts.erase("slicer2");
    EXPECT_EQ(lanefeed_1::getString("%A"), "view a");
    settingstore2::setMessageCatalogSource(nullptr);
    EXPECT_EQ(lanefeed_1::getString("%A"), "%A");
}

std::string profiled;
lanefeed_1::ProfilingDomain profilerDomain;

// Hooks that write down what they are told; some may be left out.
lanefeed_1::ProfilingHooks writingHooks() {
    lanefeed_1::ProfilingHooks hooks;
    hooks.createDomain = [](const char* name) {
        profiled += std::string("domain ") + name + "\n";
        return &profilerDomain;
    };
    hooks.createStringHandle = [](const char* name) -> const void* { return name; };
    hooks.beginTask = [](lanefeed_1::ProfilingDomain*, const void* name) {
        profiled += std::string("begin ") + static_cast<const char*>(name) + "\n";
    };
    hooks.endTask = [](lanefeed_1::ProfilingDomain*) { profiled += "end\n"; };
    return hooks;
}

TEST(TraceScope, TellsTheHooksOnlyWhenAllAreThereAndTheDomainIsEnabled) {
    { const lanefeed_1::trace_event_scope scope("without hooks"); }
    lanefeed_1::ProfilingHooks hooks = writingHooks();
    hooks.endTask = nullptr;
    lanefeed_1::setProfilingHooks(hooks);
    { const lanefeed_1::trace_event_scope scope("one hook missing"); }
    EXPECT_EQ(profiled, "");

    lanefeed_1::setProfilingHooks(writingHooks());
    { const lanefeed_1::trace_event_scope scope("disabled"); }
    profilerDomain.enabled = true;
    {
        const lanefeed_1::trace_event_scope outer("outer");
        const lanefeed_1::trace_event_scope inner("inner");
        // Hooks are those of the beginning.
        lanefeed_1::setProfilingHooks({});
    }
    EXPECT_EQ(profiled, "domain morlo\nbegin outer\nbegin inner\nend\nend\n");
    profiled.clear();
    lanefeed_1::setProfilingHooks(writingHooks());
    {
        const lanefeed_1::trace_event_scope scope("disabled inside");
        profilerDomain.enabled = false;
    }
    lanefeed_1::setProfilingHooks({});
    EXPECT_EQ(profiled, "begin disabled inside\n");
}

using Profile = ProviderTest;

TEST_F(Profile, NamesTheStagesOfAnOverTimeRequest) {
    bind();
    m_db->answers = {{{record({}, {1})}, series({"all"}), false}};
    profilerDomain.enabled = true;
    profiled.clear();
    lanefeed_1::setProfilingHooks(writingHooks());
    std::vector<basekit2::sptr_t<dataface_1::ITableTree>> forest;
    EXPECT_TRUE(m_provider->getOverTimeData(request(), lanefeed_1::IDicerProvider::otTime, forest));
    lanefeed_1::setProfilingHooks({});
    EXPECT_NE(profiled.find("begin DbiProviderImpl::getOverTimeData\nend\n"
                            "begin BaseProviderImpl::arrayToForest\nend\n"),
              std::string::npos)
        << profiled;
}

// A table that must not be read.
class UntouchableTree : public dataface_1::ITableTree {
public:
    basekit2::generic_iterator_t<basekit2::sptr_t<dataface_1::ITableRow>> getRows(
        relay2::IProgress* /*progress*/) override {
        ADD_FAILURE() << "rows were read";
        return {};
    }
    basekit2::generic_iterator_t<basekit2::sptr_t<dataface_1::IColumnInfo>> getColumns(
        relay2::IProgress* /*progress*/) override {
        ADD_FAILURE() << "columns were read";
        return {};
    }
    void setMessenger(relay2::IMessenger* /*messenger*/) override {}
};

TEST(TableDump, IsWrittenOnlyWhenTheEnvironmentAsksForIt) {
    const TempDirectory folder;
    const auto back = std::filesystem::current_path();
    std::filesystem::current_path(folder.path());
    {
        const EnvironmentGuard empty("LANEFEED_SAVE_DATA", "");
        lanefeed_1::BaseProviderImpl::dumpTableTreeToFile(basekit2::make_object<UntouchableTree>(),
                                                          "quiet");
        EXPECT_FALSE(std::filesystem::exists("quiet.xml"));
    }
    {
        const EnvironmentGuard on("LANEFEED_SAVE_DATA", "1");
        lanefeed_1::BaseProviderImpl::dumpTableTreeToFile(nullptr, "none");
        EXPECT_FALSE(std::filesystem::exists("none.xml"));
        lanefeed_1::BaseProviderImpl::dumpTableTreeToFile(facekit_1_x::createTableTree(), "rows7");
    }
    std::ifstream file("rows7.xml");
    std::stringstream text;
    text << file.rdbuf();
    EXPECT_NE(text.str().find("<bag"), std::string::npos) << text.str();
    std::filesystem::current_path(back);
}

}  // namespace
}  // namespace lanefeed_test
