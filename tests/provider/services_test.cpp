// Checks, texts out of catalogs, and scopes that a profiler is told of.

#include "common/check.h"
#include "common/tracescope.h"
#include "provider_fixture.h"
#include "texts.h"

#include <platkit_2_18/debug.h>
#include <settingstore2/message_catalogs.h>

#include <cstdio>
#include <cstdlib>

namespace lanefeed_test {
namespace {

constexpr int positiveLine = __LINE__ + 2;
bool positive(int number) {
    return LF_CHECK(number > 0);
}

TEST(Check, LogsTheConditionWithPlaceAndFunctionAndGoesOn) {
    const CapturedLog log;
    EXPECT_TRUE(positive(1));
    EXPECT_TRUE(log.empty());
    EXPECT_FALSE(positive(0));
    ASSERT_EQ(log.entries().size(), 1U);
    const CapturedLog::Entry entry = log.entries().front();
    EXPECT_EQ(entry.level, 40000);
    EXPECT_EQ(entry.text, "number > 0, at file: tests/provider/services_test.cpp:" +
                              std::to_string(positiveLine));
    EXPECT_NE(entry.function.find("positive(int)"), std::string::npos) << entry.function;
    LF_ALERT("Master table skipped");
    EXPECT_EQ(log.lines(40000).size(), 2U);
    EXPECT_TRUE(log.contains("Master table skipped, at file: "));
}

// Asked once per process, hence in a process of its own.
TEST(CheckDeathTest, CallsTheAssertionHandlerWhenTheEnvironmentAsksForIt) {
    testing::FLAGS_gtest_death_test_style = "threadsafe";
    const EnvironmentGuard asks("lanefeed_ERROR_HANDLING", "break,assert");
    const auto failWithHandler = [] {
        platkit_2_18::debug::set_assertion_handler([](const char* text, const char*, int line) {
            std::fprintf(stderr, "%d %s", line, text);
            std::exit(7);
        });
        positive(0);
    };
    EXPECT_EXIT(failWithHandler(), testing::ExitedWithCode(7), "number > 0, at file: ");
}

TEST(Texts, ComeFromTheFirstCatalogThatKnowsTheKey) {
    const auto text = [](const std::string& name, const std::string& keys) {
        std::string xml = "<messageCatalog name='" + name + "'>";
        for (const char key : keys)
            xml += std::string("<message key='%") + key + "'>" + name + "</message>";
        return xml + "</messageCatalog>";
    };
    const Catalogs catalogs(
        {text("storelink1", "ABC"), text("viewpoint", "AB"), text("slicer2", "A")});
    EXPECT_EQ(lanefeed_1::getString("%A"), "slicer2");
    EXPECT_EQ(lanefeed_1::getString("%B"), "viewpoint");
    EXPECT_EQ(lanefeed_1::getString("%C"), "storelink1");
    EXPECT_EQ(lanefeed_1::getString("%D"), "%D");
    settingstore2::setMessageCatalogSource(nullptr);
    EXPECT_EQ(lanefeed_1::getString("%A"), "%A");
}

std::string profiled;
lanefeed_1::ProfilingDomain profilerDomain;

TEST(TraceScope, TellsTheHooksOnlyWhenAllAreThereAndTheDomainIsEnabled) {
    using lanefeed_1::ProfilingDomain;
    using lanefeed_1::trace_event_scope;
    lanefeed_1::ProfilingHooks hooks;
    hooks.createDomain = [](const char* name) {
        profiled += std::string(name) + ": ";
        return &profilerDomain;
    };
    hooks.createStringHandle = [](const char* name) -> const void* { return name; };
    hooks.beginTask = [](ProfilingDomain*, const void* name) {
        profiled += static_cast<const char*>(name);
    };
    lanefeed_1::setProfilingHooks(hooks);
    { const trace_event_scope scope("one hook missing"); }
    hooks.endTask = [](ProfilingDomain*) { profiled += " end "; };
    lanefeed_1::setProfilingHooks(hooks);
    { const trace_event_scope scope("disabled"); }
    profilerDomain.enabled = true;
    {
        const trace_event_scope outer("outer ");
        const trace_event_scope inner("inner");
        // Hooks are those of the beginning.
        lanefeed_1::setProfilingHooks({});
    }
    lanefeed_1::setProfilingHooks(hooks);
    {
        const trace_event_scope scope("disabled inside");
        profilerDomain.enabled = false;
    }
    lanefeed_1::setProfilingHooks({});
    EXPECT_EQ(profiled, "morlo: outer inner end  end disabled inside");
}

}  // namespace
}  // namespace lanefeed_test
