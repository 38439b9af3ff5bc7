#pragma once

#include "core/include/nuv_decode.h"
#include "framework/base/nuv_diagnosis.h"
#include "framework/base/nuv_tags.h"

namespace nuv {

// What is said of data that ends inside a line, which is counted from 0.
[[nodiscard]] NUV_Diagnosis packbits_end_in_line(std::uint32_t line, std::uint32_t lines) noexcept;

// Decodes PackBits to raw lines. Unsigned samples only, else NUV_ERR_UNSUPPORTED; data that ends
// before the image does is NUV_ERR_BROKEN_DATA behind the lines that are whole.
class NUV_DecodePackBits final : public NUV_Decode {
public:
    explicit NUV_DecodePackBits(NUV_Manager& manager) noexcept
        : NUV_Decode(manager, "NUV_DecodePackBits::engine()")
    {}

    [[nodiscard]] const NUV_EncodeType* encode_type() const noexcept override
    {
        return NUV_EncodeType::pack_bits;
    }

private:
    [[nodiscard]] NUV_Engine* append_decoder(NUV_Engine& previous) override;
};

} // namespace nuv
