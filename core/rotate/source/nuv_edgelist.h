#pragma once

#include "core/qdrle/nuv_qdrlerunvector.h"
#include "framework/base/nuv_object.h"
#include "framework/containers/nuv_vector.h"

#include <cstddef>
#include <cstdint>
#include <span>

namespace nuv {

// A bilevel image as its horizontal edges: the stretches of columns whose colour changes from one
// line to the next. The edges that cross one column, in the order of their lines, are where the
// runs of that column begin and end, so the image can be given out column by column.
//
// First all lines go in, from the top; then all columns come out, from the left or the right.
class NUV_EdgeList final : public NUV_Object {
public:
    enum class Order { from_left, from_right };

    explicit NUV_EdgeList(NUV_Manager& manager) noexcept
        : NUV_Object(manager),
          edges_(manager),
          crossing_(manager),
          next_crossing_(manager)
    {}

    bool cleanup() override;
    // `width` in columns, that is in output lines.
    [[nodiscard]] bool initiate(std::uint32_t width, Order order);

    // The edges between line `row` and the one above it. Both lines are in canonical order. The
    // first line has a white one above it, and one below the last has to be given too, as white.
    [[nodiscard]] bool add_line(std::uint32_t row, std::span<const NUV_QDRLERun> above,
                                std::span<const NUV_QDRLERun> line);
    // No more lines: columns may be asked for.
    [[nodiscard]] bool finish();

    // Appends the runs of the next column to `column`, positions counted from the top.
    [[nodiscard]] bool next_column(NUV_QDRLERunVector& column);
    // The same for positions counted from the bottom of an image of `height` lines.
    [[nodiscard]] bool next_column_upward(NUV_QDRLERunVector& column, std::uint32_t height);

private:
    struct Edge {
        std::uint32_t first; // column, in the order in which columns come out
        std::uint32_t last;  // inclusive
        std::uint32_t row;   // of the line below it
    };
    using EdgeVector = NUV_Vector<Edge>;

    [[nodiscard]] bool add_edge(std::uint32_t first, std::uint32_t last, std::uint32_t row);
    [[nodiscard]] bool sort_by_digit(std::uint32_t shift);
    [[nodiscard]] bool step();

    EdgeVector edges_;    // by line; once finished by first column, then by line
    EdgeVector crossing_; // the column that came out last, by line
    EdgeVector next_crossing_;
    std::size_t next_edge_ = 0;
    std::uint32_t width_ = 0;
    std::uint32_t column_ = 0; // the next to come out
    Order order_ = Order::from_left;
};

} // namespace nuv
