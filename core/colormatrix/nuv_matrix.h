#pragma once

#include "framework/base/nuv_held.h"
#include "framework/base/nuv_utility.h"

#include <cstddef>
#include <cstdint>
#include <span>

namespace nuv {

// A matrix of real numbers, empty at first.
class NUV_Matrix final : public NUV_Utility {
public:
    using NUV_Utility::NUV_Utility;

    // Copies rows x columns numbers, row by row. NUV_ERR_ARGUMENT for no rows, no columns, or
    // another count of numbers, or NUV_ERR_MEMORY.
    [[nodiscard]] bool value(std::uint32_t row_count, std::uint32_t column_count,
                             std::span<const double> numbers);

    [[nodiscard]] bool is_empty() const noexcept { return numbers_.size() == 0; }
    [[nodiscard]] std::uint32_t rows() const noexcept { return rows_; }
    [[nodiscard]] std::uint32_t columns() const noexcept { return columns_; }
    // All of them, row by row.
    [[nodiscard]] std::span<const double> numbers() const noexcept { return numbers_.items(); }
    // Square, and no element further than the epsilon of double from those of the identity.
    [[nodiscard]] bool is_identity() const noexcept;

private:
    std::uint32_t rows_ = 0;
    std::uint32_t columns_ = 0;
    NUV_Scratch<double> numbers_;
};

} // namespace nuv
