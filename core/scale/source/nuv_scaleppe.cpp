#include "core/scale/kernels/nuv_scalelines_kernels.h"
#include "core/scale/nuv_linewindowengine.h"
#include "core/scale/nuv_scalepp.h"
#include "core/scale/source/nuv_scaleppengine.h"
#include "core/scale/source/nuv_taprow.h"

#include <cmath>
#include <cstring>

namespace nuv {
namespace {

// What an output pixel covers of the source: pixel `first`, to `weight` of the whole, and the one
// behind it to the rest.
struct NUV_Stretch {
    std::uint32_t first;
    double weight;
};

// Walks along the output pixels of an axis that grows.
class NUV_StretchWalk : public NUV_PixelWalk {
public:
    [[nodiscard]] NUV_Stretch next() noexcept
    {
        const double position = position_;
        position_ += ratio_;
        --pixels_left_;
        // The last output pixel, and any that added-up positions put beyond the image.
        if (pixels_left_ == 0 || position >= last_)
            return {last_, 1};
        const auto first = static_cast<std::uint32_t>(position);
        if (static_cast<std::uint32_t>(position_) == first)
            return {first, 1};
        return {first, (std::ceil(position) - position) / ratio_};
    }
};

template <IntegerSample T, RealNumber R>
class NUV_ScaleWidthPPEEngine final : public NUV_ScaleWidthPPEngine<T> {
public:
    static constexpr auto initiate_method = "NUV_ScaleWidthPPEEngine::initiate()";
    using NUV_ScaleWidthPPEngine<T>::NUV_ScaleWidthPPEngine;

    [[nodiscard]] bool initiate(const NUV_Header* header, NUV_SrcBuffer* src, NUV_DstBuffer* dst,
                                std::uint32_t width)
    {
        if (!NUV_ScaleWidthPPEngine<T>::initiate(header, src, dst, width, initiate_method))
            return false;
        const std::uint32_t source_width = this->source_width_;
        if (width < source_width)
            return fail(this->manager(), NUV_ERR_ARGUMENT, initiate_method);

        const std::uint32_t channels = this->channels_;
        if (!row_.allocate(this->manager(), *header, width,
                           fits_packed_offsets(source_width, channels)))
            return false;
        NUV_StretchWalk walk;
        walk.initiate(source_width, width);
        for (auto& taps : row_.table()) {
            const NUV_Stretch stretch = walk.next();
            const ScaleWeight<R> weight = scale_weight<R>(stretch.weight);
            taps = {std::size_t{stretch.first} * channels, weight, scale_weight_one<R> - weight};
        }
        return row_.finish_table(this->manager());
    }

private:
    void process_line(const std::uint8_t* in, std::uint8_t* out) override
    {
        row_.convolve(in, reinterpret_cast<T*>(out));
    }

    NUV_TapRow<T, NUV_LinearTaps<ScaleWeight<R>>, 0> row_;
};

template <IntegerSample T, RealNumber R>
class NUV_ScaleHeightPPEEngine final : public NUV_LineWindowEngine<NUV_ScaleHeightPPEngine<T>, 2> {
public:
    static constexpr auto initiate_method = "NUV_ScaleHeightPPEEngine::initiate()";
    using NUV_LineWindowEngine<NUV_ScaleHeightPPEngine<T>, 2>::NUV_LineWindowEngine;

    [[nodiscard]] bool initiate(const NUV_Header* header, NUV_SrcBuffer* src, NUV_DstBuffer* dst,
                                std::uint32_t height)
    {
        if (!NUV_ScaleHeightPPEngine<T>::initiate(header, src, dst, height))
            return false;
        if (height < this->source_height_)
            return fail(this->manager(), NUV_ERR_ARGUMENT, initiate_method);
        blend_ = choose_blend_lines<T, Weight>(this->manager().cpu());
        walk_.initiate(this->source_height_, height);
        this->window_.initiate(src, this->source_height_);
        return true;
    }

private:
    using Weight = ScaleWeight<R>;

    [[nodiscard]] bool is_copy() const noexcept { return weight_ == scale_weight_one<R>; }
    [[nodiscard]] bool move_window() override
    {
        const NUV_Stretch stretch = walk_.next();
        weight_ = scale_weight<R>(stretch.weight);
        return this->window_.move_to(stretch.first, is_copy() ? 1 : 2);
    }
    void make_line(std::uint8_t* out) override
    {
        const auto [upper, lower] = this->window_.template lines<T>();
        if (is_copy())
            std::memcpy(out, upper, this->line_bytes_);
        else
            blend_(lower, upper, reinterpret_cast<T*>(out), this->samples_per_line_, weight_);
    }

    BlendLines<T, Weight> blend_ = nullptr;
    NUV_StretchWalk walk_;
    Weight weight_ = 0; // of the upper line
};

} // namespace

NUV_Engine* NUV_ScaleWidthPPE::engine(NUV_Engine* previous, std::uint32_t width,
                                      bool use_fixed_real)
{
    return append(previous, width, use_fixed_real, "NUV_ScaleWidthPPE::engine()");
}

NUV_Engine* NUV_ScaleWidthPPE::append(NUV_Engine* previous, std::uint32_t width,
                                      bool use_fixed_real, const char* method)
{
    return scale_unsigned(previous, Axis::width, width, method, [&]<class T>() -> NUV_Engine* {
        if (use_fixed_real)
            return append_new<NUV_ScaleWidthPPEEngine<T, NUV_FixedReal>>(*previous, width);
        return append_new<NUV_ScaleWidthPPEEngine<T, double>>(*previous, width);
    });
}

NUV_Engine* NUV_ScaleHeightPPE::engine(NUV_Engine* previous, std::uint32_t height,
                                       bool use_fixed_real)
{
    return append(previous, height, use_fixed_real, "NUV_ScaleHeightPPE::engine()");
}

NUV_Engine* NUV_ScaleHeightPPE::append(NUV_Engine* previous, std::uint32_t height,
                                       bool use_fixed_real, const char* method)
{
    return scale_unsigned(previous, Axis::height, height, method, [&]<class T>() -> NUV_Engine* {
        if (use_fixed_real)
            return append_new<NUV_ScaleHeightPPEEngine<T, NUV_FixedReal>>(*previous, height);
        return append_new<NUV_ScaleHeightPPEEngine<T, double>>(*previous, height);
    });
}

} // namespace nuv
