#include "core/rotate/source/nuv_bitband.h"

#include <algorithm>
#include <bit>

namespace nuv {

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

std::uint32_t* NUV_BitBand::append_changes(std::uint32_t* out, bool& is_black) const noexcept
{
    std::uint64_t before = is_black ? 1 : 0;
    std::uint32_t place = first_place_;
    for (const std::uint64_t word : column_) {
        // Two at a time, since most areas are small.
        for (std::uint64_t changes = word ^ (word << 1 | before); changes != 0;) {
            const std::uint64_t others = changes & (changes - 1);
            out[0] = place + static_cast<std::uint32_t>(std::countr_zero(changes));
            out[1] = place + static_cast<std::uint32_t>(std::countr_zero(others));
            out += others != 0 ? 2 : 1;
            changes = others & (others - 1);
        }
        before = word >> 63;
        place += 64;
    }
    is_black = before != 0;
    return out;
}

} // namespace nuv
