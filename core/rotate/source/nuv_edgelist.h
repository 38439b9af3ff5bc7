#pragma once

#include "core/qdrle/nuv_qdrlebuffer.h"
#include "core/rotate/source/nuv_bitband.h"
#include "core/rotate/source/nuv_cornerlist.h"
#include "core/rotate/source/nuv_turn.h"
#include "framework/base/nuv_held.h"
#include "framework/base/nuv_object.h"
#include "framework/containers/nuv_vector.h"

#include <cstddef>
#include <cstdint>
#include <span>

namespace nuv {

// Turns a bilevel image by 90 degrees or back: first all lines go in, from the top, then all
// columns come out. Bands of lines with many runs are kept as bits, the others as the corners of
// what is black, so that memory grows with the runs and not with the pixels.
class NUV_EdgeList final : public NUV_Object, public NUV_QDRLELineTaker {
public:
    explicit NUV_EdgeList(NUV_Manager& manager) noexcept
        : NUV_Object(manager),
          sections_(manager),
          changes_(manager),
          column_(manager)
    {}

    bool cleanup() override;
    [[nodiscard]] bool initiate(const NUV_Turn& turn);

    [[nodiscard]] std::uint32_t most_lines() const noexcept override
    {
        return NUV_BitBand::most_rows;
    }
    [[nodiscard]] bool take(std::uint32_t row, const NUV_QDRLELines& lines) override;
    // No more lines: columns may be asked for.
    [[nodiscard]] bool finish();

    // Goes on to the next column, which must be there.
    [[nodiscard]] bool next_column();
    // Its runs, in canonical order.
    [[nodiscard]] std::span<const NUV_QDRLERun> column() const noexcept { return column_.items(); }

private:
    // Some lines of the image, in one of two forms.
    struct Section {
        NUV_Held<NUV_CornerList> corners;
        NUV_Held<NUV_BitBand> bits;
        std::uint32_t first_row = 0;
        std::uint32_t end_row = 0;
    };

    [[nodiscard]] bool add_bits(std::uint32_t row, const NUV_QDRLELines& lines);
    [[nodiscard]] bool add_corners(std::uint32_t row, const NUV_QDRLELines& lines);
    [[nodiscard]] bool end_corners();
    [[nodiscard]] bool gather_changes();
    [[nodiscard]] bool make_runs(std::size_t change_count);

    NUV_Vector<Section> sections_;      // from the top; once finished in the order of output lines
    NUV_Vector<std::uint32_t> changes_; // of the column
    NUV_Vector<NUV_QDRLERun> column_;
    NUV_Turn turn_;
};

} // namespace nuv
