#pragma once

#include <cstdint>

namespace nuv {

// What an operation of the container layer answers: 1 and above for success.
class QDTIFF_Status {
public:
    static constexpr std::int32_t good = 1;
    static constexpr std::int32_t read_failed = -1; // or a position that was not reached
    static constexpr std::int32_t no_memory = -2;
    static constexpr std::int32_t not_usable = -10;        // a storage, or a page that is not there
    static constexpr std::int32_t outside = -20;           // a value, of the storage
    static constexpr std::int32_t refused_tag = -50;       // of no known type, or there already
    static constexpr std::int32_t no_byte_order = -51;     // neither "II" nor "MM"
    static constexpr std::int32_t bad_entry_count = -52;   // of a directory
    static constexpr std::int32_t size_overflow = -100;    // count times element size
    static constexpr std::int32_t version_mismatch = -200; // inside the library

    constexpr QDTIFF_Status() noexcept = default;
    constexpr QDTIFF_Status(std::int32_t code) noexcept : code_(code) {}

    [[nodiscard]] constexpr std::int32_t code() const noexcept { return code_; }
    [[nodiscard]] constexpr bool is_good() const noexcept { return code_ >= good; }

private:
    std::int32_t code_ = good;
};

} // namespace nuv
