#include "core/scale/nuv_scale.h"

#include <limits>
#include <optional>

namespace nuv {
namespace {

std::optional<std::uint32_t> scaled_size(std::uint32_t size, double ratio) noexcept
{
    constexpr double bias = 0.5000000000001; // a hair above one half, on purpose
    constexpr double limit = std::numeric_limits<std::uint32_t>::max();
    if (!(ratio > 0) || !(ratio * size <= limit))
        return std::nullopt;
    const double rounded = ratio * size + bias;
    const auto whole = static_cast<std::uint32_t>(rounded < limit ? rounded : limit);
    return whole == 0 ? 1 : whole;
}

} // namespace

bool NUV_ScaleAxis::accepts(const NUV_Engine* previous, std::uint32_t size, const char* method)
{
    if (!has_image(previous) || size == 0)
        return fail(manager(), NUV_ERR_ARGUMENT, method);
    return true;
}

bool NUV_Scale::accepts(const NUV_Engine* previous, std::uint32_t width, std::uint32_t height,
                        const char* method)
{
    if (!has_image(previous) || width == 0 || height == 0)
        return fail(manager(), NUV_ERR_ARGUMENT, method);
    return true;
}

bool NUV_Scale::ratio_to_size(const NUV_Header* header, double ratio_x, double ratio_y,
                              std::uint32_t& width, std::uint32_t& height)
{
    return scaled_sizes(header, ratio_x, ratio_y, width, height, "NUV_Scale::ratio_to_size()");
}

bool NUV_Scale::scaled_sizes(const NUV_Header* header, double ratio_x, double ratio_y,
                             std::uint32_t& width, std::uint32_t& height, const char* method)
{
    if (!header)
        return fail(manager(), NUV_ERR_ARGUMENT, method);
    const auto new_width = scaled_size(header->width(), ratio_x);
    const auto new_height = scaled_size(header->height(), ratio_y);
    if (!new_width || !new_height)
        return fail(manager(), NUV_ERR_ARGUMENT, method);
    width = *new_width;
    height = *new_height;
    return true;
}

NUV_Engine* NUV_ScaleUsingFixedReal::engine(NUV_Engine* previous, std::uint32_t width,
                                            std::uint32_t height)
{
    if (!accepts(previous, width, height, "NUV_ScaleUsingFixedReal::engine()"))
        return nullptr;
    return engine(previous, width, height, previous->header()->bits() < 9);
}

} // namespace nuv
