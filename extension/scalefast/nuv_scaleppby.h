#pragma once

#include "core/scale/nuv_scaleiar.h"
#include "core/scale/nuv_scalenn.h"
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

// One axis by whatever its two sizes ask for.
template <class Enlarge, class Reduce>
class NUV_ScaleWidthPPWith : public NUV_ScaleAxis {
public:
    using NUV_ScaleAxis::NUV_ScaleAxis;

protected:
    [[nodiscard]] NUV_Engine* route(NUV_Engine* previous, std::uint32_t width, const char* method)
    {
        if (!accepts(previous, width, method))
            return nullptr;
        switch (scale_pp_route(previous->header()->width(), width)) {
        case NUV_ScalePPRoute::nearest:
            return NUV_ScaleWidthNN(manager()).engine(previous, width);
        case NUV_ScalePPRoute::enlarge:
            return Enlarge(manager()).engine(previous, width);
        case NUV_ScalePPRoute::average:
            return NUV_ScaleWidthIAR(manager()).engine(previous, width);
        case NUV_ScalePPRoute::reduce:
            return Reduce(manager()).engine(previous, width);
        case NUV_ScalePPRoute::unchanged:
            break;
        }
        return previous;
    }
};

template <class Enlarge, class Reduce>
class NUV_ScaleHeightPPWith : public NUV_ScaleAxis {
public:
    using NUV_ScaleAxis::NUV_ScaleAxis;

protected:
    [[nodiscard]] NUV_Engine* route(NUV_Engine* previous, std::uint32_t height, const char* method)
    {
        if (!accepts(previous, height, method))
            return nullptr;
        switch (scale_pp_route(previous->header()->height(), height)) {
        case NUV_ScalePPRoute::nearest:
            return NUV_ScaleHeightNN(manager()).engine(previous, height);
        case NUV_ScalePPRoute::enlarge:
            return Enlarge(manager()).engine(previous, height);
        case NUV_ScalePPRoute::average:
            return NUV_ScaleHeightIAR(manager()).engine(previous, height);
        case NUV_ScalePPRoute::reduce:
            return Reduce(manager()).engine(previous, height);
        case NUV_ScalePPRoute::unchanged:
            break;
        }
        return previous;
    }
};

template <RealNumber R>
class NUV_ScaleWidthPPBy final
    : public NUV_ScaleWidthPPWith<NUV_ScaleWidthPPEBy<R>, NUV_ScaleWidthPPRBy<R>> {
public:
    using NUV_ScaleWidthPPWith<NUV_ScaleWidthPPEBy<R>,
                               NUV_ScaleWidthPPRBy<R>>::NUV_ScaleWidthPPWith;

    [[nodiscard]] NUV_Engine* engine(NUV_Engine* previous, std::uint32_t width)
    {
        return this->route(previous, width, "NUV_ScaleWidthPPBy::engine()");
    }
};

template <RealNumber R>
class NUV_ScaleHeightPPBy final
    : public NUV_ScaleHeightPPWith<NUV_ScaleHeightPPEBy<R>, NUV_ScaleHeightPPRBy<R>> {
public:
    using NUV_ScaleHeightPPWith<NUV_ScaleHeightPPEBy<R>,
                                NUV_ScaleHeightPPRBy<R>>::NUV_ScaleHeightPPWith;

    [[nodiscard]] NUV_Engine* engine(NUV_Engine* previous, std::uint32_t height)
    {
        return this->route(previous, height, "NUV_ScaleHeightPPBy::engine()");
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
