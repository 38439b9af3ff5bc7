#pragma once

#include "core/include/nuv_decode.h"
#include "framework/base/nuv_tags.h"

namespace nuv {

// Decodes a zlib stream (RFC 1950) to raw lines. Unsigned samples of 1 or 8 bits only, else
// NUV_ERR_UNSUPPORTED. A stream that holds more than the image is cut, and one that ends well with
// less gives what it has. One that breaks off or means nothing is NUV_ERR_BROKEN_DATA behind the
// lines that are whole.
class NUV_DecodeFlate final : public NUV_Decode {
public:
    explicit NUV_DecodeFlate(NUV_Manager& manager) noexcept
        : NUV_Decode(manager, "NUV_DecodeFlate::engine()")
    {}

    [[nodiscard]] const NUV_EncodeType* encode_type() const noexcept override
    {
        return NUV_EncodeType::flate;
    }

private:
    [[nodiscard]] NUV_Engine* append_decoder(NUV_Engine& previous) override;
};

} // namespace nuv
