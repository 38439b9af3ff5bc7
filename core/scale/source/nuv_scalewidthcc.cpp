#include "core/include/nuv_scaleframe.h"
#include "core/scale/kernels/nuv_cubicweights.h"
#include "core/scale/kernels/nuv_scaletaps_kernels.h"
#include "core/scale/nuv_scalecc.h"
#include "core/scale/nuv_scaleengine.h"
#include "core/scale/nuv_scalenn.h"
#include "core/scale/source/nuv_padline.h"
#include "framework/base/nuv_version.h"

#include <algorithm>
#include <cstddef>
#include <limits>

namespace nuv {
namespace {

template <IntegerSample T, RealNumber R>
class NUV_ScaleWidthCCEngine final : public NUV_ScaleWidthEngine {
public:
    using NUV_ScaleWidthEngine::NUV_ScaleWidthEngine;

    [[nodiscard]] bool initiate(const NUV_Header* header, NUV_SrcBuffer* src, NUV_DstBuffer* dst,
                                std::uint32_t width, double a, std::uint16_t bits);

private:
    using Weight = ScaleWeight<R>;

    [[nodiscard]] bool fill_table(double a);
    [[nodiscard]] bool choose_form();
    void process_line(const std::uint8_t* in, std::uint8_t* out) override;

    NUV_PaddedLine<T, 2> line_;
    NUV_Scratch<NUV_CubicTaps<Weight>> taps_;
    bool narrow_ = true;
    NUV_SampleLimits<T> limits_;

    // The forms for the processor, where there are any.
    ConvolvePackedRow convolve_packed_ = nullptr;
    NUV_PackedTapTable packed_;
    ConvolveRealRow<NUV_CubicTaps<double>> convolve_real_ = nullptr;
};

template <IntegerSample T, RealNumber R>
bool NUV_ScaleWidthCCEngine<T, R>::initiate(const NUV_Header* header, NUV_SrcBuffer* src,
                                            NUV_DstBuffer* dst, std::uint32_t width, double a,
                                            std::uint16_t bits)
{
    constexpr auto method = "NUV_ScaleWidthCCEngine::initiate()";

    if (!compatible_version(NUV_VERSION))
        return fail(manager(), NUV_ERR_VERSION, method);
    if (!NUV_ScaleWidthEngine::initiate(header, src, dst, width, method))
        return false;
    if (!holds_samples_of<T>(*header))
        return fail(manager(), NUV_ERR_UNSUPPORTED, method);
    if (std::same_as<R, NUV_FixedReal> && !fits_packed_offsets(source_width_, channels_))
        return fail(manager(), NUV_ERR_UNSUPPORTED, method);

    narrow_ = has_narrow_weights(a);
    limits_ = NUV_SampleLimits<T>::of_bits(bits);
    if (!line_.initiate(manager(), source_width_, channels_, packed_taps_slack_bytes))
        return false;
    work_line_ = line_.image_bytes();
    return fill_table(a) && choose_form();
}

template <IntegerSample T, RealNumber R>
bool NUV_ScaleWidthCCEngine<T, R>::fill_table(double a)
{
    if (!taps_.allocate(manager(), destination_width_))
        return false;
    const double ratio = scale_ratio(source_width_, destination_width_);
    const double last = double{1} + source_width_;
    double position = ratio * 0.5 + 1.5;
    for (NUV_CubicTaps<Weight>& taps : taps_.items()) {
        const auto i = static_cast<std::size_t>(std::min(position, last));
        const auto weights = cubic_weights<R>(position - static_cast<double>(i), a);
        taps.offset = (i - 1) * channels_;
        std::copy(std::begin(weights.tap), std::end(weights.tap), taps.weight);
        position += ratio;
    }
    return true;
}

template <IntegerSample T, RealNumber R>
bool NUV_ScaleWidthCCEngine<T, R>::choose_form()
{
    if constexpr (std::same_as<T, std::uint8_t> && std::same_as<R, NUV_FixedReal>) {
        if (narrow_)
            convolve_packed_ = choose_convolve_packed(manager().cpu(), channels_);
        if (!convolve_packed_)
            return true;
        if (!packed_.allocate(manager(), destination_width_))
            return false;
        for (std::size_t k = 0; k < destination_width_; ++k)
            packed_.set(k, taps_[k].offset, taps_[k].weight);
        taps_.free();
    }
    if constexpr (std::same_as<T, std::uint16_t> && std::same_as<R, double>) {
        convolve_real_ = choose_convolve_real<NUV_CubicTaps<double>>(manager().cpu(), channels_);
    }
    return true;
}

template <IntegerSample T, RealNumber R>
void NUV_ScaleWidthCCEngine<T, R>::process_line(const std::uint8_t*, std::uint8_t* out)
{
    line_.fill_pads();
    auto* to = reinterpret_cast<T*>(out);
    if constexpr (std::same_as<T, std::uint8_t>) {
        if (convolve_packed_) {
            convolve_packed_(line_.samples(), packed_.taps(), to, destination_width_,
                             limits_.maximum);
            return;
        }
    }
    if constexpr (std::same_as<T, std::uint16_t> && std::same_as<R, double>) {
        if (convolve_real_) {
            convolve_real_(line_.samples(), taps_.data(), to, destination_width_, limits_.maximum);
            return;
        }
    }
    visit_channels(channels_, [&]<int Channels>() {
        const auto convolve = [&]<class Sum>() {
            convolve_cubic_row<Channels, Sum>(line_.samples(), taps_.data(), to, destination_width_,
                                              channels_, limits_);
        };
        if constexpr (std::same_as<R, double>)
            convolve.template operator()<double>();
        else if (narrow_)
            convolve.template operator()<std::int32_t>();
        else
            convolve.template operator()<std::int64_t>();
    });
}

} // namespace

NUV_Engine* NUV_ScaleWidthCC::engine(NUV_Engine* previous, std::uint32_t width, bool use_fixed_real,
                                     double a)
{
    constexpr auto method = "NUV_ScaleWidthCC::engine()";

    if (!accepts(previous, width, method))
        return nullptr;
    if (width == previous->header()->width())
        return previous;
    if (previous->header()->width() == 1)
        return NUV_ScaleWidthNN(manager()).engine(previous, width);
    return append(*previous, width, use_fixed_real, a, 0, method);
}

NUV_Engine* NUV_ScaleWidthCC::append(NUV_Engine& previous, std::uint32_t width, bool use_fixed_real,
                                     double a, std::uint16_t bits, const char* method)
{
    return visit_integer_type(
        *previous.header(),
        [&]<class T>() -> NUV_Engine* {
            if (use_fixed_real) {
                return append_new<NUV_ScaleWidthCCEngine<T, NUV_FixedReal>>(previous, width, a,
                                                                            bits);
            }
            return append_new<NUV_ScaleWidthCCEngine<T, double>>(previous, width, a, bits);
        },
        [&]() -> NUV_Engine* { return fail(manager(), NUV_ERR_UNSUPPORTED, method); });
}

} // namespace nuv
