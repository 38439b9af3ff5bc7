#pragma once

#include "core/include/nuv_reversetriples_kernels.h"
#include "framework/base/nuv_cpu.h"
#include "framework/utility/nuv_endian.h"

#include <cstddef>
#include <cstdint>
#include <cstring>

namespace nuv {

// Where red, green and blue lie in a pixel: a sample is (pixel & mask) >> right << left, cut to its
// width. `left` is for pixels of 16 bits; it is 0 for those of 32.
struct NUV_BitFields {
    std::uint32_t masks[3] = {};
    std::uint32_t right[3] = {};
    std::uint32_t left[3] = {};
};

// Makes samples of `pixels` pixels as a bitmap stores them. The rows do not overlap. Every form
// gives the same bytes and touches nothing past the rows.
using DIBRow = void (*)(const std::uint8_t* in, std::uint8_t* out, std::size_t pixels,
                        const NUV_BitFields& fields);

// 1 bit: the bits stay, those behind the last pixel become 0.
inline void bits_row(const std::uint8_t* in, std::uint8_t* out, std::size_t pixels,
                     const NUV_BitFields&)
{
    std::memcpy(out, in, (pixels + 7) / 8);
    if (pixels % 8 != 0)
        out[pixels / 8] = static_cast<std::uint8_t>(out[pixels / 8] & 0xFF00 >> pixels % 8);
}

// 4 bits: a byte for each half, the upper half first.
inline void nibbles_row(const std::uint8_t* __restrict in, std::uint8_t* __restrict out,
                        std::size_t pixels, const NUV_BitFields&)
{
    for (std::size_t i = 0; i < pixels / 2; ++i) {
        out[2 * i] = static_cast<std::uint8_t>(in[i] >> 4);
        out[2 * i + 1] = static_cast<std::uint8_t>(in[i] & 15);
    }
    if (pixels % 2 != 0)
        out[pixels - 1] = static_cast<std::uint8_t>(in[pixels / 2] >> 4);
}

// 8 bits.
inline void bytes_row(const std::uint8_t* in, std::uint8_t* out, std::size_t pixels,
                      const NUV_BitFields&)
{
    std::memcpy(out, in, pixels);
}

// 24 bits, blue first.
template <ReverseTriples Reverse>
void triples_row(const std::uint8_t* in, std::uint8_t* out, std::size_t pixels,
                 const NUV_BitFields&)
{
    Reverse(in, out, pixels);
}

// Fields of 16 or 32 bits.
template <class Pixel, class Sample>
void fields_row_portable(const std::uint8_t* __restrict in, std::uint8_t* __restrict out,
                         std::size_t pixels, const NUV_BitFields& fields)
{
    const NUV_BitFields local = fields; // which no store can change
    for (std::size_t p = 0; p < pixels; ++p, in += sizeof(Pixel)) {
        const std::uint32_t pixel = sizeof(Pixel) == 2 ? load_le16(in) : load_le32(in);
        for (std::size_t c = 0; c < 3; ++c, out += sizeof(Sample)) {
            const std::uint32_t value = (pixel & local.masks[c]) >> local.right[c];
            const auto sample =
                static_cast<Sample>(sizeof(Pixel) == 2 ? value << local.left[c] : value);
            std::memcpy(out, &sample, sizeof(sample));
        }
    }
}

// True when each field is a byte of the pixel, or nothing.
[[nodiscard]] inline bool are_whole_bytes(const NUV_BitFields& fields) noexcept
{
    for (std::size_t c = 0; c < 3; ++c) {
        const std::uint32_t byte = std::uint32_t{0xFF} << fields.right[c];
        const bool is_byte = fields.masks[c] == byte && fields.right[c] % 8 == 0;
        if (fields.left[c] != 0 || (fields.masks[c] != 0 && !is_byte))
            return false;
    }
    return true;
}

#if NUV_X86
// Pixels of 16 bits, samples of 8.
void fields_row_avx2(const std::uint8_t* in, std::uint8_t* out, std::size_t pixels,
                     const NUV_BitFields& fields);
// Pixels of 32 bits whose fields are whole bytes.
void whole_bytes_row_avx2(const std::uint8_t* in, std::uint8_t* out, std::size_t pixels,
                          const NUV_BitFields& fields);
#endif

template <class Pixel>
[[nodiscard]] DIBRow choose_fields_row([[maybe_unused]] const NUV_Cpu& cpu,
                                       std::uint32_t sample_bits,
                                       [[maybe_unused]] const NUV_BitFields& fields) noexcept
{
#if NUV_X86
    if (cpu.has_avx2 && sample_bits == 8) {
        if (sizeof(Pixel) == 2)
            return fields_row_avx2;
        if (are_whole_bytes(fields))
            return whole_bytes_row_avx2;
    }
#endif
    if (sample_bits == 8)
        return fields_row_portable<Pixel, std::uint8_t>;
    return sample_bits == 16 ? fields_row_portable<Pixel, std::uint16_t>
                             : fields_row_portable<Pixel, std::uint32_t>;
}

// The fastest form that `cpu` can run, from pixels of `bit_count` bits to samples of `sample_bits`.
[[nodiscard]] inline DIBRow choose_dib_row(const NUV_Cpu& cpu, std::uint32_t bit_count,
                                           std::uint32_t sample_bits,
                                           const NUV_BitFields& fields) noexcept
{
    switch (bit_count) {
    case 1:
        return bits_row;
    case 4:
        return nibbles_row;
    case 8:
        return bytes_row;
    case 16:
        return choose_fields_row<std::uint16_t>(cpu, sample_bits, fields);
    case 24:
        return visit_reverse_triples(
            cpu, []<ReverseTriples Form>() -> DIBRow { return triples_row<Form>; });
    default:
        return choose_fields_row<std::uint32_t>(cpu, sample_bits, fields);
    }
}

} // namespace nuv
