#include "core/dlut/nuv_dlutdata.h"

#include "framework/base/nuv_checkedsize.h"
#include "framework/base/nuv_failure.h"
#include "framework/base/nuv_status.h"

#include <optional>

namespace nuv {

bool NUV_DLutData::allocate(std::uint16_t sample_bits, std::uint16_t input_channels,
                            std::uint16_t output_channels, std::uint32_t points_of_axis)
{
    constexpr auto method = "NUV_DLutData::allocate()";

    bytes_.free();
    if ((sample_bits != 8 && sample_bits != 16) || input_channels < 1 ||
        input_channels > most_inputs || output_channels < 1 || points_of_axis < 2 ||
        points_of_axis > most_grid_points)
        return fail(manager(), NUV_ERR_ARGUMENT, method);
    auto bytes = std::optional{std::uint32_t{sample_bits} / 8 * output_channels};
    for (std::uint32_t axis = 0; bytes && axis < input_channels; ++axis)
        bytes = checked_product(*bytes, points_of_axis);
    if (!bytes)
        return fail(manager(), NUV_ERR_ARGUMENT, method);
    bits_ = sample_bits;
    inputs_ = input_channels;
    outputs_ = output_channels;
    grid_points_ = points_of_axis;
    return bytes_.allocate(manager(), *bytes);
}

} // namespace nuv
