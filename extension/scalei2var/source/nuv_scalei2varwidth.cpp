#include "core/include/nuv_interpolationtable.h"
#include "extension/scalei2utility/nuv_scalei2filter.h"
#include "extension/scalei2var/nuv_scalei2var.h"
#include "framework/engine/nuv_processlinetolineengine.h"

#include <type_traits>

namespace nuv {
namespace {

// What scales a line, whatever the size of the mask is.
template <class A>
class NUV_ScaleI2VARWidthEngine : public NUV_ProcessLineToLineEngine {
public:
    static constexpr auto initiate_method = "NUV_ScaleI2VARWidthEngine::initiate()";
    static constexpr std::uint32_t module_version = NUV_EXTENSION_VERSION;

    using NUV_ProcessLineToLineEngine::NUV_ProcessLineToLineEngine;

protected:
    // `member` is the text of what a mask of this size refuses.
    [[nodiscard]] bool initiate(const NUV_Header* header, NUV_SrcBuffer* src, NUV_DstBuffer* dst,
                                std::uint32_t width, const NUV_CubicSplineTable& table,
                                std::uint32_t taps, const char* member);

private:
    [[nodiscard]] bool process_line(const void* in, void* out) override
    {
        filter_.filter(static_cast<const typename A::Sample*>(in),
                       static_cast<typename A::Middle*>(out));
        return true;
    }

    NUV_ScaleI2RowFilter<A> filter_;
};

template <class A>
bool NUV_ScaleI2VARWidthEngine<A>::initiate(const NUV_Header* header, NUV_SrcBuffer* src,
                                            NUV_DstBuffer* dst, std::uint32_t width,
                                            const NUV_CubicSplineTable& table, std::uint32_t taps,
                                            const char* member)
{
    if (!NUV_ProcessLineToLineEngine::initiate(header, src, dst))
        return false;
    if (!has_scale_i2_samples(*header) || header->bits() != 8 * sizeof(typename A::Sample))
        return fail(manager(), NUV_ERR_UNSUPPORTED, initiate_method);
    if (header->width() < taps)
        return fail(manager(), NUV_ERR_UNSUPPORTED, member);
    if (width < taps || !table_reaches(table.stretch_x(), taps))
        return fail(manager(), NUV_ERR_ARGUMENT, member);

    header_.width(width);
    header_.data_type(std::is_same_v<A, NUV_ScaleI2FixedArithmetic> ? NUV_DataType::s_integer
                                                                    : NUV_DataType::floating);
    header_.bits(8 * sizeof(typename A::Middle));
    const auto line_bytes = header_.checked_line_bytes();
    if (!line_bytes)
        return fail(manager(), NUV_ERR_UNSUPPORTED, initiate_method);
    const NUV_ScaleI2Sizes sizes{header->width(), width,
                                 static_cast<double>(width) / header->width()};
    return filter_.initiate(manager(), table, table.stretch_x(), sizes, taps, header->channels()) &&
           dst->block_bytes(*line_bytes);
}

// By taps.
constexpr const char* fixed_methods[] = {"NUV_ScaleI2VARWidthFixedReal4MaskEngine::initiate()",
                                         "NUV_ScaleI2VARWidthFixedReal5MaskEngine::initiate()",
                                         "NUV_ScaleI2VARWidthFixedReal6MaskEngine::initiate()",
                                         "NUV_ScaleI2VARWidthFixedReal7MaskEngine::initiate()",
                                         "NUV_ScaleI2VARWidthFixedReal8MaskEngine::initiate()"};
constexpr const char* real_methods[] = {"NUV_ScaleI2VARWidthFloat4MaskEngine::initiate()",
                                        "NUV_ScaleI2VARWidthFloat5MaskEngine::initiate()",
                                        "NUV_ScaleI2VARWidthFloat6MaskEngine::initiate()",
                                        "NUV_ScaleI2VARWidthFloat7MaskEngine::initiate()",
                                        "NUV_ScaleI2VARWidthFloat8MaskEngine::initiate()"};

template <class A, int Taps>
class NUV_ScaleI2VARWidthMaskEngine final : public NUV_ScaleI2VARWidthEngine<A> {
public:
    static constexpr auto initiate_method =
        (std::is_same_v<A, NUV_ScaleI2FixedArithmetic> ? fixed_methods
                                                       : real_methods)[Taps - scale_i2_least_taps];
    using NUV_ScaleI2VARWidthEngine<A>::NUV_ScaleI2VARWidthEngine;

    [[nodiscard]] bool initiate(const NUV_Header* header, NUV_SrcBuffer* src, NUV_DstBuffer* dst,
                                std::uint32_t width, const NUV_CubicSplineTable* table)
    {
        return NUV_ScaleI2VARWidthEngine<A>::initiate(header, src, dst, width, *table, Taps,
                                                      initiate_method);
    }
};

} // namespace

NUV_Engine* NUV_ScaleI2VARWidthFixedReal::engine(NUV_Engine* previous, std::uint32_t width,
                                                 const NUV_CubicSplineTable* table,
                                                 std::uint32_t taps)
{
    constexpr auto method = "NUV_ScaleI2VARWidthFixedReal::engine()";

    if (!accepts(previous, width, method))
        return nullptr;
    if (!table || !has_scale_i2_mask(taps))
        return fail(manager(), NUV_ERR_ARGUMENT, method);
    return visit_taps(taps, [&]<int Taps>() {
        return append_new<NUV_ScaleI2VARWidthMaskEngine<NUV_ScaleI2FixedArithmetic, Taps>>(
            *previous, width, table);
    });
}

NUV_Engine* NUV_ScaleI2VARWidthFloat::engine(NUV_Engine* previous, std::uint32_t width,
                                             const NUV_CubicSplineTable* table, std::uint32_t taps)
{
    constexpr auto method = "NUV_ScaleI2VARWidthFloat::engine()";

    if (!accepts(previous, width, method))
        return nullptr;
    if (!table || !has_scale_i2_mask(taps))
        return fail(manager(), NUV_ERR_ARGUMENT, method);
    return visit_taps(taps, [&]<int Taps>() {
        return append_new<NUV_ScaleI2VARWidthMaskEngine<NUV_ScaleI2FloatArithmetic, Taps>>(
            *previous, width, table);
    });
}

} // namespace nuv
