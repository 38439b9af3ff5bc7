#include "core/scale/nuv_scaleiar.h"

#include "core/include/nuv_pixelcopy.h"
#include "core/include/nuv_scaleframe.h"
#include "core/scale/nuv_scaleengine.h"
#include "framework/base/nuv_held.h"
#include "framework/engine/nuv_stepblocks.h"

#include <algorithm>
#include <cstddef>
#include <limits>
#include <type_traits>

namespace nuv {
namespace {

// The mean of `count` samples from their sum, rounded half up.
template <class Sum>
class NUV_RoundedMean {
public:
    explicit NUV_RoundedMean(std::uint32_t count) noexcept
        : count_(static_cast<Sum>(std::max(count, 1U))),
          half_(static_cast<Sum>(count >> 1)),
          inverse_(static_cast<Real>(1.0 / count))
    {}

    // Small sums are divided by a multiplication of real numbers, which vectorises: with the half
    // added, the quotient is 0.5 / count away from every integer, and its error far smaller. In
    // single precision it is below 256 x 2^-22, for a count of at most 256.
    [[nodiscard]] Sum of(Sum sum) const noexcept
    {
        if constexpr (std::is_same_v<Sum, std::uint64_t>) {
            return (sum + half_) / count_;
        } else {
            const std::int32_t moved = sum + half_;
            const Real quotient = (static_cast<Real>(moved) + Real{0.5F}) * inverse_;
            return static_cast<Sum>(static_cast<std::int32_t>(quotient));
        }
    }

private:
    using Real = std::conditional_t<std::is_same_v<Sum, std::uint16_t>, float, double>;

    Sum count_;
    Sum half_;
    Real inverse_;
};

// The same for a count of 2 to the power of `Shift`, of which the sums are small.
template <int Shift, class Sum = std::int32_t>
class NUV_ShiftedMean {
public:
    [[nodiscard]] static constexpr Sum of(Sum sum) noexcept
    {
        return static_cast<Sum>(static_cast<Sum>(sum + (1 << Shift >> 1)) >> Shift);
    }
};

// True when a Sum holds sums of `count` samples of T, rounding included.
template <class T, class Sum = std::int32_t>
bool sums_are_small(std::uint32_t count) noexcept
{
    const std::uint64_t most = std::uint64_t{count} * std::numeric_limits<T>::max() + count / 2;
    return most <= static_cast<std::uint64_t>(std::numeric_limits<Sum>::max());
}

// Means of two samples each.
template <class T>
void average_pairs(const T* __restrict first, const T* __restrict second, T* __restrict out,
                   std::size_t samples) noexcept
{
    for (std::size_t i = 0; i < samples; ++i)
        out[i] = static_cast<T>((first[i] + second[i] + 1) >> 1);
}

// Means of `factor` neighbours. `Factor` is that number, or 0 to be told at run time.
template <int Channels, std::uint32_t Factor, class Sum, class T, class Mean>
void average_pixels(const T* __restrict in, T* __restrict out, std::size_t pixels,
                    std::uint32_t factor, std::size_t channels, const Mean& mean) noexcept
{
    const std::size_t step = Channels != 0 ? Channels : channels;
    const std::size_t count = Factor != 0 ? Factor : factor;
    for (std::size_t k = 0; k < pixels; ++k) {
        for (std::size_t c = 0; c < step; ++c) {
            const T* from = in + k * count * step + c;
            Sum sum = 0;
            for (std::size_t i = 0; i < count; ++i)
                sum = sum + static_cast<Sum>(from[i * step]);
            out[k * step + c] = static_cast<T>(mean.of(sum));
        }
    }
}

// The same with the kernel for the factor.
template <int Channels, class T>
void average_row(const T* in, T* out, std::size_t pixels, std::uint32_t factor,
                 std::size_t channels) noexcept
{
    using Small = std::int32_t;
    if (factor == 2)
        average_pixels<Channels, 2, Small>(in, out, pixels, 2, channels, NUV_ShiftedMean<1>());
    else if (factor == 4)
        average_pixels<Channels, 4, Small>(in, out, pixels, 4, channels, NUV_ShiftedMean<2>());
    else if (sums_are_small<T>(factor))
        average_pixels<Channels, 0, Small>(in, out, pixels, factor, channels,
                                           NUV_RoundedMean<Small>(factor));
    else
        average_pixels<Channels, 0, std::uint64_t>(in, out, pixels, factor, channels,
                                                   NUV_RoundedMean<std::uint64_t>(factor));
}

template <class T, class Sum, class Mean>
void average_sums(const Sum* __restrict sums, T* __restrict out, std::size_t samples,
                  const Mean& mean) noexcept
{
    for (std::size_t s = 0; s < samples; ++s)
        out[s] = static_cast<T>(mean.of(sums[s]));
}

template <class T, class Sum>
void add_samples(const T* __restrict in, Sum* __restrict sums, std::size_t samples) noexcept
{
    for (std::size_t s = 0; s < samples; ++s)
        sums[s] = static_cast<Sum>(sums[s] + in[s]);
}

template <IntegerSample T>
class NUV_ScaleWidthIAREngine final : public NUV_ScaleWidthEngine {
public:
    static constexpr auto initiate_method = "NUV_ScaleWidthIAREngine::initiate()";
    using NUV_ScaleWidthEngine::NUV_ScaleWidthEngine;

