#include "core/include/nuv_scaleframe.h"
#include "core/scale/nuv_scaleengine.h"
#include "core/scale/nuv_scaleli.h"
#include "core/scale/nuv_scalenn.h"
#include "core/scale/source/nuv_cubicweights.h"
#include "core/scale/source/nuv_padline.h"
#include "core/scale/source/nuv_tapkernels.h"
#include "framework/base/nuv_version.h"

#include <algorithm>
#include <cstddef>

namespace nuv {
namespace {

// One output pixel: the sample where its two pixels begin, and the weight of the second one. Where
// that is 0 the second one is not looked at: it may lie outside the line.
template <RealNumber R>
struct NUV_LinearTaps {
    std::size_t offset;
    ScaleWeight<R> weight;
};

template <IntegerSample T>
T blend(const T* in, std::size_t step, std::int32_t weight) noexcept
{
    const std::int32_t other = weight != 0 ? in[step] : 0;
    const std::int32_t sum = (NUV_FixedReal::one - weight) * in[0] + weight * other;
    return static_cast<T>(round_fixed<T>(sum));
}

template <IntegerSample T>
T blend(const T* in, std::size_t step, double weight) noexcept
{
    const double other = weight != 0 ? in[step] : 0;
    return round_real<T>(in[0] * (1 - weight) + other * weight);
}

// The table entry of the padded position `position`, i its whole part.
template <RealNumber R>
NUV_LinearTaps<R> linear_taps(double position, std::uint32_t i, std::uint32_t channels) noexcept
{
    const std::size_t here = std::size_t{i} * channels;
    if constexpr (std::same_as<R, double>) {
        // Offset and weight are split from their sum, which has fewer digits left for the weight,
        // and which can round up to the next pixel.
        const double both = (channels - 1.0) * i + position;
        if (both >= static_cast<double>(here) + 1)
            return {here + channels, 0};
        return {here, both - static_cast<double>(here)};
    } else {
        const std::int64_t fraction = R::units(position) - (std::int64_t{i} << R::fraction_bits);
        if (fraction >= R::one)
            return {here + channels, 0};
        return {here, static_cast<std::int32_t>(fraction)};
    }
}

template <IntegerSample T, RealNumber R>
class NUV_ScaleWidthLIEngine final : public NUV_ScaleWidthEngine {
public:
    using NUV_ScaleWidthEngine::NUV_ScaleWidthEngine;

    [[nodiscard]] bool initiate(const NUV_Header* header, NUV_SrcBuffer* src, NUV_DstBuffer* dst,
                                std::uint32_t width);

private:
    [[nodiscard]] bool fill_table();
    [[nodiscard]] bool pack_table();
    void process_line(const std::uint8_t* in, std::uint8_t* out) override;

    NUV_PaddedLine<T, 1> line_;
    NUV_Scratch<NUV_LinearTaps<R>> taps_;

    // Of the packed form, where there is one.
    ConvolvePackedRow convolve_packed_ = nullptr;
    NUV_PackedTapTable packed_;
};

template <IntegerSample T, RealNumber R>
bool NUV_ScaleWidthLIEngine<T, R>::initiate(const NUV_Header* header, NUV_SrcBuffer* src,
                                            NUV_DstBuffer* dst, std::uint32_t width)
{
    constexpr auto method = "NUV_ScaleWidthLIEngine::initiate()";

    if (!compatible_version(NUV_VERSION))
        return fail(manager(), NUV_ERR_VERSION, method);
    if (!NUV_ScaleWidthEngine::initiate(header, src, dst, width))
        return false;
    if (!holds_samples_of<T>(*header))
        return fail(manager(), NUV_ERR_UNSUPPORTED, method);
    if (std::same_as<R, NUV_FixedReal> && !fits_packed_offsets(source_width_, channels_))
        return fail(manager(), NUV_ERR_UNSUPPORTED, method);

    // The packed form weighs four pixels, and the last one of a line may be the first of them.
    const std::size_t slack_bytes =
        std::size_t{3} * channels_ * sizeof(T) + packed_taps_slack_bytes;
    if (!line_.initiate(manager(), source_width_, channels_, slack_bytes))
        return false;
    work_line_ = line_.image_bytes();
    return fill_table() && pack_table();
}

template <IntegerSample T, RealNumber R>
bool NUV_ScaleWidthLIEngine<T, R>::fill_table()
{
    if (!taps_.allocate(manager(), destination_width_))
        return false;
    const double ratio = scale_ratio(source_width_, destination_width_);
    double position = (ratio + 1) * 0.5;
    for (NUV_LinearTaps<R>& taps : taps_.items()) {
        const auto i = static_cast<std::uint32_t>(std::min<double>(position, source_width_));
        taps = linear_taps<R>(position, i, channels_);
        position += ratio;
    }
    return true;
}

template <IntegerSample T, RealNumber R>
bool NUV_ScaleWidthLIEngine<T, R>::pack_table()
{
    if constexpr (std::same_as<T, std::uint8_t> && std::same_as<R, NUV_FixedReal>) {
        convolve_packed_ = choose_convolve_packed(NUV_Cpu::current(), channels_);
        if (!convolve_packed_)
            return true;
        if (!packed_.allocate(manager(), destination_width_))
            return false;
        for (std::size_t k = 0; k < destination_width_; ++k) {
            const std::int32_t weight = taps_[k].weight;
            const std::int32_t weights[4] = {R::one - weight, weight, 0, 0};
            packed_.set(k, taps_[k].offset, weights);
        }
        taps_.free();
    }
    return true;
}

template <IntegerSample T, RealNumber R>
void NUV_ScaleWidthLIEngine<T, R>::process_line(const std::uint8_t*, std::uint8_t* out)
{
    line_.fill_pads();
    auto* to = reinterpret_cast<T*>(out);
    if constexpr (std::same_as<T, std::uint8_t>) {
        if (convolve_packed_) {
            convolve_packed_(line_.samples(), packed_.taps(), to, destination_width_,
                             std::numeric_limits<T>::max());
            return;
        }
    }
    visit_channels(channels_, [&]<int Channels>() {
        const std::size_t step = Channels != 0 ? Channels : channels_;
        const T* samples = line_.samples();
        const NUV_LinearTaps<R>* taps = taps_.data();
        for (std::size_t k = 0; k < destination_width_; ++k) {
            const T* in = samples + taps[k].offset;
            for (std::size_t c = 0; c < step; ++c)
                to[k * step + c] = blend(in + c, step, taps[k].weight);
        }
    });
}

} // namespace

NUV_Engine* NUV_ScaleWidthLI::engine(NUV_Engine* previous, std::uint32_t width, bool use_fixed_real)
{
    return append(previous, width, use_fixed_real, "NUV_ScaleWidthLI::engine()");
}

NUV_Engine* NUV_ScaleWidthLI::append(NUV_Engine* previous, std::uint32_t width, bool use_fixed_real,
                                     const char* method)
{
    if (!accepts(previous, width, method))
        return nullptr;
    if (width == previous->header()->width())
        return previous;
    if (previous->header()->width() == 1)
        return NUV_ScaleWidthNN(manager()).engine(previous, width);
    return visit_integer_type(
        *previous->header(),
        [&]<class T>() -> NUV_Engine* {
            if (use_fixed_real)
                return append_new<NUV_ScaleWidthLIEngine<T, NUV_FixedReal>>(*previous, width);
            return append_new<NUV_ScaleWidthLIEngine<T, double>>(*previous, width);
        },
        [&]() -> NUV_Engine* { return fail(manager(), NUV_ERR_UNSUPPORTED, method); });
}

} // namespace nuv
