// Messages of the viewpoint parser on their two ways. Tested by tests/viewpoint/golden_test.cpp.

#include "common/parsereport.h"

namespace lanefeed_1 {

namespace {

constexpr int kNoArea = -2;
constexpr int kNoLayer = -1;

void raiseAlert(const std::string& text, int area, int layer, const Place& place) {
    reportFailure(place, getSevereErrorString(text, area, layer).c_str());
}

}  // namespace

void reportViewpoint(ParseLogger* logger, const std::string& text, const Place& place) {
    raiseAlert(text, kNoArea, kNoLayer, place);
    noteViewpoint(logger, text);
}

void reportArea(ParseLogger* logger, int area, const std::string& text, const Place& place) {
    raiseAlert(text, area, kNoLayer, place);
    noteArea(logger, area, text);
}

void reportLayer(
    ParseLogger* logger, int area, int layer, const std::string& text, const Place& place) {
    raiseAlert(text, area, layer, place);
    noteLayer(logger, area, layer, text);
}

void noteViewpoint(ParseLogger* logger, const std::string& text) {
    if (logger != nullptr) logger->addMessage(text);
}

void noteArea(ParseLogger* logger, int area, const std::string& text) {
    if (logger != nullptr) logger->addMessage(area, text);
}

void noteLayer(ParseLogger* logger, int area, int layer, const std::string& text) {
    if (logger != nullptr) logger->addMessage(area, layer, text);
}

}  // namespace lanefeed_1
