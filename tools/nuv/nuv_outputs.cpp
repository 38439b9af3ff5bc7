#include "tools/nuv/nuv_outputs.h"

#include "tools/nuv/nuv_operations.h"

#include <algorithm>
#include <array>
#include <filesystem>

namespace nuv_tool {

namespace {

Problem append_jpeg(nuv_job* job, const OutputSettings& settings)
{
    constexpr double largest_8_by_largest_16 = 255.0 / 65535;

    const nuv_picture is = look(job);
    if (is.bits == 16 && is.type == NUV_UNSIGNED && is.palette_entries == 0)
        nuv_convert(job, NUV_UNSIGNED, 8, largest_8_by_largest_16, 0);
    nuv_as_jpeg(job, settings.quality.value_or(-1),
                settings.sampling.value_or(NUV_SAMPLING_DEFAULT));
    return {};
}

Problem append_lossless(nuv_job* job, const OutputSettings& settings)
{
    nuv_as_lossless_jpeg(job, settings.optimise ? 1 : 0);
    return {};
}

Problem append_anymap(nuv_job* job, const OutputSettings&)
{
    nuv_as_anymap(job);
    return {};
}

// P4, of a picture that is black and white by now: where to draw the line is not for us to say.
Problem append_bitmap(nuv_job* job, const OutputSettings& settings)
{
    const nuv_picture is = look(job);
    if (is.width != 0 && (is.bits != 1 || is.channels != 1 || is.palette_entries != 0)) {
        const bool is_gray = is.channels == 1 && is.palette_entries == 0;
        const int middle = is.bits == 16 ? 32768 : 128;
        return "a .pbm has one bit a pixel; " +
               quoted((is_gray ? "convert=1:" : "color=gray convert=1:") + std::to_string(middle) +
                      ":1") +
               " makes one of what the picture has";
    }
    return append_anymap(job, settings);
}

// P5 and P6, whatever the picture has.
template <nuv_color color>
Problem append_map(nuv_job* job, const OutputSettings& settings)
{
    make_scalable(job);
    nuv_recolor(job, color);
    return append_anymap(job, settings);
}

template <int planar>
Problem append_samples(nuv_job* job, const OutputSettings&)
{
    nuv_as_samples(job, planar);
    return {};
}

constexpr std::array output_kinds{
    OutputKind{"jpeg", append_jpeg},         OutputKind{"lossless", append_lossless},
    OutputKind{"anymap", append_anymap},     OutputKind{"raw", append_samples<0>},
    OutputKind{"planar", append_samples<1>},
};

struct Ending {
    std::string_view text;
    OutputKind kind;
};

constexpr std::array endings{
    Ending{".jpg", {"jpeg", append_jpeg}},
    Ending{".jpeg", {"jpeg", append_jpeg}},
    Ending{".ljpg", {"lossless", append_lossless}},
    Ending{".pnm", {"anymap", append_anymap}},
    Ending{".ppm", {"anymap", append_map<NUV_RGB>}},
    Ending{".pgm", {"anymap", append_map<NUV_GRAY>}},
    Ending{".pbm", {"anymap", append_bitmap}},
    Ending{".raw", {"raw", append_samples<0>}},
};

const OutputKind& kind_of_name(const std::string& name)
{
    const auto kind = std::ranges::find(output_kinds, name, &OutputKind::name);
    if (kind == output_kinds.end())
        throw UsageError("--write " + name + ": not one of " + output_kind_names());
    return *kind;
}

const OutputKind& kind_of_path(const std::string& path)
{
    if (path == "-")
        throw UsageError("standard output has no ending: --write tells what goes there, " +
                         output_kind_names());
    std::string extension = std::filesystem::path{path}.extension().string();
    for (char& letter : extension)
        letter = letter >= 'A' && letter <= 'Z' ? static_cast<char>(letter + ('a' - 'A')) : letter;
    const auto ending = std::ranges::find(endings, extension, &Ending::text);
    if (ending == endings.end())
        throw UsageError(path + ": no kind that can be written has this ending. Endings are " +
                         output_endings() + "; or --write names the kind, " + output_kind_names());
    return ending->kind;
}

} // namespace

const OutputKind& choose_output(const std::string& write, const std::string& path,
                                const OutputSettings& settings)
{
    const OutputKind& kind = write.empty() ? kind_of_path(path) : kind_of_name(write);
    if (kind.name != "jpeg" && (settings.quality || settings.sampling))
        throw UsageError("--quality and --sampling serve JPEG files alone");
    if (kind.name != "lossless" && settings.optimise)
        throw UsageError("--optimise serves lossless JPEG files alone");
    return kind;
}

std::string output_kind_names()
{
    std::string names;
    for (const OutputKind& kind : output_kinds)
        names.append(names.empty() ? "" : "|").append(kind.name);
    return names;
}

std::string output_endings()
{
    std::string texts;
    for (const Ending& ending : endings)
        texts.append(texts.empty() ? "" : ", ").append(ending.text);
    return texts;
}

} // namespace nuv_tool
