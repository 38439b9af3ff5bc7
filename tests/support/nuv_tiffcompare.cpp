#include "tests/support/nuv_tiffcompare.h"

#include "core/tiff/nuv_readtiff.h"
#include "framework/io/nuv_bytearrayinputstorage.h"
#include "tests/support/nuv_model_tiff.h"
#include "tests/support/nuv_testchain.h"

namespace nuv {
namespace {

using Numbers = model::Numbers;

// An attribute as numbers.
template <class T>
Numbers numbers(const T& value)
{
    Numbers all;
    if constexpr (std::is_same_v<T, NUV_TIFFAttributes::Rational>) {
        if (value.set)
            all = {std::uint64_t{value.numerator} << 32 | value.denominator};
    } else if constexpr (requires { value.size(); }) {
        for (std::size_t i = 0; i < value.size(); ++i)
            all.push_back(numbers(value[i]).at(0));
    } else {
        all = {static_cast<std::uint32_t>(value) & (sizeof(T) == 1 ? 0xFF : 0xFFFFFFFF)};
    }
    return all;
}

std::map<std::uint64_t, Numbers> attributes_of(const NUV_TIFFAttributes& all)
{
    // clang-format off
    return {
        {0x100, numbers(all.image_width)}, {0x101, numbers(all.image_length)}, {0x102, numbers(all.bits_per_sample)},
        {0x103, numbers(all.compression)}, {0x106, numbers(all.photometric_interpretation)}, {0x10A, numbers(all.fill_order)},
        {0x10D, numbers(all.document_name)}, {0x10E, numbers(all.image_description)}, {0x10F, numbers(all.make)},
        {0x110, numbers(all.model)}, {0x111, numbers(all.strip_offsets)}, {0x112, numbers(all.orientation)},
        {0x115, numbers(all.samples_per_pixel)}, {0x116, numbers(all.rows_per_strip)}, {0x117, numbers(all.strip_byte_counts)},
        {0x11A, numbers(all.x_resolution)}, {0x11B, numbers(all.y_resolution)}, {0x11C, numbers(all.planar_configuration)},
        {0x11D, numbers(all.page_name)}, {0x124, numbers(all.t4_options)}, {0x125, numbers(all.t6_options)},
        {0x128, numbers(all.resolution_unit)}, {0x12D, numbers(all.transfer_function)}, {0x131, numbers(all.software)},
        {0x132, numbers(all.date_time)}, {0x13B, numbers(all.artist)}, {0x13C, numbers(all.host_computer)},
        {0x13D, numbers(all.predictor)}, {0x13E, numbers(all.white_point)}, {0x13F, numbers(all.primary_chromaticities)},
        {0x140, numbers(all.color_map)}, {0x142, numbers(all.tile_width)}, {0x14A, numbers(all.sub_ifds)},
        {0x152, numbers(all.extra_samples)}, {0x15B, numbers(all.jpeg_tables)}, {0x201, numbers(all.jpeg_interchange_format)},
        {0x202, numbers(all.jpeg_interchange_format_length)}, {0x211, numbers(all.ycbcr_coefficients)},
        {0x212, numbers(all.ycbcr_subsampling)}, {0x213, numbers(all.ycbcr_positioning)},
        {0x214, numbers(all.reference_black_white)}, {0x8298, numbers(all.copyright)}};
    // clang-format on
}

class Comparison {
public:
    Comparison(const model::TIFFFile& wanted, std::uint32_t page)
        : wanted_(wanted),
          page_(page),
          storage_(make_initiated<NUV_ByteArrayInputStorage>(
              chain_.manager(), wanted.bytes.data(),
              static_cast<std::int32_t>(wanted.bytes.size()))),
          info_(chain_.manager())
    {}

    void run(std::optional<std::uint32_t> directory)
    {
        const auto order = static_cast<NUV_TIFFByteOrder>(wanted_.little ? 1 : 0);
        loaded(directory ? info_.load(storage_.get(), *directory, order, page_)
                         : info_.load(storage_.get(), page_));
        if (info_.loaded() && wanted_.loaded)
            picture();
    }
    [[nodiscard]] std::string differences() const { return differences_.str(); }

private:
    template <class T, class U>
    void same(const char* what, const T& got, const U& wanted)
    {
        if (!(got == wanted))
            differences_ << what << ": " << got << " in place of " << wanted << "; ";
    }
    void same_status(const model::Status& wanted)
    {
        same("code", chain_.status().code, wanted.code);
        same("text", std::string(chain_.status().method), wanted.text);
    }

