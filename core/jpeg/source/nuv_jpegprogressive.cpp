#include "core/jpeg/source/nuv_jpegprogressive.h"

#include "core/jpeg/source/nuv_jpegcoefficients.h"
#include "core/jpeg/source/nuv_jpegtransform.h"

#include <algorithm>

namespace nuv {
namespace {

// The bits of a value from its plane `low` on, as a coefficient.
[[nodiscard]] std::int16_t at_plane(std::int32_t value, std::uint32_t low) noexcept
{
    return saturate_to_16_bits(value * (std::int32_t{1} << low));
}

// Figure G.3: the length of an end-of-band run that includes this block.
[[nodiscard]] NUV_JPEGResult read_run(NUV_JPEGBitReader& bits, std::uint32_t category,
                                      std::uint32_t& run) noexcept
{
    run = 1U << category;
    if (category == 0)
        return jpeg_good;
    if (!bits.holds(category))
        return bits.shortage();
    run += bits.take(category);
    return jpeg_good;
}

// One more bit for each coefficient of the band that is not 0, from `k` on, passing `zeros` of
// those that are. `k` stops at the next 0, or behind the band.
[[nodiscard]] NUV_JPEGResult refine_until(NUV_JPEGBitReader& bits, std::int16_t* block,
                                          std::uint32_t& k, std::uint32_t last,
                                          std::uint32_t zeros, std::uint32_t low) noexcept
{
    for (; k <= last; ++k) {
        std::int16_t& coefficient = block[jpeg_zigzag[k]];
        if (coefficient == 0) {
            if (zeros == 0)
                return jpeg_good;
            --zeros;
            continue;
        }
        if (!bits.holds(1))
            return bits.shortage();
        const auto plane = static_cast<std::int32_t>(1U << low);
        const std::int32_t magnitude = coefficient < 0 ? -coefficient : coefficient;
        if (bits.take(1) != 0 && (magnitude & plane) == 0)
            coefficient = saturate_to_16_bits(coefficient + (coefficient < 0 ? -plane : plane));
    }
    return jpeg_good;
}

} // namespace

NUV_JPEGResult decode_dc_first(NUV_JPEGBitReader& bits, std::int16_t* block,
                               std::int16_t& previous_dc, const NUV_JPEGWideTable& table,
                               std::uint32_t low) noexcept
{
    NUV_JPEGCoefficient difference;
    std::uint32_t no_run = 0;
    const NUV_JPEGResult result = read_coefficient(bits, table, no_run, difference);
    if (result != jpeg_good)
        return result;
    previous_dc = static_cast<std::int16_t>(previous_dc + difference.value);
    block[0] = at_plane(previous_dc, low);
    return jpeg_good;
}

NUV_JPEGResult refine_dc(NUV_JPEGBitReader& bits, std::int16_t* block, std::uint32_t low) noexcept
{
    if (!bits.holds(1))
        return bits.shortage();
    block[0] = static_cast<std::int16_t>(block[0] | static_cast<std::int32_t>(bits.take(1) << low));
    return jpeg_good;
}

NUV_JPEGResult decode_ac_first(NUV_JPEGBitReader& bits, std::int16_t* block,
                               const NUV_JPEGScanHeader& scan, const NUV_JPEGWideTable& table,
                               std::uint32_t& run) noexcept
{
    NUV_JPEGCoefficient coefficient;
    std::uint32_t k = scan.first;
    while (k <= scan.last) {
        const NUV_JPEGResult result = read_coefficient(bits, table, k, coefficient);
        if (result != jpeg_good)
            return result;
        const std::uint32_t zeros = coefficient.symbol >> 4;
        if (coefficient.value != 0) {
            if (k > scan.last)
                return jpeg_run_past_block;
            block[jpeg_zigzag[k]] = at_plane(coefficient.value, scan.low);
        } else if (zeros != 15) {
            std::uint32_t blocks = 0;
            const NUV_JPEGResult ended = read_run(bits, zeros, blocks);
            if (ended == jpeg_good)
                run = blocks - 1;
            return ended;
        }
        ++k;
    }
    return jpeg_good;
}

NUV_JPEGResult refine_ac(NUV_JPEGBitReader& bits, std::int16_t* block,
                         const NUV_JPEGScanHeader& scan, const NUV_JPEGWideTable& table,
                         std::uint32_t& run) noexcept
{
    std::int16_t before[jpeg_block_size];
    std::copy_n(block, jpeg_block_size, before);
    const auto give_up = [&](NUV_JPEGResult result) {
        std::copy_n(before, jpeg_block_size, block);
        return result;
    };

    std::uint32_t k = scan.first;
    while (run == 0 && k <= scan.last) {
        NUV_JPEGCoefficient coefficient;
        std::uint32_t unused = 0;
        NUV_JPEGResult result = read_coefficient(bits, table, unused, coefficient);
        if (result != jpeg_good)
            return give_up(result);
        const std::uint32_t zeros = coefficient.symbol >> 4;
        if ((coefficient.symbol & 15U) > 1)
            return give_up(jpeg_run_past_block);
        if (coefficient.value == 0 && zeros != 15) {
            result = read_run(bits, zeros, run);
            if (result != jpeg_good)
                return give_up(result);
            break;
        }
        result = refine_until(bits, block, k, scan.last, zeros, scan.low);
        if (result != jpeg_good)
            return give_up(result);
        if (coefficient.value != 0) {
            if (k > scan.last)
                return give_up(jpeg_run_past_block);
            block[jpeg_zigzag[k]] = at_plane(coefficient.value, scan.low);
        }
        ++k;
    }
    if (run == 0)
        return jpeg_good;
    constexpr std::uint32_t all = jpeg_block_size;
    const NUV_JPEGResult result = refine_until(bits, block, k, scan.last, all, scan.low);
    if (result != jpeg_good)
        return give_up(result);
    --run;
    return jpeg_good;
}

} // namespace nuv
