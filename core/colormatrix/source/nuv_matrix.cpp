#include "core/colormatrix/nuv_matrix.h"

#include "framework/base/nuv_failure.h"
#include "framework/base/nuv_status.h"

#include <algorithm>
#include <cmath>
#include <limits>

namespace nuv {

bool NUV_Matrix::value(std::uint32_t row_count, std::uint32_t column_count,
                       std::span<const double> numbers)
{
    const std::uint64_t count = std::uint64_t{row_count} * column_count;
    if (count == 0 || count != numbers.size())
        return fail(manager(), NUV_ERR_ARGUMENT, "NUV_Matrix::value()");
    if (!numbers_.allocate(manager(), numbers.size()))
        return false;
    std::copy(numbers.begin(), numbers.end(), numbers_.data());
    rows_ = row_count;
    columns_ = column_count;
    return true;
}

bool NUV_Matrix::is_identity() const noexcept
{
    if (is_empty() || rows_ != columns_)
        return false;
    for (std::size_t i = 0; i < numbers_.size(); ++i) {
        const double wanted = i / columns_ == i % columns_ ? 1 : 0;
        if (!(std::abs(numbers_[i] - wanted) <= std::numeric_limits<double>::epsilon()))
            return false;
    }
    return true;
}

} // namespace nuv
