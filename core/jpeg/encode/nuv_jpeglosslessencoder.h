#pragma once

#include "core/jpeg/encode/nuv_jpegencodingprocess.h"
#include "core/jpeg/kernels/nuv_jpegprimitives.h"
#include "core/jpeg/stream/nuv_jpegframe.h"
#include "core/jpeg/stream/nuv_jpegmemory.h"
#include "core/jpeg/stream/nuv_jpegoutput.h"

#include <array>
#include <cstddef>
#include <cstdint>

namespace nuv {

// Which Huffman table a lossless picture is coded with.
enum class NUV_JPEGLosslessTable : std::uint8_t {
    standard, // the same one for all pictures; lines are written as they come
    optimal,  // the best one for the picture, all samples of which are held until its end
};

// The lossless process (T.81, H.1): predictor 1, no point transform, one scan of all components
// under one table.
class NUV_JPEGLosslessEncoder final : public NUV_JPEGEncodingProcess {
public:
    NUV_JPEGLosslessEncoder() = default;

    // `frame` has 1 or 3 components. All memory is taken here. The header is written here under the
    // standard table. NUV_JPEGCode::bad_parameter for samples that are not of 8 or 16 bits and for
    // a restart interval that is not whole lines, NUV_JPEGCode::no_memory, NUV_JPEGCode::io.
    [[nodiscard]] NUV_JPEGCode start(const NUV_JPEGFrame& frame, NUV_JPEGLosslessTable table,
                                     const NUV_JPEGAllocator& allocator,
                                     const NUV_JPEGOutput& output,
                                     const NUV_JPEGPrimitives& primitives) noexcept;
    [[nodiscard]] std::uint8_t* next_line() noexcept override;
    [[nodiscard]] NUV_JPEGCode encode_line() noexcept override;
    [[nodiscard]] NUV_JPEGCode close() noexcept override;
    void free_memory() noexcept override;
    [[nodiscard]] std::int32_t height_position() const noexcept override
    {
        return holds_all() ? height_is_true : height_position_;
    }

private:
    // What a category puts in front of the low bits of its differences (T.81, H.1.2.2).
    struct Code {
        std::uint32_t bits = 0;     // the code, above as many zeros as low bits follow
        std::uint32_t low_mask = 0; // of the low bits
        std::uint32_t count = 0;    // code and low bits; 0 without a code
    };
    static constexpr std::size_t categories = 17; // 0 to 16
    struct Codes {
        std::array<Code, categories> by_category;
        // Of samples of 8 bits, by the low 9 bits of the difference: all bits to write, above 8
        // bits of how many they are; 0 without a code.
        std::array<std::uint32_t, 512> by_difference;
    };
    using Frequencies = std::array<std::uint64_t, 257>; // by symbol, and one that is reserved
    static constexpr std::size_t most_components = 3;
    static constexpr std::size_t lanes = 4; // counters of one thing

    // What is written for each kind of samples. `samples` are those of the first pixel, and the
    // pixel in front of them is what it is predicted from.
    using CountLine = void (*)(const void* samples, std::size_t width, std::uint32_t* counters);
    using PutPiece = std::uint8_t* (*)(const void* samples, std::size_t columns, const Codes& codes,
                                       std::uint8_t* output, NUV_JPEGEncodeState& state);
    template <class Sample, std::size_t Components>
    static void count_line(const void* samples, std::size_t width,
                           std::uint32_t* counters) noexcept;
    template <class Sample, std::size_t Components>
    static std::uint8_t* put_piece(const void* samples, std::size_t columns, const Codes& codes,
                                   std::uint8_t* output, NUV_JPEGEncodeState& state) noexcept;

    void set_first_prediction() noexcept;
    void choose_forms() noexcept;
    [[nodiscard]] bool allocate_memory(const NUV_JPEGAllocator& allocator) noexcept;
    [[nodiscard]] bool set_table(const std::uint8_t* counts, const std::uint8_t* values) noexcept;
    [[nodiscard]] NUV_JPEGCode write_header() noexcept;
    [[nodiscard]] bool holds_all() const noexcept
    {
        return table_ == NUV_JPEGLosslessTable::optimal;
    }
    [[nodiscard]] bool starts_interval(std::size_t line) const noexcept;
    [[nodiscard]] std::uint8_t* samples_of(std::size_t line) noexcept;
    [[nodiscard]] Frequencies count_categories() const noexcept;
    [[nodiscard]] NUV_JPEGCode write_stored_lines() noexcept;
    [[nodiscard]] NUV_JPEGCode put_line(std::size_t line) noexcept;
    void put_marker(std::uint8_t id) noexcept;
    [[nodiscard]] NUV_JPEGCode write_coded() noexcept;

    NUV_JPEGFrame frame_;
    NUV_JPEGLosslessTable table_ = NUV_JPEGLosslessTable::standard;
    NUV_JPEGOutput output_;
    const NUV_JPEGPrimitives* primitives_ = nullptr;
    CountLine count_line_ = nullptr;
    PutPiece put_piece_ = nullptr;

    std::size_t pixel_bytes_ = 0;
    std::size_t line_bytes_ = 0;                // with the pixel in front
    NUV_JPEGMemory<std::uint8_t> lines_memory_; // one line or the picture
    NUV_JPEGMemory<std::uint32_t> counters_;    // of differences of 9 bits, or of categories
    NUV_JPEGMemory<std::uint8_t> coded_;
    std::size_t coded_bytes_ = 0;

    std::array<std::uint8_t, 2 * most_components> pixel_above_{}; // the first of the last line
    std::size_t lines_ = 0;
    std::size_t lines_per_interval_ = 0; // 0 for no restarts
    std::int32_t height_position_ = 0;

    std::array<std::uint8_t, 16> counts_{};  // the table, as DHT carries it
    std::array<std::uint8_t, 256> values_{}; // categories in front
    std::size_t value_count_ = 0;
    Codes codes_{};
    NUV_JPEGEncodeState bits_{};
};

} // namespace nuv
