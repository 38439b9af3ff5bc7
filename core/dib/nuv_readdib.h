#pragma once

#include "core/dib/nuv_dibinfo.h"
#include "framework/engine/nuv_enginecreator.h"

namespace nuv {

// Readers of device-independent bitmaps. Lines come out from the upper one down, whatever the order
// in the file: gray and indices with their palette, or red first. NUV_ERR_ARGUMENT for an info that
// is not loaded or not valid. The storage stands at the first byte of the pixels.

// All codings.
class NUV_ReadDIB final : public NUV_EngineCreator {
public:
    using NUV_EngineCreator::NUV_EngineCreator;

    // Loads the info itself; NUV_ERR_FORMAT when the data is no bitmap.
    [[nodiscard]] NUV_Engine* engine(NUV_InputStorage* storage);
    // NUV_ERR_UNSUPPORTED for a coding of another kind.
    [[nodiscard]] NUV_Engine* engine(NUV_InputStorage* storage, const NUV_DIBInfo* info);
};

// Pixels that stand there as they are, or as bit fields, which are not stretched to the range of
// their samples. The image is complete: what the storage does not have is zeros, with
// NUV_WARN_BROKEN_DATA. NUV_ERR_UNSUPPORTED for lines of 2 GiB and more.
class NUV_ReadDIBRaw final : public NUV_EngineCreator {
public:
    using NUV_EngineCreator::NUV_EngineCreator;

    [[nodiscard]] NUV_Engine* engine(NUV_InputStorage* storage, const NUV_DIBInfo* info);
};

// Run-length codings, NUV_ERR_UNSUPPORTED for any other. Where the lowest line is stored first, the
// whole image is held, and data that ends early costs all of it; otherwise the lines before the end
// stand. Either is NUV_ERR_BROKEN_DATA.
class NUV_ReadDIBRLE final : public NUV_EngineCreator {
public:
    using NUV_EngineCreator::NUV_EngineCreator;

    [[nodiscard]] NUV_Engine* engine(NUV_InputStorage* storage, const NUV_DIBInfo* info);
};

} // namespace nuv
