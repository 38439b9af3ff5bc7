#include "core/packbits/nuv_packbitsdecoder.h"

#include <algorithm>
#include <cstring>

namespace nuv {
namespace {

// Runs are short, so they go in pieces of this size, the last of which may write on behind the run
// where there is room for the longest.
constexpr std::size_t piece = 16;

} // namespace

bool QDPackBitsDecoder::fail(std::int32_t status) noexcept
{
    status_ = status;
    return false;
}

bool QDPackBitsDecoder::copy_run(std::uint8_t*& to, std::size_t& room, std::size_t count)
{
    if (room >= longest_run && input_.left().size() >= longest_run) {
        const std::uint8_t* from = input_.left().data();
        for (std::size_t i = 0; i < count; i += piece)
            std::memcpy(to + i, from + i, piece);
        input_.skip(count);
        to += count;
        room -= count;
        return true;
    }
    const std::size_t now = std::min(count, room);
    if (!input_.read(to, now) || !input_.read(run_.data(), count - now))
        return false;
    run_position_ = 0;
    run_length_ = count - now;
    to += now;
    room -= now;
    return true;
}

bool QDPackBitsDecoder::fill_run(std::uint8_t*& to, std::size_t& room, std::size_t count)
{
    std::uint8_t value = 0;
    if (!input_.read_byte(value))
        return false;
    if (room >= longest_run) {
        for (std::size_t i = 0; i < count; i += piece)
            std::memset(to + i, value, piece);
        to += count;
        room -= count;
        return true;
    }
    const std::size_t now = std::min(count, room);
    std::memset(to, value, now);
    std::memset(run_.data(), value, count - now);
    run_position_ = 0;
    run_length_ = count - now;
    to += now;
    room -= now;
    return true;
}

bool QDPackBitsDecoder::decode_line(std::uint8_t* line)
{
    if (status_ != good)
        return fail(failed_before);
    if (line == nullptr)
        return fail(no_line);

    std::size_t room = line_bytes_;
    const std::size_t left = std::min(room, run_length_ - run_position_);
    std::memcpy(line, run_.data() + run_position_, left);
    run_position_ += left;
    line += left;
    room -= left;

    while (room > 0) {
        std::uint8_t byte = 0;
        if (!input_.read_byte(byte))
            return fail(data_ended);
        const int control = byte < 128 ? byte : byte - 256; // it has a sign
        bool complete = true;
        if (control >= 0)
            complete = copy_run(line, room, static_cast<std::size_t>(control) + 1);
        else if (control != -128) // which does nothing
            complete = fill_run(line, room, static_cast<std::size_t>(-control) + 1);
        if (!complete)
            return fail(data_ended);
    }
    return true;
}

} // namespace nuv
