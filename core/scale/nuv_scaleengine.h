#pragma once

#include "framework/engine/nuv_processengine.h"

#include <algorithm>
#include <cstdint>

namespace nuv {

// Base of the engines that change the width, one line in, one line out.
class NUV_ScaleWidthEngine : public NUV_ProcessEngine {
public:
    using NUV_ProcessEngine::NUV_ProcessEngine;

    [[nodiscard]] bool execute() override;
    [[nodiscard]] bool delivers_what_it_writes() const override { return true; }

    // `width` in pixels. NUV_ERR_ARGUMENT for 0, NUV_ERR_UNSUPPORTED for an output line that passes
    // 32-bit sizes, which is told in the name of the engine, `method`. The output keeps the height.
    [[nodiscard]] bool initiate(const NUV_Header* header, NUV_SrcBuffer* src, NUV_DstBuffer* dst,
                                std::uint32_t width, const char* method);

protected:
    // Makes an output line of a source line.
    virtual void process_line(const std::uint8_t* in, std::uint8_t* out) = 0;

    std::uint32_t source_width_ = 0;
    std::uint32_t destination_width_ = 0;
    std::uint32_t channels_ = 0;
    std::uint32_t source_line_bytes_ = 0;
    std::uint32_t destination_line_bytes_ = 0;

private:
    std::uint32_t line_ = 0;
};

// Base of the engines that change the height. execute() makes one output line.
class NUV_ScaleHeightEngine : public NUV_ProcessEngine {
public:
    using NUV_ProcessEngine::NUV_ProcessEngine;

    // `height` in lines; NUV_ERR_ARGUMENT for 0.
    [[nodiscard]] bool initiate(const NUV_Header* header, NUV_SrcBuffer* src, NUV_DstBuffer* dst,
                                std::uint32_t height);

protected:
    // The whole position `position`, at most `last`. Positions that were added up can end a hair
    // beyond the image; those that count lines of padding pass 32 bits in the highest of images.
    [[nodiscard]] static std::int64_t whole(double position, std::int64_t last) noexcept
    {
        return static_cast<std::int64_t>(std::min(position, static_cast<double>(last)));
    }

    std::uint32_t source_height_ = 0;
    std::uint32_t destination_height_ = 0;
    std::uint32_t line_bytes_ = 0;
    double ratio_ = 1; // source height / destination height
    double position_ = 0;
    std::uint32_t line_ = 0; // output lines made
};

} // namespace nuv
