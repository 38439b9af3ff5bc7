#pragma once

#include "framework/base/nuv_held.h"
#include "framework/io/nuv_inputstorage.h"

#include <cstdint>

namespace nuv {

// A line as far as the storage has it.
struct NUV_StoredLine {
    // Three more bytes can be read behind the last one when the line is not whole; they are 0.
    const std::uint8_t* data = nullptr;
    std::uint32_t bytes = 0;
    std::int64_t position = 0;
    bool is_reached = false; // the place where it begins
    bool is_padded = false;  // by all bytes up to the next line
};

// The lines of a bitmap, from a storage in bands: one read for many short lines, whether they are
// asked for upward or downward. Others may move the storage between two calls.
class NUV_StoredLines {
public:
    // As if `line_bytes` were rounded up to whole words of 4.
    struct NUV_Shape {
        std::uint32_t line_bytes = 0; // at most 2^31 - 4
        std::uint32_t lines = 0;
        bool is_upward = false; // the order in which line() will be asked for them
    };

    // The first stored line begins where the storage stands. False after NUV_ERR_MEMORY. What is
    // held has the size of a band, or of a line that is longer, or of what is left of the storage.
    [[nodiscard]] bool initiate(NUV_Manager& manager, NUV_InputStorage& storage,
                                const NUV_Shape& shape);

    // The line with this number in the order of the storage. Valid until the next call.
    [[nodiscard]] NUV_StoredLine line(std::uint32_t number);

    // In place of line() for one that nobody looks at, which need not be read then. False where
    // line() would tell that something of it is not there.
    [[nodiscard]] bool pass_over(std::uint32_t number) noexcept;

    void release() noexcept { band_.free(); }

private:
    void load_band(std::uint32_t number);
    [[nodiscard]] bool seek(std::int64_t position);

    NUV_InputStorage* storage_ = nullptr;
    NUV_Shape shape_;
    std::int64_t start_ = 0;         // position of the first line
    std::uint64_t stored_bytes_ = 0; // from there to the end of the storage
    std::uint64_t step_bytes_ = 0;   // from line to line
    NUV_Scratch<std::uint8_t> band_;
    std::uint32_t band_capacity_ = 0; // bytes
    std::uint32_t band_begin_ = 0;    // number of its first line
    std::uint32_t band_lines_ = 0;
    std::uint32_t band_bytes_ = 0; // that are there
    bool is_band_reached_ = false;
    std::uint32_t passed_lines_ = 0; // since the last one that was asked for
};

} // namespace nuv
