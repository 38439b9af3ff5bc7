#include "core/include/nuv_scaleframe.h"
#include "core/scale/kernels/nuv_cubicweights.h"
#include "core/scale/nuv_scalecc.h"
#include "core/scale/nuv_scaleengine.h"
#include "core/scale/nuv_scalenn.h"
#include "core/scale/source/nuv_taprow.h"

#include <algorithm>
#include <cstddef>

namespace nuv {
namespace {

template <IntegerSample T, RealNumber R>
class NUV_ScaleWidthCCEngine final : public NUV_ScaleWidthEngine {
public:
    static constexpr auto initiate_method = "NUV_ScaleWidthCCEngine::initiate()";
    using NUV_ScaleWidthEngine::NUV_ScaleWidthEngine;

    [[nodiscard]] bool initiate(const NUV_Header* header, NUV_SrcBuffer* src, NUV_DstBuffer* dst,
                                std::uint32_t width, double a, std::uint16_t bits);

private:
    using Weight = ScaleWeight<R>;

    void fill_table(double a) const noexcept;
    void process_line(const std::uint8_t* in, std::uint8_t* out) override
    {
        row_.convolve(in, reinterpret_cast<T*>(out), limits_);
    }

    NUV_TapRow<T, NUV_CubicTaps<Weight>, 2> row_;
    NUV_SampleLimits<T> limits_;
};

template <IntegerSample T, RealNumber R>
bool NUV_ScaleWidthCCEngine<T, R>::initiate(const NUV_Header* header, NUV_SrcBuffer* src,
                                            NUV_DstBuffer* dst, std::uint32_t width, double a,
                                            std::uint16_t bits)
{
    if (!NUV_ScaleWidthEngine::initiate(header, src, dst, width, initiate_method))
        return false;
    if (!holds_samples_of<T>(*header))
        return fail(manager(), NUV_ERR_UNSUPPORTED, initiate_method);
    if (std::same_as<R, NUV_FixedReal> && !fits_packed_offsets(source_width_, channels_))
        return fail(manager(), NUV_ERR_UNSUPPORTED, initiate_method);

    limits_ = NUV_SampleLimits<T>::of_bits(bits);
    if (!row_.allocate(manager(), *header, width, has_narrow_weights(a)))
        return false;
    fill_table(a);
    return row_.finish_table(manager());
}

template <IntegerSample T, RealNumber R>
void NUV_ScaleWidthCCEngine<T, R>::fill_table(double a) const noexcept
{
    const double ratio = scale_ratio(source_width_, destination_width_);
    const double last = double{1} + source_width_;
    double position = ratio * 0.5 + 1.5;
    for (NUV_CubicTaps<Weight>& taps : row_.table()) {
        const auto i = static_cast<std::size_t>(std::min(position, last));
        const auto weights = cubic_weights<R>(position - static_cast<double>(i), a);
        taps.offset = (i - 1) * channels_;
        std::copy(std::begin(weights.tap), std::end(weights.tap), taps.weight);
        position += ratio;
    }
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
    return visit_sample_type(
        integer_samples, *previous.header(),
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
