#include "common/tracescope.h"
#include "messages/message_catalogs.h"
#include "texts.h"

#include <settingstore2/message_catalogs.h>

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace lanefeed_test {
namespace {

class CatalogsInForce {
public:
    explicit CatalogsInForce(const basekit2::sptr_t<settingstore2::IMessageCatalogSource>& source)
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
    const auto text = [](const std::string& name, const std::string& keys) {
        std::string xml = "<messageCatalog name='" + name + "'>";
        for (const char key : keys)
            xml += std::string("<message key='%") + key + "'>" + name + "</message>";
        return xml + "</messageCatalog>";
    };
    std::vector<std::string> errors;
    const CatalogsInForce inForce(lanefeed_runtime::readCatalogs(
        {text("storelink1", "ABC"), text("viewpoint", "AB"), text("slicer2", "A")}, errors));
    EXPECT_EQ(lanefeed_1::getString("%A"), "slicer2");
    EXPECT_EQ(lanefeed_1::getString("%B"), "viewpoint");
    EXPECT_EQ(lanefeed_1::getString("%C"), "storelink1");
    EXPECT_EQ(lanefeed_1::getString("%D"), "%D");
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

}  // namespace
}  // namespace lanefeed_test