    [[nodiscard]] bool initiate(const NUV_Header* header, NUV_SrcBuffer* src, NUV_DstBuffer* dst,
                                std::uint32_t width)
    {
        if (!NUV_ScaleWidthEngine::initiate(header, src, dst, width, initiate_method))
            return false;
        if (!holds_samples_of<T>(*header))
            return fail(manager(), NUV_ERR_UNSUPPORTED, initiate_method);
        if (source_width_ % width != 0)
            return fail(manager(), NUV_ERR_ARGUMENT, initiate_method);
        factor_ = source_width_ / width;
        return !averages_pairs() ||
               pairs_.allocate(manager(), std::size_t{source_width_} * channels_);
    }

private:
    // Of several channels it is faster to take the means of all neighbours, without a gap, and then
    // to drop every other one.
    [[nodiscard]] bool averages_pairs() const noexcept { return factor_ == 2 && channels_ > 1; }

    void process_line(const std::uint8_t* in, std::uint8_t* out) override
    {
        const auto* samples = reinterpret_cast<const T*>(in);
        if (averages_pairs()) {
            average_pairs(samples, samples + channels_, pairs_.data(), pairs_.size() - channels_);
            const std::size_t pixel_bytes = channels_ * sizeof(T);
            visit_pixel_bytes(pixel_bytes, [&]<std::size_t PixelBytes>() {
                stride_pixels<PixelBytes>(reinterpret_cast<const std::uint8_t*>(pairs_.data()),
                                          2 * static_cast<std::ptrdiff_t>(pixel_bytes), out,
                                          destination_width_, pixel_bytes);
            });
            return;
        }
        visit_channels(channels_, [&]<int Channels>() {
            average_row<Channels>(samples, reinterpret_cast<T*>(out), destination_width_, factor_,
                                  channels_);
        });
    }

    std::uint32_t factor_ = 1;
    NUV_Scratch<T> pairs_; // the mean of every sample and that of the next pixel
};

template <IntegerSample T>
class NUV_ScaleHeightIAREngine final : public NUV_ScaleHeightEngine {
public:
    static constexpr auto initiate_method = "NUV_ScaleHeightIAREngine::initiate()";
    using NUV_ScaleHeightEngine::NUV_ScaleHeightEngine;

    [[nodiscard]] bool initiate(const NUV_Header* header, NUV_SrcBuffer* src, NUV_DstBuffer* dst,
                                std::uint32_t height)
    {
        if (!NUV_ScaleHeightEngine::initiate(header, src, dst, height))
            return false;
        if (!holds_samples_of<T>(*header))
            return fail(manager(), NUV_ERR_UNSUPPORTED, initiate_method);
        if (source_height_ % height != 0)
            return fail(manager(), NUV_ERR_ARGUMENT, initiate_method);
        factor_ = source_height_ / height;
        samples_ = std::size_t{header->width()} * header->channels();
        if (factor_ == 2)
            return true;
        if (sums_are_small<T, std::uint16_t>(factor_))
            return narrow_sums_.allocate(manager(), samples_);
        return sums_are_small<T>(factor_) ? small_sums_.allocate(manager(), samples_)
                                          : large_sums_.allocate(manager(), samples_);
    }

