#include "core/jpeg/decode/nuv_jpegprogressive.h"

#include "core/jpeg/kernels/nuv_jpegcoefficients.h"
#include "core/jpeg/kernels/nuv_jpegtransform.h"

#include <array>
#include <bit>
#include <cstddef>
#include <cstring>

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

// By a mask of eight bits: those that are set, in ascending order.
constexpr std::array<std::array<std::uint8_t, 8>, 256> set_bits = [] {
    std::array<std::array<std::uint8_t, 8>, 256> table{};
    for (std::size_t mask = 0; mask < table.size(); ++mask) {
        std::size_t count = 0;
        for (std::uint8_t bit = 0; bit < 8; ++bit) {
            if ((mask >> bit & 1U) != 0)
                table[mask][count++] = bit;
        }
    }
    return table;
}();

// The bits of a mask by their rank, and 64 for the 16 ranks behind the last of them.
class Places {
public:
    explicit Places(std::uint64_t mask) noexcept
    {
        constexpr std::uint64_t ones = 0x0101010101010101;
        std::uint64_t counts = mask - (mask >> 1 & 0x55 * ones); // of two bits, four, eight
        counts = (counts & 0x33 * ones) + (counts >> 2 & 0x33 * ones);
        counts = (counts + (counts >> 4)) & 0x0F * ones;
        const std::uint64_t ends = counts * ones; // ranks behind each eight
        std::uint64_t begin = 0;
        for (std::uint32_t shift = 0; shift < 64; shift += 8) {
            std::uint64_t eight = 0;
            std::memcpy(&eight, set_bits[mask >> shift & 0xFF].data(), sizeof(eight));
            eight += shift * ones;
            std::memcpy(&places_[begin], &eight, sizeof(eight));
            begin = ends >> shift & 0xFF;
        }
        std::memset(&places_[begin], 64, 16);
        size_ = static_cast<std::uint32_t>(begin);
    }

    [[nodiscard]] std::uint32_t size() const noexcept { return size_; }
    [[nodiscard]] std::uint32_t operator[](std::uint32_t rank) const noexcept
    {
        return places_[rank];
    }

private:
    std::array<std::uint8_t, 64 + 16> places_;
    std::uint32_t size_;
};

// The bits that refine the coefficients which are not 0 before a scan, one for each of them in
// zig-zag order: gathered as they come, to be added when all are there.
class Refinement {
public:
    // `coefficients` has a bit for each of them, by its index in zig-zag order.
    explicit Refinement(std::uint64_t coefficients) noexcept : coefficients_(coefficients) {}

    // Takes `count` bits, as many as coefficients are passed.
    [[nodiscard, gnu::always_inline]] inline NUV_JPEGResult take(NUV_JPEGBitReader& bits,
                                                                 std::uint32_t count) noexcept
    {
        constexpr std::uint32_t most = 32;
        for (; count > most; count -= most) {
            const NUV_JPEGResult result = take_at_once(bits, most);
            if (!is_good(result))
                return result;
        }
        return take_at_once(bits, count);
    }

    // The rest of the block, which has `count` of them.
    [[nodiscard, gnu::always_inline]] inline NUV_JPEGResult take_rest(NUV_JPEGBitReader& bits,
                                                                      std::uint32_t count) noexcept
    {
        return take(bits, count - taken_);
    }

    // Of the block, the coefficients whose bit is 1 get it at the plane `low`.
    void add_to(std::int16_t* block, std::uint32_t low) const noexcept
    {
        std::uint64_t left = coefficients_;
        std::uint64_t ones = taken_ != 0 ? gathered_ << (64 - taken_) : 0; // the first one highest
        for (; ones != 0; ones <<= 1, left &= left - 1) {
            std::int16_t& coefficient =
                block[jpeg_zigzag[static_cast<std::size_t>(std::countr_zero(left))]];
            const std::int32_t sign = coefficient >> 15;
            const std::int32_t magnitude = (coefficient ^ sign) - sign;
            const auto bit = static_cast<std::int32_t>(ones >> 63) & ~(magnitude >> low);
            const std::int32_t added = bit << low;
            coefficient = saturate_to_16_bits(coefficient + ((added ^ sign) - sign));
        }
    }

private:
    [[nodiscard, gnu::always_inline]] inline NUV_JPEGResult take_at_once(
        NUV_JPEGBitReader& bits, std::uint32_t count) noexcept
    {
        if (!bits.holds(count)) [[unlikely]] {
            bits.skip(bits.held()); // they are coefficients' still
            return bits.shortage();
        }
        gathered_ = gathered_ << count | bits.take_some(count);
        taken_ += count;
        return NUV_JPEGResult::good;
    }

