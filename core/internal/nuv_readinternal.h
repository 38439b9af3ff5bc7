#pragma once

#include "core/internal/nuv_internalinfo.h"
#include "framework/engine/nuv_enginecreator.h"

namespace nuv {

// Reads a file of the library's own raster format: raw lines with samples in host order, or the
// coded stream as it is, but for run data, which comes out little-endian. A line that the data
// cannot fill, and a stream that ends before its size, is NUV_ERR_BROKEN_DATA; what came before
// stands.
class NUV_ReadInternal final : public NUV_EngineCreator {
public:
    using NUV_EngineCreator::NUV_EngineCreator;

    // Loads the info itself; NUV_ERR_FORMAT when the data is no such file.
    [[nodiscard]] NUV_Engine* engine(NUV_InputStorage* storage);
    // The storage stands at the data. NUV_ERR_ARGUMENT for an info that is not loaded or not valid,
    // NUV_ERR_UNSUPPORTED for lines that 32-bit sizes cannot hold.
    [[nodiscard]] NUV_Engine* engine(NUV_InputStorage* storage, const NUV_InternalInfo* info);
};

} // namespace nuv
