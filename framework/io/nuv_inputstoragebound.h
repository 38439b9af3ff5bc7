#pragma once

#include "framework/io/nuv_decorator.h"

#include <algorithm>
#include <cstdint>

namespace nuv {

// Shows the next so many bytes of a stream, and nothing behind them. Nobody else may move the inner
// stream meanwhile.
template <class Stream>
class NUV_InputStreamBound : public NUV_Decorator<Stream> {
public:
    using NUV_Decorator<Stream>::NUV_Decorator;

    // NUV_ERR_ARGUMENT for a null and for a negative length.
    [[nodiscard]] bool initiate(Stream* inner, std::int32_t length)
    {
        if (!this->attach_input(inner))
            return false;
        if (length < 0)
            return fail(this->manager(), NUV_ERR_ARGUMENT, "NUV_InputStreamBound::initiate()");
        remain_ = length;
        return true;
    }

    [[nodiscard]] std::int32_t get() override
    {
        const std::int32_t byte = this->inner_ && remain_ > 0 ? this->inner_->get() : -1;
        if (byte >= 0)
            --remain_;
        return byte;
    }
    [[nodiscard]] std::int32_t read(void* into, std::int32_t bytes) override
    {
        const std::int32_t wanted = std::min(bytes, remain_);
        const std::int32_t got = this->inner_ && wanted > 0 ? this->inner_->read(into, wanted) : 0;
        remain_ -= got;
        return got;
    }
    std::int32_t ignore(std::int32_t bytes) override
    {
        const std::int32_t wanted = std::min(bytes, remain_);
        const std::int32_t skipped = this->inner_ && wanted > 0 ? this->inner_->ignore(wanted) : 0;
        remain_ -= skipped;
        return skipped;
    }

protected:
    std::int32_t remain_ = 0; // bytes left
};

// The same with moving: a range of the inner storage, whose positions count from its beginning.
class NUV_MovableInputStreamBound : public NUV_InputStreamBound<NUV_InputStorage> {
public:
    using NUV_InputStreamBound<NUV_InputStorage>::NUV_InputStreamBound;

    // `start` is an offset in the inner storage. Begins where the inner storage stands if that lies
    // in the range, otherwise at the end of the range. NUV_ERR_ARGUMENT for a null, NUV_ERR_IO for
    // a range that the inner storage does not have.
    [[nodiscard]] bool initiate(NUV_InputStorage* inner, std::int32_t start, std::int32_t length);

    // From now on the range ends `length` bytes behind its start. NUV_ERR_IO, and nothing has
    // changed, when the inner storage ends before that.
    [[nodiscard]] bool set_bound(std::int32_t length);
    // The range from `start` up to `end`, both offsets in the inner storage. Fails like
    // set_bound().
    [[nodiscard]] bool set_remain(std::int32_t start, std::int32_t end);

    std::int32_t ignore(std::int32_t bytes) override { return move(bytes); }
    [[nodiscard]] std::int32_t position() const override
    {
        return inner_ ? end_ - start_ - remain_ : 0;
    }
    std::int32_t move(std::int32_t bytes) override;
    [[nodiscard]] bool pass_over(std::int32_t bytes) override;
    [[nodiscard]] std::int32_t size() const override { return inner_ ? end_ - start_ : 0; }

private:
    std::int32_t start_ = 0;
    std::int32_t end_ = 0; // just behind the range
};

class NUV_InputStorageBound final : public NUV_MovableInputStreamBound {
public:
    using NUV_MovableInputStreamBound::NUV_MovableInputStreamBound;

    // Both raise NUV_ERR_IO when the inner storage does not follow.
    bool to_begin() override;
    bool to_end() override;
};

} // namespace nuv
