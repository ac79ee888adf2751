#pragma once

#include <cstdint>
#include <cstdlib>
#include <iostream>
#include <random>
#include <string>

namespace lanefeed_test {

// Seed of a random test: that of LANEFEED_TEST_SEED, else a fresh one. Printed, so that a failure
// can be run again.
inline std::uint32_t randomSeed() {
    const char* given = std::getenv("LANEFEED_TEST_SEED");  // NOLINT(concurrency-mt-unsafe)
    const std::uint32_t seed =
        given != nullptr ? static_cast<std::uint32_t>(std::stoul(given)) : std::random_device()();
    std::cout << "LANEFEED_TEST_SEED=" << seed << '\n';
    return seed;
}

}  // namespace lanefeed_test
