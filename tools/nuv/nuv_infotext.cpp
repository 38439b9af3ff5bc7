#include "tools/nuv/nuv_infotext.h"

#include "tools/nuv/nuv_names.h"
#include "tools/nuv/nuv_output.h"
#include "tools/nuv/nuv_text.h"

#include <nlohmann/json.hpp>

#include <algorithm>
#include <cstdio>
#include <string_view>

namespace nuv_tool {

namespace {

using Json = nlohmann::ordered_json;

struct Term {
    std::string_view key; // the library's
    std::string_view text;
};

constexpr std::array kinds{
    Term{"jpeg", "JPEG"},
    Term{"jfif", "JPEG (JFIF)"},
    Term{"jpeg_adobe", "JPEG (Adobe)"},
    Term{"exif_jpeg", "JPEG (Exif)"},
    Term{"tiff", "TIFF"},
    Term{"exif_tiff", "TIFF (Exif)"},
    Term{"pnm", "PNM"},
    Term{"sunras", "Sun raster"},
    Term{"bmp", "Windows bitmap"},
    Term{"png", "PNG"},
    Term{"nuv", "nuv raster"},
};

constexpr std::array codings{
    Term{"raw", "uncompressed"},
    Term{"mh", "facsimile T.4"},
    Term{"mr", "facsimile T.4 in two dimensions"},
    Term{"mmr", "facsimile T.6"},
    Term{"pack_bits", "PackBits"},
    Term{"win_rle8", "run-length"},
    Term{"win_rle4", "run-length"},
    Term{"lzw", "LZW"},
    Term{"flate", "Deflate"},
    Term{"jbig", "JBIG"},
    Term{"jpeg", "JPEG"},
    Term{"unknown", "another coding"},
};

constexpr std::array statuses{
    Term{"", ""},        Term{"cancelled", ""}, Term{"bad-call", ""},     Term{"no-memory", ""},
    Term{"limit", ""},   Term{"io", ""},        Term{"unknown-kind", ""}, Term{"unsupported", ""},
    Term{"invalid", ""}, Term{"damaged", ""},
};

template <std::size_t size>
std::string_view text_of(const std::array<Term, size>& terms, std::string_view key)
{
    const auto term = std::ranges::find(terms, key, &Term::key);
    return term != terms.end() ? term->text : key;
}

std::string_view unit_of(std::int32_t unit)
{
    switch (unit) {
    case 1:
        return "inch";
    case 3:
        return "cm";
    case 4:
        return "m";
    default:
        return "none";
    }
}

// 300, but 118.11
std::string number_text(double number)
{
    std::array<char, 32> text{};
    std::snprintf(text.data(), text.size(), "%.6g", number);
    return text.data();
}

std::string resolution_text(const nuv_source& source)
{
    std::string text = number_text(source.x_resolution);
    if (source.x_resolution != source.y_resolution)
        text.append(" x ").append(number_text(source.y_resolution));
    return text.append(" per ").append(unit_of(source.resolution_unit));
}

// The kind of file, and how it has the picture.
std::string kind_and_storing(const Inspection& told)
{
    const nuv_source& source = told.source;
    std::string text{text_of(kinds, source.kind)};
    if (std::string_view{source.kind} != "png") // which has no other
        text.append(", ").append(text_of(codings, source.coding));
    if (told.palette_entries != 0)
        text.append(", ").append(std::to_string(told.palette_entries)).append(" colours");
    if (source.sampling == NUV_SAMPLING_OTHER)
        text.append(", other sampling");
    else if (source.sampling != 0)
        text.append(" ").append(sampling_name(source.sampling));
    if (source.quality >= 0)
        text.append(", quality ").append(std::to_string(source.quality));
    if (source.resolution_unit != 0 && source.x_resolution > 0)
        text.append(", ").append(resolution_text(source));
    if (source.orientation > 1)
        text.append(", orientation ").append(std::to_string(source.orientation));
    if (told.damaged_line != 0)
        return text.append(", damaged from line ").append(std::to_string(told.damaged_line));
    if (told.failure.status == NUV_UNSUPPORTED)
        return text.append(" (not served)");
    if (told.failure.status == NUV_LIMIT)
        return text.append(" (beyond the limits)");
    if (told.failure.status == NUV_OK && told.is_verified)
        return text.append(", whole");
    return text;
}

// Nothing for a number that stands for nothing.
template <class Number>
Json known(bool is_known, Number number)
{
    return is_known ? Json(number) : Json();
}

Json error_of(const Inspection& told)
{
    const nuv_failure& failure = told.failure;
    const auto status = static_cast<std::size_t>(failure.status);
    if (failure.status == NUV_OK || status >= statuses.size())
        return nullptr;
    return {
        {"status", statuses[status].key},
        {"message", told.message},
        {"byte", known(failure.byte >= 0, failure.byte)},
        {"line", known(failure.line >= 0, failure.line + 1)},
    };
}

Json resolution_of(const nuv_source& source)
{
    if (source.x_resolution <= 0)
        return nullptr;
    return {{"x", source.x_resolution},
            {"y", source.y_resolution},
            {"unit", unit_of(source.resolution_unit)}};
}

Json verified(const Inspection& told)
{
    if (!told.is_verified)
        return nullptr;
    if (told.failure.status != NUV_OK)
        return "failed";
    return told.damaged_line != 0 ? "mended" : "whole";
}

// Of UTF-8: bytes that go on a character take no place. Wide ones count as one.
std::size_t columns_of(std::string_view text)
{
    return static_cast<std::size_t>(std::ranges::count_if(
        text, [](char byte) { return (static_cast<unsigned char>(byte) & 0xC0) != 0x80; }));
}

} // namespace

void InfoTable::add(const std::string& path, const Inspection& told)
{
    const nuv_source& source = told.source;
    rows_.push_back({escaped(path),
                     std::to_string(source.width) + "x" + std::to_string(source.height),
                     std::to_string(source.channels) + "x" + std::to_string(source.bits),
                     std::string{color_name(source.color)}, kind_and_storing(told)});
}

void InfoTable::print() const
{
    std::array<std::size_t, columns> widths{};
    for (const auto& row : rows_)
        for (std::size_t i = 0; i < columns; ++i)
            widths[i] = std::max(widths[i], columns_of(row[i]));
    for (const auto& row : rows_) {
        std::string line;
        for (std::size_t i = 0; i + 1 < columns; ++i)
            line.append(row[i]).append(widths[i] - columns_of(row[i]) + 2, ' ');
        print_to_stdout(line.append(row[columns - 1]).append("\n"));
    }
}

void print_json(const std::string& path, const InspectionOptions& options, const Inspection& told)
{
    const nuv_source& source = told.source;
    const bool is = told.is_known;
    const Json object{
        {"file", path},
        {"page", options.page},
        {"kind", is ? Json(source.kind) : Json()},
        {"coding", is ? Json(source.coding) : Json()},
        {"width", known(is, source.width)},
        {"height", known(is, source.height)},
        {"channels", known(is, source.channels)},
        {"bits", known(is, source.bits)},
        {"color", is ? Json(color_name(source.color)) : Json()},
        {"sampling", source.sampling != 0 ? Json(sampling_name(source.sampling)) : Json()},
        {"quality", known(is && source.quality >= 0, source.quality)},
        {"resolution", resolution_of(source)},
        {"orientation", known(source.orientation != 0, source.orientation)},
        {"verified", verified(told)},
        {"damaged_line", known(told.damaged_line != 0, told.damaged_line)},
        {"error", error_of(told)},
        {"palette", known(told.palette_entries != 0, told.palette_entries)},
    };
    constexpr bool in_ascii = true; // terminals are safe from it, and so is its encoding
    print_to_stdout(object.dump(-1, ' ', in_ascii, Json::error_handler_t::replace) + "\n");
}

} // namespace nuv_tool
