#include "core/include/nuv_interpolationtable.h"
#include "core/scale/nuv_linewindowengine.h"
#include "extension/scalei2utility/nuv_scalei2filter.h"
#include "extension/scalei2var/nuv_scalei2var.h"
#include "framework/engine/nuv_processengine.h"

#include <type_traits>

namespace nuv {
namespace {

// What has the intermediate picture and makes a picture again.
template <class A>
class NUV_ScaleI2VARHeightEngine : public NUV_ProcessEngine {
public:
    static constexpr std::uint32_t module_version = NUV_EXTENSION_VERSION;

    using NUV_ProcessEngine::NUV_ProcessEngine;

protected:
    // `member` is the text of what a mask of this size refuses.
    [[nodiscard]] bool initiate(const NUV_Header* header, NUV_SrcBuffer* src, NUV_DstBuffer* dst,
                                std::uint32_t height, std::uint16_t bits,
                                const NUV_CubicSplineTable& table, std::uint32_t taps,
                                const char* member);

    NUV_ScaleI2LineFilter<A> filter_;
    std::uint32_t line_ = 0; // output lines made

private:
    [[nodiscard]] static bool is_middle(const NUV_Header& header) noexcept
    {
        const auto* type = std::is_same_v<A, NUV_ScaleI2FixedArithmetic> ? NUV_DataType::s_integer
                                                                         : NUV_DataType::floating;
        return header.is_raw() && header.palette().is_empty() && header.data_type() == type &&
               header.bits() == 8 * sizeof(typename A::Middle);
    }
};

template <class A>
bool NUV_ScaleI2VARHeightEngine<A>::initiate(const NUV_Header* header, NUV_SrcBuffer* src,
                                             NUV_DstBuffer* dst, std::uint32_t height,
                                             std::uint16_t bits, const NUV_CubicSplineTable& table,
                                             std::uint32_t taps, const char* member)
{
    constexpr auto method = std::is_same_v<A, NUV_ScaleI2FixedArithmetic>
                                ? "NUV_ScaleI2VARHeightEngine::initiate()"
                                : "NUV_ScaleI2VARHeightFloatEngine::initiate()";

    if (!NUV_ProcessEngine::initiate(header, src, dst))
        return false;
    if (!is_middle(*header))
        return fail(manager(), NUV_ERR_UNSUPPORTED, method);
    if (header->height() < taps)
        return fail(manager(), NUV_ERR_UNSUPPORTED, member);
    if (height < taps || !table_reaches(table.stretch_y(), taps))
        return fail(manager(), NUV_ERR_ARGUMENT, member);

    header_.height(height);
    header_.data_type(NUV_DataType::u_integer);
    header_.bits(8 * sizeof(typename A::Sample));
    const NUV_ScaleI2Sizes sizes{header->height(), height,
                                 static_cast<double>(height) / header->height()};
    const std::size_t samples_per_line = std::size_t{header->width()} * header->channels();
    return filter_.initiate(manager(), table, table.stretch_y(), sizes, taps, samples_per_line,
                            bits) &&
           src->block_bytes(header->line_bytes()) && dst->block_bytes(header_.line_bytes());
}

// By taps.
constexpr const char* fixed_methods[] = {"NUV_ScaleI2VARHeightFixedReal4MaskEngine::initiate()",
                                         "NUV_ScaleI2VARHeightFixedReal5MaskEngine::initiate()",
                                         "NUV_ScaleI2VARHeightFixedReal6MaskEngine::initiate()",
                                         "NUV_ScaleI2VARHeightFixedReal7MaskEngine::initiate()",
                                         "NUV_ScaleI2VARHeightFixedReal8MaskEngine::initiate()"};
constexpr const char* real_methods[] = {"NUV_ScaleI2VARHeightFloat4MaskEngine::initiate()",
                                        "NUV_ScaleI2VARHeightFloat5MaskEngine::initiate()",
                                        "NUV_ScaleI2VARHeightFloat6MaskEngine::initiate()",
                                        "NUV_ScaleI2VARHeightFloat7MaskEngine::initiate()",
                                        "NUV_ScaleI2VARHeightFloat8MaskEngine::initiate()"};

template <class A, int Taps>
class NUV_ScaleI2VARHeightMaskEngine final
    : public NUV_LineWindowEngine<NUV_ScaleI2VARHeightEngine<A>, Taps> {
public:
    static constexpr auto initiate_method =
        (std::is_same_v<A, NUV_ScaleI2FixedArithmetic> ? fixed_methods
                                                       : real_methods)[Taps - scale_i2_least_taps];
    using NUV_LineWindowEngine<NUV_ScaleI2VARHeightEngine<A>, Taps>::NUV_LineWindowEngine;

    [[nodiscard]] bool initiate(const NUV_Header* header, NUV_SrcBuffer* src, NUV_DstBuffer* dst,
                                std::uint32_t height, std::uint16_t bits,
                                const NUV_CubicSplineTable* table)
    {
        if (!NUV_ScaleI2VARHeightEngine<A>::initiate(header, src, dst, height, bits, *table, Taps,
                                                     initiate_method))
            return false;
        this->window_.initiate(src, header->height());
        return true;
    }

private:
    [[nodiscard]] bool move_window() override
    {
        return this->window_.move_to(this->filter_.first(this->line_));
    }
    void make_line(std::uint8_t* out) override
    {
        const auto lines = this->window_.template lines<typename A::Middle>();
        this->filter_.combine(this->line_, lines.data(),
                              reinterpret_cast<typename A::Sample*>(out));
    }
};

} // namespace

NUV_Engine* NUV_ScaleI2VARHeightFixedReal::engine(NUV_Engine* previous, std::uint32_t height,
                                                  std::uint16_t bits,
                                                  const NUV_CubicSplineTable* table,
                                                  std::uint32_t taps)
{
    constexpr auto method = "NUV_ScaleI2VARHeightFixedReal::engine()";

    if (!accepts(previous, height, method))
        return nullptr;
    if (!table || !has_scale_i2_mask(taps))
        return fail(manager(), NUV_ERR_ARGUMENT, method);
    return visit_taps(taps, [&]<int Taps>() {
        return append_new<NUV_ScaleI2VARHeightMaskEngine<NUV_ScaleI2FixedArithmetic, Taps>>(
            *previous, height, bits, table);
    });
}

NUV_Engine* NUV_ScaleI2VARHeightFloat::engine(NUV_Engine* previous, std::uint32_t height,
                                              std::uint16_t bits, const NUV_CubicSplineTable* table,
                                              std::uint32_t taps)
{
    constexpr auto method = "NUV_ScaleI2VARHeightFloat::engine()";

    if (!accepts(previous, height, method))
        return nullptr;
    if (!table || !has_scale_i2_mask(taps))
        return fail(manager(), NUV_ERR_ARGUMENT, method);
    return visit_taps(taps, [&]<int Taps>() {
        return append_new<NUV_ScaleI2VARHeightMaskEngine<NUV_ScaleI2FloatArithmetic, Taps>>(
            *previous, height, bits, table);
    });
}

} // namespace nuv
