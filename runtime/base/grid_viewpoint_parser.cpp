// The parser of grid sections ("gridQuery", "requiredData"), which serves areas whose rows come
// from a grid and layers that ask for required data. This library reads none: the answer is an
// error that says so, and a viewpoint without such sections is not touched by it. Tested by
// tests/base/viewpoint_helpers_test.cpp.
#include <slicekit_1_0/grid_viewpoint_parser.h>

namespace slicekit_1_0 {

basekit2::error_code_t createGridViewpointParser(
    const basekit2::variant_bag_t& bag,
    basekit2::sptr_t<IGridViewpointParser>& out,
    dataface_1::IQueryLibrary* /*library*/,
    relay2::IMessenger* /*messenger*/,
    const basekit2::sptr_t<dataface_1::IInputData>& /*input*/) {
    out = nullptr;
    const std::string reason = "\"" + bag.get_name() + "\" sections are not supported";
    return basekit2::error_code_t::raise(basekit2::error::IsNot.Expected.Situation, reason.c_str(),
                                         __FILE__, __LINE__);
}

}  // namespace slicekit_1_0
