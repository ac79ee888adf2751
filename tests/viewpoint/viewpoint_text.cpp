// Viewpoints from a few lines of text, and what becomes of them as text.

#include "viewpoint_text.h"

namespace lanefeed_1::fakes {

namespace {

std::string onOneLine(const std::string& text) {
    std::string line;
    for (const char c : text)
        line += c == '\n' ? std::string("\\n") : std::string(1, c);
    return line + "\n";
}

}  // namespace

std::string HostParser::getString(const std::string& key,
                                  const platkit_2_18::generic::varg_list& args) {
    EXPECT_EQ(args.size(), 0U);
    return "[" + key + "]";
}

basekit2::variant_bag_t element(const std::string& xml) {
    basekit2::variant_bag_t bag;
    const std::string root = xml.substr(1, xml.find_first_of(" />") - 1);
    EXPECT_TRUE(is_success(load_variant_bag_from_string2(bag, xml, root))) << xml;
    return bag;
}

void ViewpointTest::parse(const std::string& inside) {
    m_parser.parseViewpoint(element("<viewpoint>" + inside + "</viewpoint>"), m_library,
                            m_messenger.get(), m_result, m_logger);
}

TLViewpointParser::LayerInfo& ViewpointTest::parseOneLayer(const std::string& attributes,
                                                           const std::string& inside) {
    parse("<area><rowSet><layer " + attributes + ">" + inside + "</layer></rowSet></area>");
    return firstLayer();
}

TLViewpointParser::LayerInfo& ViewpointTest::firstLayer() {
    return m_parser.m_areas.at(0).rowSets.at(0).layers.at(0);
}

std::string ViewpointTest::messages() const {
    std::string text;
    for (const std::string& message : m_logger->globalMessages)
        text += "global: " + onOneLine(message);
    for (const auto& [area, list] : m_logger->areaMessages)
        for (const std::string& message : list)
            text += "area " + std::to_string(area) + ": " + onOneLine(message);
    for (const auto& [area, layers] : m_logger->layerMessages)
        for (const auto& [layer, list] : layers)
            for (const std::string& message : list)
                text += "layer " + std::to_string(area) + "/" + std::to_string(layer) + ": " +
                        onOneLine(message);
    return text;
}

}  // namespace lanefeed_1::fakes
