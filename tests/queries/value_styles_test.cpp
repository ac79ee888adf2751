// Styles of values: how they are read, what is said of errors, and what mappers of a result answer.
#include "library_text.h"
#include "queries/value_mappers.h"
#include "support/trace_text.h"

#include <dataface_1/style.h>
#include <facekit_1_x/conversions.h>

#include <gmock/gmock.h>

#include <fmt/format.h>

namespace lanefeed_test {
namespace {

using basekit2::error_code_t;
using basekit2::sptr_t;
using basekit2::variant_t;
using dataface_1::IManipulatorMapper;
using ::testing::ElementsAre;
using ::testing::StartsWith;

const std::string kQueries =
    "<infoQuery id='category'><dbPath>slice_data::dd_category</dbPath>"
    "<displayDbPathSuffix>name</displayDbPathSuffix></infoQuery>\n"
    "<infoQuery id='asyncCategory'><dbPath>async_data::dd_category</dbPath>"
    "<displayDbPathSuffix>name</displayDbPathSuffix></infoQuery>\n"
    "<infoQuery id='name'><dbPath>slice_data::dd_task</dbPath>"
    "<displayDbPathSuffix>name</displayDbPathSuffix></infoQuery>\n"
    "<infoQuery id='number'><dbPath>counter_data::value</dbPath></infoQuery>\n"
    "<timeQuery id='busy'><dbPath>slice_data</dbPath></timeQuery>\n";

TEST(ValueStyles, PatternsStandForTexts) {
    const auto fits = [](const char* text, const char* pattern) {
        return lanefeed_runtime::fitsPattern(text, pattern);
    };
    EXPECT_TRUE(fits("V8.GCScavenger", "v8.gc*") && fits("aXbXXc", "*x*xc") && fits("", "*"));
    EXPECT_TRUE(fits("", "") && fits("a*b", "a\\*b") && fits("w\u00f6rk\\", "w*k\\"));
    EXPECT_FALSE(fits("aab", "a\\*b") || fits("gcc", "gc") || fits("gc", "gc?"));
    EXPECT_FALSE(fits("abc", "*b"));
    // Backtracking stays at one star.
    EXPECT_FALSE(fits(std::string(20000, 'a').c_str(), "*a*a*a*a*a*a*b"));
}

TEST(ValueStyles, ErrorsNameTheirPlace) {
    const auto expectError = [](const std::string& query, const std::string& inside,
                                const std::string& error) {
        EXPECT_THAT(loadLibrary({kQueries + "<valueStyles query='" + query + "'>" + inside +
                                 "</valueStyles>"})
                        .errors,
                    ElementsAre(StartsWith("a.xml:6: valueStyles \"" + query + "\": " + error)))
            << inside;
    };
    const std::string style = "<style value='a' color='1,2,3'/>";
    const std::pair<std::string, const char*> cases[] = {
        {"<style value='a'/>", "style 1: it needs a color"},
        {"<style value='a' pattern='b' color='1,2,3'/>",
         "style 1: it has a value and a pattern; keep one of them"},
        {style + style, "style 2: \"a\" stands above already"},
        {"<style value='a' color='1,2,3' hatch='-1'/>", "style 1: hatch"}};
    for (const auto& [inside, error] : cases)
        expectError("category", inside, error);
    for (const std::string color : {"1,2", "1,2,256", "1,2,3,4", "0x1122334g"})
        expectError("category", "<style value='a' color='" + color + "'/>",
                    "style 1: color is \"" + color +
                        "\"; write red,green,blue from 0 to 255, or 0xAARRGGBB");
    expectError("gone", style, "names no query");
    for (const char* query : {"busy", "number"})
        expectError(query, style, "its query shows no attribute");
}

// Mappers of two documents on a result whose categories are gc, io, other and Zoo, in this order.
class ValueMappers : public ::testing::Test {
protected:
    ValueMappers() {
        lanefeed_runtime::ValueStyles styles;
        m_loaded.library = lanefeed_runtime::loadQueryLibrary(
            {{"a.xml", "<queryLibrary>" + kQueries + R"(
                <valueStyles query='category'>
                  <style value='gc' color='1,2,3' hatch='2' name='GC' description='d'/>
                  <style value='' color='9,9,9'/><style pattern='*o' color='0x80FF0000'/>
                </valueStyles></queryLibrary>)"},
             {"b.xml",
              "<queryLibrary><valueStyles query='asyncCategory'>"
              "<style value='io' color='0,0,7'/></valueStyles></queryLibrary>"}},
            {}, m_loaded.errors, &styles);
        EXPECT_THAT(m_loaded.errors, ElementsAre());
        m_factory =
            lanefeed_runtime::makeMapperFactory(std::move(styles), m_result.store().database);
    }
    // Null with `noResult` for a query that has no values.
    sptr_t<IManipulatorMapper> mapper(const char* query) {
        sptr_t<IManipulatorMapper> made;
        const auto err = m_factory->createMapper(
            dataface_1::IVectorQuery::pushBack(nullptr, m_loaded.find(query)), made);
        EXPECT_EQ(err.value(), made.is_null() ? error_code_t::noResult : error_code_t::success);
        return made;
    }
    // "red,green,blue,alpha"; "none" for noResult.
    std::string color(const char* query, int id) {
        variant_t value;
        dataface_1::color_t c;
        const auto made = mapper(query);
        if (!is_success(made->map(id, value, IManipulatorMapper::modeColor))) return "none";
        EXPECT_TRUE(facekit_1_x::unpackColor(value, c));
        return fmt::format("{},{},{},{}", c.red, c.green, c.blue, c.alpha);
    }

    TextResult m_result{"thread main 0..9 a@gc 9..20 b@io 20..30 c@other 30..40 d@Zoo"};
    LibraryText m_loaded;
    sptr_t<dataface_1::IManipulatorMapperFactory> m_factory;
};

TEST_F(ValueMappers, ColourTheValuesOfAnAttributeWhicheverQueryReadsIt) {
    // The later document goes before the pattern of the earlier one.
    for (const char* query : {"category", "asyncCategory"}) {
        EXPECT_EQ(color(query, 1), "1,2,3,255");
        EXPECT_EQ(color(query, 2), "0,0,7,255");
        EXPECT_EQ(color(query, 4), "255,0,0,128");
        for (const int id : {3, -1, 0, 999})
            EXPECT_EQ(color(query, id), "none") << id;
    }
    EXPECT_EQ(color("name", 1), "none") << "without styles they take automatic colours";
    EXPECT_EQ(mapper("busy"), nullptr);
}

TEST_F(ValueMappers, GiveStyleObjects) {
    const auto mapper = this->mapper("category");
    variant_t value;
    ASSERT_TRUE(basekit2::is_success(mapper->map(1, value, IManipulatorMapper::modeStyle)));
    EXPECT_EQ(value.get_object_type(), basekit2::type_id_t<dataface_1::IStyle>::id());
    const auto object = value.get<sptr_t<basekit2::object_interface_t>>();
    basekit2::generic_iterator_t<dataface_1::fill_style_t> fills;
    dynamic_cast<dataface_1::IStyle&>(*object).getFillStyles(fills);
    const dataface_1::fill_style_t fill = fills.current();
    EXPECT_EQ(fill.color, (dataface_1::color_t{1, 2, 3, 255}));
    EXPECT_EQ(fill.hatch, 2);
    EXPECT_EQ(fill.name + fill.description, "GCd");
    EXPECT_EQ(mapper->map(1, value, 3).value(), error_code_t::failure);
}

}  // namespace
}  // namespace lanefeed_test
