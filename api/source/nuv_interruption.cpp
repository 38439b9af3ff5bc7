#include "api/source/nuv_interruption.h"

#include "framework/base/nuv_failure.h"

#include <ctime>

namespace nuv {
namespace {

constexpr std::int64_t pause = 20; // milliseconds

// Of a clock that is read in no time, and ticks some hundred times a second.
[[nodiscard]] std::int64_t milliseconds() noexcept
{
#if defined(CLOCK_MONOTONIC_COARSE)
    constexpr clockid_t clock = CLOCK_MONOTONIC_COARSE;
#else
    constexpr clockid_t clock = CLOCK_MONOTONIC;
#endif
    timespec now{};
    clock_gettime(clock, &now);
    return std::int64_t{now.tv_sec} * 1000 + now.tv_nsec / 1000000;
}

} // namespace

void NUV_Interruption::ask(nuv_wants_end function, void* user) noexcept
{
    function_ = function;
    user_ = user;
    next_ = 0;
    is_awake(function || has_come_);
}

bool NUV_Interruption::looks_for_end() noexcept
{
    if (has_come_ || !function_)
        return has_come_;
    const std::int64_t now = milliseconds();
    if (now < next_)
        return false;
    next_ = now + pause;
    has_come_ = function_(user_) != 0;
    return has_come_;
}

bool NUV_InterruptedInputStorage::initiate(NUV_InputStorage* inner, NUV_Interruption& interruption)
{
    interruption_ = &interruption;
    return NUV_InputStorageDecorator::initiate(inner);
}

std::int32_t NUV_InterruptedInputStorage::read(void* into, std::int32_t bytes)
{
    if (!interruption_ || !interruption_->wants_end())
        return NUV_InputStorageDecorator::read(into, bytes);
    fail(manager(), NUV_ERR_IO, "NUV_InterruptedInputStorage::read()",
         NUV_Diagnosis().because(NUV_Cause::cancelled));
    return 0;
}

} // namespace nuv
