#include "core/scale/nuv_scaleire.h"
#include "core/scale/nuv_scaleli.h"
#include "core/scale/nuv_scalenn.h"
#include "core/scale/nuv_scalepp.h"
#include "core/scale/nuv_scaless.h"
#include "tests/core/scale/nuv_scalecases.h"

#include <cstddef>
#include <initializer_list>

namespace nuv {
namespace {

using Bits = std::vector<std::uint8_t>;

// One value per pixel, and packed lines with the padding as told.
Bits random_bits(std::uint32_t width, std::uint32_t height)
{
    auto bits = random_samples<std::uint8_t>(std::size_t{width} * height, width);
    for (auto& bit : bits)
        bit &= 1;
    return bits;
}

Bits pack(const Bits& bits, std::size_t width, unsigned padding)
{
    Bits bytes;
    for (std::size_t at = 0; at < bits.size(); at += width) {
        for (std::size_t x = 0; x < (width + 7) / 8 * 8; x += 8) {
            unsigned byte = 0;
            for (std::size_t i = x; i < x + 8; ++i)
                byte = byte << 1 | (i < width ? bits[at + i] : padding);
            bytes.push_back(static_cast<std::uint8_t>(byte));
        }
    }
    return bytes;
}

// Results have 0 in the padding, whatever the source has there; lines that are only moved keep
// theirs.
TEST(ScaleBilevel, NearestNeighbourOnPackedBits)
{
    for (const std::uint32_t from : {1U, 2U, 7U, 8U, 9U, 33U, 99U}) {
        for (const std::uint32_t to : {1U, 3U, 8U, 9U, 27U, 33U, 66U, 250U}) {
            const std::uint32_t height = 5;
            const std::uint32_t new_height = to % 2 ? 3 : 15;
            SCOPED_TRACE(std::to_string(from) + " to " + std::to_string(to));
            const Bits bits = random_bits(from, height);
            NUV_TestChain chain;
            chain.source_bytes({.width = from, .height = height, .bits = 1}, pack(bits, from, 1));
            ASSERT_TRUE(chain.append<NUV_ScaleNN>(to, new_height));
            const auto wanted =
                model::nearest(model::Picture(from, height, 1, bits), to, new_height);
            EXPECT_EQ(chain.run_bytes(), pack(wanted.as<std::uint8_t>(), to, from == to));
        }
    }
}

TEST(ScaleBilevel, RepeatedBitsLeaveThePaddingClear)
{
    NUV_TestChain chain;
    chain.source_bytes({.width = 9, .height = 1, .bits = 1}, {0xA5, 0xFF});
    ASSERT_TRUE(chain.append<NUV_ScaleIRE>(3U, 2U));
    const Bits line = {0xE3, 0x81, 0xC7, 0xE0};
    Bits both = line;
    both.insert(both.end(), line.begin(), line.end());
    EXPECT_EQ(chain.run_bytes(), both);
}

// One value per pixel, so that a result names the source pixels that it kept.
std::vector<std::uint16_t> ramp(std::uint32_t count)
{
    std::vector<std::uint16_t> values(count);
    for (std::uint32_t i = 0; i < count; ++i)
        values[i] = static_cast<std::uint16_t>(i);
    return values;
}

TEST(ScaleSubsampling, CountsWhatIsLeftBehindTheOffset)
{
    struct Case {
        std::uint32_t width, step, offset;
        std::vector<std::uint16_t> kept;
    };
    const Case cases[] = {{8, 3, 1, {1, 4, 7}},
                          {7, 3, 1, {1, 4}},
                          {5, 9, 4, {4}},
                          {4, 1, 0, {0, 1, 2, 3}},
                          {9, 4, 2, {2, 6}}};
    for (const Case& c : cases) {
        for (const bool across : {true, false}) {
            NUV_TestChain chain;
            chain.source<std::uint16_t>(
                {.width = across ? c.width : 1, .height = across ? 1 : c.width}, ramp(c.width));
            ASSERT_TRUE(across ? chain.append<NUV_ScaleSS>(c.step, 1U, c.offset, 0U)
                               : chain.append<NUV_ScaleSS>(1U, c.step, 0U, c.offset));
            EXPECT_EQ(chain.run<std::uint16_t>(), c.kept);
        }
    }
}

// Wide and floating samples are moved as they are; so are indices to a palette, which stays.
TEST(ScaleSubsampling, MovesSamplesOfEveryWidth)
{
    for (const std::uint16_t bits : std::initializer_list<std::uint16_t>{8, 16, 32, 64}) {
        const std::size_t pixel = std::size_t{bits} / 8 * 3;
        const auto bytes = random_samples<std::uint8_t>(7 * pixel, bits);
        NUV_TestChain chain;
        chain.source_bytes(
            {.width = 7,
             .channels = 3,
             .bits = bits,
             .data_type = bits == 64 ? NUV_DataType::floating : NUV_DataType::u_integer},
            bytes);
        ASSERT_TRUE(chain.append<NUV_ScaleSS>(2U, 1U, 1U, 0U));
        Bits wanted;
        for (const std::size_t x : std::initializer_list<std::size_t>{1, 3, 5})
            for (std::size_t i = 0; i < pixel; ++i)
                wanted.push_back(bytes[x * pixel + i]);
        EXPECT_EQ(chain.run_bytes(), wanted);
    }
}

TEST(ScalePalette, StaysWherePixelsAreOnlyMoved)
{
    const auto kept = [](auto&& append) {
        NUV_TestChain chain;
        chain.blank_source({.width = 9, .height = 9, .palette = true});
        ASSERT_TRUE(append(chain)) << chain.status().method;
        EXPECT_EQ(chain.header().palette().entries, 256u);
        const std::size_t bytes = std::size_t{chain.header().width()} * chain.header().height();
        EXPECT_EQ(chain.run_bytes(), Bits(bytes, 0));
    };
    kept([](NUV_TestChain& c) { return c.append<NUV_ScaleNN>(4U, 4U); });
    kept([](NUV_TestChain& c) { return c.append<NUV_ScaleNN>(20U, 20U); });
    kept([](NUV_TestChain& c) { return c.append<NUV_ScaleNN>(18U, 27U); });
    kept([](NUV_TestChain& c) { return c.append<NUV_ScaleNN>(3U, 3U); });
    // By odd whole factors a linear reduction keeps pixels as they are, and so a palette.
    kept([](NUV_TestChain& c) { return c.append<NUV_ScaleLI>(3U, 3U); });
}

TEST(ScaleChain, EqualSizeAppendsNothing)
{
    NUV_TestChain chain;
    chain.blank_source({.width = 5, .height = 4});
    NUV_Engine* const source = chain.last();
    ASSERT_TRUE(chain.append<NUV_ScaleNN>(5U, 4U));
    ASSERT_TRUE(chain.append<NUV_ScaleLI>(5U, 4U));
    ASSERT_TRUE(chain.append<NUV_ScaleIRE>(1U, 1U));
    EXPECT_EQ(chain.last(), source);
}

// A source that breaks off ends the result early and is nobody's fault.
TEST(ScaleChain, EndsSilentlyWithItsSource)
{
    const auto run = [](auto&& append) {
        NUV_TestChain chain;
        chain.source_bytes({.width = 4, .height = 6}, Bits(4 * 3 + 2, 7));
        ASSERT_TRUE(append(chain));
        const Bits out = chain.run_bytes();
        EXPECT_EQ(out, Bits(out.size(), 7));
        EXPECT_EQ(chain.status().code, 0u);
    };
    run([](NUV_TestChain& c) { return c.append<NUV_ScaleNN>(3U, 5U); });
    run([](NUV_TestChain& c) { return c.append<NUV_ScaleNN>(9U, 9U); });
    run([](NUV_TestChain& c) { return c.append<NUV_ScaleNN>(8U, 12U); });
    run([](NUV_TestChain& c) { return c.append<NUV_ScaleLI>(3U, 5U); });
    run([](NUV_TestChain& c) { return c.append<NUV_ScaleLI>(9U, 9U); });
}

// Three lines become five: 0, 0 and 1, 1, 1 and 2, 2.
TEST(ScaleArea, AsksForNoLineBeforeAResultHoldsSomeOfIt)
{
    for (const std::size_t lines : {1U, 2U}) {
        for (const bool use_fixed_real : {true, false}) {
            NUV_TestChain chain;
            chain.source_bytes({.width = 2, .height = 3}, Bits(2 * lines, 7));
            ASSERT_TRUE(chain.append<NUV_ScaleHeightPP>(5U, use_fixed_real));
            EXPECT_EQ(chain.run_bytes(), Bits(2 * (2 * lines - 1), 7));
        }
    }
}

} // namespace
} // namespace nuv
