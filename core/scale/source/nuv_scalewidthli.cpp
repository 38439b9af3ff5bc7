#include "core/include/nuv_scaleframe.h"
#include "core/scale/nuv_scaleengine.h"
#include "core/scale/nuv_scaleli.h"
#include "core/scale/nuv_scalenn.h"
#include "core/scale/source/nuv_taprow.h"

#include <algorithm>
#include <cstddef>

namespace nuv {
namespace {

// The table entry of the padded position `position`, i its whole part.
template <RealNumber R>
NUV_LinearTaps<ScaleWeight<R>> linear_taps(double position, std::uint32_t i,
                                           std::uint32_t channels) noexcept
{
    const std::size_t here = std::size_t{i} * channels;
    ScaleWeight<R> weight = 0;
    if constexpr (std::same_as<R, double>) {
        // Offset and weight are split from their sum, which has fewer digits left for the weight,
        // and which can round up to the next pixel: the weight then is one.
        const double both = (channels - 1.0) * i + position;
        weight = both - static_cast<double>(here);
    } else {
        const std::int64_t behind = R::units(position) - (std::int64_t{i} << R::fraction_bits);
        weight = static_cast<std::int32_t>(behind);
    }
    return {here, scale_weight_one<R> - weight, weight};
}

template <IntegerSample T, RealNumber R>
class NUV_ScaleWidthLIEngine final : public NUV_ScaleWidthEngine {
public:
    static constexpr auto initiate_method = "NUV_ScaleWidthLIEngine::initiate()";
    using NUV_ScaleWidthEngine::NUV_ScaleWidthEngine;

    [[nodiscard]] bool initiate(const NUV_Header* header, NUV_SrcBuffer* src, NUV_DstBuffer* dst,
                                std::uint32_t width)
    {
        if (!NUV_ScaleWidthEngine::initiate(header, src, dst, width, initiate_method))
            return false;
        if (!holds_samples_of<T>(*header))
            return fail(manager(), NUV_ERR_UNSUPPORTED, initiate_method);
        const bool narrow = fits_packed_offsets(source_width_, channels_);
        if (std::same_as<R, NUV_FixedReal> && !narrow)
            return fail(manager(), NUV_ERR_UNSUPPORTED, initiate_method);

        if (!row_.allocate(manager(), *header, width, narrow))
            return false;
        const double ratio = scale_ratio(source_width_, width);
        double position = (ratio + 1) * 0.5; // one pixel of padding before pixel 0
        for (auto& taps : row_.table()) {
            const auto i = static_cast<std::uint32_t>(std::min<double>(position, source_width_));
            taps = linear_taps<R>(position, i, channels_);
            position += ratio;
        }
        return row_.finish_table(manager());
    }

private:
    void process_line(const std::uint8_t* in, std::uint8_t* out) override
    {
        row_.convolve(in, reinterpret_cast<T*>(out));
    }

    NUV_TapRow<T, NUV_LinearTaps<ScaleWeight<R>>, 1> row_;
};

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
    return visit_sample_type(
        integer_samples, *previous->header(),
        [&]<class T>() -> NUV_Engine* {
            if (use_fixed_real)
                return append_new<NUV_ScaleWidthLIEngine<T, NUV_FixedReal>>(*previous, width);
            return append_new<NUV_ScaleWidthLIEngine<T, double>>(*previous, width);
        },
        [&]() -> NUV_Engine* { return fail(manager(), NUV_ERR_UNSUPPORTED, method); });
}

} // namespace nuv
