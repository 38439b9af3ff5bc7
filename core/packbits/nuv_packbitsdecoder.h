#pragma once

#include "core/include/nuv_codedinput.h"

#include <array>
#include <cstddef>
#include <cstdint>

namespace nuv {

// What a PackBits coder has to say.
class QDPackBitsBase {
public:
    static constexpr std::size_t longest_run = 128; // bytes

    static constexpr std::int32_t good = 1;
    static constexpr std::int32_t no_line = -1;        // null in place of a line
    static constexpr std::int32_t data_ended = -2;     // inside a line
    static constexpr std::int32_t failed_before = -10; // the call before did not succeed

    [[nodiscard]] std::int32_t status() const noexcept { return status_; }

protected:
    std::int32_t status_ = good;
};

// Decodes PackBits (TIFF 6.0, section 9) line by line. A run that goes beyond the end of a line
// begins the next one.
class QDPackBitsDecoder : public QDPackBitsBase {
public:
    using DataInStream = QDCodedInput;

    // Lines of `line_bytes` bytes. The input is the holder's.
    QDPackBitsDecoder(DataInStream& input, std::size_t line_bytes) noexcept
        : input_(input),
          line_bytes_(line_bytes)
    {}

    // The next line. False after a status; nothing can be decoded any more then.
    [[nodiscard]] bool decode_line(std::uint8_t* line);

private:
    void decode_inside(std::uint8_t*& to, std::size_t& room);
    [[nodiscard]] bool decode_run(std::uint8_t*& to, std::size_t& room);
    [[nodiscard]] bool fail(std::int32_t status) noexcept;

    QDCodedCursor input_;
    std::size_t line_bytes_;
    std::array<std::uint8_t, longest_run> run_{}; // what the last run has left for the next line
    std::size_t run_position_ = 0;
    std::size_t run_length_ = 0;
};

} // namespace nuv
