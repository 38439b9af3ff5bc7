#include "tools/nuv/nuv_commands.h"
#include "tools/nuv/nuv_names.h"
#include "tools/nuv/nuv_source.h"

#include <CLI/CLI.hpp>

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdio>

namespace nuv_tool {

namespace {

constexpr std::size_t columns = 5;
using Row = std::array<std::string, columns>; // path, size, samples, colour, kind and storing

std::string storing(const ImageParam& picture)
{
    std::string text;
    switch (picture.format) {
    case Format::eRaw:
        return "uncompressed";
    case Format::eJPEG:
        text = picture.is_jfif ? "JPEG (JFIF)" : "JPEG";
        break;
    case Format::eLosslessJPEG:
        text = "lossless JPEG";
        break;
    case Format::eJPEG2000:
        return "JPEG 2000";
    case Format::eProgressiveJPEG:
        text = picture.is_jfif ? "progressive JPEG (JFIF)" : "progressive JPEG";
        break;
    default:
        return "compressed";
    }
    if (picture.sampling != 0)
        text.append(" ").append(sampling_name(picture.sampling));
    if (picture.precision != 0)
        text.append(" ").append(std::to_string(picture.precision)).append(" bits");
    return text;
}

// The kind of file, and how it has the picture.
std::string kind_and_storing(const std::string& path, const ImageParam& picture)
{
    std::string text{file_kind(path)};
    const bool is_read = try_reading(path) == 0;
    if (is_read && text == "JPEG")
        return storing(picture); // says so
    if (is_read && text == "PNG")
        return text; // never uncompressed, whatever comes out of it
    if (!text.empty())
        text.append(", ");
    return text.append(is_read ? storing(picture) : "stored in a way that is not read");
}

Row row_of(const std::string& path, const ImageParam& picture)
{
    return {path, std::to_string(picture.width) + "x" + std::to_string(picture.height),
            std::to_string(picture.channels) + "x" + std::to_string(picture.bits),
            std::string{color_name(picture.color)}, kind_and_storing(path, picture)};
}

void print(const std::vector<Row>& rows)
{
    std::array<std::size_t, columns> widths{};
    for (const Row& row : rows)
        for (std::size_t i = 0; i < columns; ++i)
            widths[i] = std::max(widths[i], row[i].size());
    for (const Row& row : rows) {
        std::string line;
        for (std::size_t i = 0; i + 1 < columns; ++i)
            line.append(row[i]).append(widths[i] - row[i].size() + 2, ' ');
        line.append(row[columns - 1]).append("\n");
        std::fputs(line.c_str(), stdout);
    }
}

} // namespace

void add_info(CLI::App& app, InfoRequest& request)
{
    CLI::App& command = *app.add_subcommand("info", "Show what pictures are, one line for each");
    command.add_option("FILE", request.paths, "The pictures")->required();
}

int run_info(const InfoRequest& request)
{
    bool all_readable = true;
    std::vector<Row> rows;
    for (const std::string& path : request.paths) {
        ImageParam picture{};
        const Problem problem = path == "-" ? "'-' cannot stand for a stream: name files"
                                            : describe_source(path, picture);
        if (problem)
            report(*problem);
        else
            rows.push_back(row_of(path, picture));
        all_readable = all_readable && !problem;
    }
    print(rows);
    return all_readable ? exit_done : exit_failed;
}

} // namespace nuv_tool
