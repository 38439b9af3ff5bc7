#include "core/scale/nuv_scaleiar.h"

#include "core/include/nuv_scaleframe.h"
#include "core/scale/nuv_scaleengine.h"
#include "framework/base/nuv_version.h"

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
        : count_(static_cast<Sum>(count)), half_(static_cast<Sum>(count >> 1)),
          inverse_(1.0 / count)
    {
    }

    // Below 2^32 the division is a multiplication in double precision, which vectorises: with the
    // half added, the quotient is 0.5 / count away from every integer, and its error far smaller.
    [[nodiscard]] Sum of(Sum sum) const noexcept
    {
        if constexpr (std::is_same_v<Sum, std::int32_t>)
            return static_cast<Sum>((static_cast<double>(sum + half_) + 0.5) * inverse_);
        else
            return (sum + half_) / count_;
    }

private:
    Sum count_;
    Sum half_;
    double inverse_;
};

// True when sums of `count` samples of T, rounding included, fit 31 bits.
template <class T>
bool sums_are_small(std::uint32_t count) noexcept
{
    const std::uint64_t most = std::uint64_t{count} * std::numeric_limits<T>::max() + count / 2;
    return most <= static_cast<std::uint64_t>(std::numeric_limits<std::int32_t>::max());
}

// Calls visit.operator()<Sum>() with what holds the sums of `count` samples of T.
template <class T, class Visit>
auto visit_sum_type(std::uint32_t count, Visit&& visit)
{
    return sums_are_small<T>(count) ? visit.template operator()<std::int32_t>()
                                    : visit.template operator()<std::uint64_t>();
}

template <class T, class Sum, int Channels>
void average_pixels(const T* in, T* out, std::size_t pixels, std::uint32_t factor,
                    std::size_t channels) noexcept
{
    const NUV_RoundedMean<Sum> mean(factor);
    const std::size_t step = Channels != 0 ? Channels : channels;
    for (std::size_t k = 0; k < pixels; ++k) {
        for (std::size_t c = 0; c < step; ++c) {
            const T* from = in + k * factor * step + c;
            Sum sum = 0;
            for (std::size_t i = 0; i < factor; ++i)
                sum = sum + static_cast<Sum>(from[i * step]);
            out[k * step + c] = static_cast<T>(mean.of(sum));
        }
    }
}

template <IntegerSample T>
class NUV_ScaleWidthIAREngine final : public NUV_ScaleWidthEngine {
public:
    using NUV_ScaleWidthEngine::NUV_ScaleWidthEngine;

    [[nodiscard]] bool initiate(const NUV_Header* header, NUV_SrcBuffer* src, NUV_DstBuffer* dst,
                                std::uint32_t width)
    {
        constexpr auto method = "NUV_ScaleWidthIAREngine::initiate()";

        if (!compatible_version(NUV_VERSION))
            return fail(manager(), NUV_ERR_VERSION, method);
        if (!NUV_ScaleWidthEngine::initiate(header, src, dst, width))
            return false;
        if (!holds_samples_of<T>(*header))
            return fail(manager(), NUV_ERR_UNSUPPORTED, method);
        if (source_width_ % width != 0)
            return fail(manager(), NUV_ERR_ARGUMENT, method);
        factor_ = source_width_ / width;
        return true;
    }

private:
    void process_line(const std::uint8_t* in, std::uint8_t* out) override
    {
        visit_sum_type<T>(factor_, [&]<class Sum>() {
            visit_channels(channels_, [&]<int Channels>() {
                average_pixels<T, Sum, Channels>(reinterpret_cast<const T*>(in),
                                                 reinterpret_cast<T*>(out), destination_width_,
                                                 factor_, channels_);
            });
        });
    }

    std::uint32_t factor_ = 1;
};

template <IntegerSample T>
class NUV_ScaleHeightIAREngine final : public NUV_ScaleHeightEngine {
public:
    using NUV_ScaleHeightEngine::NUV_ScaleHeightEngine;

