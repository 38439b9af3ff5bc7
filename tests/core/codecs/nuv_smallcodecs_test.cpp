#include "tests/support/nuv_smallcodecs.h"

#include "core/decodetoraw/nuv_decodetoraw.h"
#include "core/packbits/nuv_decodepackbits.h"
#include "framework/engine/nuv_bitreverse.h"
#include "tests/support/nuv_testchain.h"

#include <gtest/gtest.h>

#include <initializer_list>
#include <random>
#include <string>
#include <tiffio.h>
#include <utility>
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
        ASSERT_EQ(decode<NUV_DecodeToRaw>(in, image, block_bytes), codec.plain(in, image))
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
    const Case cases[] = {
        {"no operation, one literal", 0, 1, 1, {128, 0, 7}, {{7}}},
        {"a run over line ends", 0, 2, 2, {0, 1, 0xFE, 5}, {{1, 5, 5, 5}}},
        {"a literal over a line end that is cut", 0, 2, 2, {3, 1, 2, 3}, {{}, true}},
        {"an end of the bitmap alone", 1, 3, 2, {0, 1}, {{0, 0, 0}, true}},
        {"a run beyond the line", 1, 2, 1, {9, 4, 0, 0}, {{4, 4}}},
        {"a delta to the second line below",
         1,
         5,
         3,
         {1, 8, 0, 2, 3, 2, 1, 9, 0, 1},
         {{8, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 9}}},
        {"pairs behind a full line", 1, 1, 1, {1, 3, 1, 4, 0, 0}, {{3}, false, true}},
        {"a run of halves", 2, 5, 1, {5, 0xAB, 0, 0}, {{10, 11, 10, 11, 10}}},
        {"3 single pixels of 4 bits need no pad", 2, 3, 1, {0, 3, 0x12, 0x30, 0, 1}, {{1, 2, 3}}},
        {"5 need one", 2, 5, 1, {0, 5, 0x12, 0x34, 0x50, 0xEE, 0, 0}, {{1, 2, 3, 4, 5}}},
        {"a stream longer than the image", 3, 2, 1, deflated({1, 2, 3, 4}), {{1, 2}}},
        {"a shorter one that ends well", 3, 2, 2, deflated({1, 2, 3}), {{1, 2, 3}}},
    };
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

// Strips as libtiff writes them, of every length around the size of a block, also stored with their
// bits the other way round.
TEST(SmallCodecs, ReadWhatLibtiffPacks)
{
    for (const std::size_t bytes : {1U, 127U, 128U, 129U, 4095U, 4096U, 4097U, 8191U}) {
        std::mt19937 random(static_cast<unsigned>(bytes));
        Bytes plain(bytes);
        for (std::size_t i = 0; i < bytes; ++i)
            plain[i] =
                random() % 3 == 0 || i == 0 ? static_cast<std::uint8_t>(random()) : plain[i - 1];
        struct Memory {
            Bytes bytes;
            std::size_t position = 0;
        } memory;
        TIFF* tiff = TIFFClientOpen(
            "memory", "wm", &memory, [](thandle_t, void*, tmsize_t) { return tmsize_t{0}; },
            [](thandle_t handle, void* data, tmsize_t count) {
                auto& to = *static_cast<Memory*>(handle);
                const auto* from = static_cast<const std::uint8_t*>(data);
                const auto size = static_cast<std::size_t>(count);
                to.bytes.resize(std::max(to.bytes.size(), to.position + size));
                std::copy(from, from + size, to.bytes.begin() + std::ptrdiff_t(to.position));
                to.position += size;
                return count;
            },
            [](thandle_t handle, toff_t offset, int whence) {
                auto& to = *static_cast<Memory*>(handle);
                to.position = offset + (whence == SEEK_END ? to.bytes.size() : 0);
                return toff_t{to.position};
            },
            [](thandle_t) { return 0; },
            [](thandle_t handle) { return toff_t{static_cast<Memory*>(handle)->bytes.size()}; },
            nullptr, nullptr);
        ASSERT_NE(tiff, nullptr);
        TIFFSetField(tiff, TIFFTAG_IMAGEWIDTH, static_cast<unsigned>(bytes));
        TIFFSetField(tiff, TIFFTAG_IMAGELENGTH, 1U);
        TIFFSetField(tiff, TIFFTAG_BITSPERSAMPLE, 8);
        TIFFSetField(tiff, TIFFTAG_COMPRESSION, COMPRESSION_PACKBITS);
        TIFFSetField(tiff, TIFFTAG_PHOTOMETRIC, PHOTOMETRIC_MINISBLACK);
        TIFFSetField(tiff, TIFFTAG_ROWSPERSTRIP, 1U);
        ASSERT_GT(TIFFWriteEncodedStrip(tiff, 0, plain.data(), static_cast<tmsize_t>(bytes)), 0);
        TIFFClose(tiff);

        constexpr std::size_t header = 8; // the strip is written right behind it
        Bytes coded(memory.bytes.begin() + header, memory.bytes.end());
        const NUV_TestImage image = image_of(small_codecs[0], static_cast<std::uint32_t>(bytes), 1);
        EXPECT_EQ(decode<NUV_DecodeToRaw>(coded, image, 4096).bytes, plain) << bytes;
        TIFFReverseBits(coded.data(), static_cast<tmsize_t>(coded.size()));
        NUV_TestChain chain;
        chain.source_bytes(image, coded, 4096);
        EXPECT_TRUE(chain.append<NUV_BitReverse>());
        EXPECT_TRUE(chain.append<NUV_DecodePackBits>());
        EXPECT_EQ(chain.run_bytes(), plain) << bytes;
    }
}

TEST(SmallCodecs, RefuseWhatTheyDoNotServe)
{
    struct Refusal {
        int codec;
        void (*change)(NUV_TestImage& image);
        const char* method;
    };
    constexpr auto is_signed = [](NUV_TestImage& image) {
        image.data_type = NUV_DataType::s_integer;
    };
    const Refusal refusals[] = {
        {0, is_signed, "NUV_DecodePackBitsEngine::initiate()"},
        {1, [](NUV_TestImage& image) { image.palette = false; },
         "NUV_DecodeWinRLEEngine::initiate()"},
        {2,
         [](NUV_TestImage& image) {
             image.palette = false;
             image.bits = 8;
             image.channels = 3;
         },
         "NUV_DecodeWinRLEEngine::initiate()"},
        {3, is_signed, "NUV_DecodeFlateEngine::initiate()"},
        {3, [](NUV_TestImage& image) { image.bits = 16; }, "NUV_DecodeFlateEngine::initiate()"},
    };
    for (const Refusal& refusal : refusals) {
        NUV_TestImage image = image_of(small_codecs[refusal.codec], 4, 4);
        refusal.change(image);
        NUV_TestChain chain;
        chain.source_bytes(image, Bytes(8));
        EXPECT_FALSE(chain.append<NUV_DecodeToRaw>());
        EXPECT_EQ(chain.status().code, NUV_ERR_UNSUPPORTED);
        EXPECT_STREQ(chain.status().method, refusal.method);
    }
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
