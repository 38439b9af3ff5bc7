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

    // What the headers of the strips have of the image's palette. A copy a strip is much memory,
    // so whoever joins the strips goes without where no stage in between looks at it.
    enum class Palettes { kept, left_out };
    // Bytes of palettes that are kept; a file that has more in so many strips is refused.
    static constexpr std::uint64_t most_palette_bytes = std::uint64_t{64} << 20;

    // No engines after a status: NUV_ERR_ARGUMENT for an info that is not loaded or not valid and
    // for a null or closed storage, NUV_ERR_UNSUPPORTED for an image in tiles or in too many
    // strips, NUV_ERR_IO for a strip that the storage cannot have.
    [[nodiscard]] NUV_Vector<NUV_Engine*> engine(NUV_InputStorage* storage,
                                                 const NUV_TIFFInfo* info,
                                                 Palettes palettes = Palettes::kept);
    // Loads the info of a page itself; NUV_ERR_FORMAT when that fails.
    [[nodiscard]] NUV_Vector<NUV_Engine*> engine(NUV_InputStorage* storage, std::uint32_t page);

private:
    [[nodiscard]] bool check_src_condition(const NUV_TIFFInfo& info);
    [[nodiscard]] NUV_Vector<NUV_Engine*> create_engine(NUV_InputStorage* storage,
                                                        const NUV_TIFFInfo& info,
                                                        Palettes palettes);
};

} // namespace nuv
