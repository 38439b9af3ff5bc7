#include "tools/nuv/nuv_progress.h"

#include "tools/nuv/nuv_output.h"

#include <algorithm>
#include <cstdio>
#include <exception>
#include <sys/ioctl.h>
#include <unistd.h>

namespace nuv_tool {

namespace {

constexpr std::uint64_t parts_of_picture = 1U << 20;
constexpr auto patience = std::chrono::seconds(1);
constexpr auto terminal_pause = std::chrono::milliseconds(100);
constexpr auto log_pause = std::chrono::seconds(1);

[[nodiscard]] std::size_t terminal_columns() noexcept
{
    constexpr std::size_t usual = 80;
    winsize size{};
    return ioctl(STDERR_FILENO, TIOCGWINSZ, &size) == 0 && size.ws_col > 0 ? size.ws_col : usual;
}

// As 0:07 or 1:02:33.
[[nodiscard]] std::string clock_text(std::chrono::seconds time)
{
    constexpr long long minute = 60;
    constexpr long long hour = 60 * minute;
    const long long seconds = time.count();
    char text[48];
    if (seconds < hour)
        std::snprintf(text, sizeof(text), "%lld:%02lld", seconds / minute, seconds % minute);
    else
        std::snprintf(text, sizeof(text), "%lld:%02lld:%02lld", seconds / hour,
                      seconds % hour / minute, seconds % minute);
    return text;
}

} // namespace

ProgressBar::ProgressBar(ShowProgress show, std::size_t pictures)
    : shown_(show == ShowProgress::always ||
             (show == ShowProgress::if_long && is_stderr_a_terminal())),
      pictures_(std::max(pictures, std::size_t{1})),
      next_((show == ShowProgress::always ? start_ : start_ + patience).time_since_epoch().count())
{}

ProgressBar::~ProgressBar()
{
    if (!shown_)
        return;
    if (is_stderr_a_terminal())
        wipe_bar();
    else
        draw(Clock::now());
}

ProgressBar::Picture::~Picture()
{
    ++bar_.pictures_done_;
    bar_.add(parts_of_picture - parts_done_);
}

void ProgressBar::Picture::tell(std::uint32_t lines_done, std::uint32_t lines) noexcept
{
    if (lines == 0)
        return;
    const std::uint64_t parts = parts_of_picture * std::min(lines_done, lines) / lines;
    if (parts <= parts_done_)
        return;
    const std::uint64_t more = parts - parts_done_;
    parts_done_ = parts;
    bar_.add(more);
}

// Whoever comes first when it is time draws.
void ProgressBar::add(std::uint64_t parts) noexcept
{
    parts_done_ += parts;
    if (!shown_)
        return;
    const Clock::time_point now = Clock::now();
    const Clock::duration pause =
        is_stderr_a_terminal() ? Clock::duration{terminal_pause} : log_pause;
    Clock::rep due = next_;
    if (now.time_since_epoch().count() >= due &&
        next_.compare_exchange_strong(due, (now + pause).time_since_epoch().count()))
        draw(now);
}

void ProgressBar::draw(Clock::time_point now) noexcept
{
    try {
        if (is_stderr_a_terminal())
            draw_bar(text(now));
        else
            print_to_stderr("nuv: " + text(now));
    } catch (const std::exception&) {
        shown_ = false; // for the work matters more
    }
}

std::string ProgressBar::text(Clock::time_point now) const
{
    constexpr std::size_t widest_bar = 40;

    const std::uint64_t all = pictures_ * parts_of_picture;
    const std::uint64_t done = std::clamp<std::uint64_t>(parts_done_, 1, all);
    const std::uint64_t percent = 100 * done / all;
    const std::chrono::duration<double> spent = now - start_;
    const auto left = std::chrono::duration_cast<std::chrono::seconds>(
        spent * (static_cast<double>(all - done) / static_cast<double>(done)));
    char numbers[96];
    const int length =
        std::snprintf(numbers, sizeof(numbers), "%3u%%", static_cast<unsigned>(percent));
    if (pictures_ > 1)
        std::snprintf(numbers + length, sizeof(numbers) - static_cast<std::size_t>(length),
                      "  %zu of %zu pictures", pictures_done_.load(), pictures_);
    std::string line{numbers};
    if (done < all)
        line.append("  ").append(clock_text(left)).append(" left");
    if (!is_stderr_a_terminal())
        return line;
    const std::size_t columns = terminal_columns();
    constexpr std::size_t frame = 5; // brackets, a space, and the last column, which would wrap
    if (columns < line.size() + frame)
        return line.substr(0, columns - 1);
    const std::size_t width = std::min(widest_bar, columns - line.size() - frame);
    const std::size_t filled = width * percent / 100;
    std::string bar{"["};
    bar.append(filled, '#').append(width - filled, '.').append("] ").append(line);
    return bar;
}

} // namespace nuv_tool
