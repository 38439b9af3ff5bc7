#pragma once

#include "core/include/nuv_decode.h"
#include "framework/base/nuv_tags.h"

namespace nuv {

// Expands an image in run form to packed bits, 1 for black. A raw image is passed on as it is; one
// that is coded otherwise is refused with NUV_ERR_UNSUPPORTED.
class NUV_DecodeQDRLE final : public NUV_Decode {
public:
    explicit NUV_DecodeQDRLE(NUV_Manager& manager) noexcept
        : NUV_Decode(manager, "NUV_DecodeQDRLE::engine()")
    {}

    [[nodiscard]] const NUV_EncodeType* encode_type() const noexcept override
    {
        return NUV_EncodeType::qd_rle;
    }

private:
    [[nodiscard]] NUV_Engine* append_decoder(NUV_Engine& previous) override;
};

} // namespace nuv
