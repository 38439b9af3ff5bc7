#pragma once

#include "core/scale/nuv_scalepp.h"
#include "framework/utility/nuv_fixedreal.h"

#include <concepts>
#include <cstdint>

namespace nuv {

// Area weighting with the arithmetic fixed by R instead of by a flag; otherwise as in
// core/scale/nuv_scalepp.h.

template <RealNumber R>
inline constexpr bool uses_fixed_real = std::same_as<R, NUV_FixedReal>;

template <RealNumber R>
class NUV_ScaleWidthPPEBy final : public NUV_ScaleWidthPPE {
public:
    using NUV_ScaleWidthPPE::NUV_ScaleWidthPPE;

    [[nodiscard]] NUV_Engine* engine(NUV_Engine* previous, std::uint32_t width)
    {
        return append(previous, width, uses_fixed_real<R>, "NUV_ScaleWidthPPEBy::engine()");
    }
};

template <RealNumber R>
class NUV_ScaleHeightPPEBy final : public NUV_ScaleHeightPPE {
public:
    using NUV_ScaleHeightPPE::NUV_ScaleHeightPPE;

    [[nodiscard]] NUV_Engine* engine(NUV_Engine* previous, std::uint32_t height)
    {
        return append(previous, height, uses_fixed_real<R>, "NUV_ScaleHeightPPEBy::engine()");
    }
};

template <RealNumber R>
class NUV_ScaleWidthPPRBy final : public NUV_ScaleWidthPPR {
public:
    using NUV_ScaleWidthPPR::NUV_ScaleWidthPPR;

    [[nodiscard]] NUV_Engine* engine(NUV_Engine* previous, std::uint32_t width)
    {
        return append(previous, width, "NUV_ScaleWidthPPRBy::engine()");
    }
};

template <RealNumber R>
class NUV_ScaleHeightPPRBy final : public NUV_ScaleHeightPPR {
public:
    using NUV_ScaleHeightPPR::NUV_ScaleHeightPPR;

    [[nodiscard]] NUV_Engine* engine(NUV_Engine* previous, std::uint32_t height)
    {
        return append(previous, height, "NUV_ScaleHeightPPRBy::engine()");
    }
};

template <RealNumber R>
class NUV_ScaleWidthPPBy final : public NUV_ScalePPAxis {
public:
    using NUV_ScalePPAxis::NUV_ScalePPAxis;

    [[nodiscard]] NUV_Engine* engine(NUV_Engine* previous, std::uint32_t width)
    {
        return this->route(
            previous, Axis::width, width, "NUV_ScaleWidthPPBy::engine()",
            [&] { return NUV_ScaleWidthPPEBy<R>(this->manager()).engine(previous, width); },
            [&] { return NUV_ScaleWidthPPRBy<R>(this->manager()).engine(previous, width); });
    }
};

template <RealNumber R>
class NUV_ScaleHeightPPBy final : public NUV_ScalePPAxis {
public:
    using NUV_ScalePPAxis::NUV_ScalePPAxis;

    [[nodiscard]] NUV_Engine* engine(NUV_Engine* previous, std::uint32_t height)
    {
        return this->route(
            previous, Axis::height, height, "NUV_ScaleHeightPPBy::engine()",
            [&] { return NUV_ScaleHeightPPEBy<R>(this->manager()).engine(previous, height); },
            [&] { return NUV_ScaleHeightPPRBy<R>(this->manager()).engine(previous, height); });
    }
};

template <RealNumber R>
class NUV_ScalePPBy final : public NUV_Scale {
public:
    using NUV_Scale::NUV_Scale;

    [[nodiscard]] NUV_Engine* engine(NUV_Engine* previous, std::uint32_t width,
                                     std::uint32_t height) override
    {
        if (!this->accepts(previous, width, height, "NUV_ScalePPBy::engine()"))
            return nullptr;
        return this->in_order(
            previous, height,
            [&](NUV_Engine* last) {
                return NUV_ScaleWidthPPBy<R>(this->manager()).engine(last, width);
            },
            [&](NUV_Engine* last) {
                return NUV_ScaleHeightPPBy<R>(this->manager()).engine(last, height);
            });
    }
};

} // namespace nuv
