#pragma once

// What all tests take for granted: GoogleTest, the standard library, bytes, and random samples.

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <functional>
#include <iterator>
#include <limits>
#include <memory>
#include <optional>
#include <random>
#include <span>
#include <sstream>
#include <string>
#include <string_view>
#include <tuple>
#include <type_traits>
#include <utility>
#include <vector>

using Bytes = std::vector<std::uint8_t>;

namespace nuv {

// `count` samples over the whole range of T, the same for the same seed on every machine.
template <class T>
[[nodiscard]] std::vector<T> random_samples(std::size_t count, std::uint64_t seed)
{
    std::mt19937_64 random(seed);
    std::vector<T> samples(count);
    for (T& sample : samples)
        sample = static_cast<T>(random());
    return samples;
}

} // namespace nuv
