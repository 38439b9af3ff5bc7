#include "core/packbits/nuv_packbitsdecoder.h"

#include <algorithm>
#include <cstring>

namespace nuv {
namespace {

// Most runs are short or as long as they can be: they go in one piece, and all of what is left of
// the longest behind it. What is written behind a run is made anew by the next one. Lines of pages
// are so short that near their end the piece alone, where it fits, counts as well.
constexpr std::size_t piece = 64;
constexpr std::size_t longest_run = QDPackBitsBase::longest_run;

constexpr unsigned no_operation = 128;

// Pixels of a run, whose control byte has a sign: up to 127 tells how many bytes follow, from there
// on how often the one that follows stands.
constexpr std::size_t run_length(unsigned control) noexcept
{
    return control < no_operation ? control + 1 : 257 - control;
}

// `count` bytes of which `longest_run` can be read; where there is room, more of them are written.
void copy(std::uint8_t* to, const std::uint8_t* from, std::size_t count, std::size_t room) noexcept
{
    if (room >= longest_run) {
        std::memcpy(to, from, piece);
        if (count > piece)
            std::memcpy(to + piece, from + piece, longest_run - piece);
    } else if (count <= piece && room >= piece) {
        std::memcpy(to, from, piece);
    } else {
        std::memcpy(to, from, count);
    }
}

void fill(std::uint8_t* to, std::uint8_t value, std::size_t count, std::size_t room) noexcept
{
    if (room >= longest_run) {
        std::memset(to, value, piece);
        if (count > piece)
            std::memset(to + piece, value, longest_run - piece);
    } else if (count <= piece && room >= piece) {
        std::memset(to, value, piece);
    } else {
        std::memset(to, value, count);
    }
}

} // namespace

bool QDPackBitsDecoder::fail(std::int32_t status) noexcept
{
    status_ = status;
    return false;
}

// Runs that end inside the line, as long as the input at hand has the longest.
void QDPackBitsDecoder::decode_inside(std::uint8_t*& to, std::size_t& room)
{
    const std::uint8_t* const begin = input_.left().data();
    const std::uint8_t* const end = begin + input_.left().size();
    const std::uint8_t* from = begin;
    std::uint8_t* out = to;
    std::size_t left = room;
    while (left > 0 && static_cast<std::size_t>(end - from) > longest_run) {
        const unsigned control = *from;
        const std::size_t count = control == no_operation ? 0 : run_length(control);
        if (count > left)
            break;
        ++from;
        if (control < no_operation) {
            copy(out, from, count, left);
            from += count;
        } else if (control > no_operation) {
            fill(out, *from, count, left);
            ++from;
        }
        out += count;
        left -= count;
    }
    input_.skip(static_cast<std::size_t>(from - begin));
    to = out;
    room = left;
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
