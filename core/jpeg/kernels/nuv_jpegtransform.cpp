#include "core/jpeg/kernels/nuv_jpegtransform.h"

#include "core/jpeg/kernels/nuv_jpegforms.h"
#include "core/jpeg/stream/nuv_jpegtables.h"

#include <algorithm>
#include <cstddef>

namespace nuv {
namespace {

constexpr std::size_t side = 8;

// Sums are formed modulo 2^32: what fits at the end came out right, and input beyond the range of
// a picture wraps in all forms of fdct_quant and of the inverse transform alike.
[[nodiscard]] std::int32_t dot(const std::int16_t (&constants)[4], std::int32_t a, std::int32_t b,
                               std::int32_t c, std::int32_t d) noexcept
{
    const auto term = [](std::int32_t constant, std::int32_t value) {
        return static_cast<std::uint32_t>(constant * value);
    };
    return static_cast<std::int32_t>(term(constants[0], a) + term(constants[1], b) +
                                     term(constants[2], c) + term(constants[3], d));
}

[[nodiscard]] std::int16_t descale(std::int32_t value, int shift) noexcept
{
    const std::uint32_t rounded = static_cast<std::uint32_t>(value) + (1U << (shift - 1));
    return saturate_to_16_bits(static_cast<std::int32_t>(rounded) >> shift);
}

// Eight values at a distance of `Stride`, T.81, A.3.3.
template <std::size_t Stride, int Shift>
void inverse_pass(std::int16_t* values) noexcept
{
    std::int32_t in[side];
    for (std::size_t i = 0; i < side; ++i)
        in[i] = values[i * Stride];
    for (std::size_t k = 0; k < side / 2; ++k) {
        const auto even =
            static_cast<std::uint32_t>(dot(jpeg_dct_even[k], in[0], in[2], in[4], in[6]));
        const auto odd =
            static_cast<std::uint32_t>(dot(jpeg_dct_odd[k], in[1], in[3], in[5], in[7]));
        values[k * Stride] = descale(static_cast<std::int32_t>(even + odd), Shift);
        values[(side - 1 - k) * Stride] = descale(static_cast<std::int32_t>(even - odd), Shift);
    }
}

[[nodiscard]] bool has_only_dc(const std::int16_t* block) noexcept
{
    std::int32_t all = 0;
    for (std::size_t i = 1; i < jpeg_block_size; ++i)
        all |= block[i];
    return all == 0;
}

template <std::size_t Stride, int Shift>
void forward_pass(std::int16_t* values) noexcept
{
    // In 16 bits, as the other forms add.
    std::int16_t sum[side / 2];
    std::int16_t difference[side / 2];
    for (std::size_t i = 0; i < side / 2; ++i) {
        const std::int32_t a = values[i * Stride];
        const std::int32_t b = values[(side - 1 - i) * Stride];
        sum[i] = static_cast<std::int16_t>(a + b);
        difference[i] = static_cast<std::int16_t>(a - b);
    }
    for (std::size_t k = 0; k < side / 2; ++k) {
        const std::int16_t even[4] = {jpeg_dct_even[0][k], jpeg_dct_even[1][k], jpeg_dct_even[2][k],
                                      jpeg_dct_even[3][k]};
        const std::int16_t odd[4] = {jpeg_dct_odd[0][k], jpeg_dct_odd[1][k], jpeg_dct_odd[2][k],
                                     jpeg_dct_odd[3][k]};
        values[2 * k * Stride] = descale(dot(even, sum[0], sum[1], sum[2], sum[3]), Shift);
        values[(2 * k + 1) * Stride] =
            descale(dot(odd, difference[0], difference[1], difference[2], difference[3]), Shift);
    }
}

NUV_JPEGResult fdct_quant(std::int16_t* block, const std::uint16_t* table)
{
    if (block == nullptr || table == nullptr)
        return NUV_JPEGResult::null_pointer;

    for (std::size_t y = 0; y < side; ++y)
        forward_pass<1, jpeg_dct_first_shift>(block + y * side);
    for (std::size_t x = 0; x < side; ++x)
        forward_pass<side, jpeg_dct_second_shift>(block + x);
    for (std::size_t i = 0; i < jpeg_block_size; ++i)
        block[i] = quantise(block[i], table[i]);
    return NUV_JPEGResult::good;
}

// 32768 / quantiser to nearest, ties to even, from the quotient with 16 more bits.
[[nodiscard]] std::uint16_t inverse_of(std::uint8_t quantiser) noexcept
{
    const std::uint32_t quotient = (32768U << 16) / quantiser;
    return static_cast<std::uint16_t>((quotient + ((quotient & 0x10000U) >> 15) + 32767U) >> 16);
}

NUV_JPEGResult quant_forward_init(const std::uint8_t* raw, std::uint16_t* table)
{
    if (raw == nullptr || table == nullptr)
        return NUV_JPEGResult::null_pointer;

    NUV_JPEGResult result = NUV_JPEGResult::good;
    for (std::size_t i = 0; i < jpeg_block_size; ++i) {
        std::uint16_t& entry = table[jpeg_zigzag[i]];
        if (raw[i] == 0) {
            entry = 65535;
            result = NUV_JPEGResult::zero_quantiser;
            continue;
        }
        entry = inverse_of(raw[i]);
    }
    return result;
}

} // namespace

NUV_JPEGResult idct_dequant(const std::int16_t* coefficients, std::int16_t* output,
                            const std::int16_t* table)
{
    if (coefficients == nullptr || output == nullptr || table == nullptr)
        return NUV_JPEGResult::null_pointer;

    if (has_only_dc(coefficients)) {
        // Both passes at once: 8192 / 2^11 in the first, 8192 / 2^18 in the second.
        const std::int32_t dc = saturate_to_16_bits(std::int32_t{coefficients[0]} * table[0]);
        const std::int32_t first = saturate_to_16_bits(4 * dc);
        std::fill_n(output, jpeg_block_size, static_cast<std::int16_t>((first + 16) >> 5));
        return NUV_JPEGResult::good;
    }
    for (std::size_t i = 0; i < jpeg_block_size; ++i)
        output[i] = saturate_to_16_bits(std::int32_t{coefficients[i]} * table[i]);
    for (std::size_t x = 0; x < side; ++x)
        inverse_pass<side, jpeg_dct_first_shift>(output + x);
    for (std::size_t y = 0; y < side; ++y)
        inverse_pass<1, jpeg_dct_second_shift>(output + y * side);
    return NUV_JPEGResult::good;
}

void set_portable_transform_forms(NUV_JPEGPrimitives& primitives) noexcept
{
    primitives.fdct_quant = fdct_quant;
    primitives.transform_blocks = transform_each<fdct_quant, non_zero_mask>;
    primitives.quant_forward_init = quant_forward_init;
    primitives.idct_dequant = idct_dequant;
}

} // namespace nuv
