#include "core/include/nuv_scaleframe.h"
#include "core/scale/kernels/nuv_cubicweights.h"
#include "core/scale/kernels/nuv_scalelines_kernels.h"
#include "core/scale/nuv_linewindowengine.h"
#include "core/scale/nuv_scalecc.h"
#include "core/scale/nuv_scaleengine.h"
#include "core/scale/nuv_scalenn.h"

#include <cstddef>

namespace nuv {
namespace {

template <IntegerSample T, RealNumber R>
class NUV_ScaleHeightCCEngine final : public NUV_LineWindowEngine<NUV_ScaleHeightEngine, 4> {
public:
    static constexpr auto initiate_method = "NUV_ScaleHeightCCEngine::initiate()";
    using NUV_LineWindowEngine<NUV_ScaleHeightEngine, 4>::NUV_LineWindowEngine;

    [[nodiscard]] bool initiate(const NUV_Header* header, NUV_SrcBuffer* src, NUV_DstBuffer* dst,
                                std::uint32_t height, double a, std::uint16_t bits)
    {
        if (!NUV_ScaleHeightEngine::initiate(header, src, dst, height))
            return false;
        if (!holds_samples_of<T>(*header))
            return fail(manager(), NUV_ERR_UNSUPPORTED, initiate_method);

        a_ = a;
        limits_ = NUV_SampleLimits<T>::of_bits(bits);
        samples_per_line_ = std::size_t{header->width()} * header->channels();
        combine_ = choose_combine_lines<T, Weight>(manager().cpu(), has_narrow_weights(a));
        position_ = ratio_ * 0.5 + 1.5; // two lines of padding above line 0
        window_.initiate(src, source_height_);
        return true;
    }

private:
    using Weight = ScaleWeight<R>;

    [[nodiscard]] bool move_window() override
    {
        whole_ = whole(position_, std::int64_t{source_height_} + 1);
        return window_.move_to(whole_ - 3);
    }
    void make_line(std::uint8_t* out) override
    {
        const bool is_far = run_.is_far(out, samples_per_line_ * sizeof(T));
        (is_far ? far_form(combine_)
                : combine_)(window_.lines<T>().data(), reinterpret_cast<T*>(out), samples_per_line_,
                            cubic_weights<R>(position_ - static_cast<double>(whole_), a_), limits_);
        position_ += ratio_;
    }

    double a_ = 0;
    NUV_SampleLimits<T> limits_;
    std::size_t samples_per_line_ = 0;
    CombineLines<T, Weight> combine_ = nullptr;
    NUV_LineRun run_;
    std::int64_t whole_ = 0; // of the position
};

} // namespace

NUV_Engine* NUV_ScaleHeightCC::engine(NUV_Engine* previous, std::uint32_t height,
                                      bool use_fixed_real, double a)
{
    constexpr auto method = "NUV_ScaleHeightCC::engine()";

    if (!accepts(previous, height, method))
        return nullptr;
    if (height == previous->header()->height())
        return previous;
    if (previous->header()->height() == 1)
        return NUV_ScaleHeightNN(manager()).engine(previous, height);
    return append(*previous, height, use_fixed_real, a, 0, method);
}

NUV_Engine* NUV_ScaleHeightCC::append(NUV_Engine& previous, std::uint32_t height,
                                      bool use_fixed_real, double a, std::uint16_t bits,
                                      const char* method)
{
    return visit_sample_type(
        integer_samples, *previous.header(),
        [&]<class T>() -> NUV_Engine* {
            if (use_fixed_real) {
                return append_new<NUV_ScaleHeightCCEngine<T, NUV_FixedReal>>(previous, height, a,
                                                                             bits);
            }
            return append_new<NUV_ScaleHeightCCEngine<T, double>>(previous, height, a, bits);
        },
        [&]() -> NUV_Engine* { return fail(manager(), NUV_ERR_UNSUPPORTED, method); });
}

} // namespace nuv
