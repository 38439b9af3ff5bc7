#include "framework/base/nuv_cpu.h"

#if NUV_X86
#    include <cpuid.h>
#    include <immintrin.h>
#endif

namespace nuv {
namespace {

#if NUV_X86
constexpr bool has_all(unsigned word, unsigned bits)
{
    return (word & bits) == bits;
}

// The registers that the system saves when it gives the processor to another thread.
NUV_TARGET("xsave") unsigned saved_states() noexcept
{
    return static_cast<unsigned>(_xgetbv(0));
}

// The flag does not tell, but maker and family do.
bool has_fast_pext(unsigned maker, unsigned signature) noexcept
{
    constexpr unsigned first_fast_family = 0x19; // of AMD's
    return maker == signature_INTEL_ebx ||
           (maker == signature_AMD_ebx &&
            (signature >> 8 & 0xFU) + (signature >> 20 & 0xFFU) >= first_fast_family);
}

// Three questions: each takes some microseconds in a virtual machine, and the compiler's own
// __builtin_cpu_init() asks up to 13 whenever a program starts that has it.
NUV_Cpu identify() noexcept
{
    constexpr unsigned features_leaf = 1;
    constexpr unsigned more_features_leaf = 7;
    constexpr unsigned avx_states = 0x06;
    constexpr unsigned avx512_states = 0xE6;

    NUV_Cpu cpu;
    unsigned maker = 0;
    const auto last_leaf = static_cast<unsigned>(__get_cpuid_max(0, &maker));
    if (last_leaf < features_leaf)
        return cpu;
    unsigned signature = 0;
    unsigned b = 0;
    unsigned c = 0;
    unsigned d = 0;
    __cpuid(features_leaf, signature, b, c, d);
    const bool has_popcnt = has_all(c, bit_POPCNT);
    cpu.has_sse2 = has_all(d, bit_SSE2);
    if (!has_all(c, bit_OSXSAVE | bit_AVX) || last_leaf < more_features_leaf)
        return cpu;
    const unsigned states = saved_states();
    unsigned unused = 0;
    __cpuid_count(more_features_leaf, 0, unused, b, c, d);
    cpu.has_avx2 = has_all(states, avx_states) && has_all(b, bit_AVX2);
    cpu.has_avx512vbmi = has_all(states, avx512_states) && has_all(b, bit_AVX512F | bit_AVX512BW) &&
                         has_all(c, bit_AVX512VBMI | bit_AVX512VNNI);
    cpu.has_fast_pext = has_popcnt && has_all(b, bit_BMI2) &&
                        (cpu.has_avx512vbmi || has_fast_pext(maker, signature));
    return cpu;
}
#else
NUV_Cpu identify() noexcept
{
    return {};
}
#endif

} // namespace

const NUV_Cpu& NUV_Cpu::current() noexcept
{
    static const NUV_Cpu the_cpu = identify();
    return the_cpu;
}

} // namespace nuv
