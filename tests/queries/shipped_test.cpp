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
                ElementsAre("asynchronous", "counters", "processes", "scheduler",
                            "scheduler_processes", "trace_events"));
    for (const sptr_t<IQuery>& query : shownQueries())
        EXPECT_FALSE(IInfoQuery::cast(query).is_null() && IDataQuery::cast(query).is_null() &&
                     IDerivedQuery::cast(query).is_null())
            << query->getId();
}

std::string joined(const std::string& path, const std::string& column) {
    return column.empty() ? path : path + "." + column;
}

// The table that a part of a path leads to: a column, or the table that a column refers to.
const lanefeed_runtime::TableDef* referredTable(const lanefeed_runtime::TableDef& def,
                                                const std::string& part) {
    for (const lanefeed_runtime::ColumnDef& column : def.columns)
        if (column.name == part || column.references == part)
            return lanefeed_runtime::findTable(column.references);
    return nullptr;
}

// Every part of a path but the last refers to a table; the last may be a column of any kind.
void expectPath(const lanefeed_runtime::TableDef& from,
                const std::string& path,
                const std::string& id) {
    const std::size_t dot = path.find('.');
    const std::string part = path.substr(0, dot);
    const lanefeed_runtime::TableDef* next = referredTable(from, part);
    const bool isColumn = lanefeed_runtime::columnIndex(from, part) >= 0;
    EXPECT_TRUE(next != nullptr || (isColumn && dot == std::string::npos)) << id << ": " << path;
    if (next != nullptr && dot != std::string::npos) expectPath(*next, path.substr(dot + 1), id);
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

std::string textOf(const variant_bag_t& bag, const std::string& name) {
    const auto* value = bag.get<basekit2::variant_t>(name);
    return value == nullptr ? std::string() : value->get<std::string>();
}

std::vector<sptr_t<IInfoQuery>> infosOf(const LibraryText& loaded,
                                        const variant_bag_t& layer,
                                        const std::string& element) {
    std::vector<sptr_t<IInfoQuery>> infos;
    const auto* bag = layer.get<variant_bag_t>(element);
    if (bag == nullptr) return infos;
    for (auto it = loaded.library->resolveQuery(*bag, nullptr)->getQueries(); !it.at_end();
         it.next())
        infos.push_back(IInfoQuery::cast(it.current()));
    return infos;
}

// Bars, markers and lines are read by an attribute of their instances. All that is known of one is
// the id of its value; so tooltips go from there, and colours come from the same table.
TEST(Shipped, BarsMarkersAndLinesAreToldByTheirValue) {
    const std::set<std::string> kinds{"RowInterval", "RowIntervalNested", "EventMarker",
                                      "Transition"};
    const LibraryText loaded = shippedLibrary();
    std::set<std::string> seen;
    for (const std::string& name : lanefeed_runtime::shippedViewpointNames())
        visit(shippedViewpoint(name), [&](const variant_bag_t& layer) {
            if (layer.get_name() != "layer" || kinds.count(textOf(layer, "type")) == 0) return;
            seen.insert(textOf(layer, "type"));
            const std::string place = name + ", layer " + textOf(layer, "displayName");
            const auto drawn = infosOf(loaded, layer, "drawBy");
            ASSERT_EQ(drawn.size(), 1U) << place;
            ASSERT_NE(drawn[0], nullptr) << place << " draws by no attribute";
            const std::string leaf = drawn[0]->getAttributeTable();
            const auto* table = lanefeed_runtime::findTable(drawn[0]->getInstanceTable());
            ASSERT_NE(table, nullptr) << place;
            EXPECT_EQ(lanefeed_runtime::columnIndex(*table, "multi_band_index") >= 0,
                      textOf(layer, "type") == "Transition")
                << place;
            const int attr = lanefeed_runtime::columnIndex(*table, "attr");
            EXPECT_EQ(table->columns.at(static_cast<std::size_t>(attr)).references, leaf) << place;
            EXPECT_FALSE(drawn[0]->getAttributeName().empty()) << place << " has no names";
            const auto tooltips = infosOf(loaded, layer, "tooltipBy");
            EXPECT_FALSE(tooltips.empty()) << place;
            for (const sptr_t<IInfoQuery>& line : tooltips) {
                EXPECT_EQ(line->getDisplayText().substr(0, leaf.size()), leaf)
                    << place << ", " << line->getId();
                EXPECT_EQ(line->getAttributeTable(), leaf)
                    << place << " hides without " << line->getAttributeTable();
            }
            for (const sptr_t<IInfoQuery>& color : infosOf(loaded, layer, "colorBy"))
                EXPECT_EQ(color->getInstanceTable(), drawn[0]->getInstanceTable()) << place;
        });
    EXPECT_EQ(seen, kinds);
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
