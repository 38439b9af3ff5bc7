#include "tools/nuv/nuv_sizes.h"

#include "tools/nuv/nuv_numbers.h"

#include <algorithm>
#include <cmath>
#include <limits>

namespace nuv_tool {

namespace {

std::optional<Size> percent_of(std::string_view number)
{
    constexpr double most_percent = 1e6;

    const auto percent = number_of<double>(number);
    if (!percent || !(*percent > 0 && *percent <= most_percent))
        return std::nullopt;
    return Size{.percent = *percent};
}

// A side of `pixels`, at least 1; 0 where no picture is that large.
std::uint32_t side_of(double pixels)
{
    const double whole = std::max(std::floor(pixels + 0.5), 1.0);
    return whole > std::numeric_limits<std::uint32_t>::max() ? 0
                                                             : static_cast<std::uint32_t>(whole);
}

} // namespace

std::optional<Size> size_of(std::string_view text)
{
    if (text.ends_with('%'))
        return percent_of(text.substr(0, text.size() - 1));
    Size size;
    if (text.ends_with('^')) {
        size.shape = Size::Shape::cover;
        text.remove_suffix(1);
    }
    const std::size_t cross = text.find('x');
    if (cross == std::string_view::npos) {
        const auto side = number_of<std::uint32_t>(text);
        if (!side || *side == 0)
            return std::nullopt;
        size.width = size.height = *side;
        if (size.shape == Size::Shape::exact)
            size.shape = Size::Shape::inside;
        return size;
    }
    const std::string_view width = text.substr(0, cross);
    const std::string_view height = text.substr(cross + 1);
    size.width = number_of<std::uint32_t>(width).value_or(0);
    size.height = number_of<std::uint32_t>(height).value_or(0);
    const bool has_width = size.width != 0;
    const bool has_height = size.height != 0;
    const bool wrong = has_width == width.empty() || has_height == height.empty();
    const bool missing =
        size.shape == Size::Shape::cover ? !has_width || !has_height : !has_width && !has_height;
    return wrong || missing ? std::nullopt : std::optional<Size>(size);
}

std::optional<Extent> box_of(std::string_view text)
{
    const auto size = size_of(text);
    if (!size || size->shape == Size::Shape::cover || size->width == 0 || size->height == 0)
        return std::nullopt;
    return Extent{size->width, size->height};
}

std::optional<Extent> scaled(Extent from, const Size& size)
{
    const double by_width = static_cast<double>(size.width) / from.width;
    const double by_height = static_cast<double>(size.height) / from.height;
    Extent to{size.width, size.height};
    if (size.percent > 0) {
        to = {side_of(from.width * size.percent / 100), side_of(from.height * size.percent / 100)};
    } else if (size.shape != Size::Shape::exact) {
        const bool width_rules = (size.shape == Size::Shape::inside) == (by_width <= by_height);
        if (width_rules)
            to.height = side_of(from.height * by_width);
        else
            to.width = side_of(from.width * by_height);
    } else if (size.width == 0) {
        to.width = side_of(from.width * by_height);
    } else if (size.height == 0) {
        to.height = side_of(from.height * by_width);
    }
    return to.width == 0 || to.height == 0 ? std::nullopt : std::optional<Extent>(to);
}

} // namespace nuv_tool
