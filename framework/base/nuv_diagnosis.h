#pragma once

#include "framework/base/nuv_status.h"

#include <cstddef>
#include <cstdint>

namespace nuv {

// What kind of thing went wrong, as a person asks: is it the file, this library, the machine, or
// the call?
enum class NUV_Cause : std::uint8_t {
    none,
    cancelled,    // the caller did not want more
    bad_call,     // an argument or a state that the call does not allow
    no_memory,    // the system has none left
    limit,        // the caller's own, or what sizes and positions can tell
    io,           // the system refused to open, read or write
    unknown_kind, // nothing tells what the data is
    unsupported,  // known, and not served
    invalid,      // a stored value that its format forbids
    damaged,      // stored data ends early or means nothing
};

// Stands for a status whose raiser tells nothing but the code.
[[nodiscard]] NUV_Cause cause_of(NUV_StatusCode code) noexcept;

// The reason behind a status: what was found, and where. Holds its text by value, so that telling
// it needs no memory. Whoever raises fills in what is known:
//
//     return fail(manager(), NUV_ERR_UNSUPPORTED, method,
//                 NUV_Diagnosis().at_byte(offset).says("%u bits a sample", bits));
struct NUV_Diagnosis {
    static constexpr std::size_t text_bytes = 112; // with the terminating zero
    static constexpr std::int64_t unknown = -1;

    NUV_Cause cause = NUV_Cause::none; // none: what the code stands for
    std::int64_t byte = unknown;       // of the source or the destination, from 0
    std::int64_t line = unknown;       // of the picture as it is stored, from 0
    bool in_destination = false;       // and not in the source
    int system_error = 0;              // errno of a failure of the system, else 0
    char text[text_bytes] = {};        // what was found, as a part of a sentence; or empty

    NUV_Diagnosis& because(NUV_Cause why) noexcept
    {
        cause = why;
        return *this;
    }
    NUV_Diagnosis& at_byte(std::int64_t offset) noexcept
    {
        byte = offset;
        return *this;
    }
    NUV_Diagnosis& on_line(std::int64_t number) noexcept
    {
        line = number;
        return *this;
    }
    NUV_Diagnosis& while_writing() noexcept
    {
        in_destination = true;
        return *this;
    }
    NUV_Diagnosis& system(int error) noexcept
    {
        system_error = error;
        return *this;
    }
    // As printf; what is too long is cut.
    [[gnu::format(printf, 2, 3)]] NUV_Diagnosis& says(const char* format, ...) noexcept;
};

// Pixels that were made up on the way, or that stand where the data is known to be bad: warnings of
// broken data that name no other cause, and what is noted without one.
struct NUV_Damage {
    std::uint64_t count = 0;                          // of both
    std::int64_t first_line = NUV_Diagnosis::unknown; // the lowest that one of them named
};

} // namespace nuv
