#include "core/jpeg/decode/nuv_jpegfusedcolor.h"

#include "core/jpeg/kernels/nuv_jpegtransform.h"

namespace nuv {
namespace {

constexpr std::size_t side = 8;
constexpr std::int32_t unit = 512; // of the weights: 1.402, 0.344, 0.714 and 1.772

using Block = std::array<std::int16_t, jpeg_block_size>;

void dequantise(const std::int16_t* coefficients, const NUV_JPEGFactors& factors,
                Block& out) noexcept
{
    for (std::size_t i = 0; i < out.size(); ++i)
        out[i] = saturate_to_16_bits(std::int32_t{coefficients[i]} * factors[i]);
}

// To nearest, halves away from zero.
std::int16_t divide_by_unit(std::int32_t sum) noexcept
{
    const std::int32_t half = sum < 0 ? -unit / 2 : unit / 2;
    return saturate_to_16_bits((sum + half) / unit);
}

// Red, green and blue less the luma, to which `luma` is added where there is one.
void combine(const Block* luma, const Block& blue_difference, const Block& red_difference,
             std::array<Block, 3>& out) noexcept
{
    for (std::size_t i = 0; i < jpeg_block_size; ++i) {
        const std::int32_t y = luma != nullptr ? unit * (*luma)[i] : 0;
        const std::int32_t cb = blue_difference[i];
        const std::int32_t cr = red_difference[i];
        out[0][i] = divide_by_unit(y + 0x2CE * cr);
        out[1][i] = divide_by_unit(y - 0xB0 * cb - 0x16D * cr);
        out[2][i] = divide_by_unit(y + 0x38A * cb);
    }
}

void transform(const NUV_JPEGPrimitives& primitives, Block& block) noexcept
{
    static constexpr auto ones = [] {
        Block all{};
        all.fill(1);
        return all;
    }();
    static_cast<void>(primitives.idct_dequant(block.data(), block.data(), ones.data()));
}

// The luma block at (across, down) of its MCU plus the part of the differences that lies under it.
void add_differences(const Block& luma, const Block& differences, const NUV_JPEGRGBBlocks& blocks,
                     std::size_t across, std::size_t down, Block& out) noexcept
{
    for (std::size_t y = 0; y < side; ++y) {
        const std::size_t row = (down * side + y) / blocks.down;
        for (std::size_t x = 0; x < side; ++x) {
            const std::size_t column = (across * side + x) / blocks.across;
            const std::int32_t sum = luma[side * y + x] + differences[side * row + column];
            out[side * y + x] = saturate_to_16_bits(sum);
        }
    }
}

} // namespace

void put_rgb_blocks(const NUV_JPEGRGBBlocks& blocks,
                    const std::array<const NUV_JPEGFactors*, 3>& factors, std::size_t mcu,
                    const NUV_JPEGPrimitives& primitives, NUV_JPEGBand& band) noexcept
{
    Block luma;
    Block blue_difference;
    Block red_difference;
    std::array<Block, 3> colors;
    dequantise(blocks.blue_difference, *factors[1], blue_difference);
    dequantise(blocks.red_difference, *factors[2], red_difference);

    if (blocks.across == 1) {
        dequantise(blocks.luma, *factors[0], luma);
        combine(&luma, blue_difference, red_difference, colors);
        for (std::size_t c = 0; c < colors.size(); ++c) {
            transform(primitives, colors[c]);
            band.put_sample_block(c, mcu, 0, colors[c].data());
        }
        return;
    }
    combine(nullptr, blue_difference, red_difference, colors);
    for (Block& differences : colors)
        transform(primitives, differences);
    for (std::size_t down = 0; down < blocks.down; ++down) {
        for (std::size_t across = 0; across < blocks.across; ++across) {
            const std::size_t place = down * blocks.across + across;
            dequantise(blocks.luma + place * jpeg_block_size, *factors[0], luma);
            transform(primitives, luma);
            for (std::size_t c = 0; c < colors.size(); ++c) {
                Block sums;
                add_differences(luma, colors[c], blocks, across, down, sums);
                band.put_sample_block(c, mcu * blocks.across + across, down, sums.data());
            }
        }
    }
}

} // namespace nuv
