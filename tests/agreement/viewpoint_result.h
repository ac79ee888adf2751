#pragma once

#include "area_view.h"
#include "layer_series.h"
#include "session.h"
#include "support/temp_directory.h"

#include <string>
#include <vector>

namespace lanefeed_test {

// The result of a bundled trace, in the folder.
std::string importedTrace(const TempDirectory& folder, const std::string& trace);

// A result with a viewpoint on it, read by the parts that the client is made of. The queries of the
// examples are in force. What a viewpoint does not say right is thrown; what answers say to the log
// is a failure of the test.
class ViewpointResult {
public:
    using AreaView = lanefeed_tool::AreaView;
    using RowSet = lanefeed_1::TLViewpointParser::RowSet;

    // A shipped viewpoint by its name, an example "NAME.xml", or the text of one.
    ViewpointResult(const std::string& file, const std::string& viewpoint);

    lanefeed_tool::Session& session() { return m_session; }
    int areas() { return static_cast<int>(m_session.viewpoint().m_areas.size()); }
    RowSet& rowSet(int area);

    // The table of each row of a layer of series, over ticks that `bins` divides without a rest or,
    // with `whole`, over all; none when it is not served.
    lanefeed_tool::Forest ask(AreaView& area, int layer, int bins, bool whole = true);
    // A layer over the whole result as text, "not shown" for one without data; rows are parted by
    // "&", "-" for nothing, series by ",", equal buckets together: a series is "io 0=20 1-4=100", a
    // bar, half open, "START..END TOOLTIP". Each bar must have a tooltip.
    std::string text(int area, int layer, int bins = 10);

private:
    lanefeed_tool::ViewOptions m_options;
    lanefeed_tool::Session m_session;
};

}  // namespace lanefeed_test
