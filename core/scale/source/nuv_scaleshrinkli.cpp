#include "core/include/nuv_scaleframe.h"
#include "core/scale/kernels/nuv_scaleshrinkli_kernels.h"
#include "core/scale/nuv_linewindowengine.h"
#include "core/scale/nuv_scaleli.h"
#include "core/scale/source/nuv_scaleshrinkengine.h"
#include "framework/base/nuv_held.h"

#include <algorithm>
#include <cmath>
#include <cstddef>

namespace nuv {
namespace {

template <IntegerSample T, RealNumber R>
class NUV_ScaleShrinkLIEngine final : public NUV_LineWindowEngine<NUV_ScaleShrinkEngine, 2> {
public:
    static constexpr auto initiate_method = "NUV_ScaleShrinkLIEngine::initiate()";
    using NUV_LineWindowEngine<NUV_ScaleShrinkEngine, 2>::NUV_LineWindowEngine;

    [[nodiscard]] bool initiate(const NUV_Header* header, NUV_SrcBuffer* src, NUV_DstBuffer* dst,
                                std::uint32_t width, std::uint32_t height);

private:
    using Weight = ScaleWeight<R>;

    // How far behind its whole part i a position lies.
    [[nodiscard]] static Weight fraction(double position, std::uint32_t i) noexcept
    {
        if constexpr (std::same_as<R, double>) {
            return position - i;
        } else {
            return static_cast<Weight>(R::units(position) - (std::int64_t{i} << R::fraction_bits));
        }
    }

    [[nodiscard]] bool move_window() override;
    void make_line(std::uint8_t* out) override;
    [[nodiscard]] bool fill_table();
    void choose_cells() noexcept;
    void interpolate(T* out) const noexcept;
    void average_cells(T* out) const noexcept;

