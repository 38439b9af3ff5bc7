#pragma once

#include "core/qdrle/nuv_qdrlerun.h"
#include "core/rotate/source/nuv_turn.h"
#include "framework/base/nuv_held.h"
#include "framework/base/nuv_object.h"
#include "framework/containers/nuv_vector.h"

#include <cstddef>
#include <cstdint>
#include <span>

namespace nuv {

// Some lines of a bilevel image as the corners of its areas: where a line changes colour and the
// line above it does not, or the other way round. Columns change colour at them just as lines do,
// so what went in line by line can be given out column by column, of which each is the one before
// but for its corners. Memory grows with the corners, not with the pixels or the runs.
//
// First all lines go in, from the top, with white above them and below; then all columns come out.
class NUV_CornerList final : public NUV_Object {
public:
    explicit NUV_CornerList(NUV_Manager& manager) noexcept
        : NUV_Object(manager),
          above_(manager),
          marks_(manager),
          found_(manager),
          starts_(manager),
          rows_(manager),
          changes_(manager),
          next_changes_(manager)
    {}

    bool cleanup() override;
    [[nodiscard]] bool initiate(const NUV_Turn& turn);

    // The runs of a line, in canonical order. A white one has to come behind the last.
    [[nodiscard]] bool take(std::uint32_t row, std::span<const NUV_QDRLERun> line);
    // No more lines: columns may be asked for.
    [[nodiscard]] bool finish();

    // Goes on to the next column, which must be there. `is_new` becomes true where it is not the
    // same as the one before.
    [[nodiscard]] bool next_column(bool& is_new);
    // The places at which the column changes colour, in the order of the output line.
    [[nodiscard]] std::span<const std::uint32_t> changes() const noexcept
    {
        return changes_.items().first(change_count_);
    }

private:
    using Words = NUV_Vector<std::uint32_t>;

    [[nodiscard]] bool split_in_stripes();
    [[nodiscard]] bool sort_stripe(std::span<const std::uint32_t> marks);
    [[nodiscard]] bool change_at(std::span<const std::uint32_t> rows);

    NUV_Vector<NUV_QDRLERun> above_; // the line that came last
    // A row, marked as such, and the columns of its corners, as they come out; so on for all rows
    // that have any. Once finished, stripe by stripe of columns.
    Words marks_;
    Words found_;                     // corners of a line
    NUV_Vector<std::size_t> starts_;  // of the stripes in marks_
    NUV_Scratch<std::size_t> places_; // of the columns of a stripe in rows_: where each ends
    Words rows_;                      // of the corners in a stripe, column by column from the top
    Words changes_;                   // of the column, and slack
    Words next_changes_;
    std::size_t change_count_ = 0;
    std::uint32_t next_ = 0; // column to come out
    NUV_Turn turn_;
};

} // namespace nuv
