#pragma once

#include "framework/base/nuv_diagnosis.h"
#include "framework/engine/nuv_enginecreator.h"

#include <cstdint>

namespace nuv {

// Reads image bytes as they stand; a header tells what they mean. Raw data comes line by line,
// anything else as a stream to the end of the storage.
class NUV_ReadStorage final : public NUV_EngineCreator {
public:
    using NUV_EngineCreator::NUV_EngineCreator;

    // `offset`: of the first line, in bytes. `line_gap`: bytes to skip between two lines, negative
    // to go back. `byte_order`: 1 for samples in host order; any other swaps those of two bytes
    // and more. NUV_ERR_ARGUMENT for nulls, a closed storage and a negative offset,
    // NUV_ERR_BROKEN_DATA for an offset that cannot be reached. While running, a line that does
    // not come whole, or a gap that cannot be skipped, is NUV_ERR_BROKEN_DATA and ends the image;
    // `early_end` says why, where more is known than the line.
    [[nodiscard]] NUV_Engine* engine(NUV_InputStorage* storage, const NUV_Header* header,
                                     std::int32_t offset, std::int32_t line_gap,
                                     std::int32_t byte_order, const NUV_Diagnosis& early_end = {});
};

} // namespace nuv
