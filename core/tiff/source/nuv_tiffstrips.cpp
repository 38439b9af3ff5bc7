#include "core/tiff/source/nuv_tiffstrips.h"

#include "core/storage/nuv_readstorage.h"
#include "core/tiff/nuv_readtiffcode.h"
#include "core/tiff/source/nuv_mirroredinputstorage.h"
#include "framework/base/nuv_checkedsize.h"
#include "framework/base/nuv_failure.h"
#include "framework/base/nuv_status.h"
#include "framework/engine/nuv_engine.h"
#include "framework/io/nuv_checkedstream.h"
#include "framework/io/nuv_inputstoragebound.h"
#include "framework/io/nuv_moveinmoveoutinputstorage.h"
#include "framework/io/nuv_stripcombineinputstorage.h"

#include <algorithm>
#include <bit>
#include <limits>
#include <utility>

namespace nuv {
namespace {

using Compression = NUV_TIFFAttributes::Compression;

constexpr std::uint64_t last_position = std::numeric_limits<std::int32_t>::max();

std::uint32_t bytes_of(const NUV_InputStorage& storage)
{
    return static_cast<std::uint32_t>(std::max(storage.size(), 0));
}

// Strips are counted from 1 for people.
NUV_Diagnosis begins_behind_end(std::size_t index, std::size_t all, std::uint32_t offset,
                                std::uint32_t storage_bytes) noexcept
{
    return NUV_Diagnosis()
        .because(NUV_Cause::damaged)
        .says("strip %zu of %zu is said to begin at byte %u, of %u there are", index + 1, all,
              offset, storage_bytes);
}

// The bits of the strip's bytes are stored the other way round.
bool is_reversed(const NUV_TIFFInfo& info, NUV_InputStorage& strip)
{
    if (info.fill_order != NUV_TIFFAttributes::FillOrder::low_bit_first)
        return false;
    // JPEG strips are stored plainly by most writers, whatever the tag says.
    return info.encode_type() != NUV_EncodeType::jpeg || !begins_as_jpeg(strip);
}

} // namespace

bool begins_as_jpeg(NUV_InputStorage& strip)
{
    std::uint8_t begin[2] = {};
    const bool is_jpeg = read_exactly(strip, begin, 2) && begin[0] == 0xFF && begin[1] == 0xD8;
    strip.to_begin();
    return is_jpeg;
}

bool check_tiff_begin(NUV_Manager& manager, const NUV_InputStorage& storage, std::uint32_t offset,
                      std::size_t index, std::size_t all)
{
    const std::uint32_t storage_bytes = bytes_of(storage);
    if (offset <= storage_bytes)
        return true;
    return fail(manager, NUV_ERR_IO, "NUV_ReadTIFFCode::create_engine()",
                begins_behind_end(index, all, offset, storage_bytes));
}

NUV_TIFFRange tiff_range(const NUV_InputStorage& storage, const NUV_TIFFStrip& strip) noexcept
{
    const std::uint32_t there = bytes_of(storage) - strip.offset;
    const std::uint32_t bytes = strip.bytes == 0 ? there : std::min(strip.bytes, there);
    return {static_cast<std::int32_t>(strip.offset),
            static_cast<std::int32_t>(strip.offset + bytes)};
}

NUV_TIFFStrips::NUV_TIFFStrips(const NUV_TIFFInfo& info) noexcept
    : info_(info),
      is_raw_(info.compression == Compression::none),
      is_one_stream_(info.compression == Compression::old_jpeg),
      has_small_planes_(info.is_planar() && info.is_subsampled()),
      planes_(info.is_planar() ? info.samples_per_pixel : 1),
      per_plane_(is_one_stream_ ? 1 : info.strips_per_plane())
{
    if (is_raw_)
        usual_raw_bytes_ = raw_bytes({.width = info.image_width, .height = info.rows_per_strip});
}

NUV_TIFFStrip NUV_TIFFStrips::operator[](std::size_t index) const noexcept
{
    if (is_one_stream_)
        return jpeg_stream();
    const bool is_first_plane = index < per_plane_;
    const std::size_t in_plane = is_first_plane ? index : index % per_plane_;
    const auto lines_above = static_cast<std::uint32_t>(in_plane * info_.rows_per_strip);
    NUV_TIFFStrip strip = {
        .offset = info_.strip_offsets[index],
        .bytes = info_.strip_byte_counts[index],
        .width = info_.image_width,
        .height = std::min(info_.rows_per_strip, info_.image_length - lines_above),
    };
    const bool is_small = has_small_planes_ && !is_first_plane;
    if (is_small) {
        strip.width /= info_.ycbcr_subsampling[0];
        strip.height /= info_.ycbcr_subsampling[1];
    }
    // What a raw strip has is known: many counts are missing, too small, or count what fills up the
    // strip.
    if (is_raw_) {
        const bool is_usual = !is_small && strip.height == info_.rows_per_strip;
        strip.bytes = is_usual ? usual_raw_bytes_ : raw_bytes(strip);
    }
    return strip;
}

bool NUV_TIFFStrips::check_count(NUV_Manager& manager) const
{
    constexpr std::size_t most = NUV_ReadTIFFCode::most_strips;
    if (size() <= most)
        return true;
    return fail(manager, NUV_ERR_UNSUPPORTED, "NUV_ReadTIFFCode::engine()",
                NUV_Diagnosis().says("%zu strips, served are %zu", size(), most));
}

bool NUV_TIFFStrips::check_begin(NUV_Manager& manager, const NUV_InputStorage& storage,
                                 std::size_t index) const
{
    return check_tiff_begin(manager, storage, (*this)[index].offset, index, size());
}

// TIFF 6.0, section 22: the stream of JPEGInterchangeFormat, which some writers end in front of its
// coded data.
NUV_TIFFStrip NUV_TIFFStrips::jpeg_stream() const noexcept
{
    const std::uint64_t begin = info_.jpeg_interchange_format;
    std::uint64_t end = begin + info_.jpeg_interchange_format_length;
    const std::size_t last = info_.strip_offsets.size() - 1;
    end = std::max(end, std::uint64_t{info_.strip_offsets[last]} + info_.strip_byte_counts[last]);
    return {.offset = info_.jpeg_interchange_format,
            .bytes = static_cast<std::uint32_t>(std::min(end - begin, last_position)),
            .width = info_.image_width,
            .height = info_.image_length};
}

std::uint32_t NUV_TIFFStrips::raw_bytes(const NUV_TIFFStrip& strip) const noexcept
{
    const std::uint32_t samples = info_.is_planar() ? 1 : info_.samples_per_pixel;
    std::uint64_t bytes = 0;
    if (info_.is_subsampled() && !info_.is_planar()) {
        // Whole units: their luma, one Cb and one Cr.
        const std::uint64_t across = info_.ycbcr_subsampling[0];
        const std::uint64_t down = info_.ycbcr_subsampling[1];
        const std::uint64_t units_across = (strip.width + across - 1) / across;
        const std::uint64_t units_down = (strip.height + down - 1) / down;
        const std::uint64_t units = units_across * units_down;
        bytes = units > last_position ? units : units * (across * down + 2);
    } else {
        const auto line = checked_line_bytes(samples, info_.bits_per_sample[0], strip.width);
        bytes =
            line.value_or(static_cast<std::uint32_t>(last_position)) * std::uint64_t{strip.height};
    }
    return static_cast<std::uint32_t>(std::min(bytes, last_position));
}

NUV_Held<NUV_InputStorage> open_tiff_strip(NUV_Manager& manager, NUV_InputStorage* storage,
                                           const NUV_TIFFStrips& strips, std::size_t index)
{
    if (!strips.check_begin(manager, *storage, index))
        return {};
    const NUV_TIFFRange range = tiff_range(*storage, strips[index]);
    const auto own = make_initiated<NUV_MoveInMoveOutInputStorage>(manager, storage, range.begin);
    if (!own)
        return {};
    return make_initiated<NUV_InputStorageBound>(manager, own.get(), range.begin,
                                                 range.end - range.begin);
}

NUV_TIFFStripStream::NUV_TIFFStripStream(NUV_Manager& manager,
                                         const NUV_InputStorage& storage) noexcept
    : manager_(manager),
      offsets_(manager),
      byte_counts_(manager),
      storage_bytes_(bytes_of(storage))
{}

NUV_Diagnosis NUV_TIFFStripStream::early_end() const noexcept
{
    if (is_whole_)
        return {};
    if (last_offset_ > storage_bytes_)
        return begins_behind_end(before_ + count_ - 1, all_, last_offset_, storage_bytes_);
    return NUV_Diagnosis()
        .at_byte(storage_bytes_)
        .says("strip %zu of %zu ends %u bytes early", before_ + count_, all_, missing_);
}

bool NUV_TIFFStripStream::make_room(std::size_t strips, std::size_t before, std::size_t all,
                                    const Bytes& bytes)
{
    count_ = 0;
    before_ = before;
    all_ = all;
    return offsets_.reserve(strips, bytes.offset) && byte_counts_.reserve(strips, bytes.count);
}

NUV_Held<NUV_InputStorage> NUV_TIFFStripStream::open(NUV_InputStorage* storage)
{
    NUV_PackedNumbers offsets(manager_);
    NUV_PackedNumbers byte_counts(manager_);
    hand_on(offsets, byte_counts);
    return make_initiated<NUV_StripCombineInputStorage>(manager_, storage, std::move(offsets),
                                                        std::move(byte_counts));
}

void NUV_TIFFStripStream::hand_on(NUV_PackedNumbers& offsets, NUV_PackedNumbers& byte_counts)
{
    offsets.swap(offsets_);
    byte_counts.swap(byte_counts_);
}

NUV_InputStorage* turn_tiff_bits(NUV_Manager& manager, NUV_InputStorage* bytes,
                                 const NUV_TIFFInfo& info, NUV_Held<NUV_InputStorage>& mirrored)
{
    if (!is_reversed(info, *bytes))
        return bytes;
    mirrored = make_initiated<NUV_MirroredInputStorage>(manager, bytes);
    return mirrored.get();
}

NUV_Engine* read_tiff_bytes(NUV_Manager& manager, NUV_InputStorage* bytes, const NUV_Header& header,
                            const NUV_TIFFInfo& info, const NUV_Diagnosis& early_end)
{
    NUV_Held<NUV_InputStorage> mirrored;
    NUV_InputStorage* const source = turn_tiff_bits(manager, bytes, info, mirrored);
    const bool is_host_order = (std::endian::native == std::endian::little) ==
                               (info.byte_order() == NUV_TIFFByteOrder::little_endian);
    return source ? NUV_ReadStorage(manager).engine(source, &header, 0, 0, is_host_order ? 1 : 0,
                                                    early_end)
                  : nullptr;
}

bool describe_tiff_strip(NUV_Header& header, const NUV_TIFFInfo& info, bool keeps_palette)
{
    if (keeps_palette && !header.palette().copy(info.palette()))
        return false;
    header.bits(info.bits());
    header.data_type(info.data_type());
    header.encode_type(info.encode_type());
    header.channels(info.is_planar() ? std::uint16_t{1} : info.channels());
    const bool has_color = !info.is_planar() && (keeps_palette || info.palette().is_empty());
    header.color_type(has_color ? info.color_type() : NUV_ColorType::unknown);
    if (!info.is_planar() && info.is_subsampled() && header.is_raw())
        header.encode_type(NUV_EncodeType::unknown);
    return true;
}

bool check_tiff_layout(NUV_Manager& manager, const NUV_TIFFInfo& info, const char* no_planes,
                       const char* child_images)
{
    if (info.planar_configuration == NUV_TIFFAttributes::PlanarConfiguration::planar &&
        info.samples_per_pixel == 1)
        warn(manager, NUV_WARN_INVALID_DATA, no_planes);
    if (!info.sub_ifds.empty())
        warn(manager, NUV_WARN_UNSUPPORTED, child_images);
    return info.tile_width == 0;
}

void end_engines(NUV_Vector<NUV_Engine*>& engines)
{
    for (NUV_Engine* engine : engines.items()) {
        if (engine)
            engine->end();
    }
    engines.clear();
}

} // namespace nuv