    std::uint64_t coefficients_;
    std::uint64_t gathered_ = 0; // the last one lowest
    std::uint32_t taken_ = 0;
};

[[nodiscard, gnu::always_inline]] inline NUV_JPEGResult decode_ac_first_of(
    NUV_JPEGBitReader& bits, std::int16_t* block, const NUV_JPEGScanHeader& scan,
    const NUV_JPEGWideTable& table, std::uint32_t& run, std::uint64_t& mask) noexcept
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
            mask |= std::uint64_t{1} << k;
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

// Makes the coefficients of a mask 0 again.
[[gnu::noinline]] void take_back(std::int16_t* block, std::uint64_t coefficients) noexcept
{
    for (; coefficients != 0; coefficients &= coefficients - 1)
        block[jpeg_zigzag[static_cast<std::size_t>(std::countr_zero(coefficients))]] = 0;
}

[[nodiscard, gnu::always_inline]] inline NUV_JPEGResult refine_ac_of(
    NUV_JPEGBitReader& bits, std::int16_t* block, const NUV_JPEGScanHeader& scan,
    const NUV_JPEGWideTable& table, std::uint32_t& run, std::uint64_t& mask) noexcept
{
    const std::uint64_t band = band_of(scan);
    const std::uint64_t history = mask & band;
    Refinement refinement(history);
    if (run != 0) { // nothing else in this block
        const NUV_JPEGResult result =
            refinement.take_rest(bits, static_cast<std::uint32_t>(std::popcount(history)));
        if (is_good(result)) {
            refinement.add_to(block, scan.low);
            --run;
        }
        return result;
    }
    const Places zeros_at(~history & band);
    const std::uint32_t refined = scan.last - scan.first + 1 - zeros_at.size();
    std::uint32_t rank = 0; // of the zero that comes next
    const auto give_up = [&](NUV_JPEGResult result) {
        take_back(block, band & ~history);
        return result;
    };
    std::uint64_t found = mask;

    std::uint32_t k = scan.first;
    while (k <= scan.last) {
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
        // To the next 0 behind so many of them, or behind the band.
        rank += zeros;
        const std::uint32_t place = zeros_at[rank++];
        if (place > scan.last) [[unlikely]] {
            result = refinement.take_rest(bits, refined);
            if (is_good(result) && coefficient.value != 0)
                result = NUV_JPEGResult::run_past_block;
            if (!is_good(result))
                return give_up(result);
            break;
        }
        result = refinement.take(bits, place - k - zeros);
        if (!is_good(result))
            return give_up(result);
        if (coefficient.value != 0) {
            block[jpeg_zigzag[place]] =
                static_cast<std::int16_t>(coefficient.value * (std::int32_t{1} << scan.low));
            found |= std::uint64_t{1} << place;
        }
        k = place + 1;
    }
    if (run != 0) {
        const NUV_JPEGResult result = refinement.take_rest(bits, refined);
        if (!is_good(result))
            return give_up(result);
        --run;
    }
    refinement.add_to(block, scan.low);
    mask = found;
    return NUV_JPEGResult::good;
}

} // namespace

NUV_JPEGResult decode_dc_first(NUV_JPEGBitReader& bits, std::int16_t* block,
                               std::int16_t& previous_dc, const NUV_JPEGDecodeTable& table,
                               std::uint32_t low) noexcept
{
    std::int32_t difference = 0;
    const NUV_JPEGResult result = read_difference(bits, table, difference);
    if (!is_good(result))
        return result;
    previous_dc = static_cast<std::int16_t>(previous_dc + difference);
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
                               std::uint32_t& run, std::uint64_t& mask) noexcept
{
    NUV_JPEGBitReader local = bits; // in registers
    const NUV_JPEGResult result = decode_ac_first_of(local, block, scan, table, run, mask);
    bits = local;
    return result;
}

NUV_JPEGResult refine_ac(NUV_JPEGBitReader& bits, std::int16_t* block,
                         const NUV_JPEGScanHeader& scan, const NUV_JPEGWideTable& table,
                         std::uint32_t& run, std::uint64_t& mask) noexcept
{
    NUV_JPEGBitReader local = bits; // in registers
    const NUV_JPEGResult result = refine_ac_of(local, block, scan, table, run, mask);
    bits = local;
    return result;
}

} // namespace nuv
