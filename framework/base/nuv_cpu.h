#pragma once

#if defined(__x86_64__) || defined(__i386__)
#    define NUV_X86 1
// Compiles one function for a processor feature that the rest of the file must not assume.
#    define NUV_TARGET(features) __attribute__((target(features)))
#else
#    define NUV_X86 0
#    define NUV_TARGET(features)
#endif

namespace nuv {

// What the processor can run, asked once when the library is loaded. It chooses among forms of
// equal result, never among results.
struct NUV_Cpu {
    bool has_sse2 = false;
    bool has_avx2 = false;
    bool has_avx512vbmi = false; // with AVX-512BW

    // The processor that this process runs on.
    [[nodiscard]] static const NUV_Cpu& current() noexcept;
};

} // namespace nuv
