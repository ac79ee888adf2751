#pragma once

#include <dataface_1/input_data.h>
#include <storelink1/records.h>

#include <string>
#include <vector>

// What a host does with a selection. The provider's calls write a filter under the name "selection"
// (a dive under "deep_view_selection_filter"), every read applies "global"; these make one of the
// other and keep the filters with their result. After each change of "global" the host calls
// filterChanged("global") on its providers, then filterChanged() on its master table managers.
// `result` is one that openResult gave; any other makes them fail. From the thread of the host.
namespace lanefeed_runtime {

struct FilterOutcome {
    enum Kind {
        done,
        nothingSelected,  // there is no filter of that name; nothing was changed
        memoryOnly,       // the result can't be written to: filters hold until it is closed
        failed            // nothing was changed, neither in memory nor in the file
    };

    Kind kind = done;
    // For a user, when the kind is not `done`: file, place, remedy.
    std::string text;
};

enum class SelectionMode {
    narrow,  // what "global" kept so far and the selection keeps as well
    replace  // what the selection keeps
};

// Makes "global" of a named filter: time parts are intersected, query parts joined with AND. The
// named filter stays.
FilterOutcome applySelection(const basekit2::sptr_t<dataface_1::IInputData>& result,
                             const std::string& name = "selection",
                             SelectionMode mode = SelectionMode::narrow);

// Turns what a named filter asks of queries around: it then keeps what it left out. Its time part
// stays. nothingSelected without such a part.
FilterOutcome excludeSelection(const basekit2::sptr_t<dataface_1::IInputData>& result,
                               const std::string& name = "selection");

// Writes all named filters into the file of the result, in place of those that were there, in one
// transaction. Names that carry an address of this process stay out.
FilterOutcome saveFilters(const basekit2::sptr_t<dataface_1::IInputData>& result);

// Drops every named filter, in memory alone; saveFilters makes it last.
void clearFilters(const basekit2::sptr_t<dataface_1::IInputData>& result);

// A named filter for people.
struct FilterDescription {
    std::string name;
    bool hasTime = false;
    // What the time part keeps within the result: absolute ticks, half open, in order.
    std::vector<storelink1::time_interval_t> kept;
    // What the query part keeps, such as `dd_band::dd_thread = "main" and not (...)`; empty for
    // none. Not cut, whatever its length.
    std::string query;
};

// By name; names that carry an address are left out.
std::vector<FilterDescription> describeFilters(
    const basekit2::sptr_t<dataface_1::IInputData>& result);

}  // namespace lanefeed_runtime
