#include "core/crop/nuv_crop.h"
#include "core/jfif/nuv_jfifinfo.h"
#include "core/jfif/nuv_readjfif.h"
#include "core/jpeg/nuv_jpeginfo.h"
#include "core/jpeg/nuv_readjpeg.h"
#include "core/jpegadobe/nuv_jpegadobeinfo.h"
#include "core/jpegadobe/nuv_readjpegadobe.h"
#include "core/scale/nuv_scalecc.h"
#include "core/scale/nuv_scaleli.h"
#include "core/scale/nuv_scalenn.h"
#include "core/scale/nuv_scalepp.h"
#include "extension/scalei2varex/nuv_scalei2varexby.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdio>
#include <cstring>
#include <string>
#include <string_view>

#include "api/source/nuv_job.h"

namespace {

using nuv::NUV_Engine;

struct Size {
    std::uint32_t width;
    std::uint32_t height;
};

[[nodiscard]] bool is_scaling(nuv_scaling how) noexcept
{
    return how >= NUV_NEAREST && how <= NUV_FINE;
}

// Of nuv_scaling_steps(): one more of the scaling that is being made; an empty name is none.
void add_step(nuv_job& job, std::string_view name) noexcept
{
    const std::size_t used = std::strlen(job.scaling_steps.data());
    if (!name.empty())
        std::snprintf(job.scaling_steps.data() + used, job.scaling_steps.size() - used, "%s%.*s",
                      used != 0 ? ", " : "", static_cast<int>(name.size()), name.data());
}

[[nodiscard]] NUV_Engine* scale_fine(nuv_job& job, Size to)
{
    nuv::NUV_ScaleI2VARExBy<nuv::NUV_FixedReal> fine(*job.manager);
    NUV_Engine* const scaled = fine.engine(job.last, to.width, to.height);
    add_step(job, fine.steps());
    return scaled;
}

[[nodiscard]] NUV_Engine* scale(nuv_job& job, nuv_scaling how, Size to)
{
    constexpr std::array names{"nearest", "linear", "cubic", "area"};

    nuv::NUV_Manager& manager = *job.manager;
    if (how != NUV_FINE)
        add_step(job, names[how]);
    switch (how) {
    case NUV_NEAREST:
        return nuv::NUV_ScaleNN(manager).engine(job.last, to.width, to.height);
    case NUV_LINEAR:
        return nuv::NUV_ScaleLI(manager).engine(job.last, to.width, to.height);
    case NUV_CUBIC:
        return nuv::NUV_ScaleCC(manager).engine(job.last, to.width, to.height);
    case NUV_AREA:
        return nuv::NUV_ScalePP(manager).engine(job.last, to.width, to.height);
    default:
        return scale_fine(job, to);
    }
}

// `of` x `numerator` / `denominator`, to the nearest, and never 0.
[[nodiscard]] std::uint32_t in_proportion(std::uint32_t of, std::uint32_t numerator,
                                          std::uint32_t denominator) noexcept
{
    const double exact = static_cast<double>(of) * numerator / denominator + 0.5;
    constexpr double most = 4294967295.0;
    return static_cast<std::uint32_t>(std::clamp(std::floor(exact), 1.0, most));
}

// The size to scale to, of the shape of `from`: the largest inside the box, or, for `fill`, the
// smallest that covers it.
[[nodiscard]] Size fitted(Size from, Size box, unsigned flags) noexcept
{
    const bool fill = (flags & NUV_FILL) != 0;
    const bool enlarges = fill ? box.width > from.width || box.height > from.height
                               : box.width > from.width && box.height > from.height;
    if (enlarges && (flags & NUV_ENLARGE) == 0)
        return from;
    if (!fill && (flags & NUV_ENLARGE) == 0 && from.width <= box.width && from.height <= box.height)
        return from;
    const std::uint64_t across = std::uint64_t{box.width} * from.height;
    const std::uint64_t down = std::uint64_t{box.height} * from.width;
    const bool by_width = fill ? across >= down : across <= down;
    if (by_width)
        return {box.width, in_proportion(from.height, box.width, from.width)};
    return {in_proportion(from.width, box.height, from.height), box.height};
}

// The same source once more, at 1 / `divisor` of its size; null where it has no such form.
[[nodiscard]] NUV_Engine* read_reduced(nuv_job& job, std::uint32_t divisor)
{
    const auto scale_256 =
        static_cast<std::int32_t>(nuv::NUV_JPEGInfo::full_scale / static_cast<int>(divisor));
    job.source->to_begin();
    nuv::NUV_InputStorage* const from = job.source.get();
    nuv::NUV_Manager& manager = *job.manager;
    if (dynamic_cast<const nuv::NUV_JPEGAdobeInfo*>(job.info.get()))
        return nuv::NUV_ReadJPEGAdobe(manager).engine(from, scale_256);
    if (dynamic_cast<const nuv::NUV_JFIFInfo*>(job.info.get()))
        return nuv::NUV_ReadJFIF(manager).engine(from, scale_256);
    return nuv::NUV_ReadJPEG(manager).engine(from, scale_256);
}

// Decodes a JPEG at the smallest size that is still as large as the one that is wanted.
void reduce_source(nuv_job& job, Size wanted)
{
    constexpr std::uint32_t most = 8;

    const auto* jpeg = dynamic_cast<const nuv::NUV_JPEGInfo*>(job.info.get());
    if (!jpeg || !job.is_source_alone || jpeg->is_lossless() || jpeg->is_progressive() ||
        jpeg->channels() == 4)
        return;
    const auto reduced = [](std::uint32_t side, std::uint32_t divisor) {
        return side / divisor + (side % divisor != 0 ? 1 : 0);
    };
    std::uint32_t divisor = most;
    while (divisor > 1 && (reduced(jpeg->width(), divisor) < wanted.width ||
                           reduced(jpeg->height(), divisor) < wanted.height))
        divisor /= 2;
    if (divisor == 1)
        return;
    NUV_Engine* const smaller = read_reduced(job, divisor);
    if (smaller && smaller->header()) {
        job.last->end();
        job.last = smaller;
        add_step(job, "decoded at 1/" + std::to_string(divisor));
        return;
    }
    // Another sampling than those that are reduced: as if it had not been tried.
    if (job.manager->diagnosis().cause == nuv::NUV_Cause::unsupported)
        job.manager->reset();
    else
        job.take_failure();
}

// To this size, by way of the scaler. False after a failure.
[[nodiscard]] bool scale_to(nuv_job& job, const char* name, nuv_scaling how, Size to)
{
    const nuv::NUV_Header& is = job.header();
    if (is.width() == to.width && is.height() == to.height)
        return true;
    return job.allows_size(to.width, to.height) && job.append(name, scale(job, how, to));
}

// The first of `kept` of `of` in their middle, which is as far from the other end where that will
// be the first.
[[nodiscard]] std::uint32_t middle(std::uint32_t of, std::uint32_t kept, bool is_mirrored) noexcept
{
    return (of - kept + (is_mirrored ? 1 : 0)) / 2;
}

// To the middle, rounded as if the picture were upright already.
[[nodiscard]] NUV_Engine* crop_middle(nuv_job& job, Size kept)
{
    constexpr std::string_view right_is_first = "2378"; // orientations (TIFF 6.0, section 8)
    constexpr std::string_view bottom_is_first = "3467";

    const auto lies = [&](std::string_view which) {
        const auto orientation = static_cast<char>('0' + job.facts.orientation);
        return !job.is_turned && which.find(orientation) != std::string_view::npos;
    };
    const Size is{job.header().width(), job.header().height()};
    return nuv::NUV_Crop(*job.manager)
        .engine(job.last, middle(is.width, kept.width, lies(right_is_first)),
                middle(is.height, kept.height, lies(bottom_is_first)), kept.width, kept.height);
}

void fit(nuv_job& job, nuv_scaling how, Size box, unsigned flags)
{
    constexpr auto name = "nuv_fit";

    const Size from{job.header().width(), job.header().height()};
    const Size to = fitted(from, box, flags);
    if ((flags & NUV_FAST) != 0)
        reduce_source(job, to);
    if (job.status != NUV_OK || !scale_to(job, name, how, to) || (flags & NUV_FILL) == 0)
        return;
    const Size kept{std::min(box.width, to.width), std::min(box.height, to.height)};
    if (kept.width != to.width || kept.height != to.height)
        add_step(job, "crop");
    job.append(name, crop_middle(job, kept));
}

} // namespace