    [[nodiscard]] bool initiate(const NUV_Header* header, NUV_SrcBuffer* src, NUV_DstBuffer* dst,
                                std::uint32_t height)
    {
        constexpr auto method = "NUV_ScaleHeightIAREngine::initiate()";

        if (!compatible_version(NUV_VERSION))
            return fail(manager(), NUV_ERR_VERSION, method);
        if (!NUV_ScaleHeightEngine::initiate(header, src, dst, height))
            return false;
        if (!holds_samples_of<T>(*header))
            return fail(manager(), NUV_ERR_UNSUPPORTED, method);
        if (source_height_ % height != 0)
            return fail(manager(), NUV_ERR_ARGUMENT, method);
        factor_ = source_height_ / height;
        samples_ = std::size_t{header->width()} * header->channels();
        return sums_are_small<T>(factor_) ? small_sums_.allocate(manager(), samples_)
                                          : large_sums_.allocate(manager(), samples_);
    }

    [[nodiscard]] bool execute() override
    {
        if (line_ >= destination_height_)
            return false;
        return sums_are_small<T>(factor_) ? average_lines(small_sums_) : average_lines(large_sums_);
    }

private:
    template <class Sum>
    [[nodiscard]] bool average_lines(const NUV_Scratch<Sum>& sums)
    {
        Sum* sum = sums.data();
        for (std::uint32_t i = 0; i < factor_; ++i) {
            const auto* in = static_cast<const T*>(src_buffer_->get(nullptr));
            if (!in)
                return false;
            for (std::size_t s = 0; s < samples_; ++s)
                sum[s] = (i == 0 ? Sum{0} : sum[s]) + static_cast<Sum>(in[s]);
            if (!src_buffer_->release())
                return false;
        }
        auto* out = static_cast<T*>(dst_buffer_->get());
        if (!out)
            return false;
        const NUV_RoundedMean<Sum> mean(factor_);
        for (std::size_t s = 0; s < samples_; ++s)
            out[s] = static_cast<T>(mean.of(sum[s]));
        ++line_;
        return dst_buffer_->release(line_bytes_);
    }

    std::uint32_t factor_ = 1;
    std::size_t samples_ = 0;
    NUV_Scratch<std::int32_t> small_sums_;
    NUV_Scratch<std::uint64_t> large_sums_;
};

// Calls visit.operator()<T>() for unsigned samples, else otherwise().
template <class Visit, class Otherwise>
auto visit_unsigned_type(const NUV_Header& header, Visit&& visit, Otherwise&& otherwise)
{
    if (header.data_type() == NUV_DataType::u_integer && header.bits() == 8)
        return visit.template operator()<std::uint8_t>();
    if (header.data_type() == NUV_DataType::u_integer && header.bits() == 16)
        return visit.template operator()<std::uint16_t>();
    return otherwise();
}

} // namespace

NUV_Engine* NUV_ScaleWidthIAR::engine(NUV_Engine* previous, std::uint32_t width)
{
    constexpr auto method = "NUV_ScaleWidthIAR::engine()";

    if (!accepts(previous, width, method))
        return nullptr;
    if (width == previous->header()->width())
        return previous;
    return visit_unsigned_type(
        *previous->header(),
        [&]<class T>() -> NUV_Engine* {
            return append_new<NUV_ScaleWidthIAREngine<T>>(*previous, width);
        },
        [&]() -> NUV_Engine* { return fail(manager(), NUV_ERR_UNSUPPORTED, method); });
}

NUV_Engine* NUV_ScaleHeightIAR::engine(NUV_Engine* previous, std::uint32_t height)
{
    constexpr auto method = "NUV_ScaleHeightIAR::engine()";

    if (!accepts(previous, height, method))
        return nullptr;
    if (height == previous->header()->height())
        return previous;
    return visit_unsigned_type(
        *previous->header(),
        [&]<class T>() -> NUV_Engine* {
            return append_new<NUV_ScaleHeightIAREngine<T>>(*previous, height);
        },
        [&]() -> NUV_Engine* { return fail(manager(), NUV_ERR_UNSUPPORTED, method); });
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
