#include "common/tablepath.h"
#include "provider_fixture.h"

#include <facekit_1_x/table_building.h>

namespace lanefeed_test {
namespace {

using lanefeed_1::BaseProviderImpl;
using Queries = ProviderTest;

TEST_F(Queries, MakesANameQueryOncePerIdAndAsksTheLibraryFirst) {
    bind();
    const auto bin = m_provider->createNameQuery("timeBin", "");
    ASSERT_FALSE(bin.is_null());
    EXPECT_EQ(bin->getId(), "timelineNameQuery_timeBin");
    EXPECT_EQ(bin->getName(), "timeBin");
    EXPECT_EQ(m_provider->createNameQuery("timeBin", ""), bin);
    EXPECT_EQ(m_library->created.size(), 1U);
    EXPECT_EQ(m_library->created[0].get<basekit2::variant_bag_t>("valueType"), nullptr);

    const auto start = m_provider->createNameQuery("startTime", "tsc");
    EXPECT_EQ(start->getId(), "timelineNameQuery_startTime_tsc");
    ASSERT_EQ(m_library->created.size(), 2U);
    const auto* type = m_library->created[1].get<basekit2::variant_bag_t>("valueType");
    ASSERT_NE(type, nullptr);
    EXPECT_EQ(type->get<basekit2::variant_t>("#text")->get<std::string>(), "tsc");

    QueryFacts facts;
    facts.id = "timelineNameQuery_depth";
    const auto known = infoQuery(facts);
    m_library->known["timelineNameQuery_depth"] = known;
    EXPECT_EQ(m_provider->createNameQuery("depth", ""), known);
    EXPECT_EQ(m_library->created.size(), 2U);
    EXPECT_TRUE(m_log.empty());
}

TEST_F(Queries, ForgetsANameQueryThatFailed) {
    EXPECT_TRUE(m_provider->createNameQuery("name", "").is_null());
    EXPECT_TRUE(m_log.contains("qLibrary"));
    bind();
    m_library->refuses = true;
    EXPECT_TRUE(m_provider->createNameQuery("name", "").is_null());
    EXPECT_TRUE(m_log.contains("bRet"));
    EXPECT_EQ(m_log.entries().size(), 2U);  // each failure is reported once
    m_library->refuses = false;
    EXPECT_FALSE(m_provider->createNameQuery("name", "").is_null());
}

TEST_F(Queries, PutsTextsIntoAnInfoQueryAsTheyStand) {
    bind();
    const auto query =
        m_provider->createInfoQuery("the id", "Shown", "dd_band", "dd_thread", "name");
    ASSERT_FALSE(query.is_null());
    EXPECT_EQ(query->getId(), "the id");
    EXPECT_EQ(query->getName(), "Shown");
    EXPECT_EQ(query->getInstanceTable(), "dd_band");
    EXPECT_EQ(query->getAttributeTable(), "dd_thread");
    EXPECT_EQ(query->getAttributeName(), "name");
    EXPECT_TRUE(m_log.empty());
    EXPECT_TRUE(m_provider->createInfoQuery("a", "<", "t", "p", "").is_null());
    EXPECT_TRUE(m_log.contains("bk2::is_success(err)"));
}

TEST_F(Queries, TakesAPathOfExactlyTwoParts) {
    bind();
    const auto query = m_provider->createInfoQuery("slice_data::dd_task.name");
    ASSERT_FALSE(query.is_null());
    EXPECT_EQ(query->getId(), "internal");
    EXPECT_EQ(BaseProviderImpl::getPath(query), "slice_data::dd_task.name");
    EXPECT_TRUE(m_provider->createInfoQuery("slice_data").is_null());
    EXPECT_TRUE(m_provider->createInfoQuery("a::b::c").is_null());
    EXPECT_EQ(m_log.count("parts.size() == 2"), 2);
    EXPECT_TRUE(m_provider->createInfoQuery("a::").is_null());
    EXPECT_TRUE(m_log.contains("!parts[0].empty() && !parts[1].empty()"));
}

TEST_F(Queries, JoinsPathsOnlyWhereBothSidesAreThere) {
    lanefeed_1::DicerDataSource source;
    source.set("dd_thread", "", "name", "");
    EXPECT_EQ(BaseProviderImpl::getPath(&source), "dd_thread");
    EXPECT_EQ(m_provider->getAttrPath(&source), "dd_thread.name");
    source.set("", "slice_data", "name", "");
    EXPECT_EQ(BaseProviderImpl::getPath(&source), "slice_data");
    EXPECT_EQ(m_provider->getAttrPath(&source), "name");
    std::string path;
    lanefeed_1::concatPaths(path, "");
    lanefeed_1::concatPaths(path, "a");
    lanefeed_1::concatPaths(path, "");
    lanefeed_1::concatPaths(path, "b");
    EXPECT_EQ(path, "a.b");
    EXPECT_EQ(BaseProviderImpl::getPath(timeQuery()), "");
    EXPECT_EQ(BaseProviderImpl::getPathSuffix(timeQuery()), "");
    EXPECT_TRUE(m_log.empty());
    EXPECT_EQ(BaseProviderImpl::getPath(static_cast<lanefeed_1::DicerDataSource*>(nullptr)), "");
    EXPECT_TRUE(m_log.contains("dds"));
}

TEST_F(Queries, NamesColumnsByTheirFirstValueElseByTheirQuery) {
    const auto tree = facekit_1_x::createTableTree();
    const auto add = [&](const basekit2::sptr_t<dataface_1::IQuery>& query) {
        const auto column = facekit_1_x::createColumn(facekit_1_x::columnPlain, query, tree);
        tree->addColumn(column, nullptr, 0);
    };
    QueryFacts plain;
    plain.name = "plain";
    QueryFacts valued;
    valued.name = "valued";
    valued.values = {"first", "second"};
    add(nullptr);
    add(infoQuery(plain));
    add(dataface_1::IVectorQuery::pushBack(nullptr, infoQuery(valued)));
    const auto nameOf = [&](const char* name) {
        return BaseProviderImpl::getColumnName(BaseProviderImpl::getColumnByName(tree, name));
    };
    EXPECT_EQ(nameOf("plain"), "plain");
    EXPECT_EQ(nameOf("first"), "first");
    EXPECT_TRUE(BaseProviderImpl::getColumnByName(tree, "valued").is_null());
}

}  // namespace
}  // namespace lanefeed_test
