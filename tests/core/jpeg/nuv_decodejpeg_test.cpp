#include "core/jpeg/nuv_decodejpeg.h"

#include "core/decodetoraw/nuv_decodetoraw.h"
#include "core/jpeg/nuv_readjpeg.h"
#include "tests/core/jpeg/nuv_jpegreference.h"
#include "tests/support/nuv_testchain.h"
#include "tests/support/nuv_teststored.h"

#include <gtest/gtest.h>

#include <cstddef>
#include <cstdint>
#include <vector>

namespace nuv {
namespace {

using Bytes = std::vector<std::uint8_t>;

JPEGTestPicture small_picture()
{
    return busy_picture(21, 18, 3);
}

// A stream taken apart into its tables and the rest.
struct Abbreviated {
    Bytes tables = {0xFF, 0xD8};
    Bytes image = {0xFF, 0xD8};
};

Abbreviated abbreviate(const Bytes& stream)
{
    Abbreviated parts;
    const JPEGTestSegments segments(stream);
    for (const auto& segment : segments.segments) {
        const bool is_table = segment.id == 0xDB || segment.id == 0xC4;
        Bytes& part = is_table ? parts.tables : parts.image;
        part.insert(part.end(), stream.begin() + static_cast<std::ptrdiff_t>(segment.position) - 4,
                    stream.begin() +
                        static_cast<std::ptrdiff_t>(segment.position + segment.payload.size()));
    }
    parts.image.insert(parts.image.end(),
                       stream.begin() + static_cast<std::ptrdiff_t>(segments.scan_position),
                       stream.end());
    return parts;
}

const NUV_TestImage coded_image = {.width = 21,
                                   .height = 18,
                                   .channels = 3,
                                   .encode_type = NUV_EncodeType::jpeg,
                                   .color_type = NUV_ColorType::ycbcr};

TEST(DecodeJPEG, TakesTablesFromAStreamOfTheirOwn)
{
    const Bytes whole = encode_by_reference(small_picture(), {.key = 0x211111});
    const Abbreviated parts = abbreviate(whole);
    Bytes with_end = parts.tables;
    with_end.insert(with_end.end(), {0xFF, 0xD9});
    for (const Bytes& tables : {parts.tables, with_end}) {
        NUV_TestChain chain;
        NUV_JPEGTableInfo info(chain.manager());
        {
            const NUV_TestStored stored(chain.manager(), tables);
            ASSERT_TRUE(info.load(stored.storage()));
        }
        const NUV_DecodeJPEGOption option(info, 0, 256);
        chain.source_bytes(coded_image, parts.image);
        ASSERT_TRUE(chain.append<NUV_DecodeJPEG>(&option)) << chain.status().method;
        EXPECT_EQ(chain.run_bytes(), decode_by_reference(whole)->samples);
        EXPECT_EQ(chain.status().code, NUV_STATUS_OK);
    }

    struct Case {
        Bytes tables;
        NUV_StatusCode code;
    };
    const Case cases[] = {
        {{'B', 'M', 0, 0}, NUV_ERR_BROKEN_DATA},
        {{0xFF, 0xD8}, NUV_ERR_BROKEN_DATA},
        {{parts.tables.begin(), parts.tables.end() - 1}, NUV_ERR_BROKEN_DATA},
        {{0xFF, 0xD8, 0xFF, 0xDB, 0, 2}, NUV_ERR_INVALID_DATA},
    };
    for (const Case& bad : cases) {
        NUV_TestChain chain;
        NUV_JPEGTableInfo info(chain.manager());
        const NUV_TestStored stored(chain.manager(), bad.tables);
        EXPECT_FALSE(info.load(stored.storage()));
        EXPECT_EQ(chain.status().code, bad.code);
        EXPECT_STREQ(chain.status().method, "NUV_JPEGTableInfoInternal::initiate()");
    }
}

TEST(DecodeToRaw, DecodesTheJPEGStreamOfAnEngine)
{
    const Bytes stream =
        encode_by_reference(small_picture(), {.key = 0x221111, .is_progressive = true});
    NUV_TestChain chain;
    chain.source_bytes(coded_image, stream, 7);
    ASSERT_TRUE(chain.append<NUV_DecodeToRaw>());
    EXPECT_EQ(chain.run_bytes(), decode_by_reference(stream)->samples);

    NUV_TestChain raw;
    raw.blank_source({.width = 2, .height = 2});
    NUV_Engine* const before = raw.last();
    EXPECT_TRUE(raw.append<NUV_DecodeJPEG>());
    EXPECT_EQ(raw.last(), before);

    NUV_TestChain none;
    EXPECT_FALSE(none.append<NUV_DecodeJPEG>());
    EXPECT_EQ(none.status().code, NUV_ERR_ARGUMENT);
    EXPECT_STREQ(none.status().method, "NUV_DecodeJPEG::engine()");

    NUV_TestChain foreign;
    foreign.source_bytes(coded_image, {1, 2, 3, 4});
    EXPECT_FALSE(foreign.append<NUV_DecodeJPEG>());
    EXPECT_EQ(foreign.status().code, NUV_ERR_FORMAT);
}

// The colour that an info is asked for.
TEST(JPEGInfo, DeliversTheColorItIsAskedFor)
{
    const Bytes stream = encode_by_reference(small_picture(), {});
    NUV_TestChain chain;
    const NUV_TestStored image(chain.manager(), stream);
    NUV_JPEGInfo info(chain.manager());
    ASSERT_TRUE(info.load(image.storage(), NUV_ColorType::s_rgb, nullptr, 0));
    EXPECT_EQ(info.color_type(), NUV_ColorType::s_rgb);
    EXPECT_EQ(info.color_code(), 1U);
    chain.last(NUV_ReadJPEG(chain.manager()).engine(image.storage(), &info, 256));
    const Bytes rgb = chain.run_bytes();
    ASSERT_EQ(rgb.size(), 21U * 18 * 3);
    EXPECT_NE(rgb, decode_by_reference(stream)->samples);
}

} // namespace
} // namespace nuv
