#include "core/channel/nuv_mergechannel.h"
#include "core/channel/nuv_reversechannel.h"
#include "core/channel/nuv_selectchannel.h"
#include "framework/engine/nuv_enginecreator.h"
#include "tests/support/nuv_testchain.h"
#include "tests/support/nuv_testsamples.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <string>
#include <vector>

namespace nuv {
namespace {

using Bytes = std::vector<std::uint8_t>;

// An image as one number for each sample, [line][pixel][channel], for samples of 1, 8 or 16 bits.
struct Samples {
    NUV_TestImage image;
    std::vector<std::uint16_t> values;

    [[nodiscard]] std::size_t index(std::size_t y, std::size_t x, std::size_t c) const
    {
        return (y * image.width + x) * image.channels + c;
    }
};

[[nodiscard]] Samples random_image(NUV_TestImage image, std::uint64_t seed)
{
    Samples samples{image, random_samples<std::uint16_t>(
                               std::size_t{image.width} * image.height * image.channels, seed)};
    for (std::uint16_t& value : samples.values)
        value = static_cast<std::uint16_t>(value & ((1U << image.bits) - 1));
    return samples;
}

// `unused` is what stands in the bits behind the last sample of a line.
[[nodiscard]] Bytes pack(const Samples& from, std::uint8_t unused)
{
    const NUV_TestImage& image = from.image;
    const std::size_t per_line = std::size_t{image.width} * image.channels;
    Bytes bytes;
    for (std::size_t y = 0; y < image.height; ++y) {
        const std::uint16_t* line = from.values.data() + y * per_line;
        if (image.bits == 1) {
            Bytes packed((per_line + 7) / 8, unused);
            for (std::size_t i = 0; i < per_line; ++i) {
                const unsigned mask = 0x80U >> i % 8;
                const unsigned cleared = packed[i / 8] & ~mask;
                packed[i / 8] = static_cast<std::uint8_t>(line[i] ? cleared | mask : cleared);
            }
            bytes.insert(bytes.end(), packed.begin(), packed.end());
            continue;
        }
        for (std::size_t i = 0; i < per_line; ++i) {
            const auto* value = reinterpret_cast<const std::uint8_t*>(line + i);
            if (image.bits == 16)
                bytes.insert(bytes.end(), value, value + 2);
            else
                bytes.push_back(static_cast<std::uint8_t>(line[i]));
        }
    }
    return bytes;
}

// `count` channels of `from`, each taken from where `source` says.
template <class Source>
[[nodiscard]] Samples rearrange(const Samples& from, std::uint32_t count, Source source)
{
    Samples to{from.image, {}};
    to.image.channels = static_cast<std::uint16_t>(count);
    for (std::size_t y = 0; y < from.image.height; ++y) {
        for (std::size_t x = 0; x < from.image.width; ++x) {
            for (std::uint32_t c = 0; c < count; ++c)
                to.values.push_back(from.values[from.index(y, x, source(c))]);
        }
    }
    return to;
}

constexpr std::uint16_t all_bits[] = {1, 8, 16};
constexpr std::uint32_t widths[] = {1, 2, 7, 8, 9, 16, 37};

TEST(SelectChannel, KeepsNeighbouringChannelsAndNothingElse)
{
    for (const std::uint16_t bits : all_bits) {
        for (const std::uint32_t width : widths) {
            for (std::uint16_t channels = 1; channels <= 5; ++channels) {
                const Samples from = random_image(
                    {.width = width, .height = 2, .channels = channels, .bits = bits}, width);
                for (std::uint32_t first = 0; first < channels; ++first) {
                    for (std::uint32_t count = 1; first + count <= channels; ++count) {
                        SCOPED_TRACE(std::to_string(count) + " from " + std::to_string(first) +
                                     " of " + std::to_string(channels) + ", " +
                                     std::to_string(bits) + " bits, width " +
                                     std::to_string(width));
                        NUV_TestChain chain;
                        chain.source_bytes(from.image, pack(from, 0xFF));
                        ASSERT_TRUE(
                            chain.append<NUV_SelectChannel>(first, count, NUV_ColorType::unknown));
                        EXPECT_EQ(chain.header().channels(), count);
                        EXPECT_EQ(chain.header().color_type(), NUV_ColorType::unknown);
                        ASSERT_EQ(
                            chain.run_bytes(),
                            pack(rearrange(from, count, [=](std::uint32_t c) { return first + c; }),
                                 0));
                    }
                }
            }
        }
    }
}

TEST(SelectChannel, DropsThePalette)
{
    NUV_TestChain chain;
    chain.blank_source({.width = 3, .palette = true});
    ASSERT_TRUE(chain.append<NUV_SelectChannel>(0U, NUV_ColorType::gray));
    EXPECT_TRUE(chain.header().palette().is_empty());
    EXPECT_EQ(chain.header().color_type(), NUV_ColorType::gray);
}

TEST(ReverseChannel, TurnsEachPixelAround)
{
    for (const std::uint16_t bits : all_bits) {
        for (const std::uint32_t width : widths) {
            for (std::uint16_t channels = 1; channels <= 5; ++channels) {
                SCOPED_TRACE(std::to_string(channels) + " channels, " + std::to_string(bits) +
                             " bits, width " + std::to_string(width));
                const Samples from = random_image(
                    {.width = width, .height = 2, .channels = channels, .bits = bits}, width);
                NUV_TestChain chain;
                chain.source_bytes(from.image, pack(from, 0));
                NUV_Engine* source = chain.last();
                ASSERT_TRUE(chain.append<NUV_ReverseChannel>());
                EXPECT_EQ(chain.last() == source, channels == 1);
                ASSERT_EQ(chain.run_bytes(),
                          pack(rearrange(from, channels,
                                         [=](std::uint32_t c) { return channels - 1U - c; }),
                               0));
            }
        }
    }
}

// Unused bits are not moved into pixels, nor kept.
TEST(ReverseChannel, LeavesUnusedBitsZero)
{
    for (std::uint16_t channels = 2; channels <= 5; ++channels) {
        const Samples from =
            random_image({.width = 3, .height = 2, .channels = channels, .bits = 1}, channels);
        NUV_TestChain chain;
        chain.source_bytes(from.image, pack(from, 0xFF));
        ASSERT_TRUE(chain.append<NUV_ReverseChannel>());
        EXPECT_EQ(
            chain.run_bytes(),
            pack(rearrange(from, channels, [=](std::uint32_t c) { return channels - 1U - c; }), 0));
    }
}

// A chain whose end joins several sources.
class MergeChain {
public:
    void add(const NUV_TestImage& image, const Bytes& bytes)
    {
        chain.source_bytes(image, bytes);
        engines.push_back(chain.last());
    }
    template <class Creator = NUV_MergeChannel>
    bool merge(const NUV_ColorType* color)
    {
        chain.last(Creator(chain.manager()).engine(engines, color));
        return chain.last() != nullptr;
    }

