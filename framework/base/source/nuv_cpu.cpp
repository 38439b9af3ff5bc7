#include "framework/base/nuv_cpu.h"

#if NUV_X86
#    include <cpuid.h>
#endif

namespace nuv {
namespace {

#if NUV_X86
// The flag does not tell, but maker and family do.
bool has_fast_pext() noexcept
{
    if (__builtin_cpu_supports("bmi2") == 0 || __builtin_cpu_supports("popcnt") == 0)
        return false;
    if (__builtin_cpu_supports("avx512vbmi") != 0 || __builtin_cpu_is("intel") != 0)
        return true;
    unsigned model = 0;
    unsigned unused = 0;
    if (__builtin_cpu_is("amd") == 0 || __get_cpuid(1, &model, &unused, &unused, &unused) == 0)
        return false;
    constexpr unsigned first_fast_family = 0x19;
    return (model >> 8 & 0xFU) + (model >> 20 & 0xFFU) >= first_fast_family;
}
#endif

NUV_Cpu identify() noexcept
{
    NUV_Cpu cpu;
#if NUV_X86
    __builtin_cpu_init();
    cpu.has_sse2 = __builtin_cpu_supports("sse2") != 0;
    cpu.has_avx2 = __builtin_cpu_supports("avx2") != 0;
    cpu.has_avx512vbmi =
        __builtin_cpu_supports("avx512vbmi") != 0 && __builtin_cpu_supports("avx512bw") != 0;
    cpu.has_fast_pext = has_fast_pext();
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
