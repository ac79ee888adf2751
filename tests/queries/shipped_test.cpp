// The definitions, viewpoints and texts that come with the runtime fit each other and the schema.
#include "library_text.h"
#include "messages/message_catalogs.h"
#include "queries/query_listing.h"
#include "session/shipped_viewpoints.h"
#include "store/schema.h"

#include <settingstore2/message_catalogs.h>

#include <gmock/gmock.h>

#include <algorithm>
#include <functional>
#include <set>

namespace lanefeed_test {
namespace {

using basekit2::sptr_t;
using basekit2::variant_bag_t;
using dataface_1::IDataQuery;
using dataface_1::IDerivedQuery;
using dataface_1::IInfoQuery;
using dataface_1::IQuery;
using ::testing::ElementsAre;

LibraryText shippedLibrary() {
    LibraryText loaded;
    loaded.library = lanefeed_runtime::loadQueryLibrary(lanefeed_runtime::shippedDefinitions(), {},
                                                        loaded.errors);
    return loaded;
}

variant_bag_t shippedViewpoint(const std::string& name) {
    variant_bag_t bag;
    std::string error;
    EXPECT_TRUE(
        lanefeed_runtime::readViewpoint(lanefeed_runtime::shippedViewpointText(name), bag, error))
        << name << ": " << error;
    return bag;
}

using Visitor = std::function<void(const variant_bag_t&)>;

void visit(const variant_bag_t& bag, const Visitor& visitor) {
    visitor(bag);
    for (auto it = bag.begin<variant_bag_t>(); !it.at_end(); it.next())
        visit(it.get_value(), visitor);
}

// A query, its chain, and what is behind the members of a derived one.
void addShown(const sptr_t<IQuery>& query, std::vector<sptr_t<IQuery>>& shown) {
    for (auto link = query; !link.is_null(); link = link->getExpansionQuery())
        shown.push_back(link);
    const auto derived = IDerivedQuery::cast(query);
    if (derived.is_null()) return;
    for (auto members = derived->getQueries(1); !members.at_end(); members.next())
        addShown(members.current(), shown);
}

// Every query that a shipped viewpoint shows, with all that is behind it.
std::vector<sptr_t<IQuery>> shownQueries() {
    const LibraryText loaded = shippedLibrary();
    std::vector<sptr_t<IQuery>> shown;
    for (const std::string& name : lanefeed_runtime::shippedViewpointNames())
        visit(shippedViewpoint(name), [&](const variant_bag_t& bag) {
            if (bag.get<basekit2::variant_t>("query") == nullptr) return;
            const auto resolved = loaded.library->resolveQuery(bag, nullptr);
            ASSERT_NE(resolved, nullptr) << name << ": <" << bag.get_name() << ">";
            for (auto it = resolved->getQueries(); !it.at_end(); it.next())
                addShown(it.current(), shown);
        });
    return shown;
}

TEST(Shipped, DefinitionsLoadWithoutAWord) {
    EXPECT_THAT(shippedLibrary().errors, ElementsAre());
}

TEST(Shipped, EveryDefinitionIsListedWithALineOfHelp) {
    std::vector<std::string> errors;
    const auto listings =
        lanefeed_runtime::listQueries(lanefeed_runtime::shippedDefinitions(), errors);
    std::set<std::string> listed;
    for (const lanefeed_runtime::QueryListing& listing : listings) {
        listed.insert(listing.id + " " + listing.kind + " " + listing.table + "::" + listing.path);
        EXPECT_FALSE(listing.help.empty()) << listing.id;
        EXPECT_EQ(listing.help.find('\n'), std::string::npos) << listing.id;
    }
    EXPECT_EQ(listed.count("process infoQuery dd_band::dd_thread.dd_process.label"), 1U);
    EXPECT_EQ(listed.count("timeByName timeQuery slice_data::"), 1U);
    for (const sptr_t<IQuery>& query : shownQueries())
        EXPECT_TRUE(std::any_of(listings.begin(), listings.end(), [&](const auto& l) {
            return l.id == query->getId();
        })) << query->getId();
}

TEST(Shipped, ViewpointsNameKnownQueries) {
    EXPECT_THAT(lanefeed_runtime::shippedViewpointNames(),
                ElementsAre("asynchronous", "counters", "processes", "trace_events"));
    for (const sptr_t<IQuery>& query : shownQueries())
        EXPECT_FALSE(IInfoQuery::cast(query).is_null() && IDataQuery::cast(query).is_null() &&
                     IDerivedQuery::cast(query).is_null())
            << query->getId();
}

// The columns of a table that hold a row of another table.
std::set<std::string> referredTables(const lanefeed_runtime::TableDef& def) {
    std::set<std::string> names;
    for (const lanefeed_runtime::ColumnDef& column : def.columns)
        names.insert(std::string(column.references));
    return names;
}

std::string joined(const std::string& path, const std::string& column) {
    return column.empty() ? path : path + "." + column;
}

// Every part of a path but the last refers to a table; the last may be a column of any kind.
void expectPath(const lanefeed_runtime::TableDef& from,
                const std::string& path,
                const std::string& id) {
    const std::size_t dot = path.find('.');
    const std::string part = path.substr(0, dot);
    const bool refers = referredTables(from).count(part) != 0;
    const bool isColumn = lanefeed_runtime::columnIndex(from, part) >= 0;
    EXPECT_TRUE(refers || (isColumn && dot == std::string::npos)) << id << ": " << path;
    if (refers && dot != std::string::npos)
        expectPath(*lanefeed_runtime::findTable(part), path.substr(dot + 1), id);
}

TEST(Shipped, QueriesNameTablesAndColumnsOfTheSchema) {
    for (const sptr_t<IQuery>& query : shownQueries()) {
        if (!IDerivedQuery::cast(query).is_null()) continue;  // its members name them
        const sptr_t<IInfoQuery> info = IInfoQuery::cast(query);
        const std::string table =
            info.is_null() ? IDataQuery::cast(query)->getInstanceTable() : info->getInstanceTable();
        const lanefeed_runtime::TableDef* def = lanefeed_runtime::findTable(table);
        ASSERT_NE(def, nullptr) << query->getId() << " reads " << table;
        if (info.is_null()) continue;
        expectPath(*def, joined(info->getAttributeTable(), info->getAttributeName()),
                   query->getId());
        const std::string display = joined(info->getDisplayText(), info->getAttributeName());
        const std::string first = display.substr(0, display.find('.'));
        if (first == display) continue;
        ASSERT_NE(lanefeed_runtime::findTable(first), nullptr) << query->getId();
        expectPath(*lanefeed_runtime::findTable(first), display.substr(first.size() + 1),
                   query->getId());
    }
}

TEST(Shipped, EveryCaptionHasItsText) {
    const auto source = lanefeed_runtime::shippedCatalogs();
    const auto expectText = [&](const std::string& key) {
        bool found = key.empty() || key.front() != '%';
        for (const char* catalog : {"slicer2", "viewpoint", "storelink1"})
            found = found || source->getCatalog(catalog)->has_message(key);
        EXPECT_TRUE(found) << key;
    };
    for (const sptr_t<IQuery>& query : shownQueries())
        expectText(query->getName());
    for (const std::string& name : lanefeed_runtime::shippedViewpointNames())
        visit(shippedViewpoint(name), [&](const variant_bag_t& bag) {
            for (auto it = bag.begin<basekit2::variant_t>(); !it.at_end(); it.next())
                expectText(it.get_value().get<std::string>());
        });
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
