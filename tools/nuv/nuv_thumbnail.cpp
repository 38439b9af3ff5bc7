#include "tools/nuv/nuv_commands.h"
#include "tools/nuv/nuv_sizes.h"

#include <utility>

namespace nuv_tool {

namespace {

// Scales into the box and turns upright what lies down; turned last, it holds the small picture.
Problem shrink(nuv_job* job, Extent box, unsigned flags)
{
    constexpr std::int32_t first_lying = 5; // TIFF 6.0, section 8: 5 to 8 have rows for columns

    nuv_source is{};
    is.size = sizeof(is);
    nuv_source_info(job, &is);
    if (is.orientation >= first_lying)
        std::swap(box.width, box.height);
    make_scalable(job);
    nuv_fit(job, NUV_FINE, box.width, box.height, flags);
    nuv_upright(job);
    return {};
}

} // namespace

void add_thumbnail(Command& program, ThumbnailRequest& request)
{
    Command command = program.add_command(
        "thumbnail", "Make small pictures of pictures",
        R"(SIZE is 256 for a box of 256 x 256 pixels, or 320x240. A picture keeps its proportions:
of 4000x3000 pixels -s 256 makes 256x192, and with --fill 256x256, of which the picture
covers all. One that fits into the box already keeps its size, but for --enlarge.

Pictures are scaled as by 'fine', and turned as their files say that they are to be seen.

Examples:
  nuv thumbnail photo.jpg -o small.jpg
  nuv thumbnail photos/*.jpg -s 256 -o '%s_small.jpg' -j 4
  nuv thumbnail photos/*.jpg -s 120x90 --fill -o '%d/%s_icon.jpg'
  nuv thumbnail icon.png -s 64 --enlarge -o icon64.ppm
  nuv thumbnail - -s 100 -o - --write jpeg <photo.jpg >small.jpg
)");
    command.add_arguments("FILE", request.sources, /*is_required=*/true,
                          "The pictures; - is the standard input");
    command.add_option("-s,--size", request.size, "SIZE",
                       "The box to fit into, by default 256; see below");
    command.add_flag("--fill", request.fill,
                     "Cover the box, and cut off what stands over on both sides");
    command.add_flag("--enlarge", request.enlarge,
                     "Enlarge pictures that are smaller than the box");
    command.add_flag(
        "--fast", request.fast,
        "Decode a JPEG at 1/2, 1/4 or 1/8 of its size where that is enough; the result "
        "is another one");
    add_writing(command, request.writing);
}

int run_thumbnail(const ThumbnailRequest& request)
{
    const auto box = box_of(request.size);
    if (!box)
        throw UsageError("--size " + quoted(request.size) + ": not a box such as 256 or 320x240");
    if (request.writing.output.empty())
        throw UsageError("-o is required, as -o 'small/%s.jpg'");
    const unsigned flags = (request.fill ? unsigned{NUV_FILL} : 0U) |
                           (request.enlarge ? unsigned{NUV_ENLARGE} : 0U) |
                           (request.fast ? unsigned{NUV_FAST} : 0U);
    Recipe recipe = recipe_of(request.writing);
    recipe.operations.push_back({"--size " + request.size, [box = *box, flags](nuv_job* job) {
                                     return shrink(job, box, flags);
                                 }});
    return run_errands(recipe, plan(request.sources, request.writing), request.writing);
}

} // namespace nuv_tool
