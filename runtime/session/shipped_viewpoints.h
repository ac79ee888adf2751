#pragma once

#include <basekit2/variant_bag.h>
#include <dataface_1/input_data.h>

#include <string>
#include <vector>

namespace lanefeed_runtime {

// Names of the viewpoints that come with the runtime, such as "trace_events", in ascending order.
std::vector<std::string> shippedViewpointNames();

// XML text of a shipped viewpoint; empty for an unknown name.
std::string shippedViewpointText(const std::string& name);

// Name of the shipped viewpoint that fits an open result best, told by the instance tables that it
// has: one that shows all kinds of them, if possible in its first area. A result without any
// instances gets the general one, "trace_events"; a null result gets an empty name.
std::string fittingViewpoint(const basekit2::sptr_t<dataface_1::IInputData>& result);

// A viewpoint of XML text as the bag that a viewpoint parser takes. False when the text is no XML
// or its root is not "viewpoint"; `error` is then "line:column: reason", and `bag` stays as it is.
bool readViewpoint(const std::string& text, basekit2::variant_bag_t& bag, std::string& error);

}  // namespace lanefeed_runtime
