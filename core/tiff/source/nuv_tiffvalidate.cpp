#include "core/tiff/nuv_tiffinfo.h"
#include "framework/base/nuv_failure.h"
#include "framework/base/nuv_status.h"

#include <algorithm>
#include <cstddef>

namespace nuv {

bool NUV_TIFFInfo::validate()
{
    return validate_presence() && validate_color_map() && validate_samples() && validate_planes() &&
           validate_strips() && validate_subsampling() && validate_jpeg();
}

bool NUV_TIFFInfo::validate_presence()
{
    if (image_width == 0 || image_length == 0 ||
        photometric_interpretation == PhotometricInterpretation::absent)
        return fail(manager(), NUV_ERR_INVALID_DATA,
                    "NUV_TIFFInfo::validate() - some MUST tags(ImageWidth, ImageLength, "
                    "PhotometricInterpretation, etc.) don't exist.can't process any more!",
                    NUV_Diagnosis().says("the directory tells no %s",
                                         image_width == 0    ? "ImageWidth"
                                         : image_length == 0 ? "ImageLength"
                                                             : "PhotometricInterpretation"));
    if (x_resolution == Rational{})
        warn(manager(), NUV_WARN_INVALID_DATA, "NUV_TIFFInfo::validate() - no XResolution.");
    if (y_resolution == Rational{})
        warn(manager(), NUV_WARN_INVALID_DATA, "NUV_TIFFInfo::validate() - no YResolution.");
    return true;
}

bool NUV_TIFFInfo::validate_color_map()
{
    if (photometric_interpretation != PhotometricInterpretation::palette)
        return true;
    if (color_map.empty())
        return fail(manager(), NUV_ERR_INVALID_DATA,
                    "NUV_TIFFInfo::validate() - not found colormap.",
                    NUV_Diagnosis().says("a palette image without a ColorMap"));
    if (color_map.size() / 3 > most_colors())
        warn(manager(), NUV_WARN_INVALID_DATA,
             "NUV_TIFFInfo::validate() - too many entries of colormap.");
    return true;
}

bool NUV_TIFFInfo::validate_samples()
{
    const std::size_t base = photometric_interpretation == PhotometricInterpretation::palette
                                 ? 1
                                 : photometric_color()->channels();
    if (samples_per_pixel < base)
        return fail(manager(), NUV_ERR_INVALID_DATA,
                    "NUV_TIFFInfo::validate() - invalid SamplesPerPixel.",
                    NUV_Diagnosis().says("%u samples a pixel, the colour needs %zu",
                                         unsigned{samples_per_pixel}, base));
    const std::size_t described = base + extra_samples.size();
    if (samples_per_pixel > described) {
        warn(manager(), NUV_WARN_INVALID_DATA,
             "NUV_TIFFInfo::validate() - invalid SamplesPerPixel or ExtraSample.");
        if (bits_per_sample.size() == described)
            samples_per_pixel = static_cast<std::uint16_t>(described);
    }
    if (samples_per_pixel != bits_per_sample.size()) {
        warn(manager(), NUV_WARN_INVALID_DATA, "NUV_TIFFInfo::validate() - invalid BitsPerSample.");
        const std::size_t given = bits_per_sample.size();
        if (!bits_per_sample.resize(samples_per_pixel))
            return false;
        for (std::size_t i = given; i < bits_per_sample.size(); ++i)
            bits_per_sample[i] = bits_per_sample[0];
    }
    if (samples_per_pixel != described) {
        warn(manager(), NUV_WARN_INVALID_DATA, "NUV_TIFFInfo::validate() - invalid ExtraSamples");
        if (!extra_samples.resize(samples_per_pixel - base))
            return false;
    }
    return true;
}

bool NUV_TIFFInfo::validate_planes()
{
    const bool is_of_one_stream =
        compression == Compression::ccitt_1d || compression == Compression::t4 ||
        compression == Compression::t6 || compression == Compression::old_jpeg ||
        compression == Compression::jpeg || compression == Compression::jbig;
    if (is_planar() && is_of_one_stream)
        return fail(manager(), NUV_ERR_INVALID_DATA,
                    "NUV_TIFFInfo::validate() - invalid combination of compression and "
                    "planar-configuration.",
                    NUV_Diagnosis().says("the coding '%s' in planes", coding()->key()));
    return true;
}

bool NUV_TIFFInfo::validate_strips()
{
    if (rows_per_strip > image_length) {
        warn(manager(), NUV_WARN_INVALID_DATA, "NUV_TIFFInfo::validate() - no RowsPerStrip.");
        rows_per_strip = image_length;
    }
    if (rows_per_strip == 0)
        return fail(manager(), NUV_ERR_INVALID_DATA,
                    "NUV_TIFFInfo::validate() - RowsPerStrip is 0.",
                    NUV_Diagnosis().says("strips of 0 lines"));
    const std::uint64_t planes = is_planar() ? samples_per_pixel : 1;
    const std::uint64_t wanted = planes * strips_per_plane();
    if (strip_offsets.size() < wanted)
        return fail(
            manager(), NUV_ERR_INVALID_DATA, "NUV_TIFFInfo::validate() - not enough # of strips.",
            tile_width != 0 ? NUV_Diagnosis().because(NUV_Cause::unsupported).says("tiles")
                            : NUV_Diagnosis().says("%zu StripOffsets, the image has %llu strips",
                                                   strip_offsets.size(),
                                                   static_cast<unsigned long long>(wanted)));
    if (strip_byte_counts.size() < strip_offsets.size())
        warn(manager(), NUV_WARN_INVALID_DATA, "NUV_TIFFInfo::validate() - no StripByteCounts.");
    return strip_byte_counts.resize(strip_offsets.size());
}

bool NUV_TIFFInfo::validate_subsampling()
{
    constexpr auto bad_size =
        "NUV_TIFFInfo::validate() - invalid width or height for subsampled image.";

    const bool is_lab = photometric_interpretation == PhotometricInterpretation::icc_lab ||
                        photometric_interpretation == PhotometricInterpretation::itu_lab;
    if (ycbcr_subsampling.empty() &&
        (photometric_interpretation == PhotometricInterpretation::ycbcr ||
         (is_lab && samples_per_pixel == 3))) {
        // TIFF 6.0, section 21: 2 where the tag is missing. A strip of as many bytes as samples
        // tells of a writer that has left it out for 1.
        std::uint16_t factor = 2;
        const std::uint64_t samples = std::uint64_t{rows_per_strip} * image_width;
        if (compression == Compression::none && strip_byte_counts[0] % 3 == 0 &&
            strip_byte_counts[0] / 3 == samples) {
            factor = 1;
            warn(manager(), NUV_WARN_INVALID_DATA,
                 "NUV_TIFFInfo::validate() - no YCbCrSubSampling.");
        }
        if (!ycbcr_subsampling.resize(2))
            return fail(manager(), NUV_ERR_MEMORY, "NUV_TIFFInfo::validate()");
        std::ranges::fill(ycbcr_subsampling.items(), factor);
    }
    if (!is_subsampled())
        return true;
    const auto why = NUV_Diagnosis().says(
        "chroma for %u x %u pixels in strips of %u x %u", unsigned{ycbcr_subsampling[0]},
        unsigned{ycbcr_subsampling[1]}, image_width, rows_per_strip);
    if (ycbcr_subsampling[0] == 0 || ycbcr_subsampling[1] == 0)
        return fail(manager(), NUV_ERR_INVALID_DATA, bad_size, why);
    if (coding() == NUV_EncodeType::jpeg)
        return true;
    if (image_width % ycbcr_subsampling[0] != 0 || rows_per_strip % ycbcr_subsampling[1] != 0)
        return fail(manager(), NUV_ERR_INVALID_DATA, bad_size, why);
    return true;
}

bool NUV_TIFFInfo::validate_jpeg()
{
    if (compression != Compression::old_jpeg && compression != Compression::jpeg)
        return true;
    if (bits_per_sample[0] != 8 && bits_per_sample[0] != 12)
        return fail(manager(), NUV_ERR_INVALID_DATA,
                    "NUV_TIFFInfo::validate() - invalid BitsPerSample for JPEG.",
                    NUV_Diagnosis().says("JPEG of %u bits a sample", unsigned{bits_per_sample[0]}));
    if (compression == Compression::jpeg)
        return true;
    if (jpeg_interchange_format > strip_offsets[0])
        return fail(manager(), NUV_ERR_INVALID_DATA,
                    "NUV_TIFFInfo::validate() - SOS exists before SOI (JPEG).sorry, now can't "
                    "read in this case.",
                    NUV_Diagnosis().says("a JPEG stream from byte %u on, with a strip at byte %u",
                                         jpeg_interchange_format, strip_offsets[0]));
    const std::uint64_t end =
        std::uint64_t{jpeg_interchange_format} + jpeg_interchange_format_length;
    if (strip_offsets[0] >= end)
        warn(manager(), NUV_WARN_INVALID_DATA,
             "NUV_TIFFInfo::validate() - JPEGInterchangeFormatLength's value is not equal to the "
             "size of JPEG-Data(marker + code). maybe its's equal to size of markers before SOS. "
             "but no problem!");
    return true;
}

} // namespace nuv
