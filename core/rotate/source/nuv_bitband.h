#pragma once

#include "core/qdrle/nuv_qdrlerun.h"
#include "core/rotate/source/nuv_turn.h"
#include "framework/base/nuv_held.h"
#include "framework/base/nuv_object.h"

#include <array>
#include <cstddef>
#include <cstdint>
#include <span>

namespace nuv {

// Some lines of a bilevel image as the bits of its columns, for lines with so many runs that bits
// take less. What is kept of a column is where it differs from the one before: two bits a run.
//
// First all lines go in, then all columns come out, as those of a NUV_CornerList do.
class NUV_BitBand final : public NUV_Object {
public:
    static constexpr std::uint32_t most_rows = 512; // 64 bytes a column
    static constexpr std::size_t words = most_rows / 64;
    static constexpr std::size_t bytes_per_column = most_rows / 8;
    static constexpr std::size_t slack = 1; // room behind the changes that may be written to

    using NUV_Object::NUV_Object;

    bool cleanup() override;
    // Of the lines first_row up to end_row, most_rows at most. NUV_ERR_MEMORY.
    [[nodiscard]] bool initiate(const NUV_Turn& turn, std::uint32_t first_row,
                                std::uint32_t end_row);

    // The same runs, in canonical order, for some lines of the band.
    void take(std::uint32_t first_row, std::uint32_t end_row, std::span<const NUV_QDRLERun> line);

    // Goes on to the next column, which must be there. True where it is not the same as the one
    // before.
    [[nodiscard]] bool next_column() noexcept;
    // Writes the places at which the column changes colour, in the order of the output line, and
    // answers where they end; most_rows at most. `is_black` is the colour before the band, then
    // that behind it.
    [[nodiscard]] std::uint32_t* append_changes(std::uint32_t* out, bool& is_black) noexcept;

private:
    using Column = std::array<std::uint64_t, words>; // first place in the lowest bit

    // At a change of colour between columns.
    [[nodiscard]] Column& difference_at(std::uint32_t column) noexcept
    {
        const std::uint32_t line = turn_.line_of(column);
        if (!differs_[line]) {
            differs_[line] = true;
            differences_[line] = {};
        }
        return differences_[line];
    }

    // Of the columns as they come out, and of one behind the last; not set where nothing differs.
    NUV_Scratch<Column> differences_;
    NUV_Scratch<bool> differs_;
    Column column_ = {};           // the one that came out last
    std::size_t change_count_ = 0; // of the one whose changes were asked for last
    std::uint32_t first_place_ = 0;
    std::uint32_t next_ = 0; // column to come out
    NUV_Turn turn_;
};

} // namespace nuv
