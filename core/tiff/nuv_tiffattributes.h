#pragma once

#include "core/tiff/nuv_tifftaggetter.h"
#include "framework/containers/nuv_basicstring.h"
#include "framework/containers/nuv_packednumbers.h"
#include "framework/containers/nuv_vector.h"

#include <cstdint>

namespace nuv {

// What the tags of a directory say of its image, by the names of TIFF 6.0. Enumerations keep any
// number that a file has. source/nuv_tifftags.inc has the numbers of the tags, the values before
// loading, and the order of reading.
class NUV_TIFFAttributes {
public:
    enum class Compression : std::int32_t {
        absent = -1,
        none = 1,
        ccitt_1d = 2,
        t4 = 3,
        t6 = 4,
        lzw = 5,
        old_jpeg = 6,
        jpeg = 7, // TIFF Technical Note 2
        jbig = 9,
        jbig_color = 10,
        pack_bits = 32773,
    };
    enum class FillOrder : std::int32_t { absent = 0, high_bit_first = 1, low_bit_first = 2 };
    enum class Orientation : std::int32_t { absent = 0, top_left = 1 };
    enum class PhotometricInterpretation : std::int32_t {
        absent = -1,
        white_is_zero = 0,
        black_is_zero = 1,
        rgb = 2,
        palette = 3,
        mask = 4,
        separated = 5,
        ycbcr = 6,
        cie_lab = 8,
        icc_lab = 9,
        itu_lab = 10,
    };
    enum class PlanarConfiguration : std::int32_t { chunky = 1, planar = 2 };
    enum class Predictor : std::int32_t { absent = 0, none = 1, horizontal = 2 };
    enum class ResolutionUnit : std::int32_t { absent = -1, none = 1, inch = 2, centimetre = 3 };
    enum class T4Options : std::uint32_t {
        none = 0,
        two_dimensional = 1,
        uncompressed = 2,
        fill = 4
    };
    enum class T6Options : std::uint32_t { none = 0, uncompressed = 2 };
    enum class YCbCrPositioning : std::int32_t { centered = 1, cosited = 2 };
    enum class ExtraSample : std::int32_t { unspecified = 0, associated_alpha = 1, alpha = 2 };

    using Rational = NUV_TIFFRational<std::uint32_t>;
    using Text = NUV_BasicString<char>;

    // A RowsPerStrip that stands for all lines.
    static constexpr std::uint32_t all_rows = 0xFFFFFFFF;

    explicit NUV_TIFFAttributes(NUV_Manager& manager) noexcept;

    std::uint32_t image_width = 0;  // pixels
    std::uint32_t image_length = 0; // lines
    NUV_Vector<std::uint16_t> bits_per_sample;
    std::uint16_t samples_per_pixel = 0;
    PlanarConfiguration planar_configuration = PlanarConfiguration::chunky;
    Compression compression = Compression::absent;
    Orientation orientation = Orientation::absent;
    FillOrder fill_order = FillOrder::absent;
    YCbCrPositioning ycbcr_positioning = YCbCrPositioning::centered;
    NUV_Vector<std::uint16_t> ycbcr_subsampling; // across and down
    Rational x_resolution;
    Rational y_resolution;
    ResolutionUnit resolution_unit = ResolutionUnit::absent;
    T4Options t4_options = T4Options::none;
    T6Options t6_options = T6Options::none;
    std::uint32_t rows_per_strip = all_rows;
    std::uint32_t tile_width = 0;
    NUV_Vector<ExtraSample> extra_samples;
    Predictor predictor = Predictor::absent;
    NUV_PackedNumbers strip_offsets;
    NUV_PackedNumbers strip_byte_counts;       // 0: to the end of the storage
    std::uint32_t jpeg_interchange_format = 0; // offset of a whole JPEG stream
    std::uint32_t jpeg_interchange_format_length = 0;
    NUV_Vector<std::uint8_t> jpeg_tables;
    PhotometricInterpretation photometric_interpretation = PhotometricInterpretation::absent;
    NUV_Vector<std::uint16_t> color_map; // all reds, all greens, all blues
    NUV_Vector<std::uint16_t> transfer_function;
    NUV_Vector<Rational> white_point;
    NUV_Vector<Rational> primary_chromaticities;
    NUV_Vector<Rational> ycbcr_coefficients;
    NUV_Vector<Rational> reference_black_white;
    Text document_name;
    Text image_description;
    Text make;
    Text model;
    Text page_name;
    Text software;
    Text date_time;
    Text artist;
    Text host_computer;
    Text copyright;
    NUV_Vector<std::uint32_t> sub_ifds;

    // The samples of a pixel stand in different strips. Of one sample there is nothing to part.
    [[nodiscard]] bool is_planar() const noexcept
    {
        return planar_configuration == PlanarConfiguration::planar && samples_per_pixel > 1;
    }
    // Chroma has fewer samples than luma (TIFF 6.0, section 21).
    [[nodiscard]] bool is_subsampled() const noexcept;
    [[nodiscard]] bool has(T4Options option) const noexcept
    {
        return (static_cast<std::uint32_t>(t4_options) & static_cast<std::uint32_t>(option)) != 0;
    }
    [[nodiscard]] bool has(T6Options option) const noexcept
    {
        return (static_cast<std::uint32_t>(t6_options) & static_cast<std::uint32_t>(option)) != 0;
    }
};

} // namespace nuv
