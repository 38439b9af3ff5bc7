#pragma once

#include <atomic>
#include <chrono>
#include <cstddef>
#include <cstdint>
#include <string>

namespace nuv_tool {

enum class ShowProgress {
    never,
    if_long, // on a terminal, and once the work has lasted a second
    always,
};

// How far a run over some pictures is, on stderr: a bar that goes again on a terminal, and
// elsewhere a line a second. Pictures may be worked at by several threads. The one bar of the
// program.
class ProgressBar {
public:
    ProgressBar(ShowProgress show, std::size_t pictures);
    ~ProgressBar();
    ProgressBar(const ProgressBar&) = delete;
    ProgressBar& operator=(const ProgressBar&) = delete;

    // One picture while it is worked at, which is by one thread at a time. Its end counts it as
    // done, failed or not.
    class Picture {
    public:
        explicit Picture(ProgressBar& bar) noexcept : bar_(bar) {}
        ~Picture();
        Picture(const Picture&) = delete;
        Picture& operator=(const Picture&) = delete;

        void tell(std::uint32_t lines_done, std::uint32_t lines) noexcept;

    private:
        ProgressBar& bar_;
        std::uint64_t parts_done_ = 0;
    };

private:
    using Clock = std::chrono::steady_clock;

    void add(std::uint64_t parts) noexcept;
    void draw(Clock::time_point now) noexcept;
    [[nodiscard]] std::string text(Clock::time_point now) const;

    std::atomic<bool> shown_;
    const std::size_t pictures_;
    const Clock::time_point start_ = Clock::now();
    std::atomic<Clock::rep> next_; // when it is to be drawn again
    std::atomic<std::uint64_t> parts_done_ = 0;
    std::atomic<std::size_t> pictures_done_ = 0;
};

} // namespace nuv_tool
