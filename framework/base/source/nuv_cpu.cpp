#include "framework/base/nuv_cpu.h"

namespace nuv {
namespace {

NUV_Cpu identify() noexcept
{
    NUV_Cpu cpu;
#if NUV_X86
    __builtin_cpu_init();
    cpu.has_sse2 = __builtin_cpu_supports("sse2") != 0;
    cpu.has_avx2 = __builtin_cpu_supports("avx2") != 0;
    cpu.has_avx512vbmi =
        __builtin_cpu_supports("avx512vbmi") != 0 && __builtin_cpu_supports("avx512bw") != 0;
#endif
    return cpu;
}

const NUV_Cpu the_cpu = identify();

} // namespace

const NUV_Cpu& NUV_Cpu::current() noexcept
{
    return the_cpu;
}

} // namespace nuv
