#pragma once

#include <dicerdatasource.h>
#include <string>
#include <viewpointparser.h>

namespace lanefeed_tool {

class AreaView;
class Session;

// A layer of an area by its number, from 0. Throws a usage failure that begins with `option` for
// one that is not there.
const lanefeed_1::TLViewpointParser::LayerInfo& layerOf(AreaView& area,
                                                        int layer,
                                                        const std::string& option);

// What a click on an object of a layer selects: the attribute that the layer draws, or the first
// one that it breaks down by or shows in tooltips. Throws a usage failure for a layer without any.
lanefeed_1::DicerDataSource objectSource(AreaView& area, int layer, const std::string& option);

// Number of the object that a user means: a number, or what the one row is called, or shown as, in
// the table that the source leads to. Throws a usage failure for one that is not there, and for a
// name of several, which tells their numbers.
int objectId(const Session& session,
             AreaView& area,
             const lanefeed_1::DicerDataSource& source,
             const std::string& text,
             const std::string& option);

}  // namespace lanefeed_tool
