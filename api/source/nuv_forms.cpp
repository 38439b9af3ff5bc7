#include "core/colorspace/nuv_colorspace.h"
#include "core/convert1to8xnbits/nuv_convert1to8xnbits.h"
#include "core/jpeg/nuv_encodejpeg.h"

#include "api/source/nuv_codes.h"
#include "api/source/nuv_job.h"
#include "api/source/nuv_palette.h"

namespace {

using nuv::NUV_ColorType;
using nuv::NUV_DataType;
using nuv::NUV_Header;

constexpr std::uint32_t largest_jpeg_side = 65535;

// The colours of a palette in the place of its indices.
[[nodiscard]] bool without_palette(nuv_job& job, const char* name)
{
    return job.append(name, nuv::expand_palette(*job.manager, job.last));
}

[[nodiscard]] bool to_color(nuv_job& job, const char* name, const NUV_ColorType* color)
{
    return job.append(name, nuv::NUV_ColorSpace(*job.manager).engine(job.last, color));
}

// Bits as bytes of 0 and 255, which mean the same.
[[nodiscard]] bool from_bits(nuv_job& job, const char* name)
{
    if (job.header().bits() != 1)
        return true;
    return job.append(name, nuv::NUV_Convert1To8xNBits(*job.manager)
                                .engine(job.last, NUV_DataType::u_integer, 8, 255, 0));
}

// Gray where there is one channel, and else RGB, or YCbCr where the form knows it.
[[nodiscard]] bool to_gray_or_rgb(nuv_job& job, const char* name, bool takes_ycbcr)
{
    const NUV_ColorType* const is = job.header().color_type();
    if (takes_ycbcr && is == NUV_ColorType::ycbcr)
        return true;
    const bool is_single = job.header().channels() == 1;
    return to_color(job, name, is_single ? NUV_ColorType::gray : NUV_ColorType::s_rgb);
}

// What a JPEG stream has room for.
[[nodiscard]] bool must_suit_jpeg(nuv_job& job, const char* name, std::uint16_t most_bits)
{
    const NUV_Header& is = job.header();
    const bool good = (is.bits() == 8 || is.bits() == most_bits) &&
                      is.data_type() == NUV_DataType::u_integer &&
                      (is.channels() == 1 || is.channels() == 3) &&
                      is.width() <= largest_jpeg_side && is.height() <= largest_jpeg_side;
    if (!good) {
        job.refuse(NUV_UNSUPPORTED,
                   "%s(): a JPEG takes 1 or 3 channels of up to %u bits, at most 65535 x 65535 "
                   "pixels; this picture has %u x %u bits, %u x %u pixels.",
                   name, unsigned{most_bits}, unsigned{is.channels()}, unsigned{is.bits()},
                   is.width(), is.height());
    }
    return good;
}

void take_form(nuv_job& job, const JobForm& form) noexcept
{
    job.form = form;
    job.stage = JobStage::formed;
}

} // namespace

nuv_status nuv_as_jpeg(nuv_job* job, int quality, nuv_sampling sampling)
{
    constexpr auto name = "nuv_as_jpeg";
    constexpr std::uint32_t default_quality = 75;

    return nuv::guarded(job, [=](nuv_job& it) {
        if (!it.must_be(JobStage::opened, name))
            return;
        const std::uint32_t key = nuv::sampling_key_of(sampling);
        if (quality < -1 || quality > 100 || key == 0) {
            it.refuse(NUV_BAD_CALL,
                      "%s(): quality is -1 or 0 to 100, and sampling one of its codes.", name);
            return;
        }
        const bool suits = without_palette(it, name) && from_bits(it, name) &&
                           to_gray_or_rgb(it, name, true) && must_suit_jpeg(it, name, 8);
        if (suits) {
            take_form(
                it, {.kind = JobForm::Kind::jpeg,
                     .quality = quality < 0 ? default_quality : static_cast<std::uint32_t>(quality),
                     .sampling = key});
        }
    });
}

nuv_status nuv_as_lossless_jpeg(nuv_job* job, int optimise)
{
    constexpr auto name = "nuv_as_lossless_jpeg";

    return nuv::guarded(job, [=](nuv_job& it) {
        const bool suits = it.must_be(JobStage::opened, name) && without_palette(it, name) &&
                           from_bits(it, name) && to_gray_or_rgb(it, name, false) &&
                           must_suit_jpeg(it, name, 16);
        if (suits) {
            take_form(it, {.kind = JobForm::Kind::lossless_jpeg, .optimise = optimise != 0});
        }
    });
}

nuv_status nuv_as_anymap(nuv_job* job)
{
    constexpr auto name = "nuv_as_anymap";

    return nuv::guarded(job, [](nuv_job& it) {
        if (!it.must_be(JobStage::opened, name) || !without_palette(it, name))
            return;
        const NUV_Header& is = it.header();
        const bool is_bitmap = is.bits() == 1 && is.channels() == 1;
        const bool suits = is_bitmap ? to_color(it, name, NUV_ColorType::gray_reverse)
                                     : from_bits(it, name) && to_gray_or_rgb(it, name, false);
        if (suits)
            take_form(it, {.kind = JobForm::Kind::anymap});
    });
}

nuv_status nuv_as_samples(nuv_job* job, int planar)
{
    return nuv::guarded(job, [=](nuv_job& it) {
        if (it.must_be(JobStage::opened, "nuv_as_samples"))
            take_form(it, {.kind = planar != 0 ? JobForm::Kind::planes : JobForm::Kind::samples});
    });
}
