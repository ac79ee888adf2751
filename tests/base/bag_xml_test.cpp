// Bags in memory and as XML: types of attributes, round trips, errors with their places.
#include "support/temp_directory.h"

#include <basekit2/variant_bag.h>

#include <gtest/gtest.h>

#include <cmath>
#include <filesystem>
#include <fstream>
#include <random>

namespace {

using basekit2::error_code_t;
using basekit2::is_success;
using basekit2::load_variant_bag_from_string2;
using basekit2::variant_bag_t;
using basekit2::variant_t;
using lanefeed_test::TempDirectory;

// The whole of a bag with its types, for comparisons that print well.
std::string shown(const variant_bag_t& bag) {
    std::string text = bag.get_name() + "{";
    for (auto it = bag.begin<variant_t>(); !it.at_end(); it.next()) {
        variant_t value;
        print_variant(it.get_value(), value, true);
        text += it.get_name() + ":" + std::to_string(it.get_value().get_type()) + "=" +
                value.get<std::string>() + ";";
    }
    for (auto it = bag.begin<variant_bag_t>(); !it.at_end(); it.next())
        text += shown(it.get_value());
    return text + "}";
}

std::string loaded(const std::string& xml, const std::string& root) {
    variant_bag_t bag("old");
    const error_code_t err = load_variant_bag_from_string2(bag, xml, root);
    if (is_success(err)) return shown(bag);
    EXPECT_EQ(shown(bag), "old{}") << "a failed load changed the bag";
    return err.expression();
}

TEST(BagXml, TypesOnlyWhatIsMarked) {
    EXPECT_EQ(loaded("<v a='true' b='false' c='True' d='5' e='#ff00ff'/>", "v"),
              "v{a:0=true;b:0=false;c:12=True;d:12=5;e:12=#ff00ff;}");
    EXPECT_EQ(loaded("<v int:a='-3' double:b='0.5' text:c='true' uint64:d='9'/>", "v"),
              "v{a:6=-3;b:11=0.5;c:12=true;d:9=9;}");
    EXPECT_EQ(loaded("<v xsi:type='q'/>", "v"), "v{xsi:type:12=q;}");
    EXPECT_EQ(loaded("<v><dbPath>\n  dd_band <!-- c -->\n</dbPath><e/></v>", "v"),
              "v{dbPath{#text:12=dd_band;}e{}}");
    EXPECT_EQ(loaded("<v><![CDATA[ a & b ]]></v>", "v"), "v{#text:12= a & b ;}");
}

TEST(BagXml, ErrorsTellThePlaceAndTheReason) {
    EXPECT_EQ(loaded("<v>\n  <a></b>\n</v>", "v"), "2:8: Start-end tags mismatch");
    EXPECT_EQ(loaded("\n<w/>", "v"), "2:2: the root element is \"w\", not \"v\"");
    EXPECT_EQ(loaded("<v/><v/>", "v"), "1:6: a second root element");
    EXPECT_EQ(loaded("<v>\n<a int:id='x'/></v>", "v"),
              "2:2: attribute \"id\": \"x\" is no value of type int");
    EXPECT_NE(loaded("<v int:id='3000000000'/>", "v").find("no value of type int"),
              std::string::npos);
    EXPECT_EQ(loaded("<v>\n<a b='x<y'/></v>", "v"),
              "2:8: \"<\" in the value of an attribute; write &lt; instead");
    EXPECT_EQ(loaded("<v a='&lt;'><!-- b='<' --><![CDATA[b='<']]></v>", "v").substr(0, 2), "v{");
    for (const char* broken : {"", "plain text", "<v", "<v a=1/>", "<v a='&#0;'/"})
        EXPECT_NE(loaded(broken, "v").substr(0, 2), "v{") << broken;
    std::string deep;
    for (int i = 0; i < 100000; ++i)
        deep += "<v>";
    EXPECT_NE(loaded(deep, "v"), "");
    std::string closed = deep;
    for (int i = 0; i < 100000; ++i)
        closed += "</v>";
    EXPECT_NE(loaded(closed, "v").find("nested too deeply"), std::string::npos);
}

TEST(BagXml, ReadsWhatItWrote) {
    const unsigned seed = std::random_device()();
    SCOPED_TRACE("seed " + std::to_string(seed));
    std::mt19937 random(seed);
    const std::vector<std::string> texts = {
        "",  "true", " x ",  "a<b>&\"'c", "\t\n", "false",    "]]>", "\xC3\xA4",
        "5", "int:", "\x01", "line\nend", "x\ty", "<!-- -->", "%n"};
    const auto value = [&]() -> variant_t {
        switch (random() % 8) {
        case 0: return random() % 2 == 0;
        case 1: return static_cast<int>(random());
        case 2: return static_cast<basekit2::u64_t>(random()) << 32;
        case 3: return static_cast<double>(random()) / 7;
        case 4: return static_cast<float>(random()) / 3;
        case 5: return static_cast<basekit2::s8_t>(random());
        case 6: return std::nan("");
        default: return texts[random() % texts.size()];
        }
    };
    const std::vector<std::string> names = {"a", "b", "int:a", "text:b", "x:y", "_"};
    for (int round = 0; round < 200; ++round) {
        variant_bag_t bag("root");
        for (auto i = random() % 5; i > 0; --i)
            bag.add(names[random() % names.size()], value());
        variant_bag_t& child = bag.add("child", variant_bag_t());
        if (random() % 2 == 0) child.add("a", value());
        if (random() % 2 == 0) child.add("#text", texts[random() % texts.size()]);
        bag.add("child", variant_bag_t());
        std::string xml;
        ASSERT_TRUE(is_success(save_variant_bag_to_string2(bag, xml, "root")));
        ASSERT_EQ(loaded(xml, "root"), shown(bag)) << xml;
    }
}

TEST(BagXml, ReplacesAFileOnlyByAWholeOne) {
    const TempDirectory folder;
    const std::string name = folder.file("dump.xml");
    variant_bag_t bag;
    bag.add("a", 1);
    ASSERT_TRUE(is_success(save_variant_bag2(bag, name, "bag")));
    variant_bag_t bad;
    bad.add("no name", 1);
    EXPECT_FALSE(save_variant_bag2(bad, name, "bag").succeeded());
    variant_bag_t read;
    ASSERT_TRUE(is_success(load_variant_bag2(read, name, "bag")));
    EXPECT_EQ(shown(read), "bag{a:6=1;}");
    bag.add("b", 2);
    ASSERT_TRUE(is_success(save_variant_bag2(bag, name, "bag")));
    EXPECT_EQ(folder.names().size(), 1U) << "a temporary file was left behind";

    // A folder cannot be replaced by a file.
    std::filesystem::create_directories(folder.file("folder"));
    const error_code_t err = save_variant_bag2(bag, folder.file("folder"), "bag");
    EXPECT_NE(err.expression().find("folder: "), std::string::npos) << err.as_string(1);
    EXPECT_EQ(folder.names().size(), 2U);
}

TEST(BagXml, FileErrorsNameTheFile) {
    const TempDirectory folder;
    const std::string name = folder.file("broken.xml");
    std::ofstream(name) << "<v>\n<a/>\n<b>\n</v>";
    variant_bag_t bag;
    EXPECT_EQ(load_variant_bag2(bag, name, "v").expression().rfind(name + ":4:", 0), 0U);
    EXPECT_EQ(load_variant_bag2(bag, folder.file("none"), "v").expression(),
              folder.file("none") + ": No such file or directory");
    EXPECT_FALSE(load_variant_bag2(bag, folder.file(""), "v").succeeded());
}

}  // namespace
