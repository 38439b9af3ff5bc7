#include "tools/nuv/nuv_outputs.h"

#include "tools/nuv/nuv_jpegcheck.h"

#include <algorithm>
#include <array>
#include <filesystem>
#include <limits>
#include <system_error>

namespace nuv_tool {

namespace {

// Storages count in signed 32 bits.
constexpr std::uint64_t largest_file = std::numeric_limits<std::int32_t>::max();
// T.81, B.2.2: lines and samples per line are 16-bit numbers.
constexpr std::uint32_t largest_jpeg_side = 65535;

std::string shape(const ImageParam& picture)
{
    return std::to_string(picture.channels) + " x " + std::to_string(picture.bits) + " bits";
}

std::optional<std::uint64_t> times(std::optional<std::uint64_t> a, std::uint64_t b)
{
    if (!a || (b != 0 && *a > std::numeric_limits<std::uint64_t>::max() / b))
        return {};
    return *a * b;
}

Problem check_size(const std::string& path, std::optional<std::uint64_t> expected)
{
    std::error_code error;
    const std::uintmax_t written = std::filesystem::file_size(path, error);
    if (error)
        return "the result cannot be looked at: " + error.message();
    if (expected != written)
        return "broke off after " + std::to_string(written) + " of " +
               std::to_string(expected.value_or(0)) +
               " bytes: the source is damaged or the destination is full";
    return {};
}

Problem refuse_large(std::optional<std::uint64_t> bytes)
{
    if (bytes && *bytes <= largest_file)
        return {};
    return "the result would not fit into a file of 2 GiB, the largest that can be written";
}

Problem append_raw(NuvWrapperClass& job, const ImageParam& picture, const OutputSettings&)
{
    if (Problem problem = refuse_large(interleaved_bytes(picture)))
        return problem;
    job.WriteStorage(nullptr);
    return {};
}

Problem check_raw(const std::string& path, const ImageParam& picture)
{
    return check_size(path, interleaved_bytes(picture));
}

Problem append_planar(NuvWrapperClass& job, const ImageParam& picture, const OutputSettings&)
{
    if (Problem problem = refuse_large(planar_bytes(picture)))
        return problem;
    if (picture.bits != 1 && picture.bits % 8 != 0)
        return "planes have samples of 1 bit or of whole bytes, not " + shape(picture);
    job.WriteStoragePlanar(nullptr);
    return {};
}

Problem check_planar(const std::string& path, const ImageParam& picture)
{
    return check_size(path, planar_bytes(picture));
}

// What both kinds of JPEG refuse.
Problem refuse_for_jpeg(const ImageParam& picture)
{
    if (picture.channels == 1 && picture.color == ColorType::eRGB)
        return "a JPEG has no colour table, and this picture has one";
    if (picture.width > largest_jpeg_side || picture.height > largest_jpeg_side)
        return "a JPEG is at most 65535 pixels wide and high";
    return {};
}

Problem append_lossless(NuvWrapperClass& job, const ImageParam& picture,
                        const OutputSettings& settings)
{
    const bool served = picture.bits == 8 || picture.bits == 16;
    if (!served || (picture.channels != 1 && picture.channels != 3))
        return "a lossless JPEG has 1 or 3 channels of 8 or 16 bits, not " + shape(picture);
    if (Problem problem = refuse_for_jpeg(picture))
        return problem;
    WriteLosslessJPEGOption option{.optimise = static_cast<std::uint8_t>(settings.optimise)};
    job.WriteLosslessJPEG(&option);
    return {};
}

Problem append_jpeg(NuvWrapperClass& job, const ImageParam& picture, const OutputSettings& settings)
{
    if (picture.bits != 8 || (picture.channels != 1 && picture.channels != 3))
        return "a JPEG has 1 or 3 channels of 8 bits, not " + shape(picture);
    if (Problem problem = refuse_for_jpeg(picture))
        return problem;
    constexpr int default_quality = 75;
    WriteJPEGOption option{
        .quality = settings.quality.value_or(default_quality),
        .sampling = settings.sampling.value_or(WriteJPEGOption::eSampling422),
    };
    job.WriteJPEG(&option);
    return {};
}

constexpr std::array output_kinds{
    OutputKind{"jpeg", append_jpeg, check_jpeg},
    OutputKind{"lossless", append_lossless, check_jpeg},
    OutputKind{"raw", append_raw, check_raw},
    OutputKind{"planar", append_planar, check_planar},
};

struct Ending {
    std::string_view text;
    std::string_view kind;
};

// Every other ending means raw samples.
constexpr std::array endings{
    Ending{".jpg", "jpeg"},
    Ending{".jpeg", "jpeg"},
    Ending{".ljpg", "lossless"},
};

} // namespace

const OutputKind* output_kind(std::string_view name)
{
    const auto kind = std::ranges::find(output_kinds, name, &OutputKind::name);
    return kind != output_kinds.end() ? &*kind : nullptr;
}

const OutputKind& output_kind_of_path(std::string_view path)
{
    std::string extension = std::filesystem::path{path}.extension().string();
    for (char& letter : extension)
        letter = letter >= 'A' && letter <= 'Z' ? static_cast<char>(letter + ('a' - 'A')) : letter;
    const auto ending = std::ranges::find(endings, extension, &Ending::text);
    return *output_kind(ending != endings.end() ? ending->kind : "raw");
}

std::string output_kind_names()
{
    std::string names;
    for (const OutputKind& kind : output_kinds)
        names.append(names.empty() ? "" : "|").append(kind.name);
    return names;
}

std::optional<std::uint64_t> interleaved_bytes(const ImageParam& picture)
{
    const std::uint64_t sample_bits = std::uint64_t{picture.channels} * picture.bits;
    const std::optional<std::uint64_t> line_bits = times(sample_bits, picture.width);
    if (!line_bits)
        return {};
    return times(*line_bits / 8 + (*line_bits % 8 != 0 ? 1 : 0), picture.height);
}

std::optional<std::uint64_t> planar_bytes(const ImageParam& picture)
{
    ImageParam plane = picture;
    plane.channels = 1;
    return times(interleaved_bytes(plane), picture.channels);
}

} // namespace nuv_tool
