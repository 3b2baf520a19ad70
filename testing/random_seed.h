#pragma once

#include <cstdlib>
#include <iostream>
#include <random>

/// The seed of the random tests of a program: the environment variable ZTA_TEST_SEED, or a random number. It is
/// printed, so that a failure can be repeated.
inline unsigned RandomSeed()
{
    static const unsigned seed = [] {
        const char* chosen = std::getenv("ZTA_TEST_SEED");
        const unsigned value =
            chosen != nullptr ? static_cast<unsigned>(std::strtoul(chosen, nullptr, 10)) : std::random_device{}();
        std::cout << "ZTA_TEST_SEED=" << value << "\n";
        return value;
    }();
    return seed;
}
