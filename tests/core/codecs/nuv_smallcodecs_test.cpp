#include "tests/support/nuv_smallcodecs.h"

#include "core/decodetoraw/nuv_decodetoraw.h"
#include "tests/support/nuv_refusals.h"

#include <gtest/gtest.h>

#include <random>
#include <vector>

namespace nuv {
namespace {

using Bytes = std::vector<std::uint8_t>;
using model::Decoded;

Bytes deflated(const Bytes& plain)
{
    uLongf bytes = compressBound(static_cast<uLong>(plain.size()));
    Bytes out(bytes);
    compress(out.data(), &bytes, plain.data(), static_cast<uLong>(plain.size()));
    out.resize(bytes);
    return out;
}

// Codes that often mean something: short runs, literals, zeros and the numbers near them.
Bytes random_stream(const NUV_SmallCodec& codec, const NUV_TestImage& image, std::mt19937& random)
{
    Bytes out(random() % (std::size_t{2} * image.width * image.height + 2));
    for (std::uint8_t& byte : out) {
        const auto drawn = static_cast<std::uint8_t>(random());
        byte = random() % 3 != 0 ? drawn % 8 : random() % 2 != 0 ? 128 + drawn % 4 : drawn;
    }
    if (codec.encode_type != &NUV_EncodeType::flate)
        return out;
    Bytes coded = deflated(out);
    if (random() % 2 == 0)
        coded.resize(random() % coded.size());
    else if (random() % 2 == 0)
        coded[random() % coded.size()] ^= static_cast<std::uint8_t>(1U << random() % 8);
    return coded;
}

TEST(SmallCodecs, AgreeWithPlainDecodersOnAnyStreamInAnyBlocks)
{
    std::mt19937 random(1);
    for (int i = 0; i < 8000; ++i) {
        const NUV_SmallCodec& codec = small_codecs[random() % std::size(small_codecs)];
        const NUV_TestImage image =
            image_of(codec, static_cast<std::uint32_t>(1 + random() % (i % 16 == 0 ? 700 : 40)),
                     static_cast<std::uint32_t>(1 + random() % 12));
        const Bytes in = random_stream(codec, image, random);
        const auto block_bytes = static_cast<std::uint32_t>(1 + random() % (i % 2 == 0 ? 3 : 400));
        ASSERT_EQ(decode<NUV_DecodeToRaw>(in, image, block_bytes),
                  codec.plain(in, image.width, image.height))
            << codec.name << ", stream " << i;
    }
}

struct Case {
    const char* name;
    int codec; // in the table above
    std::uint32_t width;
    std::uint32_t height;
    Bytes in;
    Decoded out;
};

TEST(SmallCodecs, GiveTheseLines)
{
    // clang-format off
    const Case cases[] = {
        {"no operation, one literal", 0, 1, 1, {128, 0, 7}, {{7}}},
        {"a run over line ends", 0, 2, 2, {0, 1, 0xFE, 5}, {{1, 5, 5, 5}}},
        {"a literal over a line end that is cut", 0, 2, 2, {3, 1, 2, 3}, {{}, true}},
        {"an end of the bitmap alone", 1, 3, 2, {0, 1}, {{0, 0, 0}, true}},
        {"a run beyond the line", 1, 2, 1, {9, 4, 0, 0}, {{4, 4}}},
        {"a delta two lines down", 1, 3, 3, {1, 8, 0, 2, 1, 2, 1, 9, 0, 1}, {{8, 0, 0, 0, 0, 0, 0, 0, 9}}},
        {"pairs behind a full line", 1, 1, 1, {1, 3, 1, 4, 0, 0}, {{3}, false, true}},
        {"a run of halves", 2, 5, 1, {5, 0xAB, 0, 0}, {{10, 11, 10, 11, 10}}},
        {"3 single pixels of 4 bits need no pad", 2, 3, 1, {0, 3, 0x12, 0x30, 0, 1}, {{1, 2, 3}}},
        {"5 need one", 2, 5, 1, {0, 5, 0x12, 0x34, 0x50, 0xEE, 0, 0}, {{1, 2, 3, 4, 5}}},
        {"a stream longer than the image", 3, 2, 1, deflated({1, 2, 3, 4}), {{1, 2}}},
        {"a shorter one that ends well", 3, 2, 2, deflated({1, 2, 3}), {{1, 2, 3}}},
    };
    // clang-format on
    for (const Case& one : cases) {
        const NUV_SmallCodec& codec = small_codecs[one.codec];
        EXPECT_EQ(decode<NUV_DecodeToRaw>(one.in, image_of(codec, one.width, one.height), 4096),
                  one.out)
            << one.name;
    }
    // A column beyond 255 that a delta still has to reach is kept in 8 bits: 300 + 10 is 54.
    Bytes in = {255, 1, 45, 1, 0, 2, 10, 1, 1, 9, 0, 1};
    const Bytes out = decode<NUV_DecodeToRaw>(in, image_of(small_codecs[1], 320, 2), 4096).bytes;
    EXPECT_EQ(out.at(320 + 54), 9);
}

TEST(SmallCodecs, RefuseWhatTheyDoNotServe)
{
    NUV_TestImage images[5];
    for (int i = 0; i < 5; ++i)
        images[i] = image_of(small_codecs[std::min(i, 3)], 4, 4);
    images[0].data_type = images[3].data_type = NUV_DataType::s_integer;
    images[1].palette = images[2].palette = false;
    images[2].bits = 8;
    images[2].channels = 3;
    images[4].bits = 16;
    const auto decode = appending<NUV_DecodeToRaw>();
    constexpr auto no = NUV_ERR_UNSUPPORTED;
    expect_refusals({{"signed", images[0], decode, no, "NUV_DecodePackBitsEngine::initiate()"},
                     {"no palette", images[1], decode, no, "NUV_DecodeWinRLEEngine::initiate()"},
                     {"colours", images[2], decode, no, "NUV_DecodeWinRLEEngine::initiate()"},
                     {"signed", images[3], decode, no, "NUV_DecodeFlateEngine::initiate()"},
                     {"16 bits", images[4], decode, no, "NUV_DecodeFlateEngine::initiate()"}});
}

TEST(SmallCodecs, AreCleanAtEveryAllocation)
{
    for (const NUV_SmallCodec& codec : small_codecs) {
        const Bytes in = codec.encode_type == &NUV_EncodeType::flate ? deflated(Bytes(64))
                                                                     : Bytes{8, 8, 8, 8, 8, 8};
        expect_clean_at_every_allocation([&](NUV_TestChain& chain) {
            chain.source_bytes(image_of(codec, 8, 4), in, 4);
            static_cast<void>(chain.append<NUV_DecodeToRaw>());
            static_cast<void>(chain.run_bytes());
        });
    }
}

} // namespace
} // namespace nuv
