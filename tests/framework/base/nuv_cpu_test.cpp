#include "framework/base/nuv_cpu.h"

#include <gtest/gtest.h>

namespace nuv {
namespace {

#if NUV_X86
TEST(Cpu, IsWhatTheCompilerFindsIt)
{
    const NUV_Cpu& cpu = NUV_Cpu::current();
    __builtin_cpu_init();
    EXPECT_EQ(cpu.has_sse2, __builtin_cpu_supports("sse2") != 0);
    EXPECT_EQ(cpu.has_avx2, __builtin_cpu_supports("avx2") != 0);
    EXPECT_EQ(cpu.has_avx512vbmi, __builtin_cpu_supports("avx512vbmi") != 0 &&
                                      __builtin_cpu_supports("avx512bw") != 0 &&
                                      __builtin_cpu_supports("avx512vnni") != 0);
    const bool has_pext =
        __builtin_cpu_supports("bmi2") != 0 && __builtin_cpu_supports("popcnt") != 0;
    EXPECT_LE(cpu.has_fast_pext, has_pext);
    if (__builtin_cpu_is("intel") != 0 && cpu.has_avx2) {
        EXPECT_EQ(cpu.has_fast_pext, has_pext);
    }
}
#endif

} // namespace
} // namespace nuv