    void loaded(bool got)
    {
        same("loaded", got, wanted_.loaded);
        same_status(wanted_.status);
        same("position", got ? 0 : storage_->position(), 0);
        if (!got || !wanted_.loaded)
            return;
        for (const auto& [tag, values] : attributes_of(info_)) {
            if (values != wanted_.attributes.at(tag))
                differences_ << "tag " << tag << "; ";
        }
        const auto* palette = info_.palette().value();
        const std::size_t palette_bytes = std::size_t{3} * info_.palette().entries;
        const std::tuple described(
            info_.next_ifd_offset(), info_.bits(), info_.channels(),
            std::string(info_.encode_type()->key()), std::string(info_.color_type()->key()),
            std::vector(palette, palette + palette_bytes), info_.resolution().x,
            info_.resolution().y, info_.resolution().unit);
        if (described != std::tuple(wanted_.next_directory, wanted_.bits, wanted_.channels,
                                    wanted_.encoding, wanted_.color, wanted_.palette,
                                    wanted_.resolution[0], wanted_.resolution[1],
                                    wanted_.resolution_unit))
            differences_ << "description; ";
    }

    void picture()
    {
        const model::TIFFPicture wanted = model::read_tiff(wanted_);
        NUV_Vector<NUV_Engine*> extras(chain_.manager());
        // To see both ways; each that is asked for has engines of its own.
        const bool drops_extras = wanted_.bytes.size() % 2 == 0 || info_.extra_samples.size() > 64;
        chain_.last(NUV_ReadTIFF(chain_.manager())
                        .engine(storage_.get(), &info_, drops_extras ? nullptr : &extras, true));
        if (wanted.known)
            same("built", chain_.last() != nullptr, wanted.built);
        if (wanted.built && chain_.last())
            samples(wanted, 0, wanted.channels, wanted.color);
        else if (chain_.last() && std::uint64_t{info_.width()} * info_.height() <= most_pixels)
            static_cast<void>(chain_.run_bytes());
        if (wanted.known && !wanted.status.text.empty())
            same_status(wanted.status);
        for (std::size_t i = 0; wanted.built && i < extras.size(); ++i) {
            chain_.last(extras[i]);
            samples(wanted, wanted.channels + i, 1, "unknown");
        }
        memory(wanted.built ? wanted.strips.size() : info_.strip_offsets.size());
    }
    // Of these channels.
    void samples(const model::TIFFPicture& wanted, std::size_t first, std::size_t count,
                 const std::string& color)
    {
        const NUV_Header& header = chain_.header();
        if (std::tuple(header.width(), header.height(), header.bits(), header.channels(),
                       std::string(header.color_type()->key())) !=
            std::tuple(info_.width(), info_.height(), wanted.bits, count, color))
            differences_ << "description of what is read; ";
        const std::size_t line_bytes = header.line_bytes();
        const Bytes got = chain_.run_bytes();
        if (first == 0) // planes of other samples may end before
            same("bytes", got.size(), wanted.lines.size() * line_bytes);
        for (std::size_t y = 0; y * line_bytes < got.size() && y < wanted.lines.size(); ++y) {
            const model::Numbers& line = wanted.lines[y];
            for (std::size_t i = 0; i < info_.width() * count; ++i) {
                const std::size_t pixel = i / count * (line.size() / info_.width());
                if (model::sample_at(&got[y * line_bytes], wanted.bits, i, true) !=
                    line[pixel + first + i % count]) {
                    differences_ << "sample " << i << " of line " << y << "; ";
                    return;
                }
            }
        }
    }
    void memory(std::size_t strips)
    {
        std::uint64_t most = std::uint64_t{4} << 20;
        most += 64 * ((std::uint64_t{info_.channels()} * info_.bits() * info_.width() + 7) / 8);
        for (const auto& [tag, entry] : wanted_.entries)
            most += 4 * entry.bytes;
        most += 2048 * strips;
        const std::uint64_t peak = chain_.manager().memory().most_live_bytes();
        same("memory", std::max(peak, most), most);
    }

    static constexpr std::uint64_t most_pixels = std::uint64_t{1} << 22; // that are read

    const model::TIFFFile& wanted_;
    std::uint32_t page_;
    NUV_TestChain chain_;
    NUV_Held<NUV_ByteArrayInputStorage> storage_;
    NUV_TIFFInfo info_;
    std::ostringstream differences_;
};

} // namespace

std::string tiff_difference(std::span<const std::uint8_t> file, std::uint32_t page,
                            std::optional<std::uint32_t> directory)
{
    const model::TIFFFile wanted = model::load_tiff(file, page, directory);
    Comparison comparison(wanted, page);
    comparison.run(directory);
    return comparison.differences();
}

} // namespace nuv
