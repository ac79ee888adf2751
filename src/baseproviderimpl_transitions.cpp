// Lines between rows as a table: one row each, and below it those that were kept of the lines which
// fell on the same cell. Which lines there are is up to the store. Tested by
// tests/provider/transitions_test.cpp.

#include "baseproviderimpl.h"

#include "common/names.h"
#include "common/tablefill.h"
#include "transition.h"

#include <algorithm>

namespace lanefeed_1 {

namespace {

using basekit2::u32_t;
using basekit2::u64_t;

void addLine(TableFill& fill, const Transition& line) {
    const auto row = fill.addRow(
        {line.start, line.end, line.attr, line.startRow, line.endRow, line.duplicateCount});
    const std::size_t kept =
        std::min<std::size_t>(line.duplicateCount, Transition::kKeptDuplicates);
    for (std::size_t i = 0; i < kept; ++i) {
        const Transition::Duplicate& other = line.duplicates[i];
        fill.addRow({other.start, other.end, other.attr, line.startRow, line.endRow, u32_t{0}},
                    row);
    }
}

}  // namespace

bool BaseProviderImpl::getTransitionData(const QueryParam& param,
                                         basekit2::sptr_t<dataface_1::ITableTree>& out) {
    std::vector<Transition> transitions;
    if (!getTransitionData(param, transitions)) return false;
    TableFill fill(*this, {{IDicerProvider::startTime, names::kTickValueType},
                           {IDicerProvider::endTime, names::kTickValueType},
                           {IDicerProvider::dbAttrIdx, ""},
                           {IDicerProvider::startRow, ""},
                           {IDicerProvider::endRow, ""},
                           {IDicerProvider::duplicateCount, ""}});
    for (const Transition& line : transitions)
        addLine(fill, line);
    out = fill.table();
    return true;
}

}  // namespace lanefeed_1
