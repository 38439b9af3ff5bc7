#pragma once

#include "framework/engine/nuv_enginecreator.h"

#include <cstdint>

namespace nuv {

// Writes image bytes as they come: the end of a chain.
class NUV_WriteStorage final : public NUV_EngineCreator {
public:
    using NUV_EngineCreator::NUV_EngineCreator;

    // `offset`: of the first line, in bytes; a storage that ends before it is filled up.
    // `line_pad`: zero bytes behind every line. `line_gap`: bytes to leave between two lines,
    // filled where the storage ends, or negative to go back. `byte_order`: 1 for samples in host
    // order; any other swaps those of two bytes and more. Bits behind the last sample of a raw
    // bilevel line are written as zeros.
    //
    // While it runs nobody else changes the storage.
    //
    // NUV_ERR_ARGUMENT for nulls, a closed storage, a negative offset or pad. While running,
    // NUV_ERR_IO when the storage takes less than a line, NUV_ERR_BROKEN_DATA when a raw line comes
    // short; both end the run.
    [[nodiscard]] NUV_Engine* engine(NUV_Engine* previous, NUV_OutputStorage* storage,
                                     std::int32_t offset, std::int32_t line_pad,
                                     std::int32_t line_gap, std::int32_t byte_order);
};

} // namespace nuv
