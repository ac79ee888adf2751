// Styles of values: how they are read, what is said of errors, and what mappers of a result answer.
#include "library_text.h"
#include "queries/value_mappers.h"
#include "support/trace_text.h"

#include <dataface_1/style.h>
#include <facekit_1_x/conversions.h>

#include <gmock/gmock.h>

namespace lanefeed_test {
namespace {

using basekit2::error_code_t;
using basekit2::sptr_t;
using basekit2::variant_t;
using dataface_1::IManipulatorMapper;
using lanefeed_runtime::fitsPattern;
using lanefeed_runtime::ValueStyles;
using ::testing::ElementsAre;
using ::testing::StartsWith;

const char* const kCategory =
    "<infoQuery id='category'><dbPath>slice_data::dd_category</dbPath>"
    "<displayDbPathSuffix>name</displayDbPathSuffix></infoQuery>\n"
    "<infoQuery id='asyncCategory'><dbPath>async_data::dd_category</dbPath>"
    "<displayDbPathSuffix>name</displayDbPathSuffix></infoQuery>\n"
    "<infoQuery id='name'><dbPath>slice_data::dd_task</dbPath>"
    "<displayDbPathSuffix>name</displayDbPathSuffix></infoQuery>\n"
    "<infoQuery id='number'><dbPath>counter_data::value</dbPath></infoQuery>\n"
    "<timeQuery id='busy'><dbPath>slice_data</dbPath></timeQuery>\n";

TEST(ValueStyles, PatternsStandForTexts) {
    EXPECT_TRUE(fitsPattern("V8.GCScavenger", "v8.gc*"));
    EXPECT_TRUE(fitsPattern("aXbXXc", "*x*xc"));
    EXPECT_TRUE(fitsPattern("", "*"));
    EXPECT_TRUE(fitsPattern("", ""));
    EXPECT_TRUE(fitsPattern("a*b", "a\\*b"));
    EXPECT_TRUE(fitsPattern("wörk\\", "w*k\\"));
    EXPECT_FALSE(fitsPattern("aab", "a\\*b"));
    EXPECT_FALSE(fitsPattern("gcc", "gc"));
    EXPECT_FALSE(fitsPattern("gc", "gc?"));
    EXPECT_FALSE(fitsPattern("abc", "*b"));
    // Backtracking stays at one star.
    EXPECT_FALSE(fitsPattern(std::string(20000, 'a'), "*a*a*a*a*a*a*b"));
}

TEST(ValueStyles, BelongToTheLastTableOfAPath) {
    const LibraryText loaded =
        loadLibrary({"<infoQuery id='process'><dbPath>dd_band::dd_thread.dd_process</dbPath>"
                     "<displayDbPathSuffix>name</displayDbPathSuffix></infoQuery>"});
    const auto query = dataface_1::IInfoQuery::cast(loaded.find("process"));
    ASSERT_FALSE(query.is_null());
    EXPECT_EQ(lanefeed_runtime::attributeOf(*query), "dd_process.name");
}

TEST(ValueStyles, ErrorsNameTheirPlace) {
    const auto errorOf = [](const std::string& styles) {
        const LibraryText loaded = loadLibrary({kCategory + styles});
        return loaded.errors.size() == 1 ? loaded.errors[0] : "no single error";
    };
    const std::string place = "a.xml:6: valueStyles \"category\": ";
    const auto errorIn = [&](const std::string& inside) {
        const std::string error =
            errorOf("<valueStyles query='category'>" + inside + "</valueStyles>");
        EXPECT_THAT(error, StartsWith(place));
        return error.substr(std::min(place.size(), error.size()));
    };
    EXPECT_EQ(errorIn(""), "it has no <style>");
    EXPECT_EQ(errorIn("<style value='a'/>"), "style 1: it needs a color");
    EXPECT_EQ(errorIn("<style color='1,2,3'/>"), "style 1: it needs a value or a pattern");
    EXPECT_EQ(errorIn("<style value='a' pattern='b' color='1,2,3'/>"),
              "style 1: it has a value and a pattern; keep one of them");
    EXPECT_EQ(errorIn("<style value='a' color='1,2,3'/><style value='a' color='1,2,3'/>"),
              "style 2: \"a\" stands above already");
    EXPECT_THAT(errorIn("<style value='a' colour='1,2,3'/>"),
                StartsWith("style 1: unknown attribute"));
    EXPECT_THAT(errorIn("<stile/>"), StartsWith("style 1: <stile>"));
    EXPECT_THAT(errorIn("<style value='a' color='1,2,3' hatch='-1'/>"),
                StartsWith("style 1: hatch"));
    for (const char* color : {"red", "1,2", "1,2,256", "1,2,3,4", "1,2,", "0x123456", "0x1122334g"})
        EXPECT_EQ(errorIn(std::string("<style value='a' color='") + color + "'/>"),
                  std::string("style 1: color is \"") + color +
                      "\"; write red,green,blue from 0 to 255, or 0xAARRGGBB");
    const std::string style = "<style value='a' color='1,2,3'/></valueStyles>";
    EXPECT_THAT(errorOf("<valueStyles query='gone'>" + style),
                StartsWith("a.xml:6: valueStyles \"gone\": names no query"));
    for (const char* query : {"busy", "number"})
        EXPECT_THAT(errorOf(std::string("<valueStyles query='") + query + "'>" + style),
                    ::testing::HasSubstr("shows no attribute"));
}

// A result with the categories gc, io and "", and mappers of two documents.
class ValueMappers : public ::testing::Test {
protected:
    ValueMappers() {
        std::vector<lanefeed_runtime::DefinitionText> texts = {
            {"a.xml", std::string("<queryLibrary>") + kCategory +
                          "<valueStyles query='category'>"
                          "<style value='gc' color='1,2,3' hatch='2' name='GC' description='d'/>"
                          "<style value='' color='9,9,9'/>"
                          "<style pattern='*o' color='0x80FF0000'/></valueStyles></queryLibrary>"},
            {"b.xml",
             "<queryLibrary><valueStyles query='asyncCategory'>"
             "<style value='io' color='0,0,7'/></valueStyles></queryLibrary>"}};
        ValueStyles styles;
        m_loaded.library = lanefeed_runtime::loadQueryLibrary(texts, {}, m_loaded.errors, &styles);
        m_factory =
            lanefeed_runtime::makeMapperFactory(std::move(styles), m_result.store().database);
    }
    sptr_t<IManipulatorMapper> mapper(const char* id) {
        sptr_t<IManipulatorMapper> made;
        m_factory->createMapper(dataface_1::IVectorQuery::pushBack(nullptr, m_loaded.find(id)),
                                made);
        return made;
    }
    // Row id of a category.
    int idOf(const std::string& name) {
        const auto query = m_result.database().createQuery("dd_category", 2);
        query->addColumn("rowid");
        query->addCondition("name", 1, name);
        const auto rows = query->execute();
        return rows->atEnd() ? -1 : rows->current()->getField(0).get<int>();
    }
    // "red,green,blue,alpha"; "none" for noResult.
    static std::string color(IManipulatorMapper& mapper, int id) {
        variant_t value;
        if (!basekit2::is_success(mapper.map(id, value, IManipulatorMapper::modeColor)))
            return "none";
        dataface_1::color_t bytes;
        EXPECT_TRUE(facekit_1_x::unpackColor(value, bytes));
        std::string text;
        for (const int byte : {bytes.red, bytes.green, bytes.blue, bytes.alpha})
            text += (text.empty() ? "" : ",") + std::to_string(byte);
        return text;
    }

