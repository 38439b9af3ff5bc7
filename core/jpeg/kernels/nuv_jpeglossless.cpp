#include "core/jpeg/kernels/nuv_jpeglossless.h"

#include "core/jpeg/kernels/nuv_jpegbitreader.h"
#include "core/jpeg/kernels/nuv_jpegdifferences.h"
#include "core/jpeg/kernels/nuv_jpegforms.h"

#include <algorithm>

namespace nuv {
namespace {

NUV_JPEGResult lossless_decode_rows(const std::uint8_t* input, std::int32_t size,
                                    std::int32_t* position, std::uint16_t* const* rows,
                                    std::int32_t columns, std::int32_t components,
                                    std::uint8_t* marker, const NUV_JPEGDecodeTable* const* tables,
                                    NUV_JPEGDecodeState* state)
{
    constexpr std::int32_t most_components = 4;
    if (input == nullptr || position == nullptr || rows == nullptr || marker == nullptr ||
        tables == nullptr || state == nullptr)
        return NUV_JPEGResult::null_pointer;
    for (std::int32_t i = 0; i < std::min(components, most_components); ++i) {
        if (rows[i] == nullptr || tables[i] == nullptr)
            return NUV_JPEGResult::null_pointer;
    }
    if (size < 1 || columns < 1 || components < 1)
        return NUV_JPEGResult::bad_size;
    if (components > most_components || *position < 0 || *position > size || state->bits > 64)
        return NUV_JPEGResult::bad_parameter;

    NUV_JPEGBitReader reader(input, size, *position, marker, *state);
    NUV_JPEGResult result = NUV_JPEGResult::good;
    for (std::int32_t x = 0; x < columns && is_good(result); ++x) {
        for (std::int32_t i = 0; i < components && is_good(result); ++i)
            result = read_difference(reader, *tables[i], rows[i][x]);
    }
    reader.store(*position, *state);
    return result;
}

struct Sums {
    template <int Predictor>
    static void row(const std::uint16_t* differences, const std::uint16_t* previous,
                    std::uint16_t* output, std::int32_t columns)
    {
        sum_up_from<Predictor>(1, differences, previous, output, columns);
    }
};

// Differences are formed in 32 bits and kept modulo 65536.
NUV_JPEGResult lossless_diff_first_row(const std::uint16_t* samples, std::uint16_t* differences,
                                       std::int32_t columns, std::int32_t precision,
                                       std::int32_t point_transform)
{
    std::uint16_t middle = 0;
    const NUV_JPEGResult checked =
        check_first_row(samples, differences, columns, precision, point_transform, middle);
    if (!is_good(checked))
        return checked;

    differences[0] = static_cast<std::uint16_t>(samples[0] - middle);
    for (std::int32_t i = 1; i < columns; ++i)
        differences[i] = static_cast<std::uint16_t>(samples[i] - samples[i - 1]);
    return NUV_JPEGResult::good;
}

NUV_JPEGResult lossless_diff_other_rows(const std::uint16_t* samples, const std::uint16_t* previous,
                                        std::uint16_t* differences, std::int32_t columns,
                                        std::int32_t predictor)
{
    if (previous == nullptr)
        return NUV_JPEGResult::null_pointer;
    const NUV_JPEGResult checked = check_row(samples, differences, columns);
    if (!is_good(checked))
        return checked;

    return with_predictor(predictor, [=]<int Predictor>() {
        differences[0] = static_cast<std::uint16_t>(samples[0] - previous[0]);
        for (std::int32_t i = 1; i < columns; ++i) {
            const std::int32_t prediction =
                predict<Predictor>(samples[i - 1], previous[i], previous[i - 1]);
            differences[i] = static_cast<std::uint16_t>(samples[i] - prediction);
        }
    });
}

} // namespace

void set_portable_lossless_forms(NUV_JPEGPrimitives& primitives) noexcept
{
    primitives.lossless_decode_rows = lossless_decode_rows;
    primitives.lossless_first_row = lossless_first_row<Sums>;
    primitives.lossless_other_rows = lossless_other_rows<Sums>;
    primitives.lossless_diff_first_row = lossless_diff_first_row;
    primitives.lossless_diff_other_rows = lossless_diff_other_rows;
}

} // namespace nuv
