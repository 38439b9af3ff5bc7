#pragma once

// Whether the forms for x86 are there to choose from. The build may leave them out.
#ifndef NUV_X86
#    if defined(__x86_64__) || defined(__i386__)
#        define NUV_X86 1
#    else
#        define NUV_X86 0
#    endif
#endif

// Compiles one function for a processor feature that the rest of the file must not assume.
#if NUV_X86
#    define NUV_TARGET(features) __attribute__((target(features)))
#else
#    define NUV_TARGET(features)
#endif

namespace nuv {

// What the processor can run, asked once, by the first manager. It chooses among forms of
// equal result, never among results.
struct NUV_Cpu {
    bool has_sse2 = false;
    bool has_avx2 = false;
    bool has_avx512vbmi = false; // with AVX-512BW and VNNI
    // pext and popcnt, each in a few cycles: some processors with AVX2 have the first in microcode,
    // of hundreds of cycles. All with AVX-512 VBMI have them.
    bool has_fast_pext = false;

    // The levels that forms are written for, each with all that the one before it has.
    static const NUV_Cpu portable;
    static const NUV_Cpu sse2;
    static const NUV_Cpu avx2;
    static const NUV_Cpu avx512vbmi;

    // The processor that this process runs on. Only who makes a manager asks; all others ask the
    // manager.
    [[nodiscard]] static const NUV_Cpu& current() noexcept;

    // True when whatever `level` may run runs here, too.
    [[nodiscard]] constexpr bool can_run(const NUV_Cpu& level) const noexcept
    {
        return (has_sse2 || !level.has_sse2) && (has_avx2 || !level.has_avx2) &&
               (has_avx512vbmi || !level.has_avx512vbmi) && (has_fast_pext || !level.has_fast_pext);
    }
};

inline constexpr NUV_Cpu NUV_Cpu::portable{};
inline constexpr NUV_Cpu NUV_Cpu::sse2{.has_sse2 = true};
inline constexpr NUV_Cpu NUV_Cpu::avx2{.has_sse2 = true, .has_avx2 = true};
inline constexpr NUV_Cpu NUV_Cpu::avx512vbmi{
    .has_sse2 = true, .has_avx2 = true, .has_avx512vbmi = true, .has_fast_pext = true};

} // namespace nuv