nuv_status nuv_scale(nuv_job* job, nuv_scaling how, uint32_t width, uint32_t height)
{
    constexpr auto name = "nuv_scale";

    return nuv::guarded(job, [=](nuv_job& it) {
        if (!it.must_be(JobStage::opened, name))
            return;
        it.scaling_steps.fill('\0');
        if (!is_scaling(how) || width == 0 || height == 0)
            it.refuse(NUV_BAD_CALL, "%s(): there is no such scaler, or a side is 0.", name);
        else if (it.allows_size(width, height))
            static_cast<void>(it.append(name, scale(it, how, {width, height})));
    });
}

nuv_status nuv_fit(nuv_job* job, nuv_scaling how, uint32_t width, uint32_t height, unsigned flags)
{
    constexpr auto name = "nuv_fit";
    constexpr unsigned known = NUV_ENLARGE | NUV_FILL | NUV_FAST;

    return nuv::guarded(job, [=](nuv_job& it) {
        if (!it.must_be(JobStage::opened, name))
            return;
        it.scaling_steps.fill('\0');
        if (!is_scaling(how) || width == 0 || height == 0 || (flags & ~known) != 0)
            it.refuse(NUV_BAD_CALL, "%s(): no such scaler or flag, or a side is 0.", name);
        else
            fit(it, how, {width, height}, flags);
    });
}

const char* nuv_scaling_steps(const nuv_job* job)
{
    return job ? job->scaling_steps.data() : "";
}
