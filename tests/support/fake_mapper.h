#pragma once

#include <dataface_1/manipulator.h>

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace lanefeed_test {

// Colours by id: red is 10 times the id; id 99 has none, whatever is given back for it, 98 gives no
// colour, 97 fails.
class FakeMapper : public dataface_1::IManipulatorMapper {
public:
    basekit2::error_code_t map(const basekit2::variant_t& id,
                               basekit2::variant_t& out,
                               int mode) override {
        using basekit2::error_code_t;
        EXPECT_EQ(mode, modeColor);
        const int value = id.get<int>();
        if (value == 97) return error_code_t::failure;
        if (value > 97) out = "blue";
        if (value < 97) out = basekit2::u32_t{0x80'30'20'00} + static_cast<unsigned>(value) * 10U;
        return value == 99 ? error_code_t::noResult : error_code_t::success;
    }
};

// Gives a mapper with every answer but a failure.
class FakeMapperFactory : public dataface_1::IManipulatorMapperFactory {
public:
    basekit2::error_code_t createMapper(
        const basekit2::sptr_t<dataface_1::IVectorQuery>& queries,
        basekit2::sptr_t<dataface_1::IManipulatorMapper>& out) override {
        asked.push_back(queries->getDefaultQuery()->getName());
        if (answer != basekit2::error_code_t::failure) out = basekit2::make_object<FakeMapper>();
        return answer;
    }

    basekit2::error_code_t::value_t answer = basekit2::error_code_t::success;
    std::vector<std::string> asked;
};

}  // namespace lanefeed_test
