#include "core/tiff/nuv_readtiff.h"

#include "core/align/nuv_aligny.h"
#include "core/ccitt/nuv_decodeccitt.h"
#include "core/channel/nuv_mergechannel.h"
#include "core/channel/nuv_selectchannel.h"
#include "core/lut/nuv_lut.h"
#include "core/lut/nuv_lutdata.h"
#include "core/scale/nuv_scaleire.h"
#include "core/tiff/nuv_convertbits4to8.h"
#include "core/tiff/nuv_readtiffcode.h"
#include "core/tiff/nuv_upsamplechroma.h"
#include "core/tiff/source/nuv_tiffjpegstrips.h"
#include "core/tiff/source/nuv_tiffpackbits.h"
#include "core/tiff/source/nuv_tiffstrips.h"
#include "framework/base/nuv_failure.h"
#include "framework/base/nuv_held.h"
#include "framework/base/nuv_status.h"
#include "framework/engine/nuv_nop.h"
#include "framework/io/nuv_moveinmoveoutinputstorage.h"

#include <algorithm>
#include <cstring>
#include <limits>

namespace nuv {
namespace {

using Compression = NUV_TIFFAttributes::Compression;
using Photometric = NUV_TIFFAttributes::PhotometricInterpretation;

constexpr auto engine_method = "NUV_ReadTIFF::engine()";

// The decoder of a coding: behind bytes that are all strips in a row, and of strips that are data
// of their own.
struct Decoder {
    using Append = NUV_Engine* (*)(NUV_Engine* engine, const NUV_TIFFInfo& info);
    using Read = NUV_Engine* (*)(NUV_InputStorage* storage, const NUV_Header& header,
                                 const NUV_TIFFInfo& info, NUV_TIFFStripStream& strips);

