// The helper that computes derived columns, which serves derived layers and derived series of
// attributes. This library computes none: each operation answers an error that says so, and leaves
// what it was to fill in as it was.
// Tested by tests/base/viewpoint_helpers_test.cpp.
#include <facekit_1_x/table_helpers.h>

namespace facekit_1_x {
namespace {

using basekit2::error_code_t;
using basekit2::sptr_t;

error_code_t notSupported(int line) {
    return error_code_t::raise(basekit2::error::IsNot.Expected.Situation,
                               "derived tables are not supported", __FILE__, line);
}

class DerivedTableTreeHelper : public IDerivedTableTreeHelper {
public:
    void init(error_code_t& error,
              const sptr_t<dataface_1::ITableTree>& /*tree*/,
              const sptr_t<dataface_1::IVectorQuery>& /*queries*/,
              const sptr_t<slicekit_1_0::IRpnProcessor>& /*processor*/,
              int /*mode*/) override {
        error = notSupported(__LINE__);
    }
    void getInputColumnBy(error_code_t& error,
                          sptr_t<dataface_1::IVectorQuery>& /*queries*/,
                          double /*scale*/) override {
        error = notSupported(__LINE__);
    }
    error_code_t derive(sptr_t<dataface_1::ITableTree>& /*out*/,
                        const sptr_t<dataface_1::ITableTree>& /*source*/,
                        relay2::IProgress* /*progress*/,
                        int /*reserved*/) override {
        return notSupported(__LINE__);
    }
};

}  // namespace

sptr_t<IDerivedTableTreeHelper> createDerivedTableTreeHelper() {
    return basekit2::make_object<DerivedTableTreeHelper>();
}

}  // namespace facekit_1_x
