#include "extension/scalei2utility/nuv_scalei2smallutility.h"

#include "framework/utility/nuv_sampletype.h"

#include <algorithm>
#include <cassert>
#include <limits>

namespace nuv {

bool NUV_ScaleI2Boxes::initiate(NUV_Manager& manager, std::uint32_t source,
                                std::uint32_t destination, double ratio)
{
    if (!starts_.allocate(manager, std::size_t{destination} + 1))
        return false;
    const double pixel = 1.0 / ratio;
    const double size = source;
    for (std::size_t k = 0; k <= destination; ++k) {
        const double edge = (static_cast<double>(k) - destination * 0.5) * pixel + size * 0.5;
        starts_[k] = static_cast<std::uint32_t>(std::clamp(edge + 0.5, 0.0, size));
    }
    most_count_ = 0;
    for (std::size_t k = 0; k < destination; ++k)
        most_count_ = std::max(most_count_, count(k));
    return true;
}

namespace {

constexpr std::size_t most_channels = 4;

template <class T, class Sum>
void add_line(const T* __restrict line, Sum* __restrict sums, std::size_t samples) noexcept
{
    for (std::size_t i = 0; i < samples; ++i)
        sums[i] = static_cast<Sum>(sums[i] + line[i]);
}

// Means of `count` samples of at most 16 bits from their sums, rounded half up. By a
// multiplication: with the half added the quotient is 0.5 / count away from every integer, and its
// error, 2^-51 of it, is far smaller while sums are below 2^49.
class NUV_BoxMean {
public:
    explicit NUV_BoxMean(std::uint64_t count) noexcept
        : count_(count),
          inverse_(1.0 / static_cast<double>(count))
    {}

    [[nodiscard]] std::uint64_t of(std::uint64_t sum) const noexcept
    {
        constexpr std::uint64_t most_count = std::uint64_t{1} << 33;
        const std::uint64_t moved = sum + (count_ >> 1);
        if (count_ > most_count)
            return moved / count_;
        const auto number = static_cast<double>(static_cast<std::int64_t>(moved));
        return static_cast<std::uint64_t>(static_cast<std::int64_t>((number + 0.5) * inverse_));
    }

private:
    std::uint64_t count_;
    double inverse_;
};

template <class T, class Sum>
[[nodiscard]] bool holds(std::uint64_t count) noexcept
{
    return count * std::numeric_limits<T>::max() <= std::numeric_limits<Sum>::max();
}

} // namespace

template <class T>
bool NUV_ScaleI2SmallUtility<T>::initiate(NUV_Manager& manager, const NUV_ScaleI2Boxes& columns,
                                          std::uint32_t channels, std::uint32_t most_rows)
{
    assert(channels <= most_channels);
    columns_ = &columns;
    channels_ = channels;
    first_sample_ = columns.start(0) * channels_;
    samples_ = columns.start(columns.boxes()) * channels_ - first_sample_;
    if (holds<T, std::uint16_t>(most_rows))
        return narrow_sums_.allocate(manager, samples_);
    if (holds<T, std::uint32_t>(most_rows))
        return sums_.allocate(manager, samples_);
    return wide_sums_.allocate(manager, samples_);
}

template <class T>
void NUV_ScaleI2SmallUtility<T>::clear() noexcept
{
    std::fill(narrow_sums_.items().begin(), narrow_sums_.items().end(), std::uint16_t{0});
    std::fill(sums_.items().begin(), sums_.items().end(), 0U);
    std::fill(wide_sums_.items().begin(), wide_sums_.items().end(), std::uint64_t{0});
}

template <class T>
void NUV_ScaleI2SmallUtility<T>::add(const T* line) noexcept
{
    // Two of the three have no samples.
    add_line(line + first_sample_, narrow_sums_.data(), narrow_sums_.size());
    add_line(line + first_sample_, sums_.data(), sums_.size());
    add_line(line + first_sample_, wide_sums_.data(), wide_sums_.size());
}

template <class T>
void NUV_ScaleI2SmallUtility<T>::divide(T* out, std::uint32_t rows, T maximum) const noexcept
{
    if (narrow_sums_.size() != 0)
        divide_sums(narrow_sums_.data(), out, rows, maximum);
    else if (sums_.size() != 0)
        divide_sums(sums_.data(), out, rows, maximum);
    else
        divide_sums(wide_sums_.data(), out, rows, maximum);
}

template <class T>
template <class Sum>
void NUV_ScaleI2SmallUtility<T>::divide_sums(const Sum* sums, T* out, std::uint32_t rows,
                                             T maximum) const noexcept
{
    visit_channels(static_cast<std::uint32_t>(channels_), [&]<int Channels>() {
        const std::size_t step = Channels != 0 ? Channels : channels_;
        const Sum* column = sums;
        const std::uint32_t boxes = columns_->boxes();
        for (std::uint32_t k = 0; k < boxes; ++k) {
            const std::uint32_t columns = columns_->count(k);
            const std::uint64_t count = std::uint64_t{columns} * rows;
            assert(count > 0); // no box is empty
            const NUV_BoxMean mean(count);
            // All channels at once: a box has so few columns that it is not worth a loop for each.
            std::uint64_t totals[Channels != 0 ? Channels : most_channels] = {};
            for (std::uint32_t i = 0; i < columns; ++i) {
                for (std::size_t c = 0; c < step; ++c)
                    totals[c] += column[i * step + c];
            }
            for (std::size_t c = 0; c < step; ++c) {
                out[k * step + c] =
                    static_cast<T>(std::min<std::uint64_t>(mean.of(totals[c]), maximum));
            }
            column += columns * step;
        }
    });
}

template class NUV_ScaleI2SmallUtility<std::uint8_t>;
template class NUV_ScaleI2SmallUtility<std::uint16_t>;

} // namespace nuv
