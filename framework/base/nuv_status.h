#pragma once

#include "framework/base/nuv_utility.h"

#include <cstddef>
#include <cstdint>

namespace nuv {

// Bit 31: an error, the operation cannot go on. Bit 30: a warning, the result may be affected.
// Bits 16 to 26: the class. Bits 0 to 15: a detail, nearly always 0.
using NUV_StatusCode = std::uint32_t;

inline constexpr NUV_StatusCode NUV_STATUS_OK = 0x00000000;
inline constexpr NUV_StatusCode NUV_WARNING = 0x40000000; // the bit alone, for testing a code
inline constexpr NUV_StatusCode NUV_WARN_INVALID_DATA = 0x40200000;
inline constexpr NUV_StatusCode NUV_WARN_BROKEN_DATA = 0x40400000;
inline constexpr NUV_StatusCode NUV_WARN_UNSUPPORTED = 0x41000000;
inline constexpr NUV_StatusCode NUV_ERROR = 0x80000000; // the bit alone, and the plain failure
inline constexpr NUV_StatusCode NUV_ERR_MEMORY = 0x80010000;
inline constexpr NUV_StatusCode NUV_ERR_IO = 0x80020000;
inline constexpr NUV_StatusCode NUV_ERR_VERSION = 0x80040000;
inline constexpr NUV_StatusCode NUV_ERR_SEQUENCE = 0x80080000; // called in a state that forbids it
inline constexpr NUV_StatusCode NUV_ERR_FORMAT = 0x80100000;   // not the format of this reader
inline constexpr NUV_StatusCode NUV_ERR_INVALID_DATA = 0x80200000;
inline constexpr NUV_StatusCode NUV_ERR_BROKEN_DATA = 0x80400000;
inline constexpr NUV_StatusCode NUV_ERR_ARGUMENT = 0x80800000;
inline constexpr NUV_StatusCode NUV_ERR_UNSUPPORTED = 0x81000000;

[[nodiscard]] constexpr bool is_error(NUV_StatusCode code) noexcept
{
    return (code & NUV_ERROR) != 0;
}

[[nodiscard]] constexpr bool is_warning(NUV_StatusCode code) noexcept
{
    return (code & NUV_WARNING) != 0;
}

// What went wrong and where. Holds its texts by value, so that raising needs no memory.
class NUV_Status : public NUV_Utility {
public:
    static constexpr std::size_t text_bytes = 256; // with the terminating zero

    explicit NUV_Status(NUV_Manager& manager) noexcept : NUV_Utility(manager) {}

    // At most 255 characters of each text are kept, and of `raised_in` only what follows the last
    // slash or the last backslash, whichever leaves the shorter name. Null counts as empty.
    NUV_Status(NUV_Manager& manager, NUV_StatusCode raised_code, const char* raised_by,
               const char* raised_in, std::uint32_t raised_at) noexcept;

    NUV_Status(const NUV_Status& other) noexcept = default;
    // Leaves the manager as it is.
    NUV_Status& operator=(const NUV_Status& other) noexcept;

    [[nodiscard]] bool has_error() const noexcept { return is_error(code); }

    NUV_StatusCode code = NUV_STATUS_OK;
    char method[text_bytes] = {}; // "NUV_X::y()", sometimes with a reason behind it
    char file[text_bytes] = {};   // source file without directories
    std::uint32_t line = 0;
};

} // namespace nuv
