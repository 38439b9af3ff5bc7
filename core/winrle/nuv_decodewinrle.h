#pragma once

#include "core/include/nuv_decode.h"
#include "framework/base/nuv_tags.h"

namespace nuv {

// Decodes the run-length coding of Windows bitmaps to raw lines of one byte a pixel, in the order
// in which they are stored: an index into the palette that goes with the image. NUV_ERR_UNSUPPORTED
// for anything but one channel of 4 or 8 unsigned bits with a palette of s_rgb. Pixels beyond the
// end of a line are dropped with NUV_WARN_BROKEN_DATA; data that ends before the image does is
// NUV_ERR_BROKEN_DATA behind the lines that are whole.
class NUV_DecodeWinRLE : public NUV_Decode {
protected:
    explicit NUV_DecodeWinRLE(NUV_Manager& manager) noexcept
        : NUV_Decode(manager, "NUV_DecodeWinRLE::engine()")
    {}

private:
    [[nodiscard]] NUV_Engine* append_decoder(NUV_Engine& previous) override;
};

class NUV_DecodeWinRLE8 final : public NUV_DecodeWinRLE {
public:
    explicit NUV_DecodeWinRLE8(NUV_Manager& manager) noexcept : NUV_DecodeWinRLE(manager) {}
    [[nodiscard]] const NUV_EncodeType* encode_type() const noexcept override
    {
        return NUV_EncodeType::win_rle8;
    }
};

class NUV_DecodeWinRLE4 final : public NUV_DecodeWinRLE {
public:
    explicit NUV_DecodeWinRLE4(NUV_Manager& manager) noexcept : NUV_DecodeWinRLE(manager) {}
    [[nodiscard]] const NUV_EncodeType* encode_type() const noexcept override
    {
        return NUV_EncodeType::win_rle4;
    }
};

} // namespace nuv
