// Why by name: tracers lose begins and ends. Pairing whatever comes next shifts every pair after a
// lost event by one level; by name the damage stays with the lost one.
// Tested by tests/importers/import_rows_test.cpp.
#include "common/open_slices.h"

#include <utility>

namespace lanefeed_importers {

void OpenSlices::begin(std::uint32_t thread, OpenSlice slice) {
    if (thread >= m_stacks.size()) m_stacks.resize(thread + 1);
    Stack& stack = m_stacks[thread];
    ++stack.names[slice.name];
    stack.slices.push_back(std::move(slice));
    ++m_open;
}

bool OpenSlices::end(std::uint32_t thread, std::uint32_t name, bool anonymous, OpenSlice& closed) {
    if (thread >= m_stacks.size() || m_stacks[thread].slices.empty()) return false;
    Stack& stack = m_stacks[thread];
    if (anonymous || stack.slices.back().name == name) {
        pop(stack, closed);
        return true;
    }
    const auto found = stack.names.find(name);
    if (found == stack.names.end() || found->second == 0) return false;
    pop(stack, closed);
    while (closed.name != name) {
        ++m_abandoned;
        pop(stack, closed);
    }
    return true;
}

void OpenSlices::pop(Stack& stack, OpenSlice& slice) {
    slice = std::move(stack.slices.back());
    stack.slices.pop_back();
    --stack.names[slice.name];
    --m_open;
}

}  // namespace lanefeed_importers