    NUV_TestChain chain;
    std::vector<NUV_Engine*> engines;
};

TEST(MergeChannel, JoinsInputsInTheirOrder)
{
    const std::vector<std::vector<std::uint16_t>> shapes = {
        {1, 1}, {1, 1, 1}, {1, 1, 1, 1}, {1, 1, 1, 1, 1}, {1, 2}, {3, 1}, {2, 1, 2}, {1, 1, 1, 2}};
    for (const std::uint16_t bits : all_bits) {
        for (const std::uint32_t width : widths) {
            for (const auto& shape : shapes) {
                SCOPED_TRACE(std::to_string(shape.size()) + " inputs, " + std::to_string(bits) +
                             " bits, width " + std::to_string(width));
                MergeChain merged;
                std::uint16_t sum = 0;
                for (const std::uint16_t channels : shape)
                    sum = static_cast<std::uint16_t>(sum + channels);
                const Samples all = random_image(
                    {.width = width, .height = 3, .channels = sum, .bits = bits}, width);
                std::uint32_t first = 0;
                for (const std::uint16_t channels : shape) {
                    const Samples part =
                        rearrange(all, channels, [=](std::uint32_t c) { return first + c; });
                    merged.add(part.image, pack(part, 0xFF));
                    first += channels;
                }
                ASSERT_TRUE(merged.merge(NUV_ColorType::none)) << merged.chain.status().method;
                EXPECT_EQ(merged.chain.header().channels(), sum);
                EXPECT_EQ(merged.chain.header().height(), 3u);
                ASSERT_EQ(merged.chain.run_bytes(), pack(all, 0));
            }
        }
    }
}

TEST(MergeChannel, OneInputIsTheAnswerAsItStands)
{
    MergeChain merged;
    merged.add({.color_type = NUV_ColorType::gray}, {7});
    ASSERT_TRUE(merged.merge(nullptr));
    EXPECT_EQ(merged.chain.last(), merged.engines[0]);
    EXPECT_EQ(merged.chain.header().color_type(), NUV_ColorType::gray);
}

TEST(MergeChannel, TakesTheTypeOfItsInputsAndTheColorGiven)
{
    MergeChain merged;
    for (std::uint8_t i = 0; i < 3; ++i)
        merged.add({.bits = 8, .data_type = NUV_DataType::s_integer}, {i});
    ASSERT_TRUE(merged.merge(NUV_ColorType::s_rgb));
    EXPECT_EQ(merged.chain.header().data_type(), NUV_DataType::s_integer);
    EXPECT_EQ(merged.chain.header().color_type(), NUV_ColorType::s_rgb);
    EXPECT_EQ(merged.chain.run_bytes(), (Bytes{0, 1, 2}));
}

// The second input has one line less: two lines come, and no status.
TEST(MergeChannel, EndsSilentlyWithItsShortestInput)
{
    MergeChain merged;
    const NUV_TestImage image{.width = 2, .height = 3};
    merged.add(image, {1, 2, 3, 4, 5, 6});
    merged.add(image, {11, 12, 13, 14});
    ASSERT_TRUE(merged.merge(NUV_ColorType::none));
    EXPECT_EQ(merged.chain.run_bytes(), (Bytes{1, 11, 2, 12, 3, 13, 4, 14}));
    EXPECT_EQ(merged.chain.status().code, NUV_STATUS_OK);
}

TEST(MergeChannelRefusal, SaysWhyAndLeavesNothingBehind)
{
    constexpr auto base = "NUV_MergeChannelEngine::initiate()";
    constexpr auto bytes = "NUV_MergeChannel8xNbitsEngine::initiate()";

    struct Case {
        const char* what;
        NUV_TestImage first, second;
        const NUV_ColorType* color;
        NUV_StatusCode code;
        const char* method;
    };
    const auto none = NUV_ColorType::none;
    const auto coded = NUV_EncodeType::flate;
    const Case cases[] = {
        {"coded first", {.encode_type = coded}, {}, none, NUV_ERR_UNSUPPORTED, base},
        {"coded second", {}, {.encode_type = coded}, none, NUV_ERR_UNSUPPORTED, base},
        {"width", {.width = 2}, {.width = 3}, none, NUV_ERR_ARGUMENT, base},
        {"height", {.height = 2}, {.height = 3}, none, NUV_ERR_ARGUMENT, base},
        {"bits", {.bits = 8}, {.bits = 16}, none, NUV_ERR_ARGUMENT, base},
        {"bits of 1", {.bits = 1}, {.bits = 8}, none, NUV_ERR_ARGUMENT, base},
        {"type", {}, {.data_type = NUV_DataType::s_integer}, none, NUV_ERR_ARGUMENT, base},
        {"colour for three", {}, {}, NUV_ColorType::s_rgb, NUV_ERR_ARGUMENT, base},
        {"too many channels",
         {.channels = 40000},
         {.channels = 25536},
         none,
         NUV_ERR_UNSUPPORTED,
         base},
        {"lines beyond 32 bits",
         {.width = 0x1FFFFFFF},
         {.width = 0x1FFFFFFF},
         none,
         NUV_ERR_UNSUPPORTED,
         base},
        {"4 bits", {.bits = 4}, {.bits = 4}, none, NUV_ERR_UNSUPPORTED, bytes},
        {"32 bits", {.bits = 32}, {.bits = 32}, none, NUV_ERR_UNSUPPORTED, bytes},
        {"no colour", {}, {}, nullptr, NUV_ERR_ARGUMENT, "NUV_MergeChannel::engine()"},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.what);
        MergeChain merged;
        merged.chain.blank_source(c.first);
        merged.engines.push_back(merged.chain.last());
        merged.chain.blank_source(c.second);
        merged.engines.push_back(merged.chain.last());
        EXPECT_FALSE(merged.merge(c.color));
        EXPECT_EQ(merged.chain.status().code, c.code);
        EXPECT_STREQ(merged.chain.status().method, c.method);
        EXPECT_EQ(merged.chain.live_objects_behind_source(), 0u);
    }
}

TEST(MergeChannelRefusal, WantsEveryInput)
{
    const auto expect_argument = []<class Creator>(const char* method) {
        MergeChain merged;
        merged.add({}, {1});
        merged.engines.push_back(nullptr);
        EXPECT_FALSE(merged.merge<Creator>(NUV_ColorType::none));
        EXPECT_EQ(merged.chain.status().code, NUV_ERR_ARGUMENT);
        EXPECT_STREQ(merged.chain.status().method, method);
        EXPECT_EQ(merged.chain.live_objects_behind_source(), 0u);

        MergeChain nothing;
        EXPECT_FALSE(nothing.merge<Creator>(NUV_ColorType::none));
        EXPECT_STREQ(nothing.chain.status().method, method);
    };
    expect_argument.operator()<NUV_MergeChannel>("NUV_MergeChannel::engine()");
    expect_argument.operator()<NUV_MergeChannel8xNbits>("NUV_MergeChannel8xNbits::engine()");
    expect_argument.operator()<NUV_MergeChannel1bit>("NUV_MergeChannel1bit::engine()");

    // Each form refuses the other's samples.
    MergeChain of_bytes;
    of_bytes.add({}, {1});
    of_bytes.add({}, {1});
    EXPECT_FALSE(of_bytes.merge<NUV_MergeChannel1bit>(NUV_ColorType::none));
    EXPECT_EQ(of_bytes.chain.status().code, NUV_ERR_UNSUPPORTED);
    EXPECT_STREQ(of_bytes.chain.status().method, "NUV_MergeChannel1bitEngine::initiate()");
}

TEST(SelectChannelRefusal, SaysWhyAndLeavesNothingBehind)
{
    constexpr auto one = "NUV_Select1Channel::engine()";
    constexpr auto many = "NUV_SelectNChannel::engine()";
    constexpr std::uint32_t huge = 0xFFFFFFFF;

    struct Case {
        const char* what;
        NUV_TestImage image;
        std::uint32_t first, count;
        NUV_StatusCode code;
        const char* method;
    };
    const Case cases[] = {
        {"no channel", {.channels = 3}, 0, 0, NUV_ERR_ARGUMENT, many},
        {"one behind the last", {.channels = 3}, 3, 1, NUV_ERR_ARGUMENT, one},
        {"two from the last", {.channels = 3}, 2, 2, NUV_ERR_ARGUMENT, many},
        {"a sum that wraps", {.channels = 3}, huge, 2, NUV_ERR_ARGUMENT, many},
        {"a count that wraps", {.channels = 3}, 2, huge, NUV_ERR_ARGUMENT, many},
        {"2 bits", {.channels = 3, .bits = 2}, 0, 1, NUV_ERR_UNSUPPORTED, one},
        {"4 bits", {.channels = 3, .bits = 4}, 0, 2, NUV_ERR_UNSUPPORTED, many},
        {"coded",
         {.channels = 3, .encode_type = NUV_EncodeType::mmr},
         0,
         2,
         NUV_ERR_UNSUPPORTED,
         "NUV_ProcessLineToLineEngine::initiate()"},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.what);
        NUV_TestChain chain;
        chain.blank_source(c.image);
        EXPECT_FALSE(chain.append<NUV_SelectChannel>(c.first, c.count, NUV_ColorType::none));
        EXPECT_EQ(chain.status().code, c.code);
        EXPECT_STREQ(chain.status().method, c.method);
        EXPECT_EQ(chain.live_objects_behind_source(), 0u);
    }
}

