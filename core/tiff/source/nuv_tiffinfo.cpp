#include "core/tiff/nuv_tiffinfo.h"

#include "core/tiff/nuv_tiffresolution.h"
#include "framework/base/nuv_failure.h"
#include "framework/base/nuv_status.h"

#include <algorithm>
#include <tuple>
#include <type_traits>

namespace nuv {
namespace {

using Rational = NUV_TIFFAttributes::Rational;

// Stands for an empty vector or text.
struct Empty {};
constexpr Empty empty;

// Visits all attributes in the order of reading, until a visit is false.
template <class Visit>
bool visit_attributes(NUV_TIFFAttributes& attributes, Visit visit)
{
    using Compression = NUV_TIFFAttributes::Compression;
    using FillOrder = NUV_TIFFAttributes::FillOrder;
    using Orientation = NUV_TIFFAttributes::Orientation;
    using PhotometricInterpretation = NUV_TIFFAttributes::PhotometricInterpretation;
    using PlanarConfiguration = NUV_TIFFAttributes::PlanarConfiguration;
    using Predictor = NUV_TIFFAttributes::Predictor;
    using ResolutionUnit = NUV_TIFFAttributes::ResolutionUnit;
    using T4Options = NUV_TIFFAttributes::T4Options;
    using T6Options = NUV_TIFFAttributes::T6Options;
    using YCbCrPositioning = NUV_TIFFAttributes::YCbCrPositioning;
#define NUV_TIFF_TAG(number, attribute, value) &&visit(number, attributes.attribute, value)
    return true
#include "core/tiff/source/nuv_tifftags.inc"
        ;
#undef NUV_TIFF_TAG
}

// Puts an attribute back to what it is before loading.
struct Reset {
    template <class T, class Value>
    bool operator()(std::uint16_t /*number*/, T& attribute, const Value& value) const
    {
        if constexpr (std::is_same_v<Value, Empty>)
            attribute.clear();
        else
            attribute = static_cast<T>(value);
        return true;
    }
};

// Reads an attribute by the getter of its type.
class Read {
public:
    Read(NUV_Manager& manager, NUV_TIFFImageFileDirectory& directory) noexcept
        : manager_(manager),
          directory_(directory)
    {}

    template <class T, class Value>
    bool operator()(std::uint16_t number, T& attribute, const Value& /*value*/) const
    {
        if constexpr (std::is_integral_v<T>) {
            std::ignore = first<T>(number, attribute);
        } else if constexpr (std::is_enum_v<T>) {
            std::uint32_t value = 0;
            if (first(number, value))
                attribute = static_cast<T>(value);
        } else if constexpr (std::is_same_v<T, Rational>) {
            QDTIFF_Rational_T<std::uint32_t> value;
            if (first(number, value))
                attribute = {value.numerator, value.denominator, true};
        } else {
            return all(number, attribute);
        }
        return true;
    }

private:
    template <class T>
    bool first(std::uint16_t number, T& value) const
    {
        return NUV_TIFFTagValueGetter<T, NUV_Vector<T>>(manager_, directory_)
            .get_first(number, value);
    }
    template <class T>
    bool all(std::uint16_t number, NUV_Vector<T>& values) const
    {
        return NUV_TIFFTagValueGetter<T, NUV_Vector<T>>(manager_, directory_)
            .get_values(number, values);
    }
    bool all(std::uint16_t number, NUV_PackedNumbers& values) const
    {
        return NUV_TIFFNumbersGetter(manager_, directory_).get_values(number, values);
    }
    bool all(std::uint16_t number, NUV_Vector<Rational>& values) const
    {
        return NUV_TIFFRationalGetter<std::uint32_t, Rational>(manager_, directory_)
            .get_values(number, values);
    }
    bool all(std::uint16_t number, NUV_Vector<NUV_TIFFAttributes::ExtraSample>& values) const
    {
        return NUV_TIFFEnumGetter<NUV_TIFFAttributes::ExtraSample, std::uint16_t>(manager_,
                                                                                  directory_)
            .get_values(number, values);
    }
    bool all(std::uint16_t number, NUV_TIFFAttributes::Text& text) const
    {
        return NUV_TIFFAsciiGetter(manager_, directory_).get_values(number, text);
    }

