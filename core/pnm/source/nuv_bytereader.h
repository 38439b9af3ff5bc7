#pragma once

#include "framework/io/nuv_inputstorage.h"

#include <cstdint>

namespace nuv {

// Reads a storage byte by byte through a block, so that text costs no virtual call a character. It
// reads ahead: the storage's position means something again after settle().
class NUV_ByteReader {
public:
    static constexpr int at_end = -1;

    NUV_ByteReader() = default;
    explicit NUV_ByteReader(NUV_InputStorage& storage) noexcept : storage_(&storage) {}

    // The next byte, or at_end. A reader without a storage is at its end.
    [[nodiscard]] int next()
    {
        if (at_ == filled_ && !fill())
            return at_end;
        return block_[at_++];
    }
    // Bytes that can be had without reading the storage, for a loop that looks at them in place and
    // then takes some.
    [[nodiscard]] const std::uint8_t* ready() const noexcept { return block_ + at_; }
    [[nodiscard]] std::int32_t ready_bytes() const noexcept { return filled_ - at_; }
    void take(std::int32_t bytes) noexcept { at_ += bytes; }

    // Where the next byte stands.
    [[nodiscard]] std::int64_t position() const
    {
        return (storage_ ? std::int64_t{storage_->position()} : 0) - ready_bytes();
    }

    // Undoes the last next(), which gave a byte.
    void put_back() noexcept { --at_; }

    // Moves the storage to the first byte that was not taken.
    [[nodiscard]] bool settle()
    {
        const std::int32_t ahead = filled_ - at_;
        filled_ = at_ = 0;
        return ahead == 0 || storage_->move(-ahead) == -ahead;
    }

private:
    static constexpr std::int32_t block_bytes = 4096;

    [[nodiscard]] bool fill()
    {
        filled_ = storage_ ? storage_->read(block_, block_bytes) : 0;
        at_ = 0;
        return filled_ > 0;
    }

    NUV_InputStorage* storage_ = nullptr;
    std::int32_t at_ = 0;
    std::int32_t filled_ = 0;
    std::uint8_t block_[block_bytes];
};

// What separates numbers in an anymap.
[[nodiscard]] constexpr bool is_whitespace(int character) noexcept
{
    return character == ' ' || character == '\t' || character == '\r' || character == '\n';
}

[[nodiscard]] constexpr bool is_digit(int character) noexcept
{
    return character >= '0' && character <= '9';
}

} // namespace nuv