    Append append;
    Read read;
};

// A coding other than raw samples, PackBits and JPEG, and its decoders: to raw lines, and to runs
// where it can.
struct DecoderRow {
    const NUV_EncodeType* const* encode_type;
    Decoder lines;
    Decoder runs;
};

// TIFF 6.0, section 10: lines of Compression 2 have no EOL and begin on bytes.
NUV_DecodeMHOption mh_option(const NUV_TIFFInfo& info) noexcept
{
    if (info.compression == Compression::ccitt_1d)
        return NUV_DecodeMHOption(false, false, true);
    return NUV_DecodeMHOption(true, true, info.has(NUV_TIFFAttributes::T4Options::fill));
}

// TIFF 6.0, section 11.
NUV_DecodeMROption mr_option(const NUV_TIFFInfo& info) noexcept
{
    return NUV_DecodeMROption(true, 4, info.has(NUV_TIFFAttributes::T4Options::fill));
}

NUV_DecodeMMROption mmr_option(const NUV_TIFFInfo& /*info*/) noexcept
{
    return NUV_DecodeMMROption(true, false);
}

template <class Creator, auto option_of>
NUV_Engine* append_ccitt(NUV_Engine* engine, const NUV_TIFFInfo& info)
{
    return Creator(info.manager(), option_of(info))
        .engine(engine, info.rows_per_strip, info.strip_byte_counts);
}

template <class Creator, auto option_of>
NUV_Engine* read_ccitt(NUV_InputStorage* storage, const NUV_Header& header,
                       const NUV_TIFFInfo& info, NUV_TIFFStripStream& strips)
{
    NUV_PackedNumbers offsets(info.manager());
    NUV_PackedNumbers byte_counts(info.manager());
    strips.hand_on(offsets, byte_counts);
    return Creator(info.manager(), option_of(info))
        .engine(storage, header, info.rows_per_strip, offsets, byte_counts);
}

template <class Creator, auto option_of>
constexpr Decoder ccitt = {append_ccitt<Creator, option_of>, read_ccitt<Creator, option_of>};

constexpr DecoderRow decoders[] = {
    {&NUV_EncodeType::mh, ccitt<NUV_DecodeMHForTIFF, mh_option>,
     ccitt<NUV_DecodeMHToQDRLEForTIFF, mh_option>},
    {&NUV_EncodeType::mr, ccitt<NUV_DecodeMRForTIFF, mr_option>,
     ccitt<NUV_DecodeMRToQDRLEForTIFF, mr_option>},
    {&NUV_EncodeType::mmr, ccitt<NUV_DecodeMMRForTIFF, mmr_option>,
     ccitt<NUV_DecodeMMRToQDRLEForTIFF, mmr_option>},
};

// Null for a coding that has none here.
const Decoder* decoder_of(const NUV_TIFFInfo& info, bool to_qdrle) noexcept
{
    for (const DecoderRow& row : decoders) {
        if (info.encode_type() == *row.encode_type)
            return to_qdrle ? &row.runs : &row.lines;
    }
    return nullptr;
}

bool is_ccitt(const NUV_TIFFInfo& info) noexcept
{
    return info.compression == Compression::ccitt_1d || info.compression == Compression::t4 ||
           info.compression == Compression::t6;
}

bool has_factors(const NUV_TIFFInfo& info, std::uint32_t across, std::uint32_t down) noexcept
{
    return info.ycbcr_subsampling[0] == across && info.ycbcr_subsampling[1] == down;
}

bool is_read_subsampling(const NUV_TIFFInfo& info) noexcept
{
    if (!info.is_subsampled())
        return true;
    if (info.compression != Compression::none && info.encode_type() != NUV_EncodeType::jpeg)
        return false;
    // The chroma of a plane stands for whole lines.
    if (info.is_planar() && info.image_length % info.ycbcr_subsampling[1] != 0)
        return false;
    return has_factors(info, 2, 1) || has_factors(info, 2, 2) || has_factors(info, 4, 1);
}

bool is_read_color(const NUV_TIFFInfo& info) noexcept
{
    const auto number = static_cast<int>(info.photometric_interpretation);
    return (number >= 0 && number <= 6) || (number >= 8 && number <= 10);
}

bool are_read_samples(const NUV_TIFFInfo& info) noexcept
{
    const std::uint16_t bits = info.bits_per_sample[0];
    const bool is_read_depth = bits == 1 || bits == 4 || bits == 8 || bits == 16;
    return is_read_depth &&
           std::ranges::all_of(info.bits_per_sample.items(),
                               [bits](std::uint16_t each) { return each == bits; });
}

bool is_read_jpeg(const NUV_TIFFInfo& info) noexcept
{
    if (info.encode_type() != NUV_EncodeType::jpeg)
        return true;
    // The old style has forms without a whole stream, whose tables stand in tags of their own.
    if (info.compression == Compression::old_jpeg && info.jpeg_interchange_format == 0)
        return false;
    return info.channels() == 1 || info.channels() == 3 || info.channels() == 4;
}

// Strips that make one stream, so that thousands of them need one reader and one decoder.
bool is_one_stream(const NUV_TIFFInfo& info)
{
    const bool can_be = info.compression == Compression::none || is_ccitt(info) ||
                        info.compression == Compression::pack_bits;
    return can_be && !info.is_subsampled() &&
           info.planar_configuration != NUV_TIFFAttributes::PlanarConfiguration::planar &&
           !info.strip_byte_counts.contains(0);
}

// Channels that the colour has, without extra samples.
std::uint32_t color_channels(const NUV_TIFFInfo& info) noexcept
{
    return info.photometric_interpretation == Photometric::palette
               ? 1
               : info.photometric_color()->channels();
}

// What a stage has become; when it failed, what it was to stand behind is ended.
NUV_Engine* behind(NUV_Engine* engine, NUV_Engine* stage)
{
    if (engine && !stage)
        engine->end();
    return stage;
}

} // namespace

bool NUV_ReadTIFF::is_compression_supported(const NUV_TIFFInfo& info) const
{
    return info.compression == Compression::none || is_ccitt(info) ||
           info.compression == Compression::old_jpeg || info.compression == Compression::jpeg ||
           info.compression == Compression::pack_bits;
}

NUV_Engine* NUV_ReadTIFF::decode_other(NUV_Engine* engine, const NUV_TIFFInfo&)
{
    return engine;
}

NUV_Engine* NUV_ReadTIFF::engine(NUV_InputStorage* storage, std::uint32_t page,
                                 NUV_Vector<NUV_Engine*>* extras, bool to_qdrle)
{
    NUV_TIFFInfo info(manager());
    if (info.load(storage, page))
        return engine(storage, &info, extras, to_qdrle);
    if (extras)
        extras->clear();
    return fail(manager(), NUV_ERR_FORMAT, engine_method);
}

NUV_Engine* NUV_ReadTIFF::engine(NUV_InputStorage* storage, const NUV_TIFFInfo* info,
                                 NUV_Vector<NUV_Engine*>* extras, bool to_qdrle)
{
    if (extras)
        extras->clear();
    if (!check(storage, info))
        return nullptr;
    NUV_Vector<NUV_Engine*> engines(manager());
    NUV_Engine* result =
        read(storage, *info, engines, to_qdrle) ? arrange(engines, *info, extras) : nullptr;
    if (!result) {
        end_engines(engines);
        if (extras)
            end_engines(*extras);
    }
    return result;
}

bool NUV_ReadTIFF::check(NUV_InputStorage* storage, const NUV_TIFFInfo* info)
{
    constexpr auto method = "NUV_ReadTIFF::check()";

    if (!info || !info->loaded() || !info->is_valid() || !storage || storage->is_closed())
        return fail(manager(), NUV_ERR_ARGUMENT, method, NUV_FormatInfo::why_refused(info));
    if (!check_src_condition(*info))
        return fail(manager(), NUV_ERR_UNSUPPORTED, method, not_served(*info));
    return true;
}

bool NUV_ReadTIFF::check_src_condition(const NUV_TIFFInfo& info)
{
    const bool is_laid_out = check_tiff_layout(
        manager(), info,
        "NUV_ReadTIFF::check_src_condition()- plane-order but samples-per-pixel == 1.",
        "NUV_ReadTIFF::check_src_condition() - SubIFD(child images) is not supported. In this "
        "cace, you can get only primary image.");
    return is_laid_out && not_served(info).text[0] == '\0';
}

NUV_Diagnosis NUV_ReadTIFF::not_served(const NUV_TIFFInfo& info) const
{
    NUV_Diagnosis why;
    const std::uint32_t bits = info.bits_per_sample[0];
    if (info.tile_width != 0)
        return why.says("tiles");
    if (info.compression == Compression::absent)
        return why.says("no word about its coding (Compression)");
    if (!is_compression_supported(info))
        return why.says("the coding '%s' (compression %d)", info.encode_type()->key(),
                        static_cast<int>(info.compression));
    if ((info.compression == Compression::t4 &&
         info.has(NUV_TIFFAttributes::T4Options::uncompressed)) ||
        (info.compression == Compression::t6 &&
         info.has(NUV_TIFFAttributes::T6Options::uncompressed)))
        return why.says("facsimile data in uncompressed mode");
    // Samples of two bytes would come out the wrong way round.
    if (info.byte_order() != NUV_TIFFByteOrder::little_endian && bits > 8 &&
        info.compression == Compression::pack_bits)
        return why.says("%u bits a sample in PackBits, the high byte first", bits);
    if (!is_read_color(info))
        return why.says("the photometric interpretation %d",
                        static_cast<int>(info.photometric_interpretation));
    if (!are_read_samples(info))
        return why.says("%u x %u bits, or samples of different depths",
                        unsigned{info.samples_per_pixel}, bits);
    if (!is_read_subsampling(info))
        return why.says("chroma for %u x %u pixels, stored so", unsigned{info.ycbcr_subsampling[0]},
                        unsigned{info.ycbcr_subsampling[1]});
    if (!is_read_jpeg(info))
        return why.says("JPEG of %u channels, or without a stream", unsigned{info.channels()});
    return why;
}

// The engines of the strips, or of the streams that strips make together, which deliver raw lines.
bool NUV_ReadTIFF::read(NUV_InputStorage* storage, const NUV_TIFFInfo& info,
                        NUV_Vector<NUV_Engine*>& engines, bool to_qdrle)
{
    if (info.encode_type() == NUV_EncodeType::jpeg) {
        NUV_Engine* engine = read_tiff_jpeg_strips(manager(), storage, info);
        return engine && engines.push_back(engine);
    }
    if (is_one_stream(info)) {
        NUV_Engine* engine = read_combined(storage, info);
        if (!engine || !engines.push_back(engine))
            return false;
    } else if (info.compression == Compression::none ||
               info.compression == Compression::pack_bits || is_ccitt(info)) {
        return read_planes(storage, info, engines, to_qdrle);
    } else {
        // What the stages behind the joined strips need of a palette comes back there.
        auto strips = NUV_ReadTIFFCode(manager()).engine(storage, &info,
                                                         NUV_ReadTIFFCode::Palettes::left_out);
        engines.swap(strips);
    }
    for (NUV_Engine*& engine : engines.items()) {
        NUV_Engine* decoded = decode(engine, info, to_qdrle);
        if (!decoded)
            return false; // the engine stays in the vector, to be ended
        engine = decoded;
    }
    return !engines.empty();
}

NUV_Engine* NUV_ReadTIFF::read_combined(NUV_InputStorage* storage, const NUV_TIFFInfo& info)
{
    const NUV_TIFFStrips strips(info);
    const bool is_raw = info.compression == Compression::none;
    // Strips behind the image count only where a run may go on from one to the next.
    const std::size_t count = is_raw ? strips.size() : info.strip_offsets.size();
    NUV_TIFFStripStream stream(manager(), *storage);
    const std::uint32_t offset_bytes = info.strip_offsets.bytes_each();
    if (!stream.make_room(
            count, 0, count,
            {.offset = offset_bytes, .count = is_raw ? 4 : info.strip_byte_counts.bytes_each()}))
        return nullptr;
    for (std::size_t i = 0; i < count; ++i) {
        if (is_raw)
            stream.add_raw(info.strip_offsets[i],
                           i + 1 < count ? strips.usual_raw_bytes() : strips[i].bytes);
        else
            stream.add(info.strip_offsets[i], info.strip_byte_counts[i]);
    }
    const NUV_Diagnosis early_end = stream.early_end();
    const auto bytes = stream.open(storage);
    if (!bytes || info.compression != Compression::pack_bits)
        return bytes ? read_tiff_bytes(manager(), bytes.get(), info, info, early_end) : nullptr;
    NUV_TIFFStripStream whole(manager(), *bytes);
    if (!whole.make_room(1, 0, 1, {}))
        return nullptr;
    whole.add(0, std::numeric_limits<std::uint32_t>::max());
    return read_packbits(bytes.get(), info, whole, info, info.image_length);
}

NUV_Engine* NUV_ReadTIFF::read_packbits(NUV_InputStorage* storage, const NUV_Header& header,
                                        NUV_TIFFStripStream& strips, const NUV_TIFFInfo& info,
                                        std::uint32_t rows)
{
    NUV_Held<NUV_InputStorage> mirrored;
    NUV_InputStorage* const bytes = turn_tiff_bits(manager(), storage, info, mirrored);
    return bytes ? NUV_ReadPackBitsStrips(manager()).engine(bytes, header, strips, rows) : nullptr;
}

// Strips that are not to be one stream as they stand, but for JPEG: those of planes, of units of
// luma and chroma, and those whose bytes are not told. As strips of their own they have to be there
// from the start, but those of a plane take no more than one engine.
bool NUV_ReadTIFF::read_planes(NUV_InputStorage* storage, const NUV_TIFFInfo& info,
                               NUV_Vector<NUV_Engine*>& engines, bool to_qdrle)
{
    const NUV_TIFFStrips strips(info);
    if (!strips.check_count(manager()))
        return false;
    const bool is_raw = info.compression == Compression::none;
    const auto size = static_cast<std::uint32_t>(std::max(storage->size(), 0));
    NUV_Header header(manager());
    bool good = describe_tiff_strip(header, info, true);
    for (std::size_t first = 0; good && first < strips.size(); first += strips.per_plane()) {
        NUV_TIFFStripStream stream(manager(), *storage);
        good = stream.make_room(strips.per_plane(), first, strips.size(),
                                {.offset = info.strip_offsets.bytes_each()});
        header.width(strips[first].width);
        header.height(0);
        for (std::size_t i = first; good && i < first + strips.per_plane(); ++i) {
            if (!strips.check_begin(manager(), *storage, i))
                return false;
            const NUV_TIFFStrip strip = strips[i];
            header.height(header.height() + strip.height);
            if (is_raw)
                stream.add_raw(strip.offset, strip.bytes);
            else
                stream.add(strip.offset, strip.bytes == 0 ? size - strip.offset : strip.bytes);
        }
        const auto own = good ? make_initiated<NUV_MoveInMoveOutInputStorage>(manager(), storage, 0)
                              : NUV_Held<NUV_MoveInMoveOutInputStorage>();
        NUV_Engine* engine = own ? read_plane(own.get(), header, stream, info, to_qdrle) : nullptr;
        good = engine && engines.push_back(engine);
    }
    return good;
}

NUV_Engine* NUV_ReadTIFF::read_plane(NUV_InputStorage* storage, const NUV_Header& header,
                                     NUV_TIFFStripStream& strips, const NUV_TIFFInfo& info,
                                     bool to_qdrle)
{
    if (info.compression == Compression::none) {
        // How long each strip is is known, so that they are one stream all the same.
        const NUV_Diagnosis early_end = strips.early_end();
        const auto bytes = strips.open(storage);
        return bytes ? read_tiff_bytes(manager(), bytes.get(), header, info, early_end) : nullptr;
    }
    const Decoder* const decoder = decoder_of(info, to_qdrle);
    if (!decoder)
        return read_packbits(storage, header, strips, info, info.rows_per_strip);
    NUV_Held<NUV_InputStorage> mirrored;
    NUV_InputStorage* const bytes = turn_tiff_bits(manager(), storage, info, mirrored);
    return bytes ? decoder->read(bytes, header, info, strips) : nullptr;
}

NUV_Engine* NUV_ReadTIFF::decode(NUV_Engine* engine, const NUV_TIFFInfo& info, bool to_qdrle)
{
    if (engine->header()->is_raw())
        return engine;
    const Decoder* const decoder = decoder_of(info, to_qdrle);
    return decoder ? decoder->append(engine, info) : decode_other(engine, info);
}

// The lines of an image or of one of its planes. Null after a status; the strips are then ended.
NUV_Engine* NUV_ReadTIFF::join(std::span<NUV_Engine*> strips, const NUV_TIFFInfo& info,
                               std::size_t plane)
{
    NUV_Engine* joined = align(strips);
    if (!joined)
        return nullptr;
    std::ranges::fill(strips, nullptr);
    joined = behind(joined, restore_palette(joined, info));
    joined = joined ? behind(joined, widen_bits(joined, info)) : nullptr;
    return joined ? behind(joined, upsample(joined, info, plane)) : nullptr;
}

// The strips go without one, for that would be a copy each.
NUV_Engine* NUV_ReadTIFF::restore_palette(NUV_Engine* engine, const NUV_TIFFInfo& info)
{
    if (info.palette().is_empty() || !engine->header()->palette().is_empty())
        return engine;
    NUV_Header header(manager());
    if (!header.copy(*engine->header()) || !header.palette().copy(info.palette()))
        return nullptr;
    header.color_type(info.color_type());
    return NUV_RewriteHeader(manager()).engine(engine, &header);
}

NUV_Engine* NUV_ReadTIFF::widen_bits(NUV_Engine* engine, const NUV_TIFFInfo& info)
{
    return info.bits_per_sample[0] == 4 ? NUV_ConvertBits4To8(manager()).engine(engine) : engine;
}

NUV_Engine* NUV_ReadTIFF::upsample(NUV_Engine* engine, const NUV_TIFFInfo& info, std::size_t plane)
{
    if (!info.is_subsampled() || info.encode_type() == NUV_EncodeType::jpeg)
        return engine;
    if (!info.is_planar()) {
        std::uint32_t units = NUV_UpsampleChroma::no_units;
        if (has_factors(info, 2, 1))
            units = NUV_UpsampleChroma::units_2x1;
        else if (has_factors(info, 2, 2))
            units = NUV_UpsampleChroma::units_2x2;
        else if (has_factors(info, 4, 1))
            units = NUV_UpsampleChroma::units_4x1;
        return NUV_UpsampleChroma(manager()).engine(engine, units);
    }
    if (plane == 0)
        return engine;
    NUV_Engine* wide = NUV_ScaleWidthIRE(manager()).engine(engine, info.ycbcr_subsampling[0]);
    if (!wide)
        return nullptr;
    return behind(wide, NUV_ScaleHeightIRE(manager()).engine(wide, info.ycbcr_subsampling[1]));
}

// CIE L*a*b* stores a and b with a sign (TIFF 6.0, section 23); our Lab has none.
NUV_Engine* NUV_ReadTIFF::correct_lab(NUV_Engine* engine, const NUV_TIFFInfo& info)
{
    const NUV_Header& header = *engine->header();
    const std::uint16_t bits = header.bits();
    if (info.photometric_interpretation != Photometric::cie_lab || info.samples_per_pixel != 3 ||
        header.channels() != 3 || (bits != 8 && bits != 16))
        return engine;

    const std::uint32_t entries = std::uint32_t{1} << bits;
    const std::uint32_t sample_bytes = bits / 8U;
    const std::uint32_t table_bytes = 3 * entries * sample_bytes;
    NUV_Scratch<std::uint8_t> table;
    const auto data = make_object<NUV_LutData>(manager());
    if (!data || !table.allocate(manager(), table_bytes))
        return nullptr;
    for (std::uint32_t i = 0; i < 3 * entries; ++i) {
        const std::uint32_t shift = i < entries ? 0 : entries / 2;
        const auto value = static_cast<std::uint16_t>((i + shift) % entries);
        const auto byte = static_cast<std::uint8_t>(value);
        std::memcpy(table.data() + std::size_t{i} * sample_bytes,
                    bits == 8 ? static_cast<const void*>(&byte) : &value, sample_bytes);
    }
    data->bits = bits;
    data->channels = 3;
    data->entries = entries;
    return data->value(table.data(), table_bytes) ? NUV_Lut(manager()).engine(engine, data.get())
                                                  : nullptr;
}

NUV_Engine* NUV_ReadTIFF::align(std::span<NUV_Engine* const> engines)
{
    if (engines[0]->header()->encode_type() == NUV_EncodeType::qd_rle)
        return NUV_AlignYQDRLE(manager()).engine(engines);
    return NUV_AlignY(manager()).engine(engines);
}

// Joins strips and planes, and parts off extra samples. Engines that the answer does not stand upon
// stay in `engines`.
NUV_Engine* NUV_ReadTIFF::arrange(NUV_Vector<NUV_Engine*>& engines, const NUV_TIFFInfo& info,
                                  NUV_Vector<NUV_Engine*>* extras)
{
    NUV_Engine* result = nullptr;
    if (info.is_planar()) {
        result = arrange_planes(engines, info, extras);
    } else {
        result = join(engines.items(), info, 0);
        if (result && !info.extra_samples.empty())
            result = part_extras(result, info, extras);
    }
    return result ? behind(result, correct_lab(result, info)) : nullptr;
}

NUV_Engine* NUV_ReadTIFF::arrange_planes(NUV_Vector<NUV_Engine*>& engines, const NUV_TIFFInfo& info,
                                         NUV_Vector<NUV_Engine*>* extras)
{
    const std::size_t strips = engines.size() / info.samples_per_pixel;
    const std::size_t colors = color_channels(info);
    NUV_Vector<NUV_Engine*> planes(manager());
    bool good = true;
    for (std::size_t i = 0; good && i < info.channels(); ++i) {
        const auto plane = engines.items().subspan(i * strips, strips);
        if (i >= colors && !extras) {
            for (NUV_Engine* strip : plane)
                strip->end();
            std::ranges::fill(plane, nullptr);
        } else {
            NUV_Engine* joined = join(plane, info, i);
            auto& kept = i < colors ? planes : *extras;
            good = joined && kept.push_back(joined);
            if (joined && !good)
                joined->end();
        }
    }
    NUV_Engine* merged =
        good ? NUV_MergeChannel(manager()).engine(planes.items(), info.photometric_color())
             : nullptr;
    if (!merged)
        end_engines(planes);
    return merged ? recolor(merged, info.photometric_color()) : nullptr;
}

NUV_Engine* NUV_ReadTIFF::part_extras(NUV_Engine* engine, const NUV_TIFFInfo& info,
                                      NUV_Vector<NUV_Engine*>* extras)
{
    const std::uint32_t colors = color_channels(info);
    const NUV_ColorType* color = info.photometric_color();
    if (!extras)
        return NUV_SelectChannel(manager()).engine(engine, 0, colors, color);

    const auto count = static_cast<std::uint32_t>(info.extra_samples.size());
    auto branches = engine->branch(1 + count);
    if (branches.empty())
        return nullptr;
    bool good = true;
    for (std::uint32_t i = 0; good && i < count; ++i) {
        NUV_Engine* extra = NUV_SelectChannel(manager()).engine(branches[1 + i], colors + i,
                                                                NUV_ColorType::unknown);
        good = extra && extras->push_back(extra);
    }
    return good ? NUV_SelectChannel(manager()).engine(branches[0], 0, colors, color) : nullptr;
}

NUV_Engine* NUV_ReadTIFF::recolor(NUV_Engine* engine, const NUV_ColorType* color)
{
    if (engine->header()->color_type() == color)
        return engine;
    NUV_Header header(manager());
    if (!header.copy(*engine->header()))
        return nullptr;
    header.color_type(color);
    return NUV_RewriteHeader(manager()).engine(engine, &header);
}

} // namespace nuv
