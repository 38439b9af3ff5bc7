#include "tools/nuv/nuv_limits.h"

#include "tools/nuv/nuv_commands.h"
#include "tools/nuv/nuv_numbers.h"

#include <cmath>
#include <limits>
#include <string_view>

namespace nuv_tool {

namespace {

// A number with k, M or G behind it, which stand for `thousand` and its powers; 0 stands for none.
std::uint64_t amount_of(const std::string& text, const std::string& option, std::uint64_t thousand)
{
    constexpr std::string_view units = "kMGKmg";

    std::string_view digits = text;
    std::uint64_t unit = 1;
    const auto power = digits.empty() ? std::string_view::npos : units.find(digits.back());
    if (power != std::string_view::npos) {
        digits.remove_suffix(1);
        for (std::size_t i = 0; i <= power % 3; ++i)
            unit *= thousand;
    }
    const auto number = number_of<std::uint64_t>(digits);
    if (!number || *number > std::numeric_limits<std::uint64_t>::max() / unit)
        throw UsageError(option + " takes a number, as 50M, not " + quoted(text));
    return *number * unit;
}

std::string_view option_of(std::int32_t limit)
{
    switch (limit) {
    case NUV_PASSED_SIDE:
    case NUV_PASSED_PIXELS:
        return "--max-pixels";
    case NUV_PASSED_MEMORY:
        return "--max-memory";
    default:
        return {};
    }
}

} // namespace

void add_limits(Command& command, LimitsRequest& request)
{
    command.add_option("--max-pixels", request.max_pixels, "N[k|M|G]",
                       "The most pixels of a picture, by default 268435456; 0 for no limit");
    command.add_option("--max-memory", request.max_memory, "N[k|M|G]",
                       "The most bytes of memory for a picture, by default 1G; 0 for no limit");
    command.add_option(
        "--timeout",
        [&request](const std::string& text) {
            request.timeout_seconds = number_of<double>(text);
            if (!request.timeout_seconds || !std::isfinite(*request.timeout_seconds) ||
                *request.timeout_seconds <= 0)
                throw UsageError("--timeout takes a number of seconds above 0, not " +
                                 quoted(text));
        },
        "SECONDS", "The longest time for a picture");
}

nuv_limits limits_of(const LimitsRequest& request)
{
    nuv_limits limits{};
    limits.size = sizeof(limits);
    nuv_default_limits(&limits);
    if (!request.max_pixels.empty()) {
        limits.pixels = amount_of(request.max_pixels, "--max-pixels", 1000);
        limits.width = 0; // the number of pixels limits the sides as well
        limits.height = 0;
    }
    if (!request.max_memory.empty())
        limits.memory_bytes = amount_of(request.max_memory, "--max-memory", 1024);
    return limits;
}

void name_option(std::string& message, std::int32_t limit)
{
    const std::string_view option = option_of(limit);
    if (option.empty())
        return;
    if (message.ends_with('.'))
        message.pop_back();
    message.append(" (").append(option).append(").");
}

} // namespace nuv_tool
