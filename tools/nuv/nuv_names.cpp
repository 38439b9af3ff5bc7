#include "tools/nuv/nuv_names.h"

#include <algorithm>
#include <array>

namespace nuv_tool {

namespace {

constexpr std::array all_colors{
    ColorName{"gray", NUV_GRAY, 1, "0 is black"},
    ColorName{"gray-reverse", NUV_GRAY_REVERSE, 1, "0 is white"},
    ColorName{"lstar", NUV_LSTAR, 1, "lightness of CIE L*a*b*"},
    ColorName{"rgb", NUV_RGB, 3, "sRGB"},
    ColorName{"adobe-rgb", NUV_ADOBE_RGB, 3, "the wider RGB of Adobe"},
    ColorName{"hsl", NUV_HSL, 3, "hue, saturation, lightness"},
    ColorName{"cmy", NUV_CMY, 3, "the opposite of RGB"},
    ColorName{"xyz", NUV_XYZ, 3, "CIE XYZ, white is D50"},
    ColorName{"icc-lab", NUV_ICC_LAB, 3, "CIE L*a*b* as ICC profiles store it"},
    ColorName{"itu-lab", NUV_ITU_LAB, 3, "CIE L*a*b* as facsimile does"},
    ColorName{"ycbcr", NUV_YCBCR, 3, "luminance and chroma, as in a JPEG"},
    ColorName{"cmyk", NUV_CMYK, 4, "four inks"},
};

struct SamplingName {
    std::string_view name; // as it is printed
    std::string_view word; // as it is asked for
    nuv_sampling code;
};

constexpr std::array all_samplings{
    SamplingName{"4:4:4", "444", NUV_SAMPLING_444},
    SamplingName{"4:2:2", "422", NUV_SAMPLING_422},
    SamplingName{"4:2:0", "420", NUV_SAMPLING_420},
    SamplingName{"4:1:1", "411", NUV_SAMPLING_411},
};

} // namespace

std::span<const ColorName> colors()
{
    return all_colors;
}

const ColorName* find_color(std::string_view name)
{
    const auto color = std::ranges::find(all_colors, name, &ColorName::name);
    return color != all_colors.end() ? &*color : nullptr;
}

std::string_view color_name(std::int32_t code)
{
    const auto color = std::ranges::find(all_colors, code, [](const ColorName& each) {
        return static_cast<std::int32_t>(each.code);
    });
    return color != all_colors.end() ? color->name : "other";
}

std::optional<nuv_sampling> find_sampling(std::string_view name)
{
    const auto sampling = std::ranges::find_if(all_samplings, [name](const SamplingName& each) {
        return name == each.word || name == each.name;
    });
    if (sampling == all_samplings.end())
        return std::nullopt;
    return sampling->code;
}

std::string_view sampling_name(std::int32_t sampling)
{
    if (sampling == 0)
        return {};
    const auto named = std::ranges::find(all_samplings, sampling, [](const SamplingName& each) {
        return static_cast<std::int32_t>(each.code);
    });
    return named != all_samplings.end() ? named->name : "other";
}

} // namespace nuv_tool
