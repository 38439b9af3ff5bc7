#pragma once

#include "framework/base/nuv_held.h"

#include <cstddef>
#include <cstdint>

namespace nuv {

// The boxes that an axis of the source falls into, one for each result pixel, without a gap and
// without an overlap.
class NUV_ScaleI2Boxes {
public:
    // `ratio` is result pixels per source pixel, 1 at most; the centres of both lie on each other.
    // False after NUV_ERR_MEMORY.
    [[nodiscard]] bool initiate(NUV_Manager& manager, std::uint32_t source,
                                std::uint32_t destination, double ratio);

    [[nodiscard]] std::uint32_t boxes() const noexcept
    {
        return static_cast<std::uint32_t>(starts_.size() - 1);
    }
    // Box k is the source pixels from start(k) to start(k + 1) - 1; there are some.
    [[nodiscard]] std::uint32_t start(std::size_t k) const noexcept { return starts_[k]; }
    [[nodiscard]] std::uint32_t count(std::size_t k) const noexcept
    {
        return starts_[k + 1] - starts_[k];
    }
    [[nodiscard]] std::uint32_t most_count() const noexcept { return most_count_; }

private:
    NUV_Scratch<std::uint32_t> starts_;
    std::uint32_t most_count_ = 0;
};

// The means of boxes, a row of them at a time. Lines are summed up column by column while they
// come; the columns of a box are put together once, behind its last line.
//
// T is std::uint8_t or std::uint16_t.
template <class T>
class NUV_ScaleI2SmallUtility {
public:
    // `columns` live as long as this. `channels` are 4 at most, as pictures of the mask scalers
    // have. `most_rows` is the largest number of lines of a box. False after NUV_ERR_MEMORY.
    [[nodiscard]] bool initiate(NUV_Manager& manager, const NUV_ScaleI2Boxes& columns,
                                std::uint32_t channels, std::uint32_t most_rows);

    // Begins a row of boxes.
    void clear() noexcept;
    // Adds a line of the source.
    void add(const T* line) noexcept;
    // The means of boxes of `rows` lines, rounded half up, at most `maximum`.
    void divide(T* out, std::uint32_t rows, T maximum) const noexcept;

private:
    template <class Sum>
    void divide_sums(const Sum* sums, T* out, std::uint32_t rows, T maximum) const noexcept;

    const NUV_ScaleI2Boxes* columns_ = nullptr;
    std::size_t channels_ = 0;
    std::size_t first_sample_ = 0; // of a line, where the first box begins
    std::size_t samples_ = 0;      // that the boxes take of a line
    // The sums of the columns so far, in the narrowest of the three types that holds them.
    NUV_Scratch<std::uint16_t> narrow_sums_;
    NUV_Scratch<std::uint32_t> sums_;
    NUV_Scratch<std::uint64_t> wide_sums_;
};

extern template class NUV_ScaleI2SmallUtility<std::uint8_t>;
extern template class NUV_ScaleI2SmallUtility<std::uint16_t>;

} // namespace nuv
