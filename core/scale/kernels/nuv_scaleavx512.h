#pragma once

#include "framework/base/nuv_cpu.h"

#if NUV_X86

#    include "core/include/nuv_avx512.h" // IWYU pragma: export

// What the forms of scalers with AVX-512 are compiled for.
#    define NUV_AVX512 NUV_TARGET("avx512vbmi,avx512bw,avx512vnni")

#endif // NUV_X86
