#include "tools/nuv/nuv_pixelwords.h"

#include "tools/nuv/nuv_names.h"
#include "tools/nuv/nuv_numbers.h"
#include "tools/nuv/nuv_operations.h"
#include "tools/nuv/nuv_text.h"

#include <cerrno>
#include <cmath>
#include <cstdint>
#include <cstdio>
#include <memory>
#include <optional>
#include <stdexcept>
#include <string>
#include <system_error>
#include <utility>
#include <vector>

namespace nuv_tool {

namespace {

// What precedes the next ":" of `text`, which keeps what follows it.
std::string_view next_field(std::string_view& text)
{
    const std::size_t colon = text.find(':');
    const std::string_view field = text.substr(0, colon);
    text = colon == std::string_view::npos ? std::string_view{} : text.substr(colon + 1);
    return field;
}

// Colours in the place of indices.
nuv_picture without_palette(nuv_job* job)
{
    const nuv_picture is = look(job);
    if (is.palette_entries == 0)
        return is;
    nuv_recolor(job, static_cast<nuv_color>(is.color));
    return look(job);
}

std::vector<unsigned char> read_table(const std::string& path)
{
    constexpr std::size_t most_bytes = std::size_t{65536} * 4 * 256; // entries of 256 channels

    const std::unique_ptr<std::FILE, int (*)(std::FILE*)> file(std::fopen(path.c_str(), "rb"),
                                                               std::fclose);
    std::vector<unsigned char> bytes;
    std::size_t got = 1;
    while (file && got != 0 && bytes.size() <= most_bytes) {
        constexpr std::size_t piece = 65536;
        const std::size_t before = bytes.size();
        bytes.resize(before + piece);
        got = std::fread(bytes.data() + before, 1, piece, file.get());
        bytes.resize(before + got);
    }
    if (!file || std::ferror(file.get()) != 0)
        throw std::runtime_error(path + ": " + std::generic_category().message(errno));
    return bytes;
}

struct Table {
    std::string path;
    std::vector<unsigned char> bytes;
    std::uint16_t bits = 0; // of an entry
};

Problem append_table(nuv_job* job, const Table& table)
{
    const nuv_picture is = without_palette(job);
    if (is.width == 0)
        return {}; // the job has failed
    if (is.bits != 8 && is.bits != 16)
        return "serves samples of 8 and 16 bits";
    const std::size_t entry_bytes = std::size_t{is.channels} * (table.bits / 8U);
    const std::size_t entries = table.bytes.size() / entry_bytes;
    if (entries == 0 || table.bytes.size() % entry_bytes != 0 ||
        entries > std::size_t{1} << is.bits)
        return table.path + " does not hold a table of " + std::to_string(table.bits) +
               " bits for each channel of this picture";
    nuv_table(job, table.bytes.data(), static_cast<std::uint32_t>(entries), is.channels,
              table.bits);
    return {};
}

} // namespace

std::function<Problem(nuv_job*)> parse_invert(std::string_view)
{
    return [](nuv_job* job) -> Problem {
        static_cast<void>(without_palette(job));
        nuv_invert(job);
        return {};
    };
}

std::function<Problem(nuv_job*)> parse_channel(std::string_view argument)
{
    const auto channel = number_of<std::uint16_t>(argument);
    if (!channel)
        throw UsageError("channel takes a number from 0, not " + quoted(argument));
    return [channel = *channel](nuv_job* job) -> Problem {
        const nuv_picture is = without_palette(job);
        if (is.width == 0)
            return {}; // the job has failed
        if (channel >= is.channels)
            return "the picture has " + std::to_string(is.channels) +
                   (is.channels == 1 ? " channel, which is 0" : " channels, from 0");
        if (is.channels > 1)
            nuv_pick_channels(job, &channel, 1, NUV_GRAY);
        return {};
    };
}

std::function<Problem(nuv_job*)> parse_color(std::string_view argument)
{
    const ColorName* const color = find_color(argument);
    if (!color) {
        std::vector<std::string_view> names;
        for (const ColorName& each : colors())
            names.push_back(each.name);
        const std::string unknown = unknown_word("colour", argument, names);
        throw UsageError(unknown + (unknown.ends_with('?') ? "" : "; see nuv help colors"));
    }
    return [color](nuv_job* job) -> Problem {
        // One bit has room for black and white alone.
        if (color->code != NUV_GRAY && color->code != NUV_GRAY_REVERSE)
            make_scalable(job);
        nuv_recolor(job, color->code);
        return {};
    };
}

std::function<Problem(nuv_job*)> parse_lut(std::string_view argument)
{
    const std::size_t colon = argument.rfind(':');
    Table table;
    table.path = argument.substr(0, colon);
    const auto bits = colon == std::string_view::npos
                          ? std::nullopt
                          : number_of<std::uint16_t>(argument.substr(colon + 1));
    if (!bits || table.path.empty() || (*bits != 8 && *bits != 16 && *bits != 32))
        throw UsageError(quoted(argument) + " is not FILE:BITS with 8, 16 or 32 bits");
    table.bits = *bits;
    table.bytes = read_table(table.path);
    return [shared = std::make_shared<const Table>(std::move(table))](nuv_job* job) {
        return append_table(job, *shared);
    };
}

std::function<Problem(nuv_job*)> parse_convert(std::string_view argument)
{
    std::string_view rest = argument;
    const auto slope = number_of<double>(next_field(rest));
    const auto offset = number_of<double>(next_field(rest));
    const auto bits = number_of<std::uint16_t>(rest);
    const bool known = bits && (*bits == 1 || *bits == 8 || *bits == 16 || *bits == 32);
    if (!slope || !offset || !known || !std::isfinite(*slope) || !std::isfinite(*offset))
        throw UsageError(quoted(argument) + " is not SLOPE:OFFSET:BITS with 1, 8, 16 or 32 bits");
    return [slope = *slope, offset = *offset, bits = *bits](nuv_job* job) -> Problem {
        static_cast<void>(without_palette(job));
        nuv_convert(job, NUV_UNSIGNED, bits, slope, offset);
        return {};
    };
}

} // namespace nuv_tool
