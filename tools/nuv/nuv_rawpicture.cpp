#include "tools/nuv/nuv_rawpicture.h"

#include "tools/nuv/nuv_commands.h"
#include "tools/nuv/nuv_names.h"
#include "tools/nuv/nuv_problem.h"

#include <charconv>
#include <cstddef>
#include <string>
#include <system_error>

namespace nuv_tool {

namespace {

// Reads a number of 1 to the largest of its type from the front of `text`, and cuts it off.
template <class Number>
bool take_number(std::string_view& text, Number& number)
{
    const char* const end = text.data() + text.size();
    const auto [rest, error] = std::from_chars(text.data(), end, number);
    if (error != std::errc{} || number == 0)
        return false;
    text.remove_prefix(static_cast<std::size_t>(rest - text.data()));
    return true;
}

bool take_letter(std::string_view& text, char letter)
{
    if (!text.starts_with(letter))
        return false;
    text.remove_prefix(1);
    return true;
}

nuv_color default_color(std::uint16_t channels)
{
    if (channels == 1)
        return NUV_GRAY;
    return channels == 3 ? NUV_RGB : NUV_COLOR_OTHER;
}

} // namespace

nuv_picture parse_raw_picture(std::string_view text)
{
    const std::string argument = "--input-raw " + quoted(text);
    nuv_picture picture{};
    picture.size = sizeof(picture);
    if (!take_number(text, picture.width) || !take_letter(text, 'x') ||
        !take_number(text, picture.height) || !take_letter(text, 'x') ||
        !take_number(text, picture.channels) || !take_letter(text, 'x') ||
        !take_number(text, picture.bits))
        throw UsageError(argument + " is not of the form WxHxCxBITS[:COLOR]");
    picture.color = default_color(picture.channels);
    if (text.empty())
        return picture;
    const ColorName* const color = find_color(text.substr(1));
    if (!take_letter(text, ':') || !color)
        throw UsageError(argument + " does not end in a colour, as :gray, :rgb or :cmyk");
    if (color->channels != picture.channels)
        throw UsageError(argument + ": this colour has " + std::to_string(color->channels) +
                         (color->channels == 1 ? " channel" : " channels"));
    picture.color = color->code;
    return picture;
}

} // namespace nuv_tool
