#pragma once

#include "core/colormatrix/nuv_matrix.h"
#include "core/dlut/nuv_dlutdata.h"
#include "core/lut/nuv_lutdata.h"
#include "framework/base/nuv_held.h"
#include "framework/base/nuv_tags.h"

#include <array>
#include <span>

namespace nuv {

// How an image is converted.
enum class NUV_CsMode {
    table = 0,
    matrix = 1,
    grid = 2,
    matrix_then_table = 3, // the matrix makes gray
    table_then_matrix = 4, // the table makes gray
    inversion = 5,         // of bits
    points = 6,
    relabel = 7,            // another name for the same samples
    points_then_others = 8, // to `between` first
    others_then_points = 9, // to `between` first
};

// The plan of a conversion: the mode, and what it needs.
class NUV_CsUtility : public NUV_Utility {
public:
    explicit NUV_CsUtility(NUV_Manager& manager) noexcept
        : NUV_Utility(manager),
          matrix(manager),
          grid(manager)
    {}

    NUV_CsMode mode = NUV_CsMode::grid;
    NUV_Held<NUV_LutData> table;
    NUV_Matrix matrix;
    std::array<double, 3> offsets{}; // of the matrix
    std::size_t offset_count = 0;    // 0 or the rows of the matrix
    NUV_DLutData grid;
    const NUV_ColorType* between = NUV_ColorType::s_rgb;
};

} // namespace nuv
