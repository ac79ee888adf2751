// The definitions, viewpoints and texts that come with the runtime fit each other. That layers find
// their tables, columns and tooltips is seen by tests/agreement/shipped_viewpoints_test.cpp.
#include "library_text.h"
#include "messages/message_catalogs.h"
#include "queries/query_listing.h"
#include "session/shipped_viewpoints.h"

#include <settingstore2/message_catalogs.h>

#include <gmock/gmock.h>

#include <functional>
#include <set>

namespace lanefeed_test {
namespace {

using basekit2::sptr_t;
using basekit2::variant_bag_t;
using dataface_1::IQuery;
using ::testing::ElementsAre;

// Visits the elements of a bag and those of all shipped viewpoints.
void visit(const variant_bag_t& bag, const std::function<void(const variant_bag_t&)>& visitor) {
    visitor(bag);
    for (auto it = bag.begin<variant_bag_t>(); !it.at_end(); it.next())
        visit(it.get_value(), visitor);
}
void visitShipped(const std::function<void(const variant_bag_t&)>& visitor) {
    for (const std::string& name : lanefeed_runtime::shippedViewpointNames()) {
        variant_bag_t bag;
        std::string error;
        EXPECT_TRUE(lanefeed_runtime::readViewpoint(lanefeed_runtime::shippedViewpointText(name),
                                                    bag, error))
            << name << ": " << error;
        visit(bag, visitor);
    }
}

// A query, its chain, and what is behind the members of a derived one.
void addShown(const sptr_t<IQuery>& query, std::vector<sptr_t<IQuery>>& shown) {
    for (sptr_t<IQuery> link = query; !link.is_null(); link = link->getExpansionQuery()) {
        shown.push_back(link);
        const auto derived = dataface_1::IDerivedQuery::cast(link);
        if (derived.is_null()) continue;
        for (auto it = derived->getQueries(0); !it.at_end(); it.next())
            addShown(it.current(), shown);
    }
}

TEST(Shipped, DefinitionsViewpointsAndTextsFitEachOther) {
    const auto definitions = lanefeed_runtime::shippedDefinitions();
    std::vector<std::string> errors;
    const auto library = lanefeed_runtime::loadQueryLibrary(definitions, {}, errors);
    const auto listings = lanefeed_runtime::listQueries(definitions, errors);
    EXPECT_THAT(errors, ElementsAre());
    std::set<std::string> listed;
    for (const lanefeed_runtime::QueryListing& listing : listings) {
        listed.insert({listing.id, listing.id + " " + listing.kind + " " + listing.table +
                                       "::" + listing.path});
        EXPECT_FALSE(listing.help.empty()) << listing.id;
        EXPECT_EQ(listing.help.find('\n'), std::string::npos) << listing.id;
    }
    EXPECT_EQ(listed.count("process infoQuery dd_band::dd_thread.dd_process.label"), 1U);
    EXPECT_EQ(listed.count("timeByName timeQuery slice_data::"), 1U);

    EXPECT_THAT(lanefeed_runtime::shippedViewpointNames(),
                ElementsAre("asynchronous", "counters", "processes", "scheduler",
                            "scheduler_processes", "trace_events"));
    std::vector<sptr_t<IQuery>> shown;
    std::set<std::string> captions;
    visitShipped([&](const variant_bag_t& bag) {
        for (auto it = bag.begin<basekit2::variant_t>(); !it.at_end(); it.next())
            captions.insert(it.get_value().get<std::string>());
        if (bag.get<basekit2::variant_t>("query") == nullptr) return;
        const auto resolved = library->resolveQuery(bag, nullptr);
        ASSERT_NE(resolved, nullptr) << "<" << bag.get_name() << ">";
        for (auto it = resolved->getQueries(); !it.at_end(); it.next())
            addShown(it.current(), shown);
    });
    for (const sptr_t<IQuery>& query : shown) {
        EXPECT_EQ(listed.count(query->getId()), 1U) << query->getId();
        captions.insert(query->getName());
    }
    const auto catalogs = lanefeed_runtime::shippedCatalogs();
    for (const std::string& key : captions) {
        bool found = key.rfind('%', 0) != 0;
        for (const char* catalog : {"slicer2", "viewpoint", "storelink1"})
            found = found || catalogs->getCatalog(catalog)->has_message(key);
        EXPECT_TRUE(found) << key;
    }
}

TEST(Shipped, ViewpointThatIsNoneIsToldWithItsPlace) {
    variant_bag_t bag;
    std::string error;
    EXPECT_FALSE(lanefeed_runtime::readViewpoint("<viewpoint>\n<area", bag, error));
    EXPECT_EQ(error.find("2:"), 0U) << error;
    EXPECT_FALSE(lanefeed_runtime::readViewpoint("<areas/>", bag, error));
    EXPECT_EQ(lanefeed_runtime::shippedViewpointText("nobody"), "");
    EXPECT_EQ(lanefeed_runtime::fittingViewpoint(nullptr), "");
}

}  // namespace
}  // namespace lanefeed_test
