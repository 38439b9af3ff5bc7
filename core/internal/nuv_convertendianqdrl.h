#pragma once

#include "framework/engine/nuv_enginecreator.h"

namespace nuv {

// Turns run data that is big-endian around, in each of the three widths that it comes in. What is
// little-endian already, and what is no run data, stays as it is.
class NUV_ConvertEndianQDRL final : public NUV_EngineCreator {
public:
    using NUV_EngineCreator::NUV_EngineCreator;

    // `previous` itself where there is nothing to do. NUV_ERR_ARGUMENT for a null and for an engine
    // without a header; NUV_ERR_UNSUPPORTED for anything but one channel of unsigned samples, of 1
    // bit ("qd_rle_be", "qd_rlc_be") or 32 ("qd_rlen_be"). Data that ends within a number is
    // NUV_ERR_BROKEN_DATA.
    [[nodiscard]] NUV_Engine* engine(NUV_Engine* previous);
};

} // namespace nuv
