#include "core/jpeg/decode/nuv_jpegprogressive.h"

#include "core/jpeg/kernels/nuv_jpegcoefficients.h"
#include "core/jpeg/kernels/nuv_jpegtransform.h"

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
        return NUV_JPEGResult::good;
    if (!bits.holds(category))
        return bits.shortage();
    run += bits.take(category);
    return NUV_JPEGResult::good;
}

// The coefficients of a band that are not 0.
[[nodiscard]] std::uint32_t count_coefficients(const std::int16_t* block, std::uint32_t first,
                                               std::uint32_t last) noexcept
{
    std::int16_t count = 0;
    if (first == 1 && last == jpeg_last_coefficient) {
        for (std::size_t i = 0; i < jpeg_block_size; ++i)
            count = static_cast<std::int16_t>(count + (block[i] != 0 ? 1 : 0));
        return static_cast<std::uint32_t>(count - (block[0] != 0 ? 1 : 0));
    }
    for (std::uint32_t k = first; k <= last; ++k)
        count = static_cast<std::int16_t>(count + (block[jpeg_zigzag[k]] != 0 ? 1 : 0));
    return static_cast<std::uint32_t>(count);
}

// The walk over a block that is refined.
struct Refinement {
    std::int16_t* block;
    std::uint32_t k;     // where it stands
    std::uint32_t last;  // of the band
    std::uint32_t ahead; // coefficients that are not 0, from k on
    std::int32_t plane;  // the bit that is refined

    // One more bit for each coefficient that is not 0, passing `zeros` of those that are. Stops at
    // the next 0, or behind the band.
    [[nodiscard, gnu::always_inline]] inline NUV_JPEGResult pass(NUV_JPEGBitReader& bits,
                                                                 std::uint32_t zeros) noexcept
    {
        for (; k <= last; ++k) {
            if (ahead == 0) {
                k = std::min(k + zeros, last + 1);
                return NUV_JPEGResult::good;
            }
            std::int16_t& coefficient = block[jpeg_zigzag[k]];
            if (coefficient == 0) {
                if (zeros == 0)
                    return NUV_JPEGResult::good;
                --zeros;
                continue;
            }
            --ahead;
            if (!bits.holds(1))
                return bits.shortage();
            const std::int32_t magnitude = coefficient < 0 ? -coefficient : coefficient;
            if (bits.take(1) != 0 && (magnitude & plane) == 0)
                coefficient = saturate_to_16_bits(coefficient + (coefficient < 0 ? -plane : plane));
        }
        return NUV_JPEGResult::good;
    }
};

[[nodiscard, gnu::always_inline]] inline NUV_JPEGResult decode_ac_first_of(
    NUV_JPEGBitReader& bits, std::int16_t* block, const NUV_JPEGScanHeader& scan,
    const NUV_JPEGWideTable& table, std::uint32_t& run, std::uint8_t& occupied) noexcept
{
    NUV_JPEGCoefficient coefficient;
    std::uint32_t k = scan.first;
    while (k <= scan.last) {
        const NUV_JPEGResult result = read_coefficient(bits, table, k, coefficient);
        if (!is_good(result))
            return result;
        const std::uint32_t zeros = coefficient.symbol >> 4;
        if (coefficient.value != 0) {
            if (k > scan.last)
                return NUV_JPEGResult::run_past_block;
            block[jpeg_zigzag[k]] = at_plane(coefficient.value, scan.low);
            occupied = 1;
        } else if (zeros != 15) {
            std::uint32_t blocks = 0;
            const NUV_JPEGResult ended = read_run(bits, zeros, blocks);
            if (is_good(ended))
                run = blocks - 1;
            return ended;
        }
        ++k;
    }
    return NUV_JPEGResult::good;
}

