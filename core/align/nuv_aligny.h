#pragma once

#include "framework/engine/nuv_enginecreator.h"

#include <span>

namespace nuv {

// Stack images of equal width: the lines of the first, then those of the second, and so on. A
// single engine is the answer itself. NUV_ERR_ARGUMENT for no engine, for one that is missing or
// has no header; NUV_ERR_UNSUPPORTED for images that do not fit and for more lines than an image
// can have. An input that ends early ends the whole.

// Raw images of the same channels and samples.
class NUV_AlignY final : public NUV_EngineCreator {
public:
    using NUV_EngineCreator::NUV_EngineCreator;

    [[nodiscard]] NUV_Engine* engine(std::span<NUV_Engine* const> sources);
};

// Images in run form, of one bit and with the same palette or none.
class NUV_AlignYQDRLE final : public NUV_EngineCreator {
public:
    using NUV_EngineCreator::NUV_EngineCreator;

    [[nodiscard]] NUV_Engine* engine(std::span<NUV_Engine* const> sources);
};

} // namespace nuv
