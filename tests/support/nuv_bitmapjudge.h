#pragma once

#include "core/bmp/nuv_readbmp.h"
#include "core/dib/nuv_readdib.h"
#include "tests/support/nuv_model_bitmap.h"
#include "tests/support/nuv_testchain.h"
#include "tests/support/nuv_teststored.h"

namespace nuv {

// Any bytes are refused, described and read as the plain reader does, in the same words.
template <class Info, class Reader>
void expect_as_model_of(std::span<const std::uint8_t> stored)
{

    const Bytes bytes(stored.begin(), stored.end());
    const model::Bitmap wanted(bytes, std::is_same_v<Info, NUV_BMPInfo>);
    NUV_TestChain chain;
    // No storage has nothing in it.
    const NUV_TestStored source(chain.manager(), bytes, stored.empty() ? 1 : 0);
    Info info(chain.manager());
    ASSERT_EQ(info.load(source.storage()), wanted.is_loaded);
    EXPECT_TRUE(wanted.is_loaded || source.position() == 0);
    if (wanted.is_loaded) {
        EXPECT_EQ(std::tuple(info.width(), info.height(), info.bits(), info.channels(),
                             info.color_type()->id(), info.encode_type()->id(), info.resolution().x,
                             info.resolution().y),
                  std::tuple(wanted.width, wanted.height, wanted.bits, wanted.channels,
                             wanted.color, wanted.coding, wanted.across, wanted.down));
        EXPECT_EQ(std::tuple(info.color_table_bytes(), info.pixel_offset()),
                  std::tuple(wanted.table_bytes, wanted.pixels_at));
        const std::uint8_t* value = info.palette().value();
        EXPECT_EQ(Bytes(value, value + 3 * info.palette().entries), wanted.palette);
        const std::size_t place = info.profile().empty() ? 0 : info.info_header().profile_data;
        EXPECT_TRUE(
            std::ranges::equal(info.profile(), stored.subspan(place, info.profile().size())));
        chain.last(Reader(chain.manager()).engine(source.storage(), &info));
        const bool is_refused = !wanted.is_read && wanted.code != NUV_ERR_UNSUPPORTED;
        if (!info.checked_plane_bytes() && !is_refused) { // which some stage cannot count
            EXPECT_EQ(chain.status().code, NUV_ERR_UNSUPPORTED);
            return;
        }
    }
    ASSERT_EQ(chain.last() != nullptr, wanted.is_read) << chain.status().method;
    if (wanted.is_too_large)
        return;
    EXPECT_EQ(chain.run_bytes(), wanted.samples);
    EXPECT_EQ(chain.status().code, wanted.code);
    EXPECT_EQ(chain.status().method, wanted.text);
}

// As a file, and the same behind the file header as a bitmap in memory.
inline void expect_as_model(std::span<const std::uint8_t> file)
{
    expect_as_model_of<NUV_BMPInfo, NUV_ReadBMP>(file);
    if (file.size() >= 14)
        expect_as_model_of<NUV_DIBInfo, NUV_ReadDIB>(file.subspan(14));
}

} // namespace nuv
