#pragma once

#include <basekit2/variant_bag.h>
#include <dataface_1/input_data.h>

#include <string>
#include <vector>

namespace lanefeed_runtime {

// Names of the viewpoints that come with the runtime, the most general one last.
std::vector<std::string> shippedViewpointNames();

// XML text of a shipped viewpoint; empty for an unknown name.
std::string shippedViewpointText(const std::string& name);

// Name of the shipped viewpoint that fits an open result best, told by the tables that it has; the
// most general one for a result without instances. Empty for a null result.
std::string fittingViewpoint(const basekit2::sptr_t<dataface_1::IInputData>& result);

// A viewpoint of XML text as the bag that a viewpoint parser takes. False when the text is no XML
// or its root is not "viewpoint"; `error` then says what and in which line, and `bag` is undefined.
bool readViewpoint(const std::string& text, basekit2::variant_bag_t& bag, std::string& error);

}  // namespace lanefeed_runtime
