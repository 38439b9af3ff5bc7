#include "core/rotate/nuv_rotate90.h"
#include "core/rotate/source/nuv_rotate90engines.h"
#include "framework/base/nuv_failure.h"
#include "framework/base/nuv_status.h"

#include <algorithm>
#include <array>

namespace nuv {
namespace {

constexpr std::uint32_t group_rows = 8;

} // namespace

void rotate90groups_portable(std::span<const Rotate90Group> groups, const Rotate90Lines& lines)
{
    rotate90groups_from(groups, lines, 0);
}

void rotate90groups_from(std::span<const Rotate90Group> groups, const Rotate90Lines& lines,
                         std::uint32_t from)
{
    for (std::uint32_t x = from; x < lines.width; x += 8) {
        const std::uint32_t columns = std::min<std::uint32_t>(8, lines.width - x);
        std::uint8_t* const first = lines.out + static_cast<std::ptrdiff_t>(x) * lines.out_step;
        for (const Rotate90Group& group : groups) {
            std::uint64_t bits = 0;
            for (const std::uint8_t* row : group.rows)
                bits = bits << 8 | row[x >> 3];
            bits = transpose_8x8(bits);
            std::uint8_t* out = first + group.column;
            for (std::uint32_t i = 0; i < columns; ++i, bits <<= 8, out += lines.out_step) {
                const unsigned joined = group.joins ? *out : 0U;
                *out = static_cast<std::uint8_t>(joined | bits >> 56);
            }
        }
    }
}

bool NUV_Rotate90_1Engine::cleanup()
{
    blank_line_.free();
    return NUV_Rotate90PlaneEngine::cleanup();
}

bool NUV_Rotate90_1Engine::initiate(const NUV_Header* header, NUV_SrcBuffer* src,
                                    NUV_DstBuffer* dst, std::int32_t angle, std::uint32_t block)
{
    const NUV_Angle wanted(angle);

    if (!NUV_ProcessEngine::initiate(header, src, dst))
        return false;
    if (!header->is_raw() || header->data_type() != NUV_DataType::u_integer ||
        header->bits() != 1 || header->channels() != 1)
        return fail(manager(), NUV_ERR_UNSUPPORTED, initiate_method);
    const bool is_band = block != 0 && (block % group_rows == 0 || block == header->height());
    if (!is_band || !wanted.is_quarter_turn())
        return fail(manager(), NUV_ERR_ARGUMENT, initiate_method);

    angle_ = wanted.normalized();
    rotate_groups_ = choose_rotate90groups(manager().cpu());
    reverse_bits_ = choose_reverse_bits(manager().cpu());
    if (!prepare(wanted, block, initiate_method) ||
        !blank_line_.allocate(manager(), std::max<std::size_t>(src_line_bytes_, 1)))
        return false;
    std::ranges::fill(blank_line_.items(), std::uint8_t{0});
    return true;
}

Rotate90Group NUV_Rotate90_1Engine::group(Bands bands, std::uint32_t column) const
{
    const NUV_Rotate90Band& first = bands.front();
    const std::uint64_t end_row = std::uint64_t{bands.back().first_row} + bands.back().rows;
    Rotate90Group group;
    group.column = column;
    std::uint64_t row_of_group = first.height; // the topmost line of those that exist
    for (std::uint32_t i = 0; i < group_rows; ++i) {
        // Output column number 8 * column + i; at 90 degrees the last source line comes first.
        const std::uint64_t position = std::uint64_t{column} * group_rows + i;
        group.rows[i] = blank_line_.data();
        if (position >= first.height)
            continue;
        const std::uint64_t row = angle_ == 90 ? first.height - 1 - position : position;
        row_of_group = std::min(row_of_group, row);
        if (row < first.first_row || row >= end_row)
            continue;
        const NUV_Rotate90Band& band = bands[(row - first.first_row) / first.rows];
        group.rows[i] = band.src + (row - band.first_row) * band.src_step;
    }
    group.joins = row_of_group < first.first_row;
    return group;
}

void NUV_Rotate90_1Engine::rotate(Bands bands)
{
    const NUV_Rotate90Band& band = bands.front();
    const std::uint32_t last_row = bands.back().first_row + bands.back().rows - 1;
    const std::uint32_t first =
        (angle_ == 90 ? band.height - 1 - last_row : band.first_row) / group_rows;
    const std::uint32_t last =
        (angle_ == 90 ? band.height - 1 - band.first_row : last_row) / group_rows;
    const auto step = static_cast<std::ptrdiff_t>(band.plane_step);
    Rotate90Lines lines{.out = band.plane, .out_step = step, .width = band.width};
    if (angle_ == 270) {
        lines.out += (std::size_t{band.width} - 1) * band.plane_step;
        lines.out_step = -step;
    }

    // As many at a time as usual bands have, so that the bytes of an output line are written
    // together. Bands that begin inside a byte have one more.
    std::array<Rotate90Group, 8 * most_bands + 1> groups;
    std::uint32_t count = 0;
    for (std::uint32_t column = first; column <= last; ++column) {
        groups[count++] = group(bands, column);
        if (count == groups.size() || column == last) {
            rotate_groups_(std::span(groups).first(count), lines);
            count = 0;
        }
    }
}

NUV_Engine* NUV_Rotate90_1::engine(NUV_Engine* previous, std::int32_t angle, std::uint32_t block)
{
    if (!accepts_image(previous, "NUV_Rotate90_1::engine()"))
        return nullptr;
    if (NUV_Angle(angle).is_whole_turn())
        return previous;
    return append_new<NUV_Rotate90_1Engine>(*previous, angle, block);
}

} // namespace nuv
