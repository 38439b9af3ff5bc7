#pragma once

#include "extension/scalefast/nuv_scaleppby.h"
#include "framework/base/nuv_cpu.h"

namespace nuv {

// Area weighting that looks at the processor: with SSE2 the reductions are the packed ones, without
// it the plain scaler does all. The results are the same; double precision is taken above 8 bits,
// R up to that.

template <RealNumber R>
class NUV_ScaleWidthPPFastRBy final : public NUV_ScaleWidthPPR {
public:
    using NUV_ScaleWidthPPR::NUV_ScaleWidthPPR;

    [[nodiscard]] NUV_Engine* engine(NUV_Engine* previous, std::uint32_t width)
    {
        return append(previous, width, "NUV_ScaleWidthPPFastRBy::engine()");
    }
};

template <RealNumber R>
class NUV_ScaleHeightPPFastRBy final : public NUV_ScaleHeightPPR {
public:
    using NUV_ScaleHeightPPR::NUV_ScaleHeightPPR;

    [[nodiscard]] NUV_Engine* engine(NUV_Engine* previous, std::uint32_t height)
    {
        return append(previous, height, "NUV_ScaleHeightPPFastRBy::engine()");
    }
};

template <RealNumber R>
class NUV_ScaleWidthPPFastBy final : public NUV_ScalePPAxis {
public:
    using NUV_ScalePPAxis::NUV_ScalePPAxis;

    [[nodiscard]] NUV_Engine* engine(NUV_Engine* previous, std::uint32_t width)
    {
        return this->route(
            previous, Axis::width, width, "NUV_ScaleWidthPPFastBy::engine()",
            [&] { return NUV_ScaleWidthPPEBy<R>(this->manager()).engine(previous, width); },
            [&] { return NUV_ScaleWidthPPFastRBy<R>(this->manager()).engine(previous, width); });
    }
};

template <RealNumber R>
class NUV_ScaleHeightPPFastBy final : public NUV_ScalePPAxis {
public:
    using NUV_ScalePPAxis::NUV_ScalePPAxis;

    [[nodiscard]] NUV_Engine* engine(NUV_Engine* previous, std::uint32_t height)
    {
        return this->route(
            previous, Axis::height, height, "NUV_ScaleHeightPPFastBy::engine()",
            [&] { return NUV_ScaleHeightPPEBy<R>(this->manager()).engine(previous, height); },
            [&] { return NUV_ScaleHeightPPFastRBy<R>(this->manager()).engine(previous, height); });
    }
};

template <RealNumber R>
class NUV_ScalePPFastBy final : public NUV_Scale {
public:
    using NUV_Scale::NUV_Scale;

    [[nodiscard]] NUV_Engine* engine(NUV_Engine* previous, std::uint32_t width,
                                     std::uint32_t height) override
    {
        if (!this->accepts(previous, width, height, "NUV_ScalePPFastBy::engine()"))
            return nullptr;
        if constexpr (!std::same_as<R, double>) {
            if (previous->header()->bits() <= 8)
                return scale<R>(previous, width, height);
        }
        return scale<double>(previous, width, height);
    }

private:
    template <RealNumber Used>
    [[nodiscard]] NUV_Engine* scale(NUV_Engine* previous, std::uint32_t width, std::uint32_t height)
    {
        if (!this->manager().cpu().has_sse2)
            return NUV_ScalePPBy<Used>(this->manager()).engine(previous, width, height);
        return this->in_order(
            previous, height,
            [&](NUV_Engine* last) {
                return NUV_ScaleWidthPPFastBy<Used>(this->manager()).engine(last, width);
            },
            [&](NUV_Engine* last) {
                return NUV_ScaleHeightPPFastBy<Used>(this->manager()).engine(last, height);
            });
    }
};

} // namespace nuv
