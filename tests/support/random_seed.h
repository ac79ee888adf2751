#pragma once

#include <cstdint>
#include <cstdlib>
#include <iostream>
#include <random>
#include <string>

namespace lanefeed_test {

// Seed of a random test: the same at every run, so that a change is never blamed for what another
// draw would have shown; that of LANEFEED_TEST_SEED when it is given, a fresh one for "fresh".
// Printed, so that a failure can be run again. scripts/soak.sh runs all random tests again and
// again.
inline std::uint32_t randomSeed() {
    const char* given = std::getenv("LANEFEED_TEST_SEED");  // NOLINT(concurrency-mt-unsafe)
    const std::string text = given != nullptr ? given : "1";
    const std::uint32_t seed =
        text == "fresh" ? std::random_device()() : static_cast<std::uint32_t>(std::stoul(text));
    std::cout << "LANEFEED_TEST_SEED=" << seed << '\n';
    return seed;
}

}  // namespace lanefeed_test
