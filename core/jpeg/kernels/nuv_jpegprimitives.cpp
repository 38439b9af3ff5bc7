#include "core/jpeg/kernels/nuv_jpegprimitives.h"

#include "core/jpeg/kernels/nuv_jpegforms.h"

#include <array>
#include <cstddef>

namespace nuv {
namespace {

enum class Level : std::size_t { portable, sse2, avx2 };
constexpr std::size_t levels = 3;

// Each level begins with what the level below it has.
std::array<NUV_JPEGPrimitives, levels> fill_levels() noexcept
{
    NUV_JPEGPrimitives primitives = {};
    set_portable_color_forms(primitives);
    set_portable_transform_forms(primitives);
    set_portable_huffman_table_forms(primitives);
    set_portable_huffman_encode_forms(primitives);
    set_portable_huffman_decode_forms(primitives);
    set_portable_lossless_forms(primitives);

    std::array<NUV_JPEGPrimitives, levels> table;
    table.fill(primitives);
#if NUV_X86
    set_sse2_color_forms(primitives);
    set_sse2_transform_forms(primitives);
    set_sse2_huffman_encode_forms(primitives);
    set_sse2_lossless_forms(primitives);
    table[static_cast<std::size_t>(Level::sse2)] = primitives;

    set_avx2_color_forms(primitives);
    set_avx2_transform_forms(primitives);
    table[static_cast<std::size_t>(Level::avx2)] = primitives;
#endif
    return table;
}

Level level_of(const NUV_Cpu& cpu) noexcept
{
    if (!cpu.has_sse2)
        return Level::portable;
    return cpu.has_avx2 ? Level::avx2 : Level::sse2;
}

} // namespace

const NUV_JPEGPrimitives& jpeg_primitives(const NUV_Cpu& cpu) noexcept
{
    static const std::array<NUV_JPEGPrimitives, levels> table = fill_levels();
    return table[static_cast<std::size_t>(level_of(cpu))];
}

} // namespace nuv
