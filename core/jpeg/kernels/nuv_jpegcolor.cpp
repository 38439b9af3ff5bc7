#include "core/jpeg/kernels/nuv_jpegforms.h"

namespace nuv {
namespace {

constexpr std::ptrdiff_t pixel_bytes = 3;
constexpr std::ptrdiff_t block_columns = 8;

// The sums of the three samples over a cell of pixels, each at most 4 x 255.
struct CellSum {
    std::int32_t first = 0;
    std::int32_t second = 0;
    std::int32_t third = 0;
};

// Red, green and blue to the level-shifted luma and chroma of ITU-R BT.601, in 16.16 fixed point.
// Every result is a floor, luma before the level shift; `shift` is 16 plus the binary logarithm of
// the pixels in the cell.
struct ConvertColor {
    static std::int16_t luma(const std::uint8_t* pixel) noexcept
    {
        const std::int32_t sum = 19595 * pixel[0] + 38470 * pixel[1] + 7471 * pixel[2];
        return static_cast<std::int16_t>((sum >> 16) - 128);
    }
    static std::int16_t blue_difference(const CellSum& cell, int shift) noexcept
    {
        const std::int32_t sum = -11059 * cell.first - 21709 * cell.second + 32768 * cell.third;
        return static_cast<std::int16_t>(sum >> shift);
    }
    static std::int16_t red_difference(const CellSum& cell, int shift) noexcept
    {
        const std::int32_t sum = 32768 * cell.first - 27439 * cell.second - 5329 * cell.third;
        return static_cast<std::int16_t>(sum >> shift);
    }
};

// No colour change: the level shift, and the floor of the mean.
struct SplitColor {
    static std::int16_t luma(const std::uint8_t* pixel) noexcept
    {
        return static_cast<std::int16_t>(pixel[0] - 128);
    }
    static std::int16_t blue_difference(const CellSum& cell, int shift) noexcept
    {
        return static_cast<std::int16_t>((cell.second >> (shift - 16)) - 128);
    }
    static std::int16_t red_difference(const CellSum& cell, int shift) noexcept
    {
        return static_cast<std::int16_t>((cell.third >> (shift - 16)) - 128);
    }
};

template <class Color>
void luma_block(const std::uint8_t* source, std::ptrdiff_t row_step, std::int16_t* block) noexcept
{
    for (std::ptrdiff_t y = 0; y < block_columns; ++y) {
        for (std::ptrdiff_t x = 0; x < block_columns; ++x)
            block[y * block_columns + x] = Color::luma(source + y * row_step + x * pixel_bytes);
    }
}

template <int Across, int Down>
CellSum sum_cell(const std::uint8_t* source, std::ptrdiff_t row_step) noexcept
{
    CellSum cell;
    for (std::ptrdiff_t y = 0; y < Down; ++y) {
        for (std::ptrdiff_t x = 0; x < Across; ++x) {
            const std::uint8_t* pixel = source + y * row_step + x * pixel_bytes;
            cell.first += pixel[0];
            cell.second += pixel[1];
            cell.third += pixel[2];
        }
    }
    return cell;
}

// One area of 8 x Across by 8 x Down pixels.
template <class Color, int Across, int Down>
NUV_JPEGResult pixels_to_blocks(const std::uint8_t* source, std::int32_t row_step,
                                std::int16_t* first, std::int16_t* second, std::int16_t* third)
{
    const NUV_JPEGResult checked = check_pixel_arguments(source, row_step, first, second, third);
    if (!is_good(checked))
        return checked;

    constexpr int shift = 16 + (Across * Down) / 2; // 1, 2 or 4 pixels in a cell
    const std::ptrdiff_t step = row_step;
    for (std::ptrdiff_t down = 0; down < Down; ++down) {
        for (std::ptrdiff_t across = 0; across < Across; ++across) {
            luma_block<Color>(source + block_columns * (down * step + across * pixel_bytes), step,
                              first);
            first += jpeg_block_size;
        }
    }
    for (std::ptrdiff_t y = 0; y < block_columns; ++y) {
        for (std::ptrdiff_t x = 0; x < block_columns; ++x) {
            const CellSum cell =
                sum_cell<Across, Down>(source + y * Down * step + x * Across * pixel_bytes, step);
            second[y * block_columns + x] = Color::blue_difference(cell, shift);
            third[y * block_columns + x] = Color::red_difference(cell, shift);
        }
    }
    return NUV_JPEGResult::good;
}

} // namespace

void set_portable_color_forms(NUV_JPEGPrimitives& primitives) noexcept
{
    set_color_forms<ConvertColor, SplitColor>(primitives, []<class Color, int Across, int Down>() {
        return pixels_to_blocks<Color, Across, Down>;
    });
}

} // namespace nuv
