// Queries that the provider makes.

#include "provider_fixture.h"

namespace lanefeed_test {
namespace {

using lanefeed_1::BaseProviderImpl;
using Queries = ProviderTest;

TEST_F(Queries, OfANameAreMadeOncePerIdByTheLibrary) {
    const auto isMade = [this] { return !m_provider->createNameQuery("name", "").is_null(); };
    expectFailure("qLibrary", isMade);
    bind();
    m_library->refuses = true;
    expectFailure("bRet", isMade);
    EXPECT_EQ(m_log.entries().size(), 1U) << "each failure is reported once";
    m_library->refuses = false;
    m_library->created.clear();
    EXPECT_TRUE(isMade()) << "failures are forgotten";
    const auto start = m_provider->createNameQuery("startTime", "tsc");
    ASSERT_FALSE(start.is_null());
    EXPECT_EQ(start->getId() + " " + start->getName(), "timelineNameQuery_startTime_tsc startTime");
    EXPECT_EQ(m_provider->createNameQuery("startTime", "tsc"), start);
    const auto* type = m_library->created.at(1).get<basekit2::variant_bag_t>("valueType");
    ASSERT_NE(type, nullptr);
    EXPECT_EQ(type->get<basekit2::variant_t>("#text")->get<std::string>(), "tsc");
}

TEST_F(Queries, OfInfoAreTakenFromTextsOrAPathOfTwoParts) {
    bind();
    const auto made =
        m_provider->createInfoQuery("the id", "Shown", "dd_band", "dd_thread", "name");
    ASSERT_FALSE(made.is_null());
    EXPECT_EQ(made->getId() + "," + made->getName(), "the id,Shown");
    EXPECT_EQ(BaseProviderImpl::getPath(made) + "|" + BaseProviderImpl::getPathSuffix(made),
              "dd_band::dd_thread|name");
    const auto query = m_provider->createInfoQuery("slice_data::dd_task.name");
    ASSERT_FALSE(query.is_null());
    EXPECT_EQ(query->getId(), "internal");
    EXPECT_EQ(BaseProviderImpl::getPath(query), "slice_data::dd_task.name");
    EXPECT_TRUE(m_log.empty());
    const auto refused = [this](const std::string& path, const char* text) {
        expectFailure(text, [&] { return !m_provider->createInfoQuery(path).is_null(); });
    };
    refused("slice_data", "parts.size() == 2");
    refused("a::", "!parts[0].empty() && !parts[1].empty()");
    EXPECT_TRUE(m_provider->createInfoQuery("a", "<", "t", "p", "").is_null());
    EXPECT_TRUE(m_log.contains("bk2::is_success(err)"));
}

}  // namespace
}  // namespace lanefeed_test