    TextResult m_result{"thread main 0..9 a@gc 9..20 b@io 20..30 c@other 30..40 d@Zoo"};
    LibraryText m_loaded;
    sptr_t<dataface_1::IManipulatorMapperFactory> m_factory;
};

TEST_F(ValueMappers, ColourTheValuesOfAnAttributeWhicheverQueryReadsIt) {
    ASSERT_THAT(m_loaded.errors, ElementsAre());
    for (const char* query : {"category", "asyncCategory"}) {
        const auto mapper = this->mapper(query);
        ASSERT_FALSE(mapper.is_null());
        EXPECT_EQ(color(*mapper, idOf("gc")), "1,2,3,255");
        // The later document goes before the pattern of the earlier one.
        EXPECT_EQ(color(*mapper, idOf("io")), "0,0,7,255");
        EXPECT_EQ(color(*mapper, idOf("Zoo")), "255,0,0,128");
        for (const int id : {idOf("other"), -1, 0, 999})
            EXPECT_EQ(color(*mapper, id), "none");
    }
}

TEST_F(ValueMappers, GiveStyleObjects) {
    const auto mapper = this->mapper("category");
    variant_t value;
    ASSERT_TRUE(
        basekit2::is_success(mapper->map(idOf("gc"), value, IManipulatorMapper::modeStyle)));
    EXPECT_EQ(value.get_object_type(), basekit2::type_id_t<dataface_1::IStyle>::id());
    const auto object = value.get<sptr_t<basekit2::object_interface_t>>();
    auto* style = dynamic_cast<dataface_1::IStyle*>(object.get());
    ASSERT_NE(style, nullptr);
    basekit2::generic_iterator_t<dataface_1::fill_style_t> fills;
    style->getFillStyles(fills);
    const dataface_1::fill_style_t fill = fills.current();
    EXPECT_EQ(fill.color, (dataface_1::color_t{1, 2, 3, 255}));
    EXPECT_EQ(fill.hatch, 2);
    EXPECT_EQ(fill.name + fill.description, "GCd");
    variant_t again;
    mapper->map(idOf("gc"), again, IManipulatorMapper::modeStyle);
    EXPECT_EQ(value, again) << "equal values share a style";
    EXPECT_EQ(mapper->map(idOf("gc"), value, 3).value(), error_code_t::failure);
}

TEST_F(ValueMappers, MapNothingForAttributesWithoutStyles) {
    const auto mapper = this->mapper("name");
    ASSERT_FALSE(mapper.is_null()) << "its values take automatic colours";
    EXPECT_EQ(color(*mapper, 1), "none");
    sptr_t<IManipulatorMapper> none;
    for (const auto& queries : {sptr_t<dataface_1::IVectorQuery>(),
                                dataface_1::IVectorQuery::pushBack(nullptr, m_loaded.find("busy"))})
        EXPECT_EQ(m_factory->createMapper(queries, none).value(), error_code_t::noResult);
    EXPECT_TRUE(none.is_null());
}

}  // namespace
}  // namespace lanefeed_test
