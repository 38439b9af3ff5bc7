#pragma once

#include "core/include/nuv_scaleframe.h"
#include "core/scale/nuv_scaleli.h"
#include "core/scale/nuv_scaless.h"
#include "framework/utility/nuv_fixedreal.h"

#include <concepts>
#include <cstdint>

namespace nuv {

// Linear interpolation with the arithmetic fixed by R instead of by a flag; otherwise as in
// core/scale/nuv_scaleli.h.

template <RealNumber R>
class NUV_ScaleWidthLIBy final : public NUV_ScaleWidthLI {
public:
    using NUV_ScaleWidthLI::NUV_ScaleWidthLI;

    [[nodiscard]] NUV_Engine* engine(NUV_Engine* previous, std::uint32_t width)
    {
        return append(previous, width, std::same_as<R, NUV_FixedReal>,
                      "NUV_ScaleWidthLIBy::engine()");
    }
};

template <RealNumber R>
class NUV_ScaleHeightLIBy final : public NUV_ScaleHeightLI {
public:
    using NUV_ScaleHeightLI::NUV_ScaleHeightLI;

    [[nodiscard]] NUV_Engine* engine(NUV_Engine* previous, std::uint32_t height)
    {
        return append(previous, height, std::same_as<R, NUV_FixedReal>,
                      "NUV_ScaleHeightLIBy::engine()");
    }
};

template <RealNumber R>
class NUV_ScaleShrinkLIBy final : public NUV_ScaleShrinkLI {
public:
    using NUV_ScaleShrinkLI::engine;
    using NUV_ScaleShrinkLI::NUV_ScaleShrinkLI;

    [[nodiscard]] NUV_Engine* engine(NUV_Engine* previous, std::uint32_t width,
                                     std::uint32_t height) override
    {
        return append(previous, width, height, std::same_as<R, NUV_FixedReal>,
                      "NUV_ScaleShrinkLIBy::engine()");
    }
};

template <RealNumber R>
class NUV_ScaleLIBy final : public NUV_Scale {
public:
    using NUV_Scale::NUV_Scale;

    [[nodiscard]] NUV_Engine* engine(NUV_Engine* previous, std::uint32_t width,
                                     std::uint32_t height) override
    {
        if (!this->accepts(previous, width, height, "NUV_ScaleLIBy::engine()"))
            return nullptr;
        const NUV_Header& source = *previous->header();
        if (height < source.height() && width < source.width()) {
            const NUV_NearestRatio x(scale_ratio(source.width(), width));
            const NUV_NearestRatio y(scale_ratio(source.height(), height));
            const bool on_pixels = x.exact && y.exact && x.is_odd() && y.is_odd();
            if (on_pixels && (source.bits() == 8 || source.bits() == 16)) {
                return NUV_ScaleSS(this->manager())
                    .engine(previous, x.value, y.value, x.value >> 1, y.value >> 1);
            }
            return NUV_ScaleShrinkLIBy<R>(this->manager()).engine(previous, width, height);
        }
        return this->in_order(
            previous, height,
            [&](NUV_Engine* last) {
                return NUV_ScaleWidthLIBy<R>(this->manager()).engine(last, width);
            },
            [&](NUV_Engine* last) {
                return NUV_ScaleHeightLIBy<R>(this->manager()).engine(last, height);
            });
    }
};

// Has no faster way; it stands where one would.
template <RealNumber R>
class NUV_ScaleLIFastBy final : public NUV_Scale {
public:
    using NUV_Scale::NUV_Scale;

    [[nodiscard]] NUV_Engine* engine(NUV_Engine* previous, std::uint32_t width,
                                     std::uint32_t height) override
    {
        if (!this->accepts(previous, width, height, "NUV_ScaleLIFastBy::engine()"))
            return nullptr;
        return NUV_ScaleLIBy<R>(this->manager()).engine(previous, width, height);
    }
};

} // namespace nuv
