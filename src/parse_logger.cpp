// Messages of one parse, by area and layer, their printing, and the texts that they are made of.
// Tested by tests/viewpoint/golden_test.cpp.

#include "parse_logger.h"

#include "common/check.h"
#include "common/valuekind.h"

#include <set>

namespace lanefeed_1 {

namespace {

constexpr int kRuler = -1;
constexpr int kNoArea = -2;
constexpr int kNoLayer = -1;

using Messages = std::vector<std::string>;

void printLine(const std::string& text) {
    if (isLogged(logInfo)) logText(logInfo, text, LF_HERE);
}

void printLines(const Messages& messages) {
    for (const std::string& message : messages)
        printLine(message);
}

std::string areaHeader(int area) {
    if (area == kRuler) return "\n\nRuler:\n\n";
    return "\n\nArea #" + std::to_string(area) + "\n\n";
}

void printLayers(const std::map<int, Messages>& layers) {
    for (const auto& [layer, messages] : layers) {
        printLine("Layer #" + std::to_string(layer));
        printLines(messages);
    }
}

template <class Value>
void collectKeys(const std::map<int, Value>& from, std::set<int>& keys) {
    for (const auto& entry : from)
        keys.insert(entry.first);
}

}  // namespace

void ParseLogger::addMessage(int area, int layer, const std::string& msg) {
    layerMessages[area][layer].push_back(msg);
}

void ParseLogger::addMessage(int area, const std::string& msg) {
    areaMessages[area].push_back(msg);
}

void ParseLogger::addMessage(const std::string& msg) {
    globalMessages.push_back(msg);
}

bool ParseLogger::hasMessages() const {
    return !globalMessages.empty() || !areaMessages.empty() || !layerMessages.empty();
}

void ParseLogger::printMessages() const {
    if (!hasMessages()) return;
    printLine("\nTimeline configuration log:\n");
    if (!globalMessages.empty()) {
        printLine("Timeline global configuration messages:");
        printLines(globalMessages);
    }
    std::set<int> areas;
    collectKeys(areaMessages, areas);
    collectKeys(layerMessages, areas);
    for (const int area : areas) {
        printLine(areaHeader(area));
        if (const auto found = areaMessages.find(area); found != areaMessages.end())
            printLines(found->second);
        if (const auto found = layerMessages.find(area); found != layerMessages.end())
            printLayers(found->second);
    }
}

std::string printVariant(const basekit2::variant_t& value) {
    basekit2::variant_t printed;
    basekit2::print_variant(value, printed, true);
    return printed.get<std::string>();
}

std::string printVariantBag(const basekit2::variant_bag_t& bag, bool flag) {
    std::string text;
    for (auto it = bag.begin<basekit2::variant_t>(); !it.at_end(); it.next()) {
        basekit2::variant_t printed;
        basekit2::print_variant(it.get_value(), printed, flag);
        LF_CHECK_AS(isText(printed), "can_get<const char*>()");
        text.append("<").append(it.get_name()).append("> = ");
        text.append(printed.get<std::string>()).append("\n");
    }
    for (auto it = bag.begin<basekit2::variant_bag_t>(); !it.at_end(); it.next())
        text.append(it.get_name())
            .append(":\n")
            .append(printVariantBag(it.get_value(), flag) + "\n");
    return text;
}

std::string getSevereErrorString(const std::string& msg, int area, int layer) {
    std::string text;
    if (area == kRuler) {
        text = "Ruler: ";
    } else if (area != kNoArea) {
        text = "Area #" + std::to_string(area) + " ";
    }
    if (layer != kNoLayer) text += "Layer #" + std::to_string(layer) + " ";
    return text + msg;
}

}  // namespace lanefeed_1
