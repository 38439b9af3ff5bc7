#pragma once

#include "framework/buffer/nuv_srcbuffer.h"
#include "framework/engine/nuv_stepblocks.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>

namespace nuv {

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
            if (!(released_ == taken_ ? skip() : release()))
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

    // The lines of the window from the topmost on.
    template <class T>
    [[nodiscard]] std::array<const T*, Count> lines() const noexcept
    {
        std::array<const T*, Count> typed;
        std::transform(lines_.begin(), lines_.end(), typed.begin(),
                       [](const void* line) { return static_cast<const T*>(line); });
        return typed;
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
        held_[taken_ % Count] = line;
        ++taken_;
        return true;
    }
    [[nodiscard]] bool release()
    {
        ++released_;
        return src_->release();
    }
    [[nodiscard]] bool skip()
    {
        ++taken_;
        ++released_;
        return src_->skip();
    }

    NUV_SrcBuffer* src_ = nullptr;
    std::uint32_t last_ = 0;
    std::uint32_t taken_ = 0;    // lines asked for so far
    std::uint32_t released_ = 0; // lines given back so far
    std::array<const void*, Count> held_{};
    std::array<const void*, Count> lines_{};
};

// Sees whether output lines go where nobody looks at them soon: once those that stand each behind
// the last are more than most caches hold. In a buffer one takes the place of another instead, and
// the next engine looks at it at once.
class NUV_LineRun {
public:
    // To be asked of each line.
    [[nodiscard]] bool is_far(const void* out, std::size_t line_bytes) noexcept
    {
        constexpr std::size_t most_in_caches = std::size_t{8} << 20;
        run_bytes_ = out == end_ ? run_bytes_ + line_bytes : 0;
        end_ = static_cast<const std::uint8_t*>(out) + line_bytes;
        return run_bytes_ >= most_in_caches;
    }

private:
    const std::uint8_t* end_ = nullptr; // of the last line
    std::size_t run_bytes_ = 0;         // before it, without a gap
};

// An engine that makes each output line from `Count` neighbouring source lines. `Base` has buffers
// and header, `line_` for the output lines made, and leaves its initiate() to begin the window.
template <class Base, std::uint32_t Count>
class NUV_LineWindowEngine : public Base {
public:
    using Base::Base;

    [[nodiscard]] bool delivers_what_it_writes() const final { return true; }
    [[nodiscard]] bool execute() final
    {
        if (this->line_ >= this->header_.height() || !move_window())
            return false;
        NUV_OutputBlock out(*this->dst_buffer_);
        if (!out)
            return false;
        make_line(out.as<std::uint8_t>());
        ++this->line_;
        const bool released = this->line_ < this->header_.height() || window_.release_all();
        const bool committed = out.commit(this->header_.line_bytes());
        return released && committed;
    }

protected:
    // Takes the window to the lines that the next output line needs. False as in its move_to().
    [[nodiscard]] virtual bool move_window() = 0;
    // Makes that output line, and gets ready for the one behind it.
    virtual void make_line(std::uint8_t* out) = 0;

    NUV_LineWindow<Count> window_;
};

} // namespace nuv
