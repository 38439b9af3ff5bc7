#pragma once

#include "framework/base/nuv_lock.h"
#include "framework/io/nuv_decorator.h"

#include <cstdint>

namespace nuv {

// A position of its own over a storage that several readers share: each read goes to this position
// and leaves the storage where it stood. An inner storage that can be locked is locked for that.
class NUV_MoveInMoveOutMovableInputStream : public NUV_Decorator<NUV_InputStorage> {
public:
    using NUV_Decorator<NUV_InputStorage>::NUV_Decorator;

    // Starts at `position`, or where the inner storage stands. NUV_ERR_ARGUMENT for a null and for
    // a negative position.
    [[nodiscard]] bool initiate(NUV_InputStorage* inner, std::int32_t position);
    [[nodiscard]] bool initiate(NUV_InputStorage* inner);

    [[nodiscard]] std::int32_t get() override;
    [[nodiscard]] std::int32_t read(void* into, std::int32_t bytes) override;
    [[nodiscard]] const std::uint8_t* lend(std::int32_t bytes) override;
    [[nodiscard]] std::int32_t position() const override { return inner_ ? position_ : 0; }
    // These two do not move the inner storage.
    std::int32_t move(std::int32_t bytes) override;
    [[nodiscard]] bool pass_over(std::int32_t bytes) override;
    [[nodiscard]] std::int32_t size() const override { return inner_ ? inner_->size() : 0; }

protected:
    // Goes to `target`, clamped to the inner storage, under the lock. False without one.
    [[nodiscard]] bool go_to_locked(std::int64_t target);
    // The same, counted from the end.
    [[nodiscard]] bool go_from_end_locked(std::int64_t distance);

private:
    void take_lock_of(NUV_InputStorage* inner);

    std::int32_t position_ = 0;
    NUV_DummyLock no_lock_;
    NUV_Lockable* lock_ = &no_lock_;
};

class NUV_MoveInMoveOutInputStorage final : public NUV_MoveInMoveOutMovableInputStream {
public:
    using NUV_MoveInMoveOutMovableInputStream::NUV_MoveInMoveOutMovableInputStream;

    [[nodiscard]] bool to(std::int32_t offset) override;
    [[nodiscard]] bool to_from_end(std::int32_t bytes) override;
    bool to_begin() override;
    bool to_end() override;
};

} // namespace nuv
