#include "core/crop/nuv_crop.h"
#include "core/limitpixelvalue/nuv_limitpixelvalue.h"
#include "extension/scalei2/nuv_scalei2.h"
#include "extension/scalei2/source/nuv_scalei2engine.h"
#include "extension/scalei2utility/nuv_scalei2filter.h"
#include "framework/engine/nuv_stepblocks.h"

#include <algorithm>
#include <type_traits>

namespace nuv {
namespace {

// Source lines are filtered as they come into a ring of as many lines as the mask has taps; a line
// of the result is made down these.
// By taps.
constexpr const char* fixed_methods[] = {"NUV_ScaleI2FixedRealCore4x4Engine::initiate()",
                                         "NUV_ScaleI2FixedRealCore5x5Engine::initiate()",
                                         "NUV_ScaleI2FixedRealCore6x6Engine::initiate()",
                                         "NUV_ScaleI2FixedRealCore7x7Engine::initiate()",
                                         "NUV_ScaleI2FixedRealCore8x8Engine::initiate()"};
constexpr const char* real_methods[] = {
    "NUV_ScaleI2FloatCore4x4Engine::initiate()", "NUV_ScaleI2FloatCore5x5Engine::initiate()",
    "NUV_ScaleI2FloatCore6x6Engine::initiate()", "NUV_ScaleI2FloatCore7x7Engine::initiate()",
    "NUV_ScaleI2FloatCore8x8Engine::initiate()"};

template <class A, int Taps>
class NUV_ScaleI2CoreEngine final : public NUV_ScaleI2Engine {
public:
    static constexpr auto initiate_method =
        (std::is_same_v<A, NUV_ScaleI2FixedArithmetic> ? fixed_methods
                                                       : real_methods)[Taps - scale_i2_least_taps];
    using NUV_ScaleI2Engine::NUV_ScaleI2Engine;

    [[nodiscard]] bool initiate(const NUV_Header* header, NUV_SrcBuffer* src, NUV_DstBuffer* dst,
                                const NUV_ScaleI2Order& order);
    [[nodiscard]] bool delivers_what_it_writes() const override { return true; }
    [[nodiscard]] bool execute() override;

private:
    using Sample = typename A::Sample;
    using Middle = typename A::Middle;

    [[nodiscard]] std::uint32_t clamped(std::int64_t line) const noexcept
    {
        return static_cast<std::uint32_t>(
            std::clamp<std::int64_t>(line, 0, std::int64_t{source_height_} - 1));
    }
    [[nodiscard]] Middle* slot(std::uint32_t line) const noexcept
    {
        return ring_.data() + line % Taps * samples_per_line_;
    }
    [[nodiscard]] bool fill_ring(std::uint32_t first, std::uint32_t last);

