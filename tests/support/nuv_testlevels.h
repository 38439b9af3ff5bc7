#pragma once

#include "framework/base/nuv_cpu.h"

namespace nuv {

// The levels of processors that the library knows, the portable one first.
struct NUV_TestLevel {
    const char* name;
    NUV_Cpu cpu;
    [[nodiscard]] bool runs_here() const { return NUV_Cpu::current().can_run(cpu); }
};
inline constexpr NUV_TestLevel test_levels[] = {
    {"portable", NUV_Cpu::portable},
    {"SSE2", NUV_Cpu::sse2},
    {"AVX2", NUV_Cpu::avx2},
    {"AVX-512", NUV_Cpu::avx512vbmi},
};

} // namespace nuv
