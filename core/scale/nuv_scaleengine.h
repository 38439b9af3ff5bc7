#pragma once

#include "framework/engine/nuv_processengine.h"

#include <algorithm>
#include <array>
#include <cstdint>

namespace nuv {

// Base of the engines that change the width, one line in, one line out.
class NUV_ScaleWidthEngine : public NUV_ProcessEngine {
public:
    using NUV_ProcessEngine::NUV_ProcessEngine;

    [[nodiscard]] bool execute() override;

    // `width` in pixels. NUV_ERR_ARGUMENT for 0, NUV_ERR_UNSUPPORTED for an output line that passes
    // 32-bit sizes, which is told in the name of the engine, `method`. The output keeps the height.
    [[nodiscard]] bool initiate(const NUV_Header* header, NUV_SrcBuffer* src, NUV_DstBuffer* dst,
                                std::uint32_t width, const char* method);

protected:
    // Makes an output line. `in` is the source line, in work_line_ when that is set.
    virtual void process_line(const std::uint8_t* in, std::uint8_t* out) = 0;

    std::uint32_t source_width_ = 0;
    std::uint32_t destination_width_ = 0;
    std::uint32_t channels_ = 0;
    std::uint32_t source_line_bytes_ = 0;
    std::uint32_t destination_line_bytes_ = 0;
    // Where source lines are read to, with room for one; null to look at them in place.
    std::uint8_t* work_line_ = nullptr;

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

// `Count` neighbouring lines of a source, in place, moving down. Lines above the first one and
// below the last one are those.
//
// It rests on this: a line that a reader gave stays valid until the release that covers it.
template <std::uint32_t Count>
class NUV_LineWindow {
public:
    void initiate(NUV_SrcBuffer* src, std::uint32_t height) noexcept
    {
        src_ = src;
        last_ = height - 1;
    }

    // Makes line `first` the topmost one, which may lie above the image but not above that of the
    // last call. False when the source had no more lines. Who looks at the first `used` lines alone
    // does not make the source give those behind them.
    [[nodiscard]] bool move_to(std::int64_t first, std::uint32_t used = Count)
    {
        const std::uint32_t top = clamped(first);
        const std::uint32_t bottom = clamped(first + used - 1);
        while (released_ < top) {
            if (released_ == taken_ && !take())
                return false;
            if (!release())
                return false;
        }
        while (taken_ <= bottom) {
            if (!take())
                return false;
        }
        for (std::uint32_t i = 0; i < used; ++i)
            lines_[i] = held_[clamped(first + i) % Count];
        return true;
    }

    // Line `index` of the window, 0 is the topmost.
    [[nodiscard]] const std::uint8_t* line(std::uint32_t index) const noexcept
    {
        return lines_[index];
    }
    // The lines of the window from the topmost on.
    [[nodiscard]] const std::array<const std::uint8_t*, Count>& lines() const noexcept
    {
        return lines_;
    }

    // Gives back what is held. No line is valid any more.
    [[nodiscard]] bool release_all()
    {
        bool released = true;
        while (released_ < taken_)
            released = release() && released;
        return released;
    }

private:
    [[nodiscard]] std::uint32_t clamped(std::int64_t line) const noexcept
    {
        return static_cast<std::uint32_t>(std::clamp<std::int64_t>(line, 0, last_));
    }
    [[nodiscard]] bool take()
    {
        const void* line = src_->get(nullptr);
        if (!line)
            return false;
        held_[taken_ % Count] = static_cast<const std::uint8_t*>(line);
        ++taken_;
        return true;
    }
    [[nodiscard]] bool release()
    {
        ++released_;
        return src_->release();
    }

    NUV_SrcBuffer* src_ = nullptr;
    std::uint32_t last_ = 0;
    std::uint32_t taken_ = 0;    // lines asked for so far
    std::uint32_t released_ = 0; // lines given back so far
    std::array<const std::uint8_t*, Count> held_{};
    std::array<const std::uint8_t*, Count> lines_{};
};

} // namespace nuv