    std::uint32_t row_ = 0; // the upper line
    NUV_Scratch<std::uint32_t> offsets_;
    NUV_Scratch<Weight> x_;
    std::uint32_t form_pixels_ = 0;  // for which the form stays inside the line, from the left
    std::uint32_t inner_pixels_ = 0; // those with a right neighbour
    std::uint32_t cell_width_ = 0;   // in pixels; 0 unless both factors are even and whole
    ShrinkRow<T, Weight> shrink_ = nullptr;
    AverageFourRow<T> average_ = nullptr;
};

template <IntegerSample T, RealNumber R>
bool NUV_ScaleShrinkLIEngine<T, R>::initiate(const NUV_Header* header, NUV_SrcBuffer* src,
                                             NUV_DstBuffer* dst, std::uint32_t width,
                                             std::uint32_t height)
{
    if (!NUV_ScaleShrinkEngine::initiate(header, src, dst, width, height, initiate_method))
        return false;
    if (!holds_samples_of<T>(*header))
        return fail(manager(), NUV_ERR_UNSUPPORTED, initiate_method);

    position_y_ = ratio_y_ * 0.5 - 0.5;
    window_.initiate(src, source_height_);
    choose_cells();
    return fill_table();
}

// Even whole factors place every point in the middle of four pixels. The fixed-point form looks at
// the horizontal factor in its own precision, and so also takes some that are not quite whole.
template <IntegerSample T, RealNumber R>
void NUV_ScaleShrinkLIEngine<T, R>::choose_cells() noexcept
{
    double kept = ratio_x_;
    if constexpr (std::same_as<R, NUV_FixedReal>)
        kept = std::trunc(ratio_x_ * R::one) / R::one;
    const NUV_NearestRatio x(kept);
    const NUV_NearestRatio y(ratio_y_);
    if (x.exact && y.exact && !x.is_odd() && !y.is_odd())
        cell_width_ = x.value;
}

template <IntegerSample T, RealNumber R>
bool NUV_ScaleShrinkLIEngine<T, R>::fill_table()
{
    if (cell_width_ != 0) {
        average_ = choose_average_four_row<T>(manager().cpu(), channels_,
                                              std::size_t{cell_width_} * channels_);
        return true;
    }
    shrink_ = choose_shrink_row<T, Weight>(manager().cpu(), channels_);
    if (!offsets_.allocate(manager(), destination_width_) ||
        !x_.allocate(manager(), destination_width_))
        return false;
    double position = ratio_x_ * 0.5 - 0.5;
    const std::uint32_t last = source_width_ - 1;
    const std::size_t samples = std::size_t{source_width_} * channels_;
    for (std::uint32_t k = 0; k < destination_width_; ++k) {
        const auto i = static_cast<std::uint32_t>(std::min<double>(position, last));
        offsets_[k] = i * channels_;
        x_[k] = fraction(position, i);
        inner_pixels_ += i < last ? 1 : 0;
        form_pixels_ += offsets_[k] + shrink_row_reach / sizeof(T) <= samples ? 1 : 0;
        position += ratio_x_;
    }
    form_pixels_ = std::min(form_pixels_, inner_pixels_);
    return true;
}

template <IntegerSample T, RealNumber R>
bool NUV_ScaleShrinkLIEngine<T, R>::move_window()
{
    row_ = static_cast<std::uint32_t>(std::min<double>(position_y_, source_height_ - 1));
    return window_.move_to(row_);
}

template <IntegerSample T, RealNumber R>
void NUV_ScaleShrinkLIEngine<T, R>::make_line(std::uint8_t* out)
{
    if (cell_width_ != 0)
        average_cells(reinterpret_cast<T*>(out));
    else
        interpolate(reinterpret_cast<T*>(out));
    position_y_ += ratio_y_;
}

template <IntegerSample T, RealNumber R>
void NUV_ScaleShrinkLIEngine<T, R>::interpolate(T* out) const noexcept
{
    const T* const upper = window_.lines<T>()[0];
    const T* const lower = window_.lines<T>()[1];
    const Weight y = fraction(position_y_, row_);
    const NUV_ShrinkTaps<Weight> taps{offsets_.data(), x_.data()};
    shrink_(upper, lower, taps, y, out, form_pixels_, channels_);
    visit_channels(channels_, [&]<int Channels>() {
        const auto shrink = [&](std::uint32_t begin, std::uint32_t end, std::size_t step) {
            shrink_row<Channels>(upper, lower, taps.behind(begin), y,
                                 out + std::size_t{begin} * channels_, end - begin, channels_,
                                 step);
        };
        shrink(form_pixels_, inner_pixels_, channels_);
        shrink(inner_pixels_, destination_width_, 0);
    });
}

template <IntegerSample T, RealNumber R>
void NUV_ScaleShrinkLIEngine<T, R>::average_cells(T* out) const noexcept
{
    const std::size_t first = (cell_width_ / 2 - 1) * std::size_t{channels_};
    const T* const upper = window_.lines<T>()[0] + first;
    const T* const lower = window_.lines<T>()[1] + first;
    average_(upper, lower, out, destination_width_, channels_,
             std::size_t{cell_width_} * channels_);
}

} // namespace

NUV_Engine* NUV_ScaleShrinkLI::engine(NUV_Engine* previous, std::uint32_t width,
                                      std::uint32_t height, bool use_fixed_real)
{
    return append(previous, width, height, use_fixed_real, "NUV_ScaleShrinkLI::engine()");
}

NUV_Engine* NUV_ScaleShrinkLI::append(NUV_Engine* previous, std::uint32_t width,
                                      std::uint32_t height, bool use_fixed_real, const char* method)
{
    if (!accepts(previous, width, height, method))
        return nullptr;
    const NUV_Header& source = *previous->header();
    if (width == source.width() && height == source.height())
        return previous;
    return visit_sample_type(
        integer_samples, source,
        [&]<class T>() -> NUV_Engine* {
            if (use_fixed_real) {
                return append_new<NUV_ScaleShrinkLIEngine<T, NUV_FixedReal>>(*previous, width,
                                                                             height);
            }
            return append_new<NUV_ScaleShrinkLIEngine<T, double>>(*previous, width, height);
        },
        [&]() -> NUV_Engine* { return fail(manager(), NUV_ERR_UNSUPPORTED, method); });
}

} // namespace nuv
