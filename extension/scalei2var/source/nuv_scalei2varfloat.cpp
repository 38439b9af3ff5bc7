#include "core/include/nuv_alignedscratch.h"
#include "core/include/nuv_interpolationtable.h"
#include "core/scale/nuv_linewindowengine.h"
#include "extension/scalei2utility/nuv_scalei2split.h"
#include "extension/scalei2var/nuv_scalei2var.h"
#include "framework/engine/nuv_processengine.h"

#include <algorithm>

namespace nuv {
namespace {

struct NUV_ScaleI2VAROrder {
    std::uint32_t width;
    std::uint32_t height;
    std::uint16_t bits;
    std::uint32_t taps_x;
    std::uint32_t taps_y;
    const NUV_CubicSplineTable* table;
};

// Both passes in one, which knows of a result what it needs to do without double precision, and has
// the source to make it again with. The source's size and format are those that NUV_ScaleI2VAR
// takes.
class NUV_ScaleI2VARFloatEngine : public NUV_ProcessEngine {
public:
    static constexpr auto initiate_method = "NUV_ScaleI2VARWidthEngine::initiate()";
    static constexpr std::uint32_t module_version = NUV_EXTENSION_VERSION;

    using NUV_ProcessEngine::NUV_ProcessEngine;

protected:
    [[nodiscard]] bool initiate(const NUV_Header* header, NUV_SrcBuffer* src, NUV_DstBuffer* dst,
                                const NUV_ScaleI2VAROrder& order);

    [[nodiscard]] std::int64_t first() const noexcept { return column_.first(line_); }
    // Output line `line_`, from source lines of which the first is line first(), or nearest to it.
    void make_from(const std::uint16_t* const* lines, std::uint16_t* out);

    std::uint32_t line_ = 0; // output lines made

private:
    [[nodiscard]] std::uint32_t source_line(std::uint32_t tap) const noexcept
    {
        return static_cast<std::uint32_t>(
            std::clamp<std::int64_t>(first() + tap, 0, std::int64_t{source_height_} - 1));
    }
    template <class Filter, class Middle>
    void fill(const Filter& filter, std::size_t line_samples, const std::uint16_t* const* lines,
              Middle* ring, const Middle** middles);

    // False where too many samples would have to be made again.
    [[nodiscard]] bool make_by_integers(const std::uint16_t* const* lines, std::uint16_t* out);

