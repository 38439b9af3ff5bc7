#pragma once

// What forms with AVX-512 include in place of <immintrin.h>: g++ 12 warns of the operands that its
// own header leaves undefined.
#if defined(__GNUC__) && !defined(__clang__)
#    pragma GCC diagnostic push
#    pragma GCC diagnostic ignored "-Wmaybe-uninitialized"
#    pragma GCC diagnostic ignored "-Wuninitialized"
#    include <immintrin.h> // IWYU pragma: export
#    pragma GCC diagnostic pop
#else
#    include <immintrin.h> // IWYU pragma: export
#endif
