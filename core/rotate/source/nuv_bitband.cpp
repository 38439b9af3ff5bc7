#include "core/rotate/source/nuv_bitband.h"

#include <algorithm>
#include <bit>

namespace nuv {
namespace {

constexpr std::uint64_t top_bit = std::uint64_t{1} << 63;
constexpr std::size_t few = 4; // changes of a word

// Writes where the bits are, counted from `place`, and answers where that ends.
[[nodiscard]] inline std::uint32_t* append_bits(std::uint64_t bits, std::uint32_t place,
                                                std::uint32_t* out) noexcept
{
    while (bits != 0) {
        const std::uint64_t others = bits & (bits - 1);
        out[0] = place + static_cast<std::uint32_t>(std::countr_zero(bits));
        out[1] = place + static_cast<std::uint32_t>(std::countr_zero(others));
        out += others != 0 ? 2 : 1;
        bits = others & (others - 1);
    }
    return out;
}

// The same where mostly there are few bits: how many needs no branch then.
[[nodiscard]] inline std::uint32_t* append_few_bits(std::uint64_t bits, std::uint32_t place,
                                                    std::uint32_t* out) noexcept
{
    for (std::size_t i = 0; i < few; ++i) {
        *out = place + static_cast<std::uint32_t>(std::countr_zero(bits | top_bit));
        out += bits != 0 ? 1 : 0;
        bits &= bits - 1;
    }
    return append_bits(bits, place, out);
}

} // namespace

bool NUV_BitBand::cleanup()
{
    differences_.free();
    differs_.free();
    return true;
}

bool NUV_BitBand::initiate(const NUV_Turn& turn, std::uint32_t first_row, std::uint32_t end_row)
{
    turn_ = turn;
    first_place_ = std::min(turn.place_of(first_row), turn.place_of(end_row));
    if (!differences_.allocate(manager(), std::size_t{turn.width} + 1) ||
        !differs_.allocate(manager(), std::size_t{turn.width} + 1))
        return false;
    std::ranges::fill(differs_.items(), false);
    return true;
}

void NUV_BitBand::take(std::uint32_t first_row, std::uint32_t end_row,
                       std::span<const NUV_QDRLERun> line)
{
    const std::uint32_t a = turn_.place_of(first_row) - first_place_;
    const std::uint32_t b = turn_.place_of(end_row) - first_place_;
    const std::uint32_t end = std::max(a, b);
    for (std::uint32_t from = std::min(a, b); from < end;) {
        const std::uint32_t in_word = from % 64;
        const std::uint32_t count = std::min(end - from, 64 - in_word);
        const std::uint64_t bits = ~std::uint64_t{0} >> (64 - count) << in_word;
        const std::size_t word = from / 64;
        for (const NUV_QDRLERun& run : line) {
            difference_at(run.start)[word] ^= bits;
            difference_at(run.end + 1)[word] ^= bits;
        }
        from += count;
    }
}

bool NUV_BitBand::next_column() noexcept
{
    const std::uint32_t line = next_++;
    if (!differs_[line])
        return false;
    for (std::size_t i = 0; i < words; ++i)
        column_[i] ^= differences_[line][i];
    return true;
}

std::uint32_t* NUV_BitBand::append_changes(std::uint32_t* out, bool& is_black) noexcept
{
    const auto append_all = [&](auto append) {
        std::uint64_t before = is_black ? 1 : 0;
        std::uint32_t place = first_place_;
        for (const std::uint64_t word : column_) {
            out = append(word ^ (word << 1 | before), place, out);
            before = word >> 63;
            place += 64;
        }
        is_black = before != 0;
    };
    const std::uint32_t* const begin = out;
    if (change_count_ <= few * words)
        append_all(append_few_bits);
    else
        append_all(append_bits);
    change_count_ = static_cast<std::size_t>(out - begin);
    return out;
}

} // namespace nuv
