// Bags in memory and as XML: types of attributes, round trips, errors with their places.
#include "support/random_seed.h"
#include "support/temp_directory.h"

#include <basekit2/variant_bag.h>

#include <gtest/gtest.h>

#include <cmath>
#include <filesystem>
#include <fstream>
#include <random>

namespace {

using basekit2::is_success;
using basekit2::variant_bag_t;
using basekit2::variant_t;

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

std::string loaded(const std::string& xml, const std::string& root = "v") {
    variant_bag_t bag("old");
    const basekit2::error_code_t err = load_variant_bag_from_string2(bag, xml, root);
    if (is_success(err)) return shown(bag);
    EXPECT_EQ(shown(bag), "old{}") << "a failed load changed the bag";
    return err.expression();
}

TEST(BagXml, TypesWhatIsMarkedAndTellsThePlaceOfErrors) {
    const std::pair<const char*, const char*> rows[] = {
        {"<v a='true' b='false' c='True' d='5' e='#ff00ff'/>",
         "v{a:0=true;b:0=false;c:12=True;d:12=5;e:12=#ff00ff;}"},
        {"<v int:a='-3' double:b='0.5' text:c='true' uint64:d='9'/>",
         "v{a:6=-3;b:11=0.5;c:12=true;d:9=9;}"},
        {"<v xsi:type='q'/>", "v{xsi:type:12=q;}"},
        {"<v><dbPath>\n  dd_band <!-- c -->\n</dbPath><e/></v>", "v{dbPath{#text:12=dd_band;}e{}}"},
        {"<v a='&lt;'><!-- b='<' --><![CDATA[ a & b='<' ]]></v>",
         "v{a:12=<;#text:12= a & b='<' ;}"},
        {"<v>\n  <a></b>\n</v>", "2:8: Start-end tags mismatch"},
        {"\n<w/>", "2:2: the root element is \"w\", not \"v\""},
        {"<v/><v/>", "1:6: a second root element"},
        {"<v>\n<a int:id='x'/></v>", "2:2: attribute \"id\": \"x\" is no value of type int"},
        {"<v int:id='3000000000'/>",
         "1:2: attribute \"id\": \"3000000000\" is no value of type int"},
        {"<v>\n<a b='x<y'/></v>", "2:8: \"<\" in the value of an attribute; write &lt; instead"}};
    for (const auto& [xml, expected] : rows)
        EXPECT_EQ(loaded(xml), expected);
    for (const char* broken : {"", "plain text", "<v", "<v a=1/>"})
        EXPECT_NE(loaded(broken).substr(0, 2), "v{") << broken;
    std::string deep;
    for (int i = 0; i < 100000; ++i)
        deep += "<v>";
    for (int i = 0; i < 100000; ++i)
        deep += "</v>";
    EXPECT_NE(loaded(deep).find("nested too deeply"), std::string::npos);
}

TEST(BagXml, ReadsWhatItWrote) {
    std::mt19937 random(lanefeed_test::randomSeed());
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

TEST(BagXml, ReplacesAFileOnlyByAWholeOneAndNamesItInErrors) {
    const lanefeed_test::TempDirectory folder;
    const std::string name = folder.file("dump.xml");
    const std::string place = folder.file("folder");
    std::filesystem::create_directories(place);
    variant_bag_t bag;
    bag.add("a", 1);
    for (int again = 0; again < 2; ++again)
        EXPECT_EQ(save_variant_bag2(bag, name, "bag").expression(), "");
    EXPECT_EQ(save_variant_bag2(bag, place, "bag").expression().find(place + ": "), 0U);
    bag.add("no name", 1);
    EXPECT_FALSE(save_variant_bag2(bag, name, "bag").succeeded());
    EXPECT_EQ(folder.names().size(), 2U) << "a temporary file was left behind";
    variant_bag_t read;
    const auto load = [&](const std::string& file) {
        return load_variant_bag2(read, file, "bag").expression();
    };
    EXPECT_EQ(load(name), "");
    EXPECT_EQ(shown(read), "bag{a:6=1;}");
    std::ofstream(name) << "<bag>\n<a/>\n<b>\n</bag>";
    EXPECT_EQ(load(name).rfind(name + ":4:", 0), 0U);
    EXPECT_EQ(load(folder.file("none")), folder.file("none") + ": No such file or directory");
}

}  // namespace
