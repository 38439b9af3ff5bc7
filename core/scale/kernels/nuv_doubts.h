#pragma once

#include <bit>
#include <cstddef>
#include <cstdint>

namespace nuv {

// The samples of some vectors that integers leave in doubt: those of vectors that have any. They
// are made again when all are noted, for a branch at each vector would be taken too often to cost
// nothing and too seldom to be guessed.
struct NUV_Doubts {
    static constexpr std::size_t most_vectors = 32;
    // Where more samples than that are made again, all are made sooner in double precision.
    static constexpr std::size_t most_samples = 4 * most_vectors;

    std::size_t begin[most_vectors]; // sample that the vector begins with
    std::uint32_t bits[most_vectors];
    std::size_t count = 0;

    // To be called of no more vectors than that.
    void note(std::size_t first, std::uint32_t doubt) noexcept
    {
        begin[count] = first;
        bits[count] = doubt;
        count += doubt != 0 ? 1 : 0;
    }
};

// Takes one of the bits of a doubt: the lower Sums, and as many above, which are of samples that
// were unpacked in the lower and in the upper halves of lanes of eight. Which sample it is of.
template <std::size_t Sums>
[[nodiscard]] std::size_t take_doubt_of_halves(std::uint32_t& doubt) noexcept
{
    const auto bit = static_cast<std::size_t>(std::countr_zero(doubt));
    doubt &= doubt - 1;
    return bit % Sums / 4 * 8 + bit / Sums * 4 + bit % 4;
}

} // namespace nuv
