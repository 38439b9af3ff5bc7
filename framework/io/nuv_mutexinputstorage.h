#pragma once

#include "framework/base/nuv_lock.h"
#include "framework/io/nuv_decorator.h"

#include <cstdint>

namespace nuv {

// A storage that several threads share. Every operation is one critical section; whoever needs
// several in a row takes the lock around them. close(), is_closed() and is_end() go without it.
class NUV_MutexInputStorage final : public NUV_InputStorageDecorator, public NUV_Lockable {
public:
    explicit NUV_MutexInputStorage(NUV_Manager& manager) noexcept
        : NUV_InputStorageDecorator(manager)
    {}

    void lock() override { mutex_.lock(); }
    void unlock() override { mutex_.unlock(); }
    // Does not wait; true also when this thread holds the lock already.
    [[nodiscard]] bool try_lock() override { return mutex_.try_lock(); }

    [[nodiscard]] std::int32_t get() override;
    [[nodiscard]] std::int32_t read(void* into, std::int32_t bytes) override;
    std::int32_t ignore(std::int32_t bytes) override;
    [[nodiscard]] std::int32_t position() const override;
    std::int32_t move(std::int32_t bytes) override;
    [[nodiscard]] bool pass_over(std::int32_t bytes) override;
    [[nodiscard]] bool to(std::int32_t offset) override;
    [[nodiscard]] bool to_from_end(std::int32_t bytes) override;
    [[nodiscard]] std::int32_t size() const override;
    bool to_begin() override;
    bool to_end() override;

private:
    mutable NUV_Mutex mutex_;
};

} // namespace nuv
