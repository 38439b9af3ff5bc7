#include "core/packbits/nuv_packbitsdecoder.h"

#include <algorithm>
#include <cstring>

namespace nuv {
namespace {

// Most runs are short or as long as they can be: they go in one piece, and all of what is left of
// the longest behind it. What is written behind a run is made anew by the next one.
constexpr std::size_t piece = 32;

constexpr unsigned no_operation = 128;

// Pixels of a run, whose control byte has a sign: up to 127 tells how many bytes follow, from there
// on how often the one that follows stands.
constexpr std::size_t run_length(unsigned control) noexcept
{
    return control < no_operation ? control + 1 : 257 - control;
}

} // namespace

bool QDPackBitsDecoder::fail(std::int32_t status) noexcept
{
    status_ = status;
    return false;
}

// Runs as long as any run would end both before the line does and before the input at hand.
void QDPackBitsDecoder::decode_inside(std::uint8_t*& to, std::size_t& room)
{
    const auto left = input_.left();
    const std::uint8_t* from = left.data();
    std::size_t coded = left.size();
    std::uint8_t* out = to;
    while (room >= longest_run && coded > longest_run) {
        const unsigned control = *from;
        const std::size_t count = run_length(control);
        if (control < no_operation) {
            std::memcpy(out, from + 1, piece);
            if (count > piece)
                std::memcpy(out + piece, from + 1 + piece, longest_run - piece);
            from += 1 + count;
            coded -= 1 + count;
        } else if (control > no_operation) {
            const std::uint8_t value = from[1];
            std::memset(out, value, piece);
            if (count > piece)
                std::memset(out + piece, value, longest_run - piece);
            from += 2;
            coded -= 2;
        } else {
            ++from;
            --coded;
            continue;
        }
        out += count;
        room -= count;
    }
    input_.skip(left.size() - coded);
    to = out;
}

// One run, of which what is too much for the line stays.
bool QDPackBitsDecoder::decode_run(std::uint8_t*& to, std::size_t& room)
{
    std::uint8_t control = 0;
    if (!input_.read_byte(control))
        return false;
    if (control == no_operation)
        return true;
    const std::size_t count = run_length(control);
    const std::size_t now = std::min(count, room);
    if (control < no_operation) {
        if (!input_.read(to, now) || !input_.read(run_.data(), count - now))
            return false;
    } else {
        std::uint8_t value = 0;
        if (!input_.read_byte(value))
            return false;
        std::memset(to, value, now);
        std::memset(run_.data(), value, count - now);
    }
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
        decode_inside(line, room);
        if (room > 0 && !decode_run(line, room))
            return fail(data_ended);
    }
    return true;
}

} // namespace nuv
