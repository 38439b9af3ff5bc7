#pragma once

#include "tests/support/nuv_operationtable.h"

#include <vector>

namespace nuv {

// The rows of each area. All of them run in nuv_operations_test.cpp.
[[nodiscard]] std::vector<NUV_OperationRow> geometry_rows();
[[nodiscard]] std::vector<NUV_OperationRow> pixel_rows();
[[nodiscard]] std::vector<NUV_OperationRow> scale_rows();

} // namespace nuv
