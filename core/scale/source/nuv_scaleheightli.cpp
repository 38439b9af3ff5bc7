#include "core/include/nuv_scaleframe.h"
#include "core/scale/kernels/nuv_scalelines_kernels.h"
#include "core/scale/nuv_linewindowengine.h"
#include "core/scale/nuv_scaleengine.h"
#include "core/scale/nuv_scaleli.h"
#include "core/scale/nuv_scalenn.h"

#include <cstddef>

namespace nuv {
namespace {

template <IntegerSample T, RealNumber R>
class NUV_ScaleHeightLIEngine final : public NUV_LineWindowEngine<NUV_ScaleHeightEngine, 2> {
public:
    static constexpr auto initiate_method = "NUV_ScaleHeightLIEngine::initiate()";
    using NUV_LineWindowEngine<NUV_ScaleHeightEngine, 2>::NUV_LineWindowEngine;

    [[nodiscard]] bool initiate(const NUV_Header* header, NUV_SrcBuffer* src, NUV_DstBuffer* dst,
                                std::uint32_t height)
    {
        if (!NUV_ScaleHeightEngine::initiate(header, src, dst, height))
            return false;
        if (!holds_samples_of<T>(*header))
            return fail(manager(), NUV_ERR_UNSUPPORTED, initiate_method);

        samples_per_line_ = std::size_t{header->width()} * header->channels();
        blend_ = choose_blend_lines<T, Weight>(manager().cpu());
        position_ = (ratio_ + 1) * 0.5; // one line of padding above line 0
        window_.initiate(src, source_height_);
        return true;
    }

private:
    using Weight = ScaleWeight<R>;

    [[nodiscard]] bool move_window() override
    {
        whole_ = whole(position_, source_height_);
        return window_.move_to(whole_ - 1);
    }
    void make_line(std::uint8_t* out) override
    {
        const auto [upper, lower] = window_.lines<T>();
        const bool is_far = run_.is_far(out, samples_per_line_ * sizeof(T));
        (is_far ? far_form(blend_)
                : blend_)(upper, lower, reinterpret_cast<T*>(out), samples_per_line_,
                          scale_weight<R>(position_ - static_cast<double>(whole_)));
        position_ += ratio_;
    }

    std::size_t samples_per_line_ = 0;
    BlendLines<T, Weight> blend_ = nullptr;
    NUV_LineRun run_;
    std::int64_t whole_ = 0; // of the position
};

} // namespace

NUV_Engine* NUV_ScaleHeightLI::engine(NUV_Engine* previous, std::uint32_t height,
                                      bool use_fixed_real)
{
    return append(previous, height, use_fixed_real, "NUV_ScaleHeightLI::engine()");
}

NUV_Engine* NUV_ScaleHeightLI::append(NUV_Engine* previous, std::uint32_t height,
                                      bool use_fixed_real, const char* method)
{
    if (!accepts(previous, height, method))
        return nullptr;
    if (height == previous->header()->height())
        return previous;
    if (previous->header()->height() == 1)
        return NUV_ScaleHeightNN(manager()).engine(previous, height);
    return visit_sample_type(
        integer_samples, *previous->header(),
        [&]<class T>() -> NUV_Engine* {
            if (use_fixed_real)
                return append_new<NUV_ScaleHeightLIEngine<T, NUV_FixedReal>>(*previous, height);
            return append_new<NUV_ScaleHeightLIEngine<T, double>>(*previous, height);
        },
        [&]() -> NUV_Engine* { return fail(manager(), NUV_ERR_UNSUPPORTED, method); });
}

} // namespace nuv
