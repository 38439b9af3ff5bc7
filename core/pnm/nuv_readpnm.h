#pragma once

#include "core/pnm/nuv_pnminfo.h"
#include "framework/engine/nuv_enginecreator.h"

namespace nuv {

// Readers of portable anymaps. Each takes a storage that stands behind the header, and the info
// that was loaded from it; NUV_ERR_ARGUMENT for an info that is not loaded or not valid. The first
// line that the data cannot fill ends the image with NUV_ERR_BROKEN_DATA; the lines before it
// stand.

// All six forms.
class NUV_ReadPNM final : public NUV_EngineCreator {
public:
    using NUV_EngineCreator::NUV_EngineCreator;

    // Loads the info itself; NUV_ERR_FORMAT when the data is no anymap.
    [[nodiscard]] NUV_Engine* engine(NUV_InputStorage* storage);
    [[nodiscard]] NUV_Engine* engine(NUV_InputStorage* storage, const NUV_PNMInfo* info);
};

// P4, P5 and P6; NUV_ERR_UNSUPPORTED for the others.
class NUV_ReadPNMBinary final : public NUV_EngineCreator {
public:
    using NUV_EngineCreator::NUV_EngineCreator;

    [[nodiscard]] NUV_Engine* engine(NUV_InputStorage* storage, const NUV_PNMInfo* info);
};

// P1; NUV_ERR_UNSUPPORTED for the others. Pixels are numbers between whitespace, "0" or not; they
// may not touch.
class NUV_ReadPBMAscii final : public NUV_EngineCreator {
public:
    using NUV_EngineCreator::NUV_EngineCreator;

    [[nodiscard]] NUV_Engine* engine(NUV_InputStorage* storage, const NUV_PNMInfo* info);
};

// P2 and P3; NUV_ERR_UNSUPPORTED for the others. Samples are numbers between whitespace, without
// comments.
class NUV_ReadPPMAscii final : public NUV_EngineCreator {
public:
    using NUV_EngineCreator::NUV_EngineCreator;

    [[nodiscard]] NUV_Engine* engine(NUV_InputStorage* storage, const NUV_PNMInfo* info);
};

} // namespace nuv
