#include "tools/nuv/nuv_source.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <charconv>
#include <fstream>
#include <limits>
#include <sys/stat.h>
#include <system_error>
#include <unistd.h>

namespace nuv_tool {

namespace {

struct NamedCode {
    std::string_view name;
    std::int32_t code;
    std::uint16_t channels; // of a raw picture; 0 when it does not matter
};

constexpr std::array colors{
    NamedCode{"gray", ColorType::eGray, 1},
    NamedCode{"gray-reverse", ColorType::eGrayReverse, 1},
    NamedCode{"rgb", ColorType::eRGB, 3},
    NamedCode{"ycbcr", ColorType::eYCbCr, 3},
};

// A kind of file, by what it begins with.
struct FileKind {
    std::string_view name;
    std::string_view beginning;
};

constexpr std::array file_kinds{
    FileKind{"TIFF", "II"},
    FileKind{"TIFF", "MM"},
    FileKind{"JPEG", "\xFF\xD8"},
    FileKind{"PNM", "P1"},
    FileKind{"PNM", "P2"},
    FileKind{"PNM", "P3"},
    FileKind{"PNM", "P4"},
    FileKind{"PNM", "P5"},
    FileKind{"PNM", "P6"},
    FileKind{"Sun raster", "\x59\xA6\x6A\x95"},
    FileKind{"Windows bitmap", "BM"},
    FileKind{"PNG", "\x89PNG\r\n\x1A\n"},
    FileKind{"nuv raster", "NUVF"},
};

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

std::int32_t default_color(std::uint16_t channels)
{
    if (channels == 1)
        return ColorType::eGray;
    return channels == 3 ? ColorType::eRGB : ColorType::eUnknown;
}

std::string system_reason(int error)
{
    return std::generic_category().message(error);
}

} // namespace

Problem check_source(const std::string& path)
{
    struct stat status = {};
    if (stat(path.c_str(), &status) != 0 || access(path.c_str(), R_OK) != 0)
        return path + ": " + system_reason(errno);
    if (S_ISDIR(status.st_mode))
        return path + ": " + system_reason(EISDIR);
    if (!S_ISREG(status.st_mode))
        return path + ": is not a regular file";
    // Storages count in signed 32 bits.
    if (status.st_size > std::numeric_limits<std::int32_t>::max())
        return path + ": is larger than 2 GiB, the most that can be read";
    return {};
}

Problem describe_source(const std::string& path, ImageParam& picture)
{
    picture = {};
    if (Problem problem = check_source(path))
        return problem;
    if (GetImgInfo(path.c_str(), &picture) != 0)
        return path + ": not enough memory";
    if (picture.width != 0)
        return {};
    // Only reading it tells why.
    const std::string_view kind = file_kind(path);
    std::string text = path + ": ";
    if (!kind.empty())
        text.append("begins like a ").append(kind).append(" file, but ");
    return text.append(reading_problem(try_reading(path), !kind.empty()));
}

std::string_view file_kind(const std::string& path)
{
    constexpr std::size_t most_bytes = 16;
    std::array<char, most_bytes> begin{};
    std::ifstream file(path, std::ios::binary);
    file.read(begin.data(), begin.size());
    const std::string_view read{begin.data(), static_cast<std::size_t>(file.gcount())};
    const auto kind = std::ranges::find_if(
        file_kinds, [read](const FileKind& each) { return read.starts_with(each.beginning); });
    return kind != file_kinds.end() ? kind->name : std::string_view{};
}

int try_reading(const std::string& path)
{
    NuvWrapperClass job;
    job.SetSrcFile(path.c_str());
    return job.ReadRaster();
}

std::string_view reading_problem(int result, bool is_known)
{
    switch (static_cast<std::uint32_t>(result)) {
    case 0x80010000:
        return "not enough memory";
    case 0x80020000:
        return "cannot be read";
    case 0x80200000:
        return "holds values that are not allowed";
    case 0x80400000:
        return "is damaged";
    case 0x80100000:
    case 0x81000000:
        return is_known ? "is stored in a way that is not read"
                        : "is not a picture of a known kind";
    default:
        return "is not a picture that can be read";
    }
}

Problem parse_raw_picture(std::string_view text, ImageParam& picture)
{
    const std::string whole{text};
    picture = {};
    if (!take_number(text, picture.width) || !take_letter(text, 'x') ||
        !take_number(text, picture.height) || !take_letter(text, 'x') ||
        !take_number(text, picture.channels) || !take_letter(text, 'x') ||
        !take_number(text, picture.bits))
        return quoted(whole) + " is not of the form WxHxCxBITS[:COLOUR]";
    picture.color = default_color(picture.channels);
    picture.format = Format::eRaw;
    if (text.empty())
        return {};
    const std::optional<ColorCode> color = color_of(text.substr(1));
    if (!take_letter(text, ':') || !color)
        return quoted(whole) + " does not end in :gray, :gray-reverse, :rgb or :ycbcr";
    if (color->channels != picture.channels)
        return quoted(whole) + ": this colour has " + std::to_string(color->channels) +
               (color->channels == 1 ? " channel" : " channels");
    picture.color = color->code;
    return {};
}

std::optional<ColorCode> color_of(std::string_view name)
{
    const auto named = std::ranges::find(colors, name, &NamedCode::name);
    if (named == colors.end())
        return std::nullopt;
    return ColorCode{named->code, named->channels};
}

} // namespace nuv_tool