    NUV_Manager& manager_;
    NUV_TIFFImageFileDirectory& directory_;
};

// The image on a page of a file.
class FileLoader final : public NUV_TIFFInfo::IFDLoader {
public:
    explicit FileLoader(NUV_Manager& manager, std::uint32_t page) noexcept
        : manager_(manager),
          page_(page)
    {}
    [[nodiscard]] bool load(NUV_InputStorage* storage,
                            NUV_TIFFImageFileDirectory& directory) override
    {
        NUV_TIFFImageFileHeader header(manager_);
        return header.load(storage) &&
               directory.load(storage, header.first_ifd_offset(), header.byte_order(), page_);
    }

private:
    NUV_Manager& manager_;
    std::uint32_t page_;
};

// The image of a directory whose place is known.
class OffsetLoader final : public NUV_TIFFInfo::IFDLoader {
public:
    OffsetLoader(std::uint32_t offset, NUV_TIFFByteOrder order, std::uint32_t page) noexcept
        : offset_(offset),
          order_(order),
          page_(page)
    {}
    [[nodiscard]] bool load(NUV_InputStorage* storage,
                            NUV_TIFFImageFileDirectory& directory) override
    {
        return directory.load(storage, offset_, order_, page_);
    }

private:
    std::uint32_t offset_;
    NUV_TIFFByteOrder order_;
    std::uint32_t page_;
};

} // namespace

NUV_TIFFAttributes::NUV_TIFFAttributes(NUV_Manager& manager) noexcept
    : bits_per_sample(manager),
      ycbcr_subsampling(manager),
      extra_samples(manager),
      strip_offsets(manager),
      strip_byte_counts(manager),
      jpeg_tables(manager),
      color_map(manager),
      transfer_function(manager),
      white_point(manager),
      primary_chromaticities(manager),
      ycbcr_coefficients(manager),
      reference_black_white(manager),
      document_name(manager),
      image_description(manager),
      make(manager),
      model(manager),
      page_name(manager),
      software(manager),
      date_time(manager),
      artist(manager),
      host_computer(manager),
      copyright(manager),
      sub_ifds(manager)
{}

bool NUV_TIFFAttributes::is_subsampled() const noexcept
{
    const bool has_chroma = photometric_interpretation == PhotometricInterpretation::ycbcr ||
                            photometric_interpretation == PhotometricInterpretation::icc_lab ||
                            photometric_interpretation == PhotometricInterpretation::itu_lab;
    return has_chroma && ycbcr_subsampling.size() >= 2 &&
           (ycbcr_subsampling[0] != 1 || ycbcr_subsampling[1] != 1);
}

bool NUV_TIFFInfo::load(NUV_InputStorage* storage, std::uint32_t page)
{
    FileLoader loader(manager(), page);
    return load_from(storage, loader);
}

bool NUV_TIFFInfo::load(NUV_InputStorage* storage, std::uint32_t offset, NUV_TIFFByteOrder order,
                        std::uint32_t page)
{
    OffsetLoader loader(offset, order, page);
    return load_from(storage, loader);
}

bool NUV_TIFFInfo::load_from(NUV_InputStorage* storage, IFDLoader& loader)
{
    const auto parse = [&](NUV_InputStorage* open) { return load_internal(open, loader); };
    // Without a storage that can be read the refusal is the parser's.
    if (!storage || storage->is_closed()) {
        unload();
        return parse(storage);
    }
    return load_by(storage, parse);
}

bool NUV_TIFFInfo::load_internal(NUV_InputStorage* storage)
{
    FileLoader loader(manager(), 0);
    return load_internal(storage, loader);
}

bool NUV_TIFFInfo::load_internal(NUV_InputStorage* storage, IFDLoader& loader)
{
    if (!storage || storage->is_closed())
        return fail(manager(), NUV_ERR_ARGUMENT, "NUV_TIFFInfo::load_internal()");
    {
        NUV_TIFFImageFileDirectory directory(manager());
        if (!loader.load(storage, directory))
            return false;
        next_ifd_offset_ = directory.next_ifd_offset();
        byte_order_ = directory.byte_order();
        if (!load_attributes(directory))
            return false;
    }
    if (!set_default() || !validate() || !to_header())
        return false;
    set_resolution();
    return true;
}

bool NUV_TIFFInfo::load_attributes(NUV_TIFFImageFileDirectory& directory)
{
    visit_attributes(*this, Reset());
    return visit_attributes(*this, Read(manager(), directory));
}

bool NUV_TIFFInfo::set_default()
{
    if (samples_per_pixel == 0)
        samples_per_pixel = 1;
    if (bits_per_sample.empty()) {
        if (!bits_per_sample.resize(samples_per_pixel))
            return fail(manager(), NUV_ERR_MEMORY, "NUV_TIFFInfo::set_default()");
        std::ranges::fill(bits_per_sample.items(), std::uint16_t{1});
    }
    if (orientation == Orientation::absent)
        orientation = Orientation::top_left;
    if (resolution_unit == ResolutionUnit::absent)
        resolution_unit = ResolutionUnit::inch;
    if (rows_per_strip == all_rows)
        rows_per_strip = image_length;
    return true;
}

const NUV_ColorType* NUV_TIFFInfo::photometric_color() const noexcept
{
    const bool is_ccitt = compression == Compression::ccitt_1d || compression == Compression::t4 ||
                          compression == Compression::t6;
    switch (photometric_interpretation) {
    case PhotometricInterpretation::white_is_zero:
        return NUV_ColorType::gray_reverse;
    case PhotometricInterpretation::black_is_zero:
        // The decoders of facsimile data deliver 1 for black, whatever the file calls it.
        return is_ccitt ? NUV_ColorType::gray_reverse : NUV_ColorType::gray;
    case PhotometricInterpretation::rgb:
    case PhotometricInterpretation::palette:
        return NUV_ColorType::s_rgb;
    case PhotometricInterpretation::mask:
        return NUV_ColorType::gray;
    case PhotometricInterpretation::separated:
        return samples_per_pixel == 3 ? NUV_ColorType::cmy : NUV_ColorType::cmyk;
    case PhotometricInterpretation::ycbcr:
        return NUV_ColorType::ycbcr;
    case PhotometricInterpretation::cie_lab:
    case PhotometricInterpretation::icc_lab:
        return samples_per_pixel == 1 ? NUV_ColorType::lstar : NUV_ColorType::icc_lab;
    case PhotometricInterpretation::itu_lab:
        return samples_per_pixel == 1 ? NUV_ColorType::lstar : NUV_ColorType::itu_lab;
    default:
        return NUV_ColorType::unknown;
    }
}

const NUV_EncodeType* NUV_TIFFInfo::coding() const noexcept
{
    switch (compression) {
    case Compression::none:
        return NUV_EncodeType::raw;
    case Compression::ccitt_1d:
        return NUV_EncodeType::mh;
    case Compression::t4:
        return has(T4Options::two_dimensional) ? NUV_EncodeType::mr : NUV_EncodeType::mh;
    case Compression::t6:
        return NUV_EncodeType::mmr;
    case Compression::lzw:
        return NUV_EncodeType::lzw;
    case Compression::old_jpeg:
    case Compression::jpeg:
        return NUV_EncodeType::jpeg;
    case Compression::jbig:
        return NUV_EncodeType::jbig;
    case Compression::jbig_color:
        return NUV_EncodeType::jbigcolor;
    case Compression::pack_bits:
        return NUV_EncodeType::pack_bits;
    default:
        return NUV_EncodeType::unknown;
    }
}

bool NUV_TIFFInfo::to_header()
{
    width(image_width);
    height(image_length);
    color_type(extra_samples.empty() ? photometric_color() : NUV_ColorType::unknown);
    encode_type(coding());
    data_type(NUV_DataType::u_integer);
    bits(bits_per_sample[0]);
    const bool has_palette = photometric_interpretation == PhotometricInterpretation::palette;
    if (!set_palette())
        return false;
    if (color_type() == NUV_ColorType::unknown)
        channels(samples_per_pixel);
    else
        channels(static_cast<std::uint16_t>(has_palette ? 1 : color_type()->channels()));
    return true;
}

// Of the numbers of a colour map only the high byte survives. A map too short for one entry leaves
// a palette that is not valid, and so a picture that nobody reads.
bool NUV_TIFFInfo::set_palette()
{
    constexpr std::size_t colors = 3;

    NUV_Palette& map = palette();
    map.bits = map.channels = 0;
    map.entries = 0;
    if (!map.value(nullptr, 0))
        return false;
    if (photometric_interpretation != PhotometricInterpretation::palette || color_map.empty())
        return true;

    const std::size_t stride = color_map.size() / colors;
    const std::size_t count = std::min<std::size_t>(stride, most_colors());
    map.bits = 8;
    map.channels = colors;
    map.entries = static_cast<std::uint32_t>(count);
    if (count == 0)
        return true;
    NUV_Vector<std::uint8_t> entries(manager());
    if (!entries.resize(count * colors))
        return false;
    for (std::size_t i = 0; i < entries.size(); ++i)
        entries[i] = static_cast<std::uint8_t>(color_map[i % colors * stride + i / colors] >> 8);
    return map.value(entries.data(), static_cast<std::uint32_t>(entries.size()));
}

std::uint32_t NUV_TIFFInfo::most_colors() const noexcept
{
    constexpr std::uint32_t most_bits = 16;
    return std::uint32_t{1} << std::min<std::uint32_t>(bits_per_sample[0], most_bits);
}

void NUV_TIFFInfo::set_resolution()
{
    resolution_ =
        tiff_resolution(x_resolution, y_resolution, static_cast<std::uint32_t>(resolution_unit));
}

} // namespace nuv
