#include "core/convertdatatype/nuv_convertdatatype.h"
#include "core/lut/nuv_lut.h"
#include "core/shiftdata/nuv_shiftdata.h"
#include "tests/support/nuv_checksum.h"
#include "tests/support/nuv_pixeltables.h"

// Over all types and arguments, what comes out is held by sums. The results behind the sums agree
// with models that outside readers made of the definitions; a sum that changes is a change of
// results.

namespace nuv {
namespace {

const NUV_DataType* const u = NUV_DataType::u_integer;
const NUV_DataType* const s = NUV_DataType::s_integer;
const NUV_DataType* const real = NUV_DataType::floating;

// Ends, numbers about zero, and random ones; no infinities, whose differences have any sign.
template <class T>
[[nodiscard]] Bytes some_samples()
{
    using Limits = std::numeric_limits<T>;
    std::vector<T> samples{Limits::lowest(), Limits::max(), T{0}, T{1}, T{2}, T{3}, T{100}};
    for (const auto number : random_samples<std::int32_t>(40, 3))
        samples.push_back(static_cast<T>(std::is_floating_point_v<T> ? number / 65536.0 : number));
    for (const double number : {-1.0, -2.0, -3.0, -0.5, -254.5, 0.5, 1.5})
        samples.push_back(static_cast<T>(static_cast<std::int64_t>(number * 2)) / T{2});
    Bytes bytes(samples.size() * sizeof(T));
    std::memcpy(bytes.data(), samples.data(), bytes.size());
    return bytes;
}

struct Type {
    const NUV_DataType* type;
    std::uint16_t bits;
    Bytes samples;
};
// clang-format off
const Type types[] = {{u, 8, some_samples<std::uint8_t>()}, {s, 8, some_samples<std::int8_t>()}, {u, 16, some_samples<std::uint16_t>()},
    {s, 16, some_samples<std::int16_t>()}, {u, 32, some_samples<std::uint32_t>()}, {s, 32, some_samples<std::int32_t>()},
    {real, 32, some_samples<float>()}, {real, 64, some_samples<double>()}};
// clang-format on

// The bytes through one operation, as lines of `image`.
void add_result(NUV_Checksum& sum, NUV_TestImage image, const Bytes& bytes,
                const NUV_Append& append)
{
    NUV_TestChain chain;
    chain.source_bytes(image, bytes);
    ASSERT_TRUE(append(chain)) << chain.status().method;
    sum.add(chain.run_bytes());
}

[[nodiscard]] NUV_TestImage line_of(const Type& type)
{
    return {.width = static_cast<std::uint32_t>(type.samples.size() * 8 / type.bits),
            .bits = type.bits,
            .data_type = type.type};
}

void add_shifts(NUV_Checksum& sum, const Type& from)
{
    for (const Type& to : types) {
        for (int shift = -31; shift <= 31 && to.type != real; ++shift) {
            for (const bool limit : {false, true})
                add_result(sum, line_of(from), from.samples,
                           appending<NUV_ShiftData>(to.type, to.bits, shift, limit));
        }
    }
}

// By arithmetic alone, by whatever way is chosen, and by a table, which many samples choose.
void add_conversions(NUV_Checksum& sum, const Type& from)
{
    NUV_TestImage many = line_of(from);
    many.height = 65536 / many.width + 1;
    Bytes all;
    for (std::uint32_t y = 0; y < many.height; ++y)
        all.insert(all.end(), from.samples.begin(), from.samples.end());
    for (const double slope : {1.0, 0.5, 16.0, 1 / 257.0, 1.5, -1.0, 0.0, 1e30, 0x1p-31, 0x1p29}) {
        for (const double offset : {0.0, 0.7, -3.0, 25.0, -0.5}) {
            for (const Type& to : types) {
                const auto by_any = appending<NUV_ConvertDataType>(to.type, to.bits, slope, offset);
                add_result(sum, line_of(from), from.samples,
                           appending<NUV_ConvertDataType8xNbits>(to.type, to.bits, slope, offset));
                add_result(sum, line_of(from), from.samples, by_any);
                if (from.bits <= 16 && (slope == 16 || slope == 1.5))
                    add_result(sum, many, all, by_any);
            }
            add_result(sum, line_of(from), from.samples,
                       appending<NUV_ConvertDataType>(u, std::uint16_t{1}, slope, offset));
        }
    }
}

// Samples over the whole range, through one table for all channels and through one for each.
void add_tables(NUV_Checksum& sum, const Type& from)
{
    const std::size_t range = std::size_t{1} << from.bits;
    Bytes image(range * 3 * from.bits / 8);
    for (std::size_t i = 0; i < image.size(); ++i)
        image[i] = static_cast<std::uint8_t>(i % 2 == 0 || from.bits == 8 ? i / 3 : i / 512);
    for (const Type& to : types) {
        for (const std::uint16_t channels : {std::uint16_t{1}, std::uint16_t{3}}) {
            const Bytes entries = random_samples<std::uint8_t>(range * channels * to.bits / 8, 7);
            add_result(sum,
                       {.width = 256,
                        .height = static_cast<std::uint32_t>(range / 256),
                        .channels = 3,
                        .bits = from.bits,
                        .data_type = from.type},
                       image, appending_table(to.bits, channels, to.type, entries));
        }
    }
}

// Too few entries, as many as there are samples, and too many, from tables of just their bytes.
void add_expanded_tables(NUV_Checksum& sum, const Type& from)
{
    for (const std::uint32_t entries : {0U, 1U, 16U, 17U, 100U, 256U, 300U, 1000U, 65536U}) {
        for (const std::uint16_t bits : {std::uint16_t{8}, std::uint16_t{16}, std::uint16_t{32}}) {
            for (const std::uint16_t channels : {std::uint16_t{1}, std::uint16_t{3}}) {
                const auto table =
                    random_samples<std::uint8_t>(std::size_t{entries} * channels * bits / 8, bits);
                NUV_TestChain chain;
                chain.blank_source(
                    {.channels = channels, .bits = from.bits, .data_type = from.type});
                const auto whole =
                    expand_lut(chain.manager(), &chain.header(), table.data(), entries, bits);
                EXPECT_TRUE(whole && whole->is_valid() && chain.append<NUV_Lut>(whole.get()));
                if (whole)
                    sum.add(Bytes(whole->value(), whole->value() + (std::size_t{channels} * bits / 8
                                                                    << from.bits)));
            }
        }
    }
}

void add_matrices(NUV_Checksum& sum, std::uint16_t bits)
{
    for (std::uint16_t columns = 1; columns <= 4; ++columns) {
        const NUV_TestImage image{.width = 83, .height = 2, .channels = columns, .bits = bits};
        const auto samples =
            random_samples<std::uint8_t>(std::size_t{83} * 2 * columns * bits / 8, 9);
        for (std::uint32_t i = 0; i < 24; ++i) { // rows, arithmetic, and range of the numbers
            const std::uint32_t rows = i % 4 + 1;
            const double largest = i / 8 == 0 ? 1 : i / 8 == 1 ? 20 : 60000;
            std::vector<double> numbers;
            for (const auto n :
                 random_samples<std::int32_t>(std::size_t{rows} * (columns + 1U), rows + columns))
                numbers.push_back(n / 2147483648.0 * largest);
            const auto end_of_factors = numbers.end() - rows;
            add_result(sum, image, samples,
                       appending_matrix(rows, {numbers.begin(), end_of_factors},
                                        {end_of_factors, numbers.end()}, i % 8 < 4));
        }
    }
}

// Pixels at random, at the ends of the axes, and on the diagonal.
void add_grids(NUV_Checksum& sum, std::uint16_t bits)
{
    for (std::uint16_t inputs = 1; inputs <= 4; ++inputs) {
        auto image = random_samples<std::uint8_t>(std::size_t{131} * 3 * inputs * bits / 8, 1);
        const std::size_t pixel = inputs * bits / 8U;
        for (std::size_t i = 0; i < 32 * pixel; ++i)
            image[i] = (i / (bits / 8U) * 2654435761U >> 9 & 1) != 0 ? 0xFF : 0;
        for (std::size_t i = 32 * pixel; i < 50 * pixel; ++i)
            image[i] = image[i / pixel * pixel + i % (bits / 8U)];
        for (std::uint16_t outputs = 1; outputs <= 5; ++outputs) {
            for (const std::uint32_t points : {2U, 5U, 9U}) {
                const auto samples = random_samples<std::uint8_t>(
                    power(points, inputs) * outputs * bits / 8, inputs + points);
                add_result(sum, {.width = 131, .height = 3, .channels = inputs, .bits = bits},
                           image, appending_grid(bits, inputs, outputs, points, samples));
            }
        }
    }
}

// Sums of what `add` adds for each of some cases, the first of them or all.
template <class Case, std::size_t Count>
void expect_sums(void (*add)(NUV_Checksum&, Case), const auto& cases,
                 const std::uint64_t (&wanted)[Count])
{
    for (std::size_t i = 0; i < Count; ++i) {
        NUV_Checksum sum;
        add(sum, cases[i]);
        EXPECT_EQ(sum.value(), wanted[i]) << "case " << i;
    }
}

TEST(PixelSums, OfTypes)
{
    // clang-format off
    expect_sums(add_shifts, types,
        {0xE701FEA1F8029F65, 0x69E1E3AC24C85702, 0x1D80C0FE2477E548, 0x3620455C1E6BF5B8, 0xAAD66305B663AD23, 0x8CA2A3737FB683A7});
    expect_sums(add_conversions, types,
        {0x5C04969A2EF42ECA, 0xDB7C1B6D9011489F, 0x11A777CF58D191D1, 0xDA5534471C06F3BF, 0x1F841B86FA53DCA8, 0x324DE00F6CD60C06,
            0x53198876E4DEF74B, 0xA44BB8FBD0F2DE83});
    expect_sums(add_tables, types, {0x9F9F8B2F8A60AA0E, 0x25B6A2B390737396, 0x9A7F580CAA71D09D, 0xFC2FECE8B25AEACD});
    expect_sums(add_expanded_tables, types, {0x0493BE72D74128D0, 0x58B1F3B5ACC5A178, 0xD5D9DF9680851D91, 0xB35FB275ABD1787E});
    // clang-format on
}

TEST(PixelSums, OfBits)
{
    constexpr std::uint16_t bits[] = {8, 16};
    expect_sums(add_matrices, bits, {0xB77DB63E53E0033E, 0xFD577D2B98C3F453});
    expect_sums(add_grids, bits, {0x21A6A0C9F64738D1, 0x99AA83F5F3A38C11});
}

} // namespace
} // namespace nuv