    NUV_ScaleI2RowFilter<A> row_;
    NUV_ScaleI2LineFilter<A> column_;
    NUV_Scratch<Middle> ring_;
};

template <class A, int Taps>
bool NUV_ScaleI2CoreEngine<A, Taps>::initiate(const NUV_Header* header, NUV_SrcBuffer* src,
                                              NUV_DstBuffer* dst, const NUV_ScaleI2Order& order)
{
    if (!NUV_ScaleI2Engine::initiate(header, src, dst, order, 8 * sizeof(Sample)))
        return false;
    const double stretch = order.table->stretch_x();
    if (order.width < Taps || order.height < Taps || !table_reaches(stretch, Taps))
        return fail(manager(), NUV_ERR_ARGUMENT, initiate_method);

    const NUV_ScaleI2Sizes widths{source_width_, order.width, ratio_};
    const NUV_ScaleI2Sizes heights{source_height_, order.height, ratio_};
    return row_.initiate(manager(), *order.table, stretch, widths, Taps, channels_) &&
           column_.initiate(manager(), *order.table, stretch, heights, Taps, samples_per_line_,
                            order.bits) &&
           ring_.allocate(manager(), samples_per_line_ * Taps);
}

// Has the source lines `first` to `last` in the ring.
template <class A, int Taps>
bool NUV_ScaleI2CoreEngine<A, Taps>::fill_ring(std::uint32_t first, std::uint32_t last)
{
    if (!skip_lines(first))
        return false;
    while (lines_read_ <= last) {
        NUV_InputBlock in(*src_buffer_);
        if (!in)
            return false;
        row_.filter(in.as<Sample>(), slot(lines_read_));
        ++lines_read_;
        if (!in.release())
            return false;
    }
    return true;
}

template <class A, int Taps>
bool NUV_ScaleI2CoreEngine<A, Taps>::execute()
{
    if (line_ >= header_.height())
        return false;
    const std::int64_t first = column_.first(line_);
    if (!fill_ring(clamped(first), clamped(first + Taps - 1)))
        return false;
    NUV_OutputBlock out(*dst_buffer_);
    if (!out)
        return false;
    const Middle* lines[Taps];
    for (int i = 0; i < Taps; ++i)
        lines[i] = slot(clamped(first + i));
    column_.combine(line_, lines, out.as<Sample>());
    ++line_;
    return out.commit(header_.line_bytes());
}

// True when the result is the middle of the source as it is: both centres lie on pixels, or both
// between them.
[[nodiscard]] bool only_cuts(const NUV_Header& source, std::uint32_t width, std::uint32_t height)
{
    return is_same_ratio(scale_i2_ratio(source, width, height), 1) &&
           (source.width() - width) % 2 == 0 && (source.height() - height) % 2 == 0;
}

[[nodiscard]] NUV_Engine* cut(NUV_Manager& manager, NUV_Engine* previous, std::uint32_t width,
                              std::uint32_t height, std::uint16_t bits)
{
    const NUV_Header& source = *previous->header();
    NUV_Engine* middle = NUV_Crop(manager).engine(previous, (source.width() - width) / 2,
                                                  (source.height() - height) / 2, width, height);
    if (!middle || !limits_bits(*middle->header(), bits))
        return middle;
    return NUV_LimitPixelValue(manager).engine(middle, (std::int32_t{1} << bits) - 1,
                                               std::int32_t{0});
}

// Refuses, cuts, or gives what append.operator()<Taps>() gives.
template <class Append>
[[nodiscard]] NUV_Engine* scale_or_cut(NUV_Manager& manager, NUV_Engine* previous,
                                       const NUV_ScaleI2Order& order, const char* method,
                                       Append&& append)
{
    const bool is_complete = has_image(previous) && order.table;
    if (!is_complete || order.width == 0 || order.height == 0)
        return fail(manager, NUV_ERR_ARGUMENT, method);
    if (only_cuts(*previous->header(), order.width, order.height))
        return cut(manager, previous, order.width, order.height, order.bits);
    if (!has_scale_i2_mask(order.taps))
        return fail(manager, NUV_ERR_ARGUMENT, method);
    return visit_taps(order.taps, append);
}

} // namespace

NUV_Engine* NUV_ScaleI2Float::engine(NUV_Engine* previous, std::uint32_t width,
                                     std::uint32_t height, std::uint16_t bits,
                                     const NUV_CubicSplineTable* table, std::uint32_t taps)
{
    constexpr auto method = "NUV_ScaleI2Float::engine()";

    const NUV_ScaleI2Order order{width, height, bits, table, taps};
    return scale_or_cut(manager(), previous, order, method, [&]<int Taps>() {
        return append_new<NUV_ScaleI2CoreEngine<NUV_ScaleI2FloatArithmetic, Taps>>(*previous,
                                                                                   order);
    });
}

NUV_Engine* NUV_ScaleI2FixedReal::engine(NUV_Engine* previous, std::uint32_t width,
                                         std::uint32_t height, std::uint16_t bits,
                                         const NUV_CubicSplineTable* table, std::uint32_t taps)
{
    constexpr auto method = "NUV_ScaleI2FixedReal::engine()";

    const NUV_ScaleI2Order order{width, height, bits, table, taps};
    return scale_or_cut(manager(), previous, order, method, [&]<int Taps>() {
        return append_new<NUV_ScaleI2CoreEngine<NUV_ScaleI2FixedArithmetic, Taps>>(*previous,
                                                                                   order);
    });
}

} // namespace nuv
