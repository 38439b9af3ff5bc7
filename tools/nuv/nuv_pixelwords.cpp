#include "tools/nuv/nuv_pixelwords.h"

#include "tools/nuv/nuv_numbers.h"
#include "tools/nuv/nuv_source.h"

#include <cmath>
#include <cstdint>
#include <fstream>
#include <iterator>
#include <optional>
#include <string>
#include <vector>

namespace nuv_tool {

namespace {

bool is_indexed(const ImageParam& picture)
{
    return picture.channels == 1 && picture.color == ColorType::eRGB;
}

// What precedes the next ":" of `text`, which keeps what follows it.
std::string_view next_field(std::string_view& text)
{
    const std::size_t colon = text.find(':');
    const std::string_view field = text.substr(0, colon);
    text = colon == std::string_view::npos ? std::string_view{} : text.substr(colon + 1);
    return field;
}

} // namespace

Problem parse_color(std::string_view argument, Operation& operation)
{
    const std::optional<ColorCode> color = color_of(argument);
    if (!color)
        return quoted(argument) + " is not gray, gray-reverse, rgb or ycbcr";
    operation.append = [color = *color](NuvWrapperClass& job, ImageParam& picture) -> Problem {
        if (picture.color == ColorType::eUnknown || is_indexed(picture))
            return "color serves gray, RGB and YCbCr pictures without a colour table";
        job.ColorSpace(static_cast<ColorType::eColorType>(color.code));
        picture.color = color.code;
        picture.channels = color.channels;
        return {};
    };
    return {};
}

Problem parse_lut(std::string_view argument, Operation& operation)
{
    const std::size_t colon = argument.rfind(':');
    const std::string path{argument.substr(0, colon)};
    const auto bits = colon == std::string_view::npos
                          ? std::nullopt
                          : number_of<std::uint16_t>(argument.substr(colon + 1));
    if (!bits || path.empty() || (*bits != 8 && *bits != 16 && *bits != 32))
        return quoted(argument) + " is not FILE:BITS with 8, 16 or 32 bits";

    if (Problem problem = check_source(path))
        return problem;
    std::ifstream file(path, std::ios::binary);
    std::vector<char> bytes{std::istreambuf_iterator<char>{file}, {}};
    operation.append = [path, bits = *bits,
                        table = std::vector<unsigned char>(bytes.begin(), bytes.end())](
                           NuvWrapperClass& job, ImageParam& picture) -> Problem {
        if ((picture.bits != 8 && picture.bits != 16) || is_indexed(picture))
            return "lut serves samples of 8 and 16 bits, and no colour tables";
        const std::size_t entry_bytes = std::size_t{picture.channels} * (bits / 8U);
        const std::size_t entries = table.size() / entry_bytes;
        if (entries == 0 || table.size() % entry_bytes != 0 || entries >> picture.bits > 1 ||
            (entries >> picture.bits == 1 && entries != std::size_t{1} << picture.bits))
            return path + ": does not hold a table of " + std::to_string(bits) +
                   " bits for each channel of this picture";
        LutParam param{table.data(), static_cast<std::uint32_t>(entries), bits, 0};
        job.LUT(&param);
        picture.bits = bits;
        return {};
    };
    return {};
}

Problem parse_convert(std::string_view argument, Operation& operation)
{
    std::string_view rest = argument;
    const auto slope = number_of<double>(next_field(rest));
    const auto offset = number_of<double>(next_field(rest));
    const auto bits = number_of<std::uint16_t>(rest);
    const bool known = bits && (*bits == 1 || *bits == 8 || *bits == 16 || *bits == 32);
    if (!slope || !offset || !known || !std::isfinite(*slope) || !std::isfinite(*offset))
        return quoted(argument) + " is not SLOPE:OFFSET:BITS with 1, 8, 16 or 32 bits";
    operation.append = [slope = *slope, offset = *offset,
                        bits = *bits](NuvWrapperClass& job, ImageParam& picture) -> Problem {
        if (is_indexed(picture))
            return "convert serves no colour tables";
        ConvertDataParam param{slope, offset, bits};
        job.ConvertDataType(&param);
        picture.bits = bits;
        return {};
    };
    return {};
}

} // namespace nuv_tool
