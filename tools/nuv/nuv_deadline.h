#pragma once

#include <algorithm>
#include <chrono>
#include <limits>
#include <optional>

namespace nuv_tool {

// Until when a picture may be worked at, where there is an end to it.
class Deadline {
public:
    using Clock = std::chrono::steady_clock;

    Deadline() = default;
    // So many seconds from now.
    explicit Deadline(std::optional<double> seconds)
    {
        constexpr double longest = 1e9; // 31 years, which the clock can count
        if (seconds) {
            const std::chrono::duration<double> time(std::min(*seconds, longest));
            end_ = Clock::now() + std::chrono::duration_cast<Clock::duration>(time);
        }
    }

    [[nodiscard]] bool is_set() const noexcept { return end_.has_value(); }
    [[nodiscard]] bool has_passed() const noexcept { return end_ && Clock::now() >= *end_; }
    // As poll() takes it: -1 for any time.
    [[nodiscard]] int milliseconds_left() const noexcept
    {
        if (!end_)
            return -1;
        const auto left = std::chrono::ceil<std::chrono::milliseconds>(*end_ - Clock::now());
        constexpr std::chrono::milliseconds::rep most = std::numeric_limits<int>::max();
        return static_cast<int>(std::clamp(left.count(), std::chrono::milliseconds::rep{0}, most));
    }

private:
    std::optional<Clock::time_point> end_;
};

inline constexpr const char* late_message = "It takes longer than is allowed (--timeout).";

} // namespace nuv_tool
