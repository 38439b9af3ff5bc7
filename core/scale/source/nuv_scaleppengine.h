#pragma once

#include "core/include/nuv_scaleframe.h"
#include "core/scale/nuv_scaleengine.h"
#include "framework/base/nuv_failure.h"

#include <cstddef>
#include <cstdint>

namespace nuv {

// Bases of the area-weighting engines.

// Walks along the output pixels of an axis.
class NUV_PixelWalk {
public:
    void initiate(std::uint32_t source, std::uint32_t destination) noexcept
    {
        ratio_ = scale_ratio(source, destination);
        last_ = source - 1;
        pixels_left_ = destination;
    }

protected:
    double ratio_ = 1;
    double position_ = 0;
    std::uint32_t last_ = 0; // source pixel
    std::uint32_t pixels_left_ = 0;
};

template <IntegerSample T>
class NUV_ScaleWidthPPEngine : public NUV_ScaleWidthEngine {
public:
    static constexpr auto initiate_method = "NUV_ScaleWidthPPEngine::initiate()";
    using NUV_ScaleWidthEngine::NUV_ScaleWidthEngine;

    [[nodiscard]] bool initiate(const NUV_Header* header, NUV_SrcBuffer* src, NUV_DstBuffer* dst,
                                std::uint32_t width, const char* derived_method)
    {
        if (!NUV_ScaleWidthEngine::initiate(header, src, dst, width, derived_method))
            return false;
        if (!holds_samples_of<T>(*header))
            return fail(manager(), NUV_ERR_UNSUPPORTED, initiate_method);
        ratio_ = scale_ratio(source_width_, width);
        return true;
    }

protected:
    double ratio_ = 1; // source width / destination width
};

template <IntegerSample T>
class NUV_ScaleHeightPPEngine : public NUV_ScaleHeightEngine {
public:
    static constexpr auto initiate_method = "NUV_ScaleHeightPPEngine::initiate()";
    using NUV_ScaleHeightEngine::NUV_ScaleHeightEngine;

    [[nodiscard]] bool initiate(const NUV_Header* header, NUV_SrcBuffer* src, NUV_DstBuffer* dst,
                                std::uint32_t height)
    {
        if (!NUV_ScaleHeightEngine::initiate(header, src, dst, height))
            return false;
        if (!holds_samples_of<T>(*header))
            return fail(manager(), NUV_ERR_UNSUPPORTED, initiate_method);
        samples_per_line_ = std::size_t{header->width()} * header->channels();
        return true;
    }

protected:
    std::size_t samples_per_line_ = 0;
};

} // namespace nuv
