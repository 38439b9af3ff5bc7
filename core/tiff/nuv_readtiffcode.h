#pragma once

#include "core/tiff/nuv_tiffinfo.h"
#include "framework/engine/nuv_enginecreator.h"

#include <cstdint>

namespace nuv {

// Reads the strips of a TIFF image as they are stored: an engine for each strip, of each plane one
// behind the other, that delivers raw lines or the bytes of the strip's coding. Bits that are
// stored the other way round are turned; samples come in host order.
class NUV_ReadTIFFCode final : public NUV_EngineCreator {
public:
    using NUV_EngineCreator::NUV_EngineCreator;

    // More strips than this are refused.
    static constexpr std::size_t most_strips = 131072;

    // No engines after a status: NUV_ERR_ARGUMENT for an info that is not loaded or not valid and
    // for a null or closed storage, NUV_ERR_UNSUPPORTED for an image in tiles or in too many
    // strips, NUV_ERR_IO for a strip that the storage cannot have.
    [[nodiscard]] NUV_Vector<NUV_Engine*> engine(NUV_InputStorage* storage,
                                                 const NUV_TIFFInfo* info);
    // Loads the info of a page itself; NUV_ERR_FORMAT when that fails.
    [[nodiscard]] NUV_Vector<NUV_Engine*> engine(NUV_InputStorage* storage, std::uint32_t page);

private:
    [[nodiscard]] bool check_src_condition(const NUV_TIFFInfo& info);
    [[nodiscard]] NUV_Vector<NUV_Engine*> create_engine(NUV_InputStorage* storage,
                                                        const NUV_TIFFInfo& info);
    [[nodiscard]] NUV_Engine* read_strip(NUV_InputStorage* strip, const NUV_Header& header,
                                         const NUV_TIFFInfo& info);
};

} // namespace nuv
