#pragma once

#include "framework/io/nuv_decorator.h"
#include "framework/manager/nuv_watch.h"

#include <cstdint>

#include "api/source/nuv_api.h"

namespace nuv {

// Asks the caller's function whether a job is to end, but not more often than it needs to be.
class NUV_Interruption final : public NUV_Watch {
public:
    // Null for nobody.
    void ask(nuv_wants_end function, void* user) noexcept;

    [[nodiscard]] bool has_come() const noexcept { return has_come_; }

private:
    [[nodiscard]] bool looks_for_end() noexcept override;

    nuv_wants_end function_ = nullptr;
    void* user_ = nullptr;
    std::int64_t next_ = 0; // milliseconds
    bool has_come_ = false;
};

// The source of a job, which gives nothing more once the job is to end: readers take pictures in
// before there is a step of an engine.
class NUV_InterruptedInputStorage final : public NUV_InputStorageDecorator {
public:
    using NUV_InputStorageDecorator::NUV_InputStorageDecorator;

    // `interruption` outlives the storage.
    [[nodiscard]] bool initiate(NUV_InputStorage* inner, NUV_Interruption& interruption);

    // NUV_ERR_IO because of NUV_Cause::cancelled.
    [[nodiscard]] std::int32_t read(void* into, std::int32_t bytes) override;
    [[nodiscard]] const std::uint8_t* lend(std::int32_t bytes) override
    {
        return inner_ ? inner_->lend(bytes) : nullptr;
    }

private:
    NUV_Interruption* interruption_ = nullptr;
};

} // namespace nuv
