#pragma once

#include "core/jpeg/kernels/nuv_jpegprimitives.h"

#include <array>
#include <cstdint>
#include <random>
#include <vector>

namespace nuv {

using JPEGTestBlock = std::array<std::int16_t, 64>;

// The forms that this processor can run, the portable one first.
struct JPEGTestForm {
    const char* name;
    const NUV_JPEGPrimitives& primitives;
};

inline std::vector<JPEGTestForm> jpeg_test_forms()
{
    std::vector<JPEGTestForm> forms = {{"portable", jpeg_primitives({})}};
    if (NUV_Cpu::current().has_sse2)
        forms.push_back({"sse2", jpeg_primitives({.has_sse2 = true, .has_avx2 = false})});
    if (NUV_Cpu::current().has_avx2)
        forms.push_back({"avx2", jpeg_primitives({.has_sse2 = true, .has_avx2 = true})});
    return forms;
}

inline const NUV_JPEGPrimitives& portable_primitives()
{
    return jpeg_primitives({});
}

// Values from `low` to `high`, each kept with a probability of `density` percent and else 0.
inline JPEGTestBlock random_block(std::mt19937& random, int low, int high, int density = 100)
{
    std::uniform_int_distribution<int> value(low, high);
    std::uniform_int_distribution<int> percent(0, 99);
    JPEGTestBlock block;
    for (std::int16_t& entry : block)
        entry = static_cast<std::int16_t>(percent(random) < density ? value(random) : 0);
    return block;
}

} // namespace nuv
