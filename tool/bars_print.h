#pragma once

#include "bars.h"
#include "layer_json.h"
#include "table_print.h"

#include <memory>
#include <string>
#include <vector>

namespace lanefeed_tool {

struct RowInfo;

// Prints layers of bars on stdout: of each layer its beginning, its rows in their order, its end.
// What it has printed is whole once it is gone.
class BarPrinter {
public:
    BarPrinter() = default;
    virtual ~BarPrinter() = default;
    BarPrinter(const BarPrinter&) = delete;
    BarPrinter& operator=(const BarPrinter&) = delete;

    virtual void beginLayer(const LayerTitle& title) = 0;
    virtual void row(const RowInfo& row, const std::vector<Bar>& bars) = 0;
    virtual void endLayer() = 0;
};

// With several layers the lines of csv tell theirs.
std::unique_ptr<BarPrinter> makeBarPrinter(Format format, bool several);

// "#rrggbb", with the opacity behind it unless it is whole; empty for none.
std::string colorText(const std::optional<std::uint32_t>& color);

}  // namespace lanefeed_tool