    [[nodiscard]] bool delivers_what_it_writes() const override { return true; }
    [[nodiscard]] bool execute() override
    {
        if (line_ >= destination_height_)
            return false;
        if (factor_ == 2)
            return average_two_lines();
        if (narrow_sums_.size() != 0)
            return average_lines(narrow_sums_);
        return small_sums_.size() != 0 ? average_lines(small_sums_) : average_lines(large_sums_);
    }

private:
    [[nodiscard]] bool average_two_lines()
    {
        NUV_InputBlock upper(*src_buffer_);
        if (!upper)
            return false;
        NUV_InputBlock lower(*src_buffer_);
        if (!lower)
            return false;
        NUV_OutputBlock out(*dst_buffer_);
        if (!out)
            return false;
        average_pairs(upper.template as<T>(), lower.template as<T>(), out.template as<T>(),
                      samples_);
        ++line_;
        const bool released_upper = upper.release();
        const bool released_lower = lower.release();
        const bool committed = out.commit(line_bytes_);
        return released_upper && released_lower && committed;
    }

    template <class Sum>
    [[nodiscard]] bool average_lines(const NUV_Scratch<Sum>& sums)
    {
        for (std::uint32_t i = 0; i < factor_; ++i) {
            NUV_InputBlock in(*src_buffer_);
            if (!in)
                return false;
            if (i == 0)
                std::copy_n(in.as<T>(), samples_, sums.data());
            else
                add_samples(in.as<T>(), sums.data(), samples_);
            if (!in.release())
                return false;
        }
        NUV_OutputBlock out(*dst_buffer_);
        if (!out)
            return false;
        if (factor_ == 4)
            average_sums(sums.data(), out.as<T>(), samples_, NUV_ShiftedMean<2, Sum>());
        else
            average_sums(sums.data(), out.as<T>(), samples_, NUV_RoundedMean<Sum>(factor_));
        ++line_;
        return out.commit(line_bytes_);
    }

    std::uint32_t factor_ = 1;
    std::size_t samples_ = 0;
    // The narrowest of the three types that holds them.
    NUV_Scratch<std::uint16_t> narrow_sums_;
    NUV_Scratch<std::int32_t> small_sums_;
    NUV_Scratch<std::uint64_t> large_sums_;
};

} // namespace

NUV_Engine* NUV_ScaleWidthIAR::engine(NUV_Engine* previous, std::uint32_t width)
{
    constexpr auto method = "NUV_ScaleWidthIAR::engine()";

    return scale_unsigned(previous, Axis::width, width, method, [&]<class T>() -> NUV_Engine* {
        return append_new<NUV_ScaleWidthIAREngine<T>>(*previous, width);
    });
}

NUV_Engine* NUV_ScaleHeightIAR::engine(NUV_Engine* previous, std::uint32_t height)
{
    constexpr auto method = "NUV_ScaleHeightIAR::engine()";

    return scale_unsigned(previous, Axis::height, height, method, [&]<class T>() -> NUV_Engine* {
        return append_new<NUV_ScaleHeightIAREngine<T>>(*previous, height);
    });
}

NUV_Engine* NUV_ScaleIAR::engine(NUV_Engine* previous, std::uint32_t width, std::uint32_t height)
{
    if (!accepts(previous, width, height, "NUV_ScaleIAR::engine()"))
        return nullptr;
    return in_order(
        previous, height,
        [&](NUV_Engine* last) { return NUV_ScaleWidthIAR(manager()).engine(last, width); },
        [&](NUV_Engine* last) { return NUV_ScaleHeightIAR(manager()).engine(last, height); });
}

} // namespace nuv