    NUV_ScaleI2RowFilter<NUV_ScaleI2FloatArithmetic> row_;
    NUV_ScaleI2LineFilter<NUV_ScaleI2FloatArithmetic> column_;
    NUV_ScaleI2SplitFilter split_;
    // As many intermediate lines as the mask has taps, of integers or in double precision.
    NUV_AlignedScratch ring_;
    std::uint32_t source_height_ = 0;
    std::uint32_t lines_filtered_ = 0;
    std::int64_t patience_ = 0; // with samples that have to be made again
    bool is_exact_ = false;
};

bool NUV_ScaleI2VARFloatEngine::initiate(const NUV_Header* header, NUV_SrcBuffer* src,
                                         NUV_DstBuffer* dst, const NUV_ScaleI2VAROrder& order)
{
    if (!NUV_ProcessEngine::initiate(header, src, dst))
        return false;
    // Both passes in turn could not do without this line.
    header_.width(order.width);
    header_.data_type(NUV_DataType::floating);
    header_.bits(8 * sizeof(double));
    if (!header_.checked_line_bytes())
        return fail(manager(), NUV_ERR_UNSUPPORTED, initiate_method);
    header_.data_type(NUV_DataType::u_integer);
    header_.bits(8 * sizeof(std::uint16_t));
    header_.height(order.height);
    source_height_ = header->height();

    const std::size_t samples = std::size_t{order.width} * header->channels();
    const NUV_CubicSplineTable& table = *order.table;
    const NUV_ScaleI2Sizes widths{header->width(), order.width,
                                  static_cast<double>(order.width) / header->width()};
    const NUV_ScaleI2Sizes heights{source_height_, order.height,
                                   static_cast<double>(order.height) / source_height_};
    if (!row_.initiate(manager(), table, table.stretch_x(), widths, order.taps_x,
                       header->channels()) ||
        !column_.initiate(manager(), table, table.stretch_y(), heights, order.taps_y, samples,
                          order.bits) ||
        !split_.initiate(manager(), row_, column_))
        return false;
    is_exact_ = !split_.fits();
    const std::size_t line_bytes =
        std::max(samples * sizeof(double), split_.line_samples() * sizeof(std::int32_t));
    return ring_.allocate(manager(), order.taps_y, line_bytes) &&
           src->block_bytes(header->line_bytes()) && dst->block_bytes(header_.line_bytes());
}

template <class Filter, class Middle>
void NUV_ScaleI2VARFloatEngine::fill(const Filter& filter, std::size_t line_samples,
                                     const std::uint16_t* const* lines, Middle* ring,
                                     const Middle** middles)
{
    for (std::uint32_t i = 0; i < column_.taps(); ++i) {
        const std::uint32_t at = source_line(i);
        Middle* middle = ring + at % column_.taps() * line_samples;
        if (at >= lines_filtered_) {
            filter.filter(lines[i], middle);
            lines_filtered_ = at + 1;
        }
        middles[i] = middle;
    }
}

// A sample that is made again takes as long as some twenty. Some of 256 always are; where they are
// twice as many, all are made in double precision from there on.
bool NUV_ScaleI2VARFloatEngine::make_by_integers(const std::uint16_t* const* lines,
                                                 std::uint16_t* out)
{
    const std::int32_t* middles[scale_i2_most_taps];
    fill(split_, split_.line_samples(), lines, ring_.as<std::int32_t>(), middles);
    const auto again = static_cast<std::int64_t>(split_.combine(line_, middles, out));
    const auto samples = static_cast<std::int64_t>(column_.samples_per_line());
    patience_ = std::min(patience_ + samples / 128, samples / 16) - again;
    if (patience_ < 0) {
        is_exact_ = true;
        lines_filtered_ = 0;
        return false;
    }
    split_.make_again(line_, lines, out);
    return true;
}

void NUV_ScaleI2VARFloatEngine::make_from(const std::uint16_t* const* lines, std::uint16_t* out)
{
    if (!is_exact_ && make_by_integers(lines, out))
        return;
    const double* middles[scale_i2_most_taps];
    fill(row_, column_.samples_per_line(), lines, ring_.as<double>(), middles);
    column_.combine(line_, middles, out);
}

// Tables of integers take as long to make as some lines, and giving them up as long as some more.
[[nodiscard]] bool integers_pay(const NUV_Header& source, std::uint32_t width) noexcept
{
    constexpr std::uint32_t least_lines = 512;
    constexpr std::size_t least_samples = 256;
    return source.height() >= least_lines &&
           std::size_t{width} * source.channels() >= least_samples;
}

template <int Taps>
class NUV_ScaleI2VARFloatMaskEngine final
    : public NUV_LineWindowEngine<NUV_ScaleI2VARFloatEngine, Taps> {
public:
    using NUV_LineWindowEngine<NUV_ScaleI2VARFloatEngine, Taps>::NUV_LineWindowEngine;

    [[nodiscard]] bool initiate(const NUV_Header* header, NUV_SrcBuffer* src, NUV_DstBuffer* dst,
                                const NUV_ScaleI2VAROrder& order)
    {
        if (!NUV_ScaleI2VARFloatEngine::initiate(header, src, dst, order))
            return false;
        this->window_.initiate(src, header->height());
        return true;
    }

private:
    [[nodiscard]] bool move_window() override { return this->window_.move_to(this->first()); }
    void make_line(std::uint8_t* out) override
    {
        this->make_from(this->window_.template lines<std::uint16_t>().data(),
                        reinterpret_cast<std::uint16_t*>(out));
    }
};

} // namespace

NUV_Engine* NUV_ScaleI2VAR::scale_float(NUV_Engine* previous, std::uint32_t width,
                                        std::uint32_t height, std::uint16_t bits,
                                        const NUV_CubicSplineTable& table, std::uint32_t taps_x,
                                        std::uint32_t taps_y)
{
    if (has_split_forms(manager().cpu()) && integers_pay(*previous->header(), width)) {
        const NUV_ScaleI2VAROrder order{width, height, bits, taps_x, taps_y, &table};
        return visit_taps(taps_y, [&]<int Taps>() -> NUV_Engine* {
            return append_new<NUV_ScaleI2VARFloatMaskEngine<Taps>>(*previous, order);
        });
    }
    NUV_Engine* middle =
        NUV_ScaleI2VARWidthFloat(manager()).engine(previous, width, &table, taps_x);
    if (!middle)
        return nullptr;
    return NUV_ScaleI2VARHeightFloat(manager()).engine(middle, height, bits, &table, taps_y);
}

} // namespace nuv