// Behind nothing, without a colour, and with the other form's samples.
template <class Creator, class... Channels>
void expect_form(const char* method, std::uint16_t refused_bits, Channels... channels)
{
    struct Case {
        bool with_source;
        std::uint16_t bits;
        const NUV_ColorType* color;
        NUV_StatusCode code;
    };
    const auto served_bits = static_cast<std::uint16_t>(refused_bits == 1 ? 8 : 1);
    for (const Case& c : {Case{false, 0, NUV_ColorType::none, NUV_ERR_ARGUMENT},
                          Case{true, served_bits, nullptr, NUV_ERR_ARGUMENT},
                          Case{true, refused_bits, NUV_ColorType::none, NUV_ERR_UNSUPPORTED}}) {
        SCOPED_TRACE(method);
        NUV_TestChain chain;
        if (c.with_source)
            chain.blank_source({.channels = 3, .bits = c.bits});
        EXPECT_FALSE(chain.append<Creator>(channels..., c.color));
        EXPECT_EQ(chain.status().code, c.code);
        EXPECT_STREQ(chain.status().method, method);
    }
}

TEST(SelectChannelRefusal, EachFormSaysItsName)
{
    expect_form<NUV_Select1Channel>("NUV_Select1Channel::engine()", 4, 1U);
    expect_form<NUV_Select1Channel8xNbits>("NUV_Select1Channel8xNbits::engine()", 1, 1U);
    expect_form<NUV_Select1Channel1bit>("NUV_Select1Channel1bit::engine()", 8, 1U);
    expect_form<NUV_SelectNChannel>("NUV_SelectNChannel::engine()", 2, 1U, 2U);
    expect_form<NUV_SelectNChannel8xNbits>("NUV_SelectNChannel8xNbits::engine()", 1, 1U, 2U);
    expect_form<NUV_SelectNChannel1bit>("NUV_SelectNChannel1bit::engine()", 8, 1U, 2U);
}

