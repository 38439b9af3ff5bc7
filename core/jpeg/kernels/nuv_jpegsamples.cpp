#include "core/jpeg/kernels/nuv_jpegsamples.h"

#include "core/jpeg/kernels/nuv_jpegforms.h"
#include "core/jpeg/kernels/nuv_jpegtransform.h"

#include <array>

namespace nuv {
namespace {

constexpr std::size_t side_of_block = 8;

void block_to_samples(const std::int16_t* coefficients, const std::int16_t* table,
                      std::uint8_t* out, std::size_t stride)
{
    alignas(32) std::int16_t samples[jpeg_block_size];
    static_cast<void>(idct_dequant(coefficients, samples, table));
    put_samples(samples, side_of_block, out, stride);
}

void repeat_twice(const std::uint8_t* in, std::uint8_t* out, std::size_t count)
{
    for (std::size_t i = 0; i < count; ++i) {
        out[2 * i] = in[i];
        out[2 * i + 1] = in[i];
    }
}

template <std::size_t Channels>
void interleave(const std::uint8_t* const* in, std::uint8_t* out, std::size_t count)
{
    std::array<const std::uint8_t*, Channels> rows;
    for (std::size_t c = 0; c < Channels; ++c)
        rows[c] = in[c];
    for (std::size_t i = 0; i < count; ++i) {
        for (std::size_t c = 0; c < Channels; ++c)
            out[Channels * i + c] = rows[c][i];
    }
}

// Rows of the N-point inverse: C(u) / 2 x cos((2 x + 1) u pi / 2 N) in 13 bits.
constexpr std::int32_t four_points[4][4] = {
    // clang-format off
    {2896,  3784,  2896,  1567},
    {2896,  1567, -2896, -3784},
    {2896, -1567, -2896,  3784},
    {2896, -3784,  2896, -1567},
    // clang-format on
};
constexpr std::int32_t two_points[2][2] = {{2896, 2896}, {2896, -2896}};

// Columns, then rows; 3 bits more than the samples have are kept between the passes.
template <std::size_t N>
void transform_points(const std::int32_t (&matrix)[N][N], const std::int32_t* in,
                      std::int16_t* samples) noexcept
{
    constexpr int bits = 13;
    constexpr int kept = 3;
    std::int64_t columns[N][N] = {};
    for (std::size_t y = 0; y < N; ++y) {
        for (std::size_t u = 0; u < N; ++u) {
            std::int64_t sum = 0;
            for (std::size_t v = 0; v < N; ++v)
                sum += std::int64_t{matrix[y][v]} * in[N * v + u];
            columns[y][u] = (sum + (1 << (bits - kept - 1))) >> (bits - kept);
        }
    }
    for (std::size_t y = 0; y < N; ++y) {
        for (std::size_t x = 0; x < N; ++x) {
            std::int64_t sum = 0;
            for (std::size_t u = 0; u < N; ++u)
                sum += matrix[x][u] * columns[y][u];
            const std::int64_t sample = (sum + (1 << (bits + kept - 1))) >> (bits + kept);
            samples[N * y + x] = saturate_to_16_bits(static_cast<std::int32_t>(sample));
        }
    }
}

} // namespace

void put_samples(const std::int16_t* samples, std::size_t side, std::uint8_t* out,
                 std::size_t stride) noexcept
{
    for (std::size_t y = 0; y < side; ++y) {
        for (std::size_t x = 0; x < side; ++x)
            out[stride * y + x] = deliver_sample(samples[side * y + x]);
    }
}

void reduced_idct(const std::int16_t* coefficients, const std::int16_t* table, std::size_t side,
                  std::int16_t* samples) noexcept
{
    std::int32_t in[16] = {};
    for (std::size_t v = 0; v < side; ++v) {
        for (std::size_t u = 0; u < side; ++u) {
            const std::size_t i = side_of_block * v + u;
            in[side * v + u] = saturate_to_16_bits(std::int32_t{coefficients[i]} * table[i]);
        }
    }
    if (side == 1)
        samples[0] = static_cast<std::int16_t>((in[0] + 4) >> 3);
    else if (side == 2)
        transform_points<2>(two_points, in, samples);
    else
        transform_points<4>(four_points, in, samples);
}

void set_portable_sample_forms(NUV_JPEGSampleForms& forms) noexcept
{
    forms = {.block_to_samples = block_to_samples,
             .short_block_to_samples = block_to_samples,
             .repeat_twice = repeat_twice,
             .interleave_3 = interleave<3>,
             .interleave_4 = interleave<4>};
}

const NUV_JPEGSampleForms& jpeg_sample_forms(const NUV_Cpu& cpu) noexcept
{
    static const NUV_JPEGFormLevels<NUV_JPEGSampleForms> levels(
        {set_portable_sample_forms},
#if NUV_X86
        {set_sse2_sample_forms}, {set_avx2_sample_forms, set_avx2_block_forms}, {}
#else
        {}, {}, {}
#endif
    );
    return levels.of(cpu);
}

} // namespace nuv
