#pragma once

#include <array>
#include <cstdint>

namespace nuv {

// What a facsimile decoder has to say. The classes of the codec know no manager: they take bytes
// from a stream, memory from an allocator, and answer with a status of their own.
class QDCCITTBase {
public:
    enum class Code : std::int32_t {
        good = 1,
        no_memory = -1,
        bad_argument = -2,
        out_of_turn = -3, // a line behind the last one, or behind a fatal code
        data_ended = -4,
        unsupported = -9,
        found_eol = -10,      // unexpected_eol before it is reported
        found_bad_code = -12, // bad_code before it is reported
        unexpected_eol = 10,  // or the end of the data, inside a line
        page_over = 11,       // RTC (T.4, 4.1.4) or EOFB (T.6, 2.4.1.1) was seen
        bad_code = 12,
    };

    // From -9 to 0: nothing can be decoded any more, but that data_ended is reported as bad_code.
    [[nodiscard]] static constexpr bool is_fatal(Code code) noexcept
    {
        return code >= Code::unsupported && code < Code::good;
    }

    class Status {
    public:
        using Message = std::array<char, 256>;

        [[nodiscard]] Code code() const noexcept { return code_; }
        [[nodiscard]] bool is_good() const noexcept { return code_ == Code::good; }
        // The pixel of the line at which reading stopped.
        [[nodiscard]] std::uint32_t position() const noexcept { return position_; }
        // The line in which that was, counted from 1; 0 until something was reported.
        [[nodiscard]] std::uint32_t row() const noexcept { return row_; }
        // What was reported last, in words that end in a zero; empty when nothing was.
        [[nodiscard]] Message message() const noexcept;

        void set(Code code, std::uint32_t position) noexcept
        {
            code_ = code;
            position_ = position;
        }
        void set(Code code) noexcept { code_ = code; }
        // An internal form turns into the final one.
        void finalise() noexcept { code_ = Code{-static_cast<std::int32_t>(code_)}; }
        // As it is told: an end of the data counts as a bad code from then on, and the internal
        // forms of codes turn into their final ones. The message keeps the code as it was.
        void report(std::uint32_t row) noexcept;

    private:
        Code code_ = Code::good;
        Code reported_ = Code::good; // before it was turned
        std::uint32_t position_ = 0;
        std::uint32_t row_ = 0;
    };

    [[nodiscard]] const Status& status() const noexcept { return status_; }

protected:
    QDCCITTBase() = default;
    QDCCITTBase(const QDCCITTBase&) = default;
    QDCCITTBase& operator=(const QDCCITTBase&) = default;
    ~QDCCITTBase() = default;

    Status status_;
};

} // namespace nuv
