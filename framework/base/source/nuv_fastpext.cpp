#include "framework/base/nuv_fastpext.h"

#include "framework/base/nuv_cpu.h"

#if NUV_X86
#    include <cpuid.h>
#endif

namespace nuv {
namespace {

bool identify() noexcept
{
#if NUV_X86
    __builtin_cpu_init();
    if (__builtin_cpu_supports("bmi2") == 0 || __builtin_cpu_supports("popcnt") == 0)
        return false;
    if (__builtin_cpu_is("intel") != 0)
        return true;
    // The flag does not tell, but the family does.
    unsigned model = 0;
    unsigned unused = 0;
    if (__builtin_cpu_is("amd") == 0 || __get_cpuid(1, &model, &unused, &unused, &unused) == 0)
        return false;
    constexpr unsigned first_fast_family = 0x19;
    return (model >> 8 & 0xFU) + (model >> 20 & 0xFFU) >= first_fast_family;
#else
    return false;
#endif
}

} // namespace

bool has_fast_pext() noexcept
{
    static const bool is_fast = identify();
    return is_fast;
}

} // namespace nuv
