#include "tools/nuv/nuv_operations.h"

#include "tools/nuv/nuv_numbers.h"
#include "tools/nuv/nuv_pixelwords.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdint>
#include <limits>
#include <optional>
#include <string_view>
#include <utility>

namespace nuv_tool {

namespace {

struct OperationWord {
    std::string_view name;
    std::string_view argument; // what the help shows behind "="; empty for words without one
    std::string_view help;
    // Turns the text behind "=" into the operation.
    Problem (*parse)(std::string_view argument, Operation& operation);
};

bool has_whole_samples(const ImageParam& picture)
{
    return picture.bits == 8 || picture.bits == 16;
}

// What the operations that only move pixels can serve.
bool has_movable_pixels(const ImageParam& picture)
{
    return has_whole_samples(picture) || (picture.bits == 1 && picture.channels == 1);
}

Problem append_mirror_x(NuvWrapperClass& job, ImageParam& picture)
{
    if (!has_movable_pixels(picture))
        return "mirror-x serves samples of 8 and 16 bits, and of 1 bit in one channel";
    job.MirrorX();
    return {};
}

Problem parse_rotate(std::string_view argument, Operation& operation)
{
    const std::optional<int> angle = number_of<int>(argument);
    if (!angle || *angle % 90 != 0)
        return "rotate takes a multiple of 90 degrees, not " + quoted(argument);
    operation.append = [angle = *angle](NuvWrapperClass& job, ImageParam& picture) -> Problem {
        if (!has_movable_pixels(picture))
            return "rotate serves samples of 8 and 16 bits, and of 1 bit in one channel";
        job.Rotate90(angle);
        if (angle % 180 != 0)
            std::swap(picture.width, picture.height);
        return {};
    };
    return {};
}

// How large a picture is to become: "800x600", "800x" and "x600", which keep its proportions, or
// "50%".
struct Size {
    std::optional<std::uint32_t> width;
    std::optional<std::uint32_t> height;
    double percent = 0;
};

std::optional<Size> size_of(std::string_view text)
{
    constexpr double most_percent = 1e6;

    Size size;
    if (text.ends_with('%')) {
        const auto percent = number_of<double>(text.substr(0, text.size() - 1));
        if (!percent || !(*percent > 0 && *percent <= most_percent))
            return std::nullopt;
        size.percent = *percent;
        return size;
    }
    const std::size_t cross = text.find('x');
    if (cross == std::string_view::npos || text.size() == 1)
        return std::nullopt;
    const std::string_view width = text.substr(0, cross);
    const std::string_view height = text.substr(cross + 1);
    size.width = number_of<std::uint32_t>(width);
    size.height = number_of<std::uint32_t>(height);
    const bool wrong = (!width.empty() && size.width.value_or(0) == 0) ||
                       (!height.empty() && size.height.value_or(0) == 0);
    return wrong ? std::nullopt : std::optional<Size>(size);
}

// `side` times a ratio, at least 1 pixel; 0 where no picture is that large.
std::uint32_t scaled(std::uint32_t side, double ratio)
{
    const double pixels = std::floor(side * ratio + 0.5);
    if (pixels > std::numeric_limits<std::uint32_t>::max())
        return 0;
    return std::max(static_cast<std::uint32_t>(pixels), std::uint32_t{1});
}

bool resize(ImageParam& picture, const Size& size)
{
    const double width = picture.width;
    const double height = picture.height;
    if (size.percent > 0) {
        picture.width = scaled(picture.width, size.percent / 100);
        picture.height = scaled(picture.height, size.percent / 100);
    } else {
        picture.width = size.width ? *size.width : scaled(picture.width, *size.height / height);
        picture.height = size.height ? *size.height : scaled(picture.height, *size.width / width);
    }
    return picture.width != 0 && picture.height != 0;
}

using Scale = int (NuvWrapperClass::*)(unsigned width, unsigned height);

// The `parse` of a scaling word. Those that make new values take no bits and no colour tables.
template <Scale scale, bool makes_new_values>
Problem parse_scale(std::string_view argument, Operation& operation)
{
    const std::optional<Size> size = size_of(argument);
    if (!size)
        return quoted(argument) + " is not a size such as 800x600, 800x, x600 or 50%";
    operation.append = [size = *size](NuvWrapperClass& job, ImageParam& picture) -> Problem {
        const bool indexed = picture.channels == 1 && picture.color == ColorType::eRGB;
        if (makes_new_values && (!has_whole_samples(picture) || indexed))
            return "this scaling serves samples of 8 and 16 bits, and no colour tables";
        if (!has_movable_pixels(picture))
            return "scaling serves samples of 8 and 16 bits, and nearest 1 bit in one channel";
        if (!resize(picture, size))
            return "the picture would become too large";
        (job.*scale)(picture.width, picture.height);
        return {};
    };
    return {};
}

// The `parse` of a word without an argument.
template <Problem (*append)(NuvWrapperClass&, ImageParam&)>
Problem parse_plain(std::string_view, Operation& operation)
{
    operation.append = append;
    return {};
}

constexpr std::array operation_words{
    OperationWord{"mirror-x", "", "every line end for end", parse_plain<append_mirror_x>},
    OperationWord{"rotate", "DEGREES", "clockwise, by a multiple of 90", parse_rotate},
    OperationWord{"nearest", "SIZE", "scale, taking the nearest pixel",
                  parse_scale<&NuvWrapperClass::ScaleNN, false>},
    OperationWord{"linear", "SIZE", "scale, linear between neighbours",
                  parse_scale<&NuvWrapperClass::ScaleLI, true>},
    OperationWord{"cubic", "SIZE", "scale by cubic convolution",
                  parse_scale<&NuvWrapperClass::ScaleCC, true>},
    OperationWord{"area", "SIZE", "scale to the mean of the covered area",
                  parse_scale<&NuvWrapperClass::ScalePP, true>},
    OperationWord{"fine", "SIZE", "scale by masks that follow the ratio",
                  parse_scale<&NuvWrapperClass::ScaleI2VAREx, true>},
    OperationWord{"color", "gray|gray-reverse|rgb|ycbcr", "another colour space", parse_color},
    OperationWord{"lut", "FILE:BITS", "samples through a table of so many bits", parse_lut},
    OperationWord{"convert", "SLOPE:OFFSET:BITS", "sample * slope + offset, in so many bits",
                  parse_convert},
};

std::string usage(const OperationWord& word)
{
    std::string text{word.name};
    if (!word.argument.empty())
        text.append("=").append(word.argument);
    return text;
}

Problem parse_operation(std::string_view text, Operation& operation)
{
    const std::string_view name = text.substr(0, text.find('='));
    const auto word = std::ranges::find(operation_words, name, &OperationWord::name);
    if (word == operation_words.end())
        return "unknown operation " + quoted(text) + ", see nuv convert --help";
    const bool has_argument = name.size() < text.size();
    if (has_argument == word->argument.empty())
        return quoted(text) + " is not of the form " + usage(*word);
    return word->parse(has_argument ? text.substr(name.size() + 1) : std::string_view{}, operation);
}

} // namespace

Problem parse_operations(const std::vector<std::string>& words, std::vector<Operation>& operations)
{
    for (const std::string& word : words) {
        Operation operation;
        if (Problem problem = parse_operation(word, operation))
            return problem;
        operations.push_back(std::move(operation));
    }
    return {};
}

std::string operations_help()
{
    constexpr std::size_t column = 34;
    std::string text;
    for (const OperationWord& word : operation_words) {
        const std::string shown = usage(word);
        text.append("  ").append(shown);
        text.append(column - std::min(shown.size(), column - 1), ' ');
        text.append(word.help).append("\n");
    }
    return text;
}

} // namespace nuv_tool
