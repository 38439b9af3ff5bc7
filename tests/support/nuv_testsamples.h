#pragma once

#include <cstddef>
#include <cstdint>
#include <random>
#include <vector>

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
