#pragma once

#include "core/jpeg/decode/nuv_jpegscan.h"
#include "core/jpeg/kernels/nuv_jpegprimitives.h"

#include <array>
#include <cstddef>
#include <cstdint>
#include <optional>

namespace nuv {

// Decodes the one scan of a sequential picture, row by row into a band.
class NUV_JPEGSequential {
public:
    // What becomes of the coefficients of an MCU.
    enum class Color : std::uint8_t {
        as_stored,
        rgb_from_ycc, // three components, the first two or more times as fine as the others
    };

    // The header stands behind the SOS of its first scan, which has all components; the geometry
    // is that of its frame. `restart_rows` and `mends` are those of NUV_JPEGDecoder. `shared` may
    // be somebody else's, which outlive this, or null.
    [[nodiscard]] NUV_JPEGCode open(const NUV_JPEGAllocator& allocator,
                                    const NUV_JPEGHeader& header, const NUV_JPEGGeometry& geometry,
                                    NUV_JPEGInput& input, NUV_JPEGBand& band,
                                    NUV_JPEGScanTables* shared, Color color,
                                    std::uint32_t restart_rows, bool mends,
                                    const NUV_Cpu& cpu) noexcept;
    void close() noexcept;

    // The next MCU row: NUV_JPEGCode::damaged_lines when not all of it could be decoded.
    [[nodiscard]] NUV_JPEGCode decode_row() noexcept;
    // The first row of an interval that had data left behind its units; told once.
    [[nodiscard]] std::optional<std::uint32_t> take_left_over() noexcept;

private:
    // A block of the MCU and what decodes it.
    struct Slot {
        std::int16_t* block = nullptr;
        const NUV_JPEGDecodeTable* dc_table = nullptr;
        const NUV_JPEGWideTable* ac_table = nullptr;
        std::int16_t* previous_dc = nullptr;
        std::size_t component = 0;
        std::uint32_t across = 0; // its place in the MCU, in blocks
        std::uint32_t down = 0;
        std::uint32_t mcu_blocks_across = 1;
        std::uint32_t reached = 0; // coefficients
    };
    static constexpr std::size_t most_slots = jpeg_most_components * 16;

    [[nodiscard]] NUV_JPEGCode lay_out_slots(const NUV_JPEGAllocator& allocator,
                                             const NUV_JPEGScanHeader& scan,
                                             const NUV_JPEGScanTables& tables) noexcept;
    template <bool is_wide>
    [[nodiscard]] NUV_JPEGResult decode_mcu(NUV_JPEGBitReader& bits) noexcept;
    void put_mcu(std::size_t mcu) noexcept;
    void put_rgb_mcu(std::size_t mcu) noexcept;
    void put_blank_mcu(std::size_t mcu) noexcept;

    NUV_JPEGGeometry geometry_;
    NUV_JPEGBand* band_ = nullptr;
    Color color_ = Color::as_stored;
    const NUV_JPEGPrimitives* primitives_ = nullptr;
    NUV_JPEGScanTables own_tables_;
    NUV_JPEGScanFactors factors_;
    std::optional<NUV_JPEGScanReader> scan_;
    std::array<Slot, most_slots> slots_;
    std::size_t slot_count_ = 0;
    bool is_wide_ = false;  // reads by wide tables
    std::uint32_t row_ = 0; // the next one
    NUV_JPEGMemory<std::int16_t> blocks_;
};

} // namespace nuv
