#pragma once

#include "core/dib/nuv_bitmapinfoheader.h"
#include "core/dib/source/nuv_dibrow_kernels.h"
#include "core/dib/source/nuv_storedlines.h"
#include "framework/engine/nuv_readengine.h"

#include <cstdint>

namespace nuv {

// Takes the lines of a bitmap from where the storage stands, one a step, the upper one first.
// Damage costs lines, never the image.
class NUV_ReadDIBRawEngine final : public NUV_ReadEngine {
public:
    static constexpr auto initiate_method = "NUV_ReadDIBRawEngine::initiate()";
    using NUV_ReadEngine::NUV_ReadEngine;

    // `header` describes what comes out, `stored` what is read; nobody looks at either later.
    // NUV_ERR_UNSUPPORTED for lines of 2 GiB and more.
    [[nodiscard]] bool initiate(NUV_InputStorage* storage, const NUV_Header* header,
                                NUV_DstBuffer* dst, const NUV_BitmapInfoHeader* stored);
    [[nodiscard]] bool execute() override;
    bool cleanup() override;

private:
    void warn_of(const NUV_StoredLine& line);
    void convert(const NUV_StoredLine& line, std::uint8_t* out) const;

    NUV_StoredLines lines_;
    bool bottom_up_ = false;
    std::uint32_t bit_count_ = 0;         // of a stored pixel
    std::uint32_t pixel_bits_ = 0;        // of one that comes out
    std::uint32_t stored_line_bytes_ = 0; // without the pad
    std::uint32_t line_bytes_ = 0;
    NUV_BitFields fields_;
    DIBRow convert_row_ = nullptr;
    std::uint32_t line_ = 0;
};

} // namespace nuv
