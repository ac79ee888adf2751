// The processor of derived expressions, which serves derived layers (their series are computed from
// those of other queries). This library evaluates none: setting the processor up answers an error
// that says so, and a derived layer fails with that text.
// Tested by tests/base/viewpoint_helpers_test.cpp.
#include <slicekit_1_0/rpn_processor.h>

namespace slicekit_1_0 {
namespace {

class RpnProcessor : public IRpnProcessor {
public:
    void init(basekit2::error_code_t& error,
              const basekit2::sptr_t<dataface_1::IInputData>& /*input*/) override {
        error = basekit2::error_code_t::raise(basekit2::error::IsNot.Expected.Situation,
                                              "derived expressions are not supported", __FILE__,
                                              __LINE__);
    }
};

}  // namespace

basekit2::sptr_t<IRpnProcessor> createRpnProcessor() {
    return basekit2::make_object<RpnProcessor>();
}

}  // namespace slicekit_1_0
