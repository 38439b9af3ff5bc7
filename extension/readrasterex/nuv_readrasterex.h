#pragma once

#include "core/include/nuv_formatinfo.h"
#include "framework/engine/nuv_enginecreator.h"
#include "framework/io/nuv_inputstorage.h"

#include <cstdint>

namespace nuv {

// The reader of stored images that applications use. Besides what NUV_ReadRaster reads, lossless
// JPEG streams of more than 8 bits, whatever segments they carry. Where that does not help either,
// the failure of the search is the one that is told.
class NUV_ReadRasterEx final : public NUV_EngineCreator {
public:
    using NUV_EngineCreator::NUV_EngineCreator;

    // As those of NUV_ReadRaster.
    [[nodiscard]] NUV_Engine* engine(NUV_InputStorage* storage, std::uint32_t page);
    [[nodiscard]] NUV_FormatInfo* format_info(NUV_InputStorage* storage, std::uint32_t page);
};

} // namespace nuv
