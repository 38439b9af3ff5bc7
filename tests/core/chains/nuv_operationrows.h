#pragma once

#include "tests/support/nuv_operationtable.h"

namespace nuv {

// The rows of each area. All of them run in nuv_operations_test.cpp.
[[nodiscard]] std::vector<NUV_OperationRow> geometry_rows();
[[nodiscard]] std::vector<NUV_OperationRow> pixel_rows();
[[nodiscard]] std::vector<NUV_OperationRow> scale_rows();

// What rows suit.
inline bool any_image(const NUV_ModelImage&)
{
    return true;
}
inline bool is_raw(const NUV_ModelImage& in)
{
    return in.is_raw();
}
inline bool has_levels(const NUV_ModelImage& in)
{
    return in.bits > 1;
}
inline bool has_unsigned_levels(const NUV_ModelImage& in)
{
    return in.bits > 1 && !in.is_signed;
}
// Of bits, pixels of one alone.
inline bool has_pixels(const NUV_ModelImage& in)
{
    return in.bits > 1 || in.channels == 1;
}
inline bool has_raw_pixels(const NUV_ModelImage& in)
{
    return in.is_raw() && has_pixels(in);
}

} // namespace nuv
