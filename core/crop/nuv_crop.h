#pragma once

#include "framework/engine/nuv_enginecreator.h"

#include <cstdint>

namespace nuv {

// Cuts a rectangle out of an image, in pixels, (0, 0) at the top left. What reaches over the right
// or the lower edge is cut off; a rectangle that begins outside the image, or has no pixels, is
// NUV_ERR_ARGUMENT. One that is the whole image gives `previous` itself. Palette and colour stay.
// Lines below the rectangle are never read.

// Raw images, lines first, then columns, and images in run form.
class NUV_Crop final : public NUV_EngineCreator {
public:
    using NUV_EngineCreator::NUV_EngineCreator;

    [[nodiscard]] NUV_Engine* engine(NUV_Engine* previous, std::uint32_t x, std::uint32_t y,
                                     std::uint32_t w, std::uint32_t h);
};

// Lines y to y + h - 1 of a raw image.
class NUV_CropHeight final : public NUV_EngineCreator {
public:
    using NUV_EngineCreator::NUV_EngineCreator;

    [[nodiscard]] NUV_Engine* engine(NUV_Engine* previous, std::uint32_t y, std::uint32_t h);
};

// Columns x to x + w - 1 of a raw image whose samples have one bit or whole bytes.
class NUV_CropWidth final : public NUV_EngineCreator {
public:
    using NUV_EngineCreator::NUV_EngineCreator;

    [[nodiscard]] NUV_Engine* engine(NUV_Engine* previous, std::uint32_t x, std::uint32_t w);
};

// The forms of the last, which always append: for samples of whole bytes,
class NUV_CropWidth8xNBits final : public NUV_EngineCreator {
public:
    using NUV_EngineCreator::NUV_EngineCreator;

    [[nodiscard]] NUV_Engine* engine(NUV_Engine* previous, std::uint32_t x, std::uint32_t w);
};

// for bits from a byte boundary on,
class NUV_CropWidth1BitBS final : public NUV_EngineCreator {
public:
    using NUV_EngineCreator::NUV_EngineCreator;

    [[nodiscard]] NUV_Engine* engine(NUV_Engine* previous, std::uint32_t x, std::uint32_t w);
};

// and from inside a byte on. NUV_ERR_UNSUPPORTED where columns begin in the other way.
class NUV_CropWidth1BitIS final : public NUV_EngineCreator {
public:
    using NUV_EngineCreator::NUV_EngineCreator;

    [[nodiscard]] NUV_Engine* engine(NUV_Engine* previous, std::uint32_t x, std::uint32_t w);
};

// Images in run form. A line that cannot be read is white.
class NUV_CropQDRLE final : public NUV_EngineCreator {
public:
    using NUV_EngineCreator::NUV_EngineCreator;

    [[nodiscard]] NUV_Engine* engine(NUV_Engine* previous, std::uint32_t x, std::uint32_t y,
                                     std::uint32_t w, std::uint32_t h);
};

} // namespace nuv
