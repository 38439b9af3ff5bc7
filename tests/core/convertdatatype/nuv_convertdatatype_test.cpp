#include "core/convertdatatype/nuv_convertdatatype.h"

#include "tests/support/nuv_model_color.h"
#include "tests/support/nuv_testchain.h"
#include "tests/support/nuv_testsamples.h"

#include <gtest/gtest.h>

#include <cmath>

namespace nuv {
namespace {

template <class T>
[[nodiscard]] const NUV_DataType* type_of()
{
    if (std::is_floating_point_v<T>)
        return NUV_DataType::floating;
    return std::is_signed_v<T> ? NUV_DataType::s_integer : NUV_DataType::u_integer;
}

template <class T>
constexpr std::uint16_t bits_of = 8 * sizeof(T);

// Samples of some type, and the numbers that they are.
struct Source {
    NUV_TestImage image;
    std::vector<std::uint8_t> bytes;
    std::vector<double> numbers;
};

template <class T>
[[nodiscard]] Source source_of(NUV_TestImage image, const std::vector<T>& samples)
{
    image.bits = bits_of<T>;
    image.data_type = type_of<T>();
    Source source{image, std::vector<std::uint8_t>(samples.size() * sizeof(T)), {}};
    std::memcpy(source.bytes.data(), samples.data(), source.bytes.size());
    for (const T sample : samples)
        source.numbers.push_back(static_cast<double>(sample));
    return source;
}

// The ends, the middle, random ones, and whatever is no number.
template <class T>
[[nodiscard]] std::vector<T> some_samples()
{
    using Limits = std::numeric_limits<T>;
    std::vector<T> samples{Limits::lowest(), Limits::max(), T{0}, T{1}, T{2}, T{3}, T{100}};
    for (const auto number : random_samples<std::int32_t>(40, 3))
        samples.push_back(static_cast<T>(std::is_floating_point_v<T> ? number / 65536.0 : number));
    if constexpr (std::is_floating_point_v<T>) {
        samples.insert(samples.end(), {Limits::infinity(), -Limits::infinity(), Limits::quiet_NaN(),
                                       T(0.5), T(-0.5), T(1.5), T(-254.5)});
    } else if constexpr (std::is_signed_v<T>) {
        samples.insert(samples.end(), {T(-1), T(-2), T(-3), T(-100)});
    }
    return samples;
}

[[nodiscard]] bool same(double a, double b)
{
    return a == b || (std::isnan(a) && std::isnan(b));
}

constexpr double infinity = std::numeric_limits<double>::infinity();
constexpr double not_a_number = std::numeric_limits<double>::quiet_NaN();

void expect_same(const std::vector<double>& got, const std::vector<double>& wanted)
{
    ASSERT_EQ(got.size(), wanted.size());
    for (std::size_t i = 0; i < got.size(); ++i)
        ASSERT_TRUE(same(got[i], wanted[i])) << i << ": " << got[i] << ", not " << wanted[i];
}

// The numbers that come out of a chain of samples O.
template <class O>
[[nodiscard]] std::vector<double> run_numbers(NUV_TestChain& chain)
{
    const auto samples = chain.run<O>();
    return {samples.begin(), samples.end()};
}

template <class O, class Creator>
void expect_rule(const Source& source, double slope, double offset)
{
    SCOPED_TRACE("slope " + std::to_string(slope) + ", offset " + std::to_string(offset) + ", to " +
                 type_of<O>()->key() + " " + std::to_string(bits_of<O>));
    NUV_TestChain chain;
    chain.source_bytes(source.image, source.bytes);
    ASSERT_TRUE(chain.append<Creator>(type_of<O>(), bits_of<O>, slope, offset));
    EXPECT_EQ(chain.header().data_type(), type_of<O>());
    EXPECT_EQ(chain.header().bits(), bits_of<O>);
    EXPECT_EQ(chain.header().channels(), source.image.channels);
    std::vector<double> wanted;
    for (const double number : source.numbers)
        wanted.push_back(static_cast<double>(model_linear<O>(number, slope, offset)));
    expect_same(run_numbers<O>(chain), wanted);
}

// Calls visit.operator()<O>() for the eight sample types.
template <class Visit>
void for_all_types(Visit&& visit)
{
    visit.template operator()<std::uint8_t>();
    visit.template operator()<std::int8_t>();
    visit.template operator()<std::uint16_t>();
    visit.template operator()<std::int16_t>();
    visit.template operator()<std::uint32_t>();
    visit.template operator()<std::int32_t>();
    visit.template operator()<float>();
    visit.template operator()<double>();
}

template <class I>
class ConvertDataType : public ::testing::Test {};

using Samples = ::testing::Types<std::uint8_t, std::int8_t, std::uint16_t, std::int16_t,
                                 std::uint32_t, std::int32_t, float, double>;
TYPED_TEST_SUITE(ConvertDataType, Samples);

TYPED_TEST(ConvertDataType, CalculatesAsDefinedToEveryType)
{
    const auto samples = some_samples<TypeParam>();
    const auto source = source_of({.width = static_cast<std::uint32_t>(samples.size())}, samples);
    for_all_types([&]<class O>() {
        for (const double slope :
             {1.0, 0.5, 16.0, 1 / 257.0, 1.5, -1.0, 0.0, 1e300, infinity, not_a_number}) {
            for (const double offset : {0.0, 0.7, -3.0, infinity, not_a_number}) {
                expect_rule<O, NUV_ConvertDataType8xNbits>(source, slope, offset);
            }
        }
    });
}

// Ten samples go by arithmetic or by shifts, many by a table.
TYPED_TEST(ConvertDataType, GivesTheSameWhateverTheSize)
{
    using I = TypeParam;
    const auto few = some_samples<I>();
    const auto width = static_cast<std::uint32_t>(few.size() / 3 * 3);
    constexpr std::uint32_t height = 2100;
    std::vector<I> line(few.begin(), few.begin() + width);
    std::vector<I> many;
    for (std::uint32_t y = 0; y < height; ++y)
        many.insert(many.end(), line.begin(), line.end());
    const Source small = source_of({.width = width}, line);
    const Source large = source_of({.width = width / 3, .height = height, .channels = 3}, many);
    for_all_types([&]<class O>() {
        for (const double slope : {1.0, 0.5, 16.0, 1 / 257.0, 1.5}) {
            for (const double offset : {0.0, 0.7, -3.0}) {
                if (std::is_same_v<I, O> && slope == 1 && offset == 0)
                    continue; // the image itself, with its infinities
                // Shifts, which tables forestall, round halves of negative samples up.
                const bool shifts =
                    slope == 0.5 && offset == 0 && std::is_integral_v<I> && std::is_signed_v<I>;
                if (!shifts || sizeof(I) < 4)
                    expect_rule<O, NUV_ConvertDataType>(large, slope, offset);
                if (!shifts)
                    expect_rule<O, NUV_ConvertDataType>(small, slope, offset);
            }
        }
    });
}

template <class O>
void expect_power(const Source& source, int shift)
{
    const double slope = std::ldexp(1.0, shift);
    // Logarithms of a few powers are no whole numbers: those are multiplied.
    const bool is_odd_one = std::abs(shift) == 29 || std::abs(shift) == 31;
    NUV_TestChain chain;
    chain.source_bytes(source.image, source.bytes);
    ASSERT_TRUE(chain.append<NUV_ConvertDataType>(type_of<O>(), bits_of<O>, slope, 0.0));
    const auto got = chain.run<O>();
    ASSERT_EQ(got.size(), source.numbers.size());
    for (std::size_t i = 0; i < got.size(); ++i) {
        const double number = source.numbers[i];
        const O halves_up = model_linear<O>(std::floor(number * slope + 0.5), 1, 0);
        const O halves_away = model_linear<O>(number, slope, 0);
        ASSERT_TRUE(got[i] == halves_up || (is_odd_one && got[i] == halves_away))
            << number << " by " << shift << " gives " << +got[i] << " of " << bits_of<O>;
    }
}

// Every shift between integers, limited whether or not the way that is taken asks for it.
TYPED_TEST(ConvertDataType, LimitsEveryPowerOfTwo)
{
    using I = TypeParam;
    if (!std::is_integral_v<I>)
        return;
    const auto samples = some_samples<I>();
    const auto source = source_of({.width = static_cast<std::uint32_t>(samples.size())}, samples);
    for (int shift = -31; shift <= 31; ++shift) {
        for_all_types([&]<class O>() {
            if constexpr (std::is_integral_v<O>)
                expect_power<O>(source, shift);
        });
    }
}

TEST(ConvertDataTypeValues, AreWhatTheRuleSays)
{
    NUV_TestChain saturates;
    saturates.source<std::uint8_t>({.width = 2}, {200, 3});
    ASSERT_TRUE(
        saturates.append<NUV_ConvertDataType>(NUV_DataType::u_integer, std::uint16_t{8}, 1.5, 0.0));
    EXPECT_EQ(saturates.run<std::uint8_t>(), (std::vector<std::uint8_t>{255, 5}));
    NUV_TestChain widens;
    widens.source<std::uint8_t>({.width = 2}, {255, 1});
    ASSERT_TRUE(
        widens.append<NUV_ConvertDataType>(NUV_DataType::s_integer, std::uint16_t{16}, 16.0, 0.0));
    EXPECT_EQ(widens.run<std::int16_t>(), (std::vector<std::int16_t>{4080, 16}));
}

TEST(ConvertDataTypeSame, AppendsNothing)
{
    for (const NUV_DataType* type :
         {NUV_DataType::u_integer, static_cast<const NUV_DataType*>(nullptr)}) {
        for (const std::uint16_t bits : std::initializer_list<std::uint16_t>{1, 4, 8, 32}) {
            NUV_TestChain chain;
            chain.blank_source({.bits = bits});
            const NUV_Engine* before = chain.last();
            EXPECT_TRUE(chain.append<NUV_ConvertDataType>(type, bits, 1 + 2e-16, -2e-16));
            EXPECT_EQ(chain.last(), before);
        }
    }
}

// 11 pixels of 3 channels: 33 bits, 7 of padding.
const NUV_TestImage bits_image{.width = 11, .height = 2, .channels = 3, .bits = 1};
const std::vector<std::uint8_t> bits_bytes{0xA5, 0x0F, 0x31, 0x80, 0xFF,
                                           0x00, 0xFF, 0x12, 0x34, 0x00};

[[nodiscard]] std::vector<int> bits_of_lines(const std::vector<std::uint8_t>& bytes)
{
    std::vector<int> bits;
    for (std::size_t line = 0; line < bytes.size(); line += 5) {
        for (std::size_t i = 0; i < 33; ++i)
            bits.push_back(bytes[line + i / 8] >> (7 - i % 8) & 1);
    }
    return bits;
}

TEST(ConvertDataTypeBits, ExpandToEveryType)
{
    const auto bits = bits_of_lines(bits_bytes);
    for_all_types([&]<class O>() {
        for (const double slope : {-1.0, 0.0, 1.0, 255.0, 0.6, not_a_number}) {
            for (const double offset : {-1.0, 0.0, 1.0, 300.0, -0.6}) {
                SCOPED_TRACE(std::to_string(slope) + " " + std::to_string(offset) + " " +
                             std::to_string(bits_of<O>));
                std::vector<double> wanted;
                wanted.reserve(bits.size());
                for (const int bit : bits)
                    wanted.push_back(static_cast<double>(model_linear<O>(bit, slope, offset)));
                const auto expect = [&]<class Creator>() {
                    NUV_TestChain chain;
                    chain.source_bytes(bits_image, bits_bytes);
                    ASSERT_TRUE(
                        chain.template append<Creator>(type_of<O>(), bits_of<O>, slope, offset));
                    expect_same(run_numbers<O>(chain), wanted);
                };
                expect.template operator()<NUV_ConvertDataType>();
                expect.template operator()<NUV_ConvertDataTypeFrom1bit>();
            }
        }
    });
}

TEST(ConvertDataTypeBits, CountNumbersNextToAUnitAsTheUnit)
{
    const double hair = 1e-16;
    const auto type = NUV_DataType::s_integer;
    for (const std::uint16_t bits : {std::uint16_t{8}, std::uint16_t{32}}) {
        NUV_TestChain chain;
        chain.source_bytes({.width = 2, .bits = 1}, {0x40});
        ASSERT_TRUE(chain.append<NUV_ConvertDataTypeFrom1bit>(type, bits, 1 - hair, 1 - hair));
        const auto bytes = chain.run_bytes();
        EXPECT_EQ(bytes.front(), 1);
        EXPECT_EQ(bytes[bits / 8U], 2);
    }
}

TYPED_TEST(ConvertDataType, BecomesBitsByAThreshold)
{
    using I = TypeParam;
    auto samples = some_samples<I>();
    samples.resize(22);
    const Source source = source_of({.width = 11, .height = 2}, samples);
    for (const double slope : {1.0, -1.0, 0.25, not_a_number}) {
        for (const double threshold : {0.0, 25.0, -0.5, infinity, not_a_number}) {
            std::vector<std::uint8_t> wanted(4);
            for (std::size_t i = 0; i < samples.size(); ++i) { // two lines of 11
                if (static_cast<double>(samples[i]) * slope >= threshold)
                    wanted[i / 11 * 2 + i % 11 / 8] |=
                        static_cast<std::uint8_t>(0x80U >> (i % 11 % 8));
            }
            NUV_TestChain chain;
            chain.source_bytes(source.image, source.bytes);
            ASSERT_TRUE(chain.append<NUV_ConvertDataType>(NUV_DataType::u_integer, std::uint16_t{1},
                                                          slope, threshold));
            EXPECT_EQ(chain.header().bits(), 1);
            EXPECT_EQ(chain.header().data_type(), NUV_DataType::u_integer);
            EXPECT_EQ(chain.run_bytes(), wanted) << slope << " " << threshold;
        }
    }
}

TEST(ConvertDataTypeBits, StayTurnOrBecomeOneValue)
{
    const auto bits = bits_of_lines(bits_bytes);
    for (const double slope : {-1.0, 0.0, 1.0, 0.5, 0.4, 3.0, not_a_number}) {
        for (const double offset : {-1.0, 0.0, 1.0, 0.5, 2.0}) {
            const auto value = [&](int bit) {
                return std::min<int>(model_linear<std::uint8_t>(bit, slope, offset), 1);
            };
            NUV_TestChain chain;
            chain.source_bytes(bits_image, bits_bytes);
            const NUV_Engine* before = chain.last();
            ASSERT_TRUE(chain.append<NUV_ConvertDataType>(NUV_DataType::u_integer, std::uint16_t{1},
                                                          slope, offset));
            EXPECT_EQ(chain.last() == before, value(0) == 0 && value(1) == 1);
            const auto bytes = chain.run_bytes();
            ASSERT_EQ(bytes.size(), bits_bytes.size());
            std::vector<int> wanted;
            wanted.reserve(bits.size());
            for (const int bit : bits)
                wanted.push_back(value(bit));
            EXPECT_EQ(bits_of_lines(bytes), wanted) << slope << " " << offset;
            EXPECT_TRUE(value(0) != value(1) || (bytes[4] & 0x7F) == 0) << "unclean padding";
        }
    }
}

TEST(ConvertDataTypeRefusal, SaysWhyAndLeavesNothingBehind)
{
    constexpr auto router = "NUV_ConvertDataType::engine()";
    const NUV_DataType* u = NUV_DataType::u_integer;
    const NUV_DataType* s = NUV_DataType::s_integer;
    const NUV_DataType* real = NUV_DataType::floating;
    struct Case {
        const char* what;
        NUV_TestImage image;
        const NUV_DataType* type;
        std::uint16_t bits;
        double slope;
        const char* method;
    };
    const Case cases[] = {
        {"to 12 bits", {}, u, 12, 2, router},
        {"to 64 bits", {}, u, 64, 2, router},
        {"to 0 bits", {}, u, 0, 2, router},
        {"to 4 bits", {.bits = 4}, u, 4, 2, router},
        {"to a signed bit", {}, s, 1, 2, router},
        {"to short reals", {}, real, 16, 2, router},
        {"to no type", {}, NUV_DataType::unknown, 8, 2, router},
        {"from no type, which a null stands for",
         {.data_type = NUV_DataType::unknown},
         nullptr,
         8,
         2,
         router},
        {"palette", {.palette = true}, u, 16, 2, router},
        {"many pixels with a palette",
         {.width = 100, .height = 100, .palette = true},
         u,
         16,
         2,
         router},
        {"from no type", {.data_type = NUV_DataType::unknown}, u, 8, 3, router},
        {"from four bits", {.bits = 4}, u, 8, 3, router},
        {"from four bits by a shift", {.bits = 4}, u, 8, 2, router},
        {"from four bits to one", {.bits = 4}, u, 1, 3, router},
        {"coded",
         {.encode_type = NUV_EncodeType::jpeg},
         u,
         16,
         3,
         "NUV_ProcessLineToLineEngine::initiate()"},
        {"too long a line", {.width = 0x10000000}, real, 64, 3, "NUV_Lut8xNbitsEngine::initiate()"},
        {"too long a line of bits",
         {.width = 0x10000000, .bits = 1},
         real,
         64,
         3,
         "NUV_ConvertDataTypeFrom1bitEngine::initiate()"},
        {"too long a line of 32 bits",
         {.width = 0x5000000, .bits = 32},
         real,
         64,
         3,
         "NUV_ConvertDataType8xNbitsEngine::initiate()"},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.what);
        NUV_TestChain chain;
        chain.blank_source(c.image);
        EXPECT_FALSE(chain.append<NUV_ConvertDataType>(c.type, c.bits, c.slope, 0.0));
        EXPECT_EQ(chain.status().code, NUV_ERR_UNSUPPORTED);
        EXPECT_STREQ(chain.status().method, c.method);
        EXPECT_EQ(chain.live_objects_behind_source(), 0U);
    }
}

TEST(ConvertDataTypeRefusal, OfEachCreatorSaysWhy)
{
    const NUV_DataType* u = NUV_DataType::u_integer;
    const auto expect = [](auto append, NUV_TestImage image, NUV_StatusCode code,
                           const char* method) {
        NUV_TestChain chain;
        if (image.width > 0)
            chain.blank_source(image);
        append(chain);
        EXPECT_EQ(chain.last(), nullptr);
        EXPECT_EQ(chain.status().code, code) << method;
        EXPECT_STREQ(chain.status().method, method);
        EXPECT_TRUE(image.width == 0 || chain.live_objects_behind_source() == 0);
    };
    const auto any = [&](NUV_TestChain& c) {
        c.append<NUV_ConvertDataType>(u, std::uint16_t{8}, 1.0, 1.0);
    };
    const auto wide = [&](NUV_TestChain& c) {
        c.append<NUV_ConvertDataType8xNbits>(u, std::uint16_t{8}, 1.0, 1.0);
    };
    const auto wide_to_12 = [&](NUV_TestChain& c) {
        c.append<NUV_ConvertDataType8xNbits>(u, std::uint16_t{12}, 1.0, 1.0);
    };
    const auto from = [&](NUV_TestChain& c) {
        c.append<NUV_ConvertDataTypeFrom1bit>(u, std::uint16_t{8}, 1.0, 1.0);
    };
    const auto from_to_1 = [&](NUV_TestChain& c) {
        c.append<NUV_ConvertDataTypeFrom1bit>(u, std::uint16_t{1}, 1.0, 1.0);
    };
    const auto to = [](NUV_TestChain& c) { c.append<NUV_ConvertDataTypeTo1bit>(1.0, 1.0); };
    const auto bit = [](NUV_TestChain& c) { c.append<NUV_ConvertDataType1bit>(1.0, 1.0); };
    const NUV_TestImage none{.width = 0};
    expect(any, none, NUV_ERR_ARGUMENT, "NUV_ConvertDataType::engine()");
    expect(wide, none, NUV_ERR_ARGUMENT, "NUV_ConvertDataType8xNbits::engine()");
    expect(from, none, NUV_ERR_ARGUMENT, "NUV_ConvertDataTypeFrom1bit::engine()");
    expect(to, none, NUV_ERR_ARGUMENT, "NUV_ConvertDataTypeTo1bit::engine()");
    expect(bit, none, NUV_ERR_ARGUMENT, "NUV_ConvertDataType1bit::engine()");
    expect(wide_to_12, {}, NUV_ERR_UNSUPPORTED, "NUV_ConvertDataType8xNbits::engine()");
    expect(wide, {.bits = 1}, NUV_ERR_UNSUPPORTED, "NUV_ConvertDataType8xNbits::engine()");
    expect(wide, {.palette = true}, NUV_ERR_UNSUPPORTED,
           "NUV_ConvertDataType8xNbitsEngine::initiate()");
    expect(from, {}, NUV_ERR_UNSUPPORTED, "NUV_ConvertDataTypeFrom1bitEngine::initiate()");
    expect(from_to_1, {.bits = 1}, NUV_ERR_UNSUPPORTED, "NUV_ConvertDataTypeFrom1bit::engine()");
    expect(to, {.bits = 1}, NUV_ERR_UNSUPPORTED, "NUV_ConvertDataTypeTo1bit::engine()");
    expect(to, {.palette = true}, NUV_ERR_UNSUPPORTED,
           "NUV_ConvertDataTypeTo1bitEngine::initiate()");
    expect(bit, {}, NUV_ERR_UNSUPPORTED, "NUV_ConvertDataType1bit::engine()");
}

TEST(ConvertDataTypeRefusal, SurvivesEveryFailedAllocation)
{
    struct Case {
        NUV_TestImage image;
        std::uint16_t bits;
        double slope;
        double offset;
    };
    const Case cases[] = {{{.width = 300}, 16, 1.5, 0}, {{.width = 3}, 16, 1.5, 0},
                          {{.width = 3}, 16, 2, 0},     {{.bits = 1}, 8, 1, 0},
                          {{.bits = 1}, 32, 7, 0},      {{.bits = 1}, 1, 0, 1},
                          {{.width = 9}, 1, 1, 1}};
    for (const Case& c : cases) {
        expect_clean_at_every_allocation([&](NUV_TestChain& chain) {
            chain.blank_source(c.image);
            chain.append<NUV_ConvertDataType>(NUV_DataType::u_integer, c.bits, c.slope, c.offset);
            static_cast<void>(chain.run_bytes());
        });
    }
}

} // namespace
} // namespace nuv
