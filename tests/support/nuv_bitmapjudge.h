#pragma once

#include "core/bmp/nuv_readbmp.h"
#include "core/dib/nuv_readdib.h"
#include "tests/support/nuv_model_bitmap.h"
#include "tests/support/nuv_testchain.h"
#include "tests/support/nuv_teststored.h"

#include <gtest/gtest.h>

#include <cstddef>
#include <cstdint>
#include <type_traits>
#include <vector>

namespace nuv {

// Any bytes are refused, described and read as the plain reader does, in the same words.
template <class Info, class Reader>
void expect_as_model(const std::vector<std::uint8_t>& stored)
{
    using Bytes = std::vector<std::uint8_t>;

    // Something else stands before a file that would be empty.
    const std::int32_t begin = stored.empty() ? 1 : 0;
    NUV_TestChain chain;
    const NUV_TestStored source(chain.manager(), stored, begin);
    const bool is_file = std::is_same_v<Info, NUV_BMPInfo>;
    const model::Bitmap wanted(begin == 0 ? stored : Bytes{'P'}, is_file,
                               static_cast<std::size_t>(begin));
    Info info(chain.manager());
    ASSERT_EQ(info.load(source.storage()), wanted.is_loaded);
    if (wanted.is_loaded) {
        EXPECT_EQ(info.width(), wanted.width);
        EXPECT_EQ(info.height(), wanted.height);
        EXPECT_EQ(info.bits(), wanted.bits);
        EXPECT_EQ(info.channels(), wanted.channels);
        const NUV_ColorType* colors[] = {NUV_ColorType::s_rgb, NUV_ColorType::gray,
                                         NUV_ColorType::gray_reverse};
        EXPECT_EQ(info.color_type(), colors[static_cast<int>(wanted.color)]);
        const NUV_EncodeType* codings[] = {NUV_EncodeType::raw, NUV_EncodeType::win_rle8,
                                           NUV_EncodeType::win_rle4};
        EXPECT_EQ(info.encode_type(), codings[wanted.coding]);
        const std::uint8_t* value = info.palette().value();
        EXPECT_EQ(Bytes(value, value + 3 * info.palette().entries), wanted.palette);
        EXPECT_EQ(info.resolution().x, wanted.resolution[0]);
        EXPECT_EQ(info.resolution().y, wanted.resolution[1]);
        chain.last(Reader(chain.manager()).engine(source.storage(), &info));
        if (wanted.is_read && !info.checked_plane_bytes()) { // which no line or buffer counts
            EXPECT_EQ(chain.status().code, NUV_ERR_UNSUPPORTED);
            return;
        }
        ASSERT_EQ(chain.last() != nullptr, wanted.is_read) << chain.status().method;
    } else {
        EXPECT_EQ(source.position(), 0);
    }
    if (wanted.is_too_large)
        return;
    EXPECT_EQ(chain.run_bytes(), wanted.samples);
    EXPECT_EQ(chain.status().code, wanted.code);
    EXPECT_EQ(chain.status().method, wanted.text);
}

// As a file, and the same behind the file header as a bitmap in memory.
inline void expect_as_model(const std::vector<std::uint8_t>& file)
{
    expect_as_model<NUV_BMPInfo, NUV_ReadBMP>(file);
    if (file.size() >= 14)
        expect_as_model<NUV_DIBInfo, NUV_ReadDIB>({file.begin() + 14, file.end()});
}

} // namespace nuv
