#include "framework/io/nuv_checkedstream.h"

#include <algorithm>
#include <limits>
#include <utility>

namespace nuv {

std::uint32_t remaining_bytes(const NUV_InputStorage& storage)
{
    return static_cast<std::uint32_t>(std::max(storage.size() - storage.position(), 0));
}

bool skip_exactly(NUV_InputStorage& storage, std::uint32_t bytes)
{
    if (bytes > remaining_bytes(storage))
        return false;
    const auto distance = static_cast<std::int32_t>(bytes);
    return storage.move(distance) == distance;
}

bool seek_exactly(NUV_InputStorage& storage, std::uint32_t offset)
{
    if (offset > static_cast<std::uint32_t>(std::max(storage.size(), 0)))
        return false;
    const auto target = static_cast<std::int32_t>(offset);
    return storage.to(target) && storage.position() == target;
}

std::uint32_t read_up_to(NUV_InputStorage& storage, void* into, std::uint32_t bytes)
{
    constexpr std::uint32_t most = std::numeric_limits<std::int32_t>::max(); // of one read

    auto* const out = static_cast<std::uint8_t*>(into);
    std::uint32_t done = 0;
    while (done < bytes) {
        const auto wanted = static_cast<std::int32_t>(std::min(bytes - done, most));
        const std::int32_t got = storage.read(out + done, wanted);
        if (got < 1)
            break;
        done += static_cast<std::uint32_t>(got);
    }
    return done;
}

bool read_exactly(NUV_InputStorage& storage, void* into, std::uint32_t bytes)
{
    return bytes <= remaining_bytes(storage) && read_up_to(storage, into, bytes) == bytes;
}

std::uint32_t pass_over_lines(NUV_InputStorage& storage, std::uint32_t bytes, std::uint32_t lines)
{
    const auto passes = [&](std::uint64_t all) {
        return std::in_range<std::int32_t>(all) &&
               storage.pass_over(static_cast<std::int32_t>(all));
    };
    if (lines > 1 && passes(std::uint64_t{bytes} * lines))
        return lines;
    return passes(bytes) ? 1 : 0;
}

NUV_Diagnosis ends_early(const NUV_InputStorage& storage, const char* what, std::uint64_t bytes)
{
    const std::uint64_t left = remaining_bytes(storage);
    NUV_Diagnosis why;
    if (bytes <= left) // the storage failed within what it is said to have
        return why.at_byte(storage.position()).says("%s cannot be read", what);
    return why.at_byte(storage.size())
        .says("%s ends %llu bytes early", what, static_cast<unsigned long long>(bytes - left));
}

} // namespace nuv