TEST(SelectChannelRefusal, WantsAColorOfSoManyChannels)
{
    for (const std::uint32_t count : {1U, 2U}) {
        NUV_TestChain chain;
        chain.blank_source({.channels = 3});
        const auto color = count == 1 ? NUV_ColorType::s_rgb : NUV_ColorType::gray;
        EXPECT_FALSE(chain.append<NUV_SelectChannel>(0U, count, color));
        EXPECT_EQ(chain.status().code, NUV_ERR_ARGUMENT);
        EXPECT_STREQ(chain.status().method,
                     count == 1 ? "NUV_Select1Channel::engine()" : "NUV_SelectNChannel::engine()");
    }
}

TEST(ReverseChannelRefusal, SaysWhyAndLeavesNothingBehind)
{
    constexpr auto creator = "NUV_ReverseChannel::engine()";
    constexpr auto bytes = "NUV_ReverseChannel8xNbitsEngine::initiate()";
    constexpr auto bits = "NUV_ReverseChannel1bitEngine::initiate()";
    const auto unknown = NUV_DataType::unknown;

    struct Case {
        const char* what;
        NUV_TestImage image;
        const char* method;
    };
    const Case cases[] = {
        {"4 bits", {.channels = 3, .bits = 4}, creator},
        {"12 bits", {.channels = 3, .bits = 12, .data_type = unknown}, creator},
        {"32 bits", {.channels = 3, .bits = 32}, bytes},
        {"24 bits", {.channels = 3, .bits = 24, .data_type = unknown}, bytes},
        {"one bit of no known type", {.channels = 3, .bits = 1, .data_type = unknown}, bits},
        {"coded",
         {.channels = 3, .encode_type = NUV_EncodeType::lzw},
         "NUV_ProcessLineToLineEngine::initiate()"},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.what);
        NUV_TestChain chain;
        chain.blank_source(c.image);
        EXPECT_FALSE(chain.append<NUV_ReverseChannel>());
        EXPECT_EQ(chain.status().code, NUV_ERR_UNSUPPORTED);
        EXPECT_STREQ(chain.status().method, c.method);
        EXPECT_EQ(chain.live_objects_behind_source(), 0u);
    }
    const auto expect_argument = []<class Creator>(const char* method) {
        NUV_TestChain chain;
        EXPECT_FALSE(chain.append<Creator>());
        EXPECT_EQ(chain.status().code, NUV_ERR_ARGUMENT);
        EXPECT_STREQ(chain.status().method, method);
    };
    expect_argument.operator()<NUV_ReverseChannel>(creator);
    expect_argument.operator()<NUV_ReverseChannel8xNbits>("NUV_ReverseChannel8xNbits::engine()");
    expect_argument.operator()<NUV_ReverseChannel1bit>("NUV_ReverseChannel1bit::engine()");
}

TEST(ChannelRefusal, SurvivesEveryFailedAllocation)
{
    expect_clean_at_every_allocation([](NUV_TestChain& chain) {
        std::vector<NUV_Engine*> engines;
        for (int i = 0; i < 2; ++i) {
            chain.source<std::uint8_t>({.width = 2, .height = 2}, {1, 2, 3, 4});
            engines.push_back(chain.last());
        }
        chain.last(NUV_MergeChannel(chain.manager()).engine(engines, NUV_ColorType::none));
        chain.append<NUV_ReverseChannel>();
        chain.append<NUV_SelectChannel>(1U, NUV_ColorType::gray);
        static_cast<void>(chain.run_bytes());
    });
}

} // namespace
} // namespace nuv