[[nodiscard, gnu::always_inline]] inline NUV_JPEGResult refine_ac_of(
    NUV_JPEGBitReader& bits, std::int16_t* block, const NUV_JPEGScanHeader& scan,
    const NUV_JPEGWideTable& table, std::uint32_t& run, std::uint8_t& occupied) noexcept
{
    std::int16_t before[jpeg_block_size];
    std::copy_n(block, jpeg_block_size, before);
    const auto give_up = [&](NUV_JPEGResult result) {
        std::copy_n(before, jpeg_block_size, block);
        return result;
    };

    Refinement walk = {.block = block,
                       .k = scan.first,
                       .last = scan.last,
                       .ahead =
                           occupied != 0 ? count_coefficients(block, scan.first, scan.last) : 0,
                       .plane = std::int32_t{1} << scan.low};
    while (run == 0 && walk.k <= walk.last) {
        NUV_JPEGCoefficient coefficient;
        std::uint32_t unused = 0;
        constexpr std::uint32_t sign_alone = 1; // bits of a value
        NUV_JPEGResult result = read_coefficient<sign_alone>(bits, table, unused, coefficient);
        if (!is_good(result))
            return give_up(result);
        const std::uint32_t zeros = coefficient.symbol >> 4;
        if (coefficient.value == 0 && zeros != 15) {
            result = read_run(bits, zeros, run);
            if (!is_good(result))
                return give_up(result);
            break;
        }
        result = walk.pass(bits, zeros);
        if (!is_good(result))
            return give_up(result);
        if (coefficient.value != 0) {
            if (walk.k > walk.last)
                return give_up(NUV_JPEGResult::run_past_block);
            block[jpeg_zigzag[walk.k]] = at_plane(coefficient.value, scan.low);
            occupied = 1;
        }
        ++walk.k;
    }
    if (run == 0)
        return NUV_JPEGResult::good;
    constexpr std::uint32_t all = jpeg_block_size;
    const NUV_JPEGResult result = walk.pass(bits, all);
    if (!is_good(result))
        return give_up(result);
    --run;
    return NUV_JPEGResult::good;
}

} // namespace

NUV_JPEGResult decode_dc_first(NUV_JPEGBitReader& bits, std::int16_t* block,
                               std::int16_t& previous_dc, const NUV_JPEGWideTable& table,
                               std::uint32_t low) noexcept
{
    NUV_JPEGCoefficient difference;
    std::uint32_t no_run = 0;
    const NUV_JPEGResult result = read_coefficient(bits, table, no_run, difference);
    if (!is_good(result))
        return result;
    previous_dc = static_cast<std::int16_t>(previous_dc + difference.value);
    block[0] = at_plane(previous_dc, low);
    return NUV_JPEGResult::good;
}

NUV_JPEGResult refine_dc(NUV_JPEGBitReader& bits, std::int16_t* block, std::uint32_t low) noexcept
{
    if (!bits.holds(1))
        return bits.shortage();
    block[0] = static_cast<std::int16_t>(block[0] | static_cast<std::int32_t>(bits.take(1) << low));
    return NUV_JPEGResult::good;
}

NUV_JPEGResult decode_ac_first(NUV_JPEGBitReader& bits, std::int16_t* block,
                               const NUV_JPEGScanHeader& scan, const NUV_JPEGWideTable& table,
                               std::uint32_t& run, std::uint8_t& occupied) noexcept
{
    NUV_JPEGBitReader local = bits; // in registers
    const NUV_JPEGResult result = decode_ac_first_of(local, block, scan, table, run, occupied);
    bits = local;
    return result;
}

NUV_JPEGResult refine_ac(NUV_JPEGBitReader& bits, std::int16_t* block,
                         const NUV_JPEGScanHeader& scan, const NUV_JPEGWideTable& table,
                         std::uint32_t& run, std::uint8_t& occupied) noexcept
{
    NUV_JPEGBitReader local = bits; // in registers
    const NUV_JPEGResult result = refine_ac_of(local, block, scan, table, run, occupied);
    bits = local;
    return result;
}

} // namespace nuv
