#pragma once

#include "core/scale/nuv_scalecc.h"
#include "core/scale/nuv_scalenn.h"
#include "framework/utility/nuv_fixedreal.h"

#include <concepts>
#include <cstdint>

namespace nuv {

// Cubic convolution with results limited to `bits` significant bits, 0 for all. Otherwise as in
// core/scale/nuv_scalecc.h.

// One axis. A limit makes a pass over it whatever its size is.
template <RealNumber R>
class NUV_ScaleWidthCCWithClampingBy final : public NUV_ScaleWidthCC {
public:
    using NUV_ScaleWidthCC::NUV_ScaleWidthCC;

    [[nodiscard]] NUV_Engine* engine(NUV_Engine* previous, std::uint32_t width, double a,
                                     std::uint16_t bits)
    {
        constexpr auto method = "NUV_ScaleWidthCCWithClampingBy::engine()";

        if (!accepts(previous, width, method))
            return nullptr;
        const NUV_Header& source = *previous->header();
        if (bits == 0 || bits >= source.bits()) {
            if (width == source.width())
                return previous;
            if (source.width() == 1)
                return NUV_ScaleNN(manager()).engine(previous, width, source.height());
        }
        return append(*previous, width, std::same_as<R, NUV_FixedReal>, a, bits, method);
    }
};

template <RealNumber R>
class NUV_ScaleHeightCCWithClampingBy final : public NUV_ScaleHeightCC {
public:
    using NUV_ScaleHeightCC::NUV_ScaleHeightCC;

    [[nodiscard]] NUV_Engine* engine(NUV_Engine* previous, std::uint32_t height, double a,
                                     std::uint16_t bits)
    {
        constexpr auto method = "NUV_ScaleHeightCCWithClampingBy::engine()";

        if (!accepts(previous, height, method))
            return nullptr;
        const NUV_Header& source = *previous->header();
        if (bits == 0 || bits >= source.bits()) {
            if (height == source.height())
                return previous;
            if (source.height() == 1)
                return NUV_ScaleNN(manager()).engine(previous, source.width(), height);
        }
        return append(*previous, height, std::same_as<R, NUV_FixedReal>, a, bits, method);
    }
};

// Both axes. The arithmetic goes by axis: fixed-point, but double precision where an axis of more
// than 8 bits shrinks. The pass that comes second limits.
template <RealNumber R>
class NUV_ScaleCCFastBy final : public NUV_Scale {
public:
    using NUV_Scale::NUV_Scale;

    // With an `a` of -1 and no limit.
    [[nodiscard]] NUV_Engine* engine(NUV_Engine* previous, std::uint32_t width,
                                     std::uint32_t height) override
    {
        return engine(previous, width, height, -1.0, std::uint16_t{0});
    }
    // By factors.
    [[nodiscard]] virtual NUV_Engine* engine(NUV_Engine* previous, double ratio_x, double ratio_y,
                                             double a, std::uint16_t bits)
    {
        if (!this->accepts_image(previous, method))
            return nullptr;
        std::uint32_t width = 0;
        std::uint32_t height = 0;
        if (!this->ratio_to_size(previous->header(), ratio_x, ratio_y, width, height))
            return nullptr;
        return engine(previous, width, height, a, bits);
    }
    [[nodiscard]] virtual NUV_Engine* engine(NUV_Engine* previous, std::uint32_t width,
                                             std::uint32_t height, double a, std::uint16_t bits)
    {
        if (!this->accepts(previous, width, height, method))
            return nullptr;
        const NUV_Header& source = *previous->header();
        const bool is_deep = source.bits() > 8;
        const bool real_width = is_deep && width < source.width();
        const bool real_height = is_deep && height < source.height();
        const bool height_first = height < source.height();
        return this->in_order(
            previous, height,
            [&](NUV_Engine* last) {
                return scale_width(last, width, real_width, a, height_first ? bits : no_limit);
            },
            [&](NUV_Engine* last) {
                return scale_height(last, height, real_height, a, height_first ? no_limit : bits);
            });
    }

private:
    static constexpr auto method = "NUV_ScaleCCFastBy::engine()";
    static constexpr std::uint16_t no_limit = 0;

    [[nodiscard]] NUV_Engine* scale_width(NUV_Engine* last, std::uint32_t width, bool real,
                                          double a, std::uint16_t bits)
    {
        if (real)
            return NUV_ScaleWidthCCWithClampingBy<double>(this->manager())
                .engine(last, width, a, bits);
        return NUV_ScaleWidthCCWithClampingBy<NUV_FixedReal>(this->manager())
            .engine(last, width, a, bits);
    }
    [[nodiscard]] NUV_Engine* scale_height(NUV_Engine* last, std::uint32_t height, bool real,
                                           double a, std::uint16_t bits)
    {
        if (real)
            return NUV_ScaleHeightCCWithClampingBy<double>(this->manager())
                .engine(last, height, a, bits);
        return NUV_ScaleHeightCCWithClampingBy<NUV_FixedReal>(this->manager())
            .engine(last, height, a, bits);
    }
};

} // namespace nuv
