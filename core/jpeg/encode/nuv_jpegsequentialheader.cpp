// The tables of a baseline stream, and its header, which carries them.

#include "core/jpeg/encode/nuv_jpegsequentialencoder.h"
#include "core/jpeg/stream/nuv_jpegstandardtables.h"
#include "core/jpeg/stream/nuv_jpegtables.h"

#include <algorithm>

namespace nuv {
namespace {

template <std::size_t Count>
constexpr NUV_JPEGHuffmanSegment segment_of(std::uint8_t selector,
                                            const NUV_JPEGStandardHuffman<Count>& table) noexcept
{
    return {selector, table.counts, table.values};
}

// The tables for luma and then for chroma, DC before AC, as DHT lists them.
constexpr std::uint8_t ac_class = 0x10;
constexpr std::array<NUV_JPEGHuffmanSegment, 4> all_huffman_segments = {
    segment_of(0, jpeg_standard_luminance_dc),
    segment_of(1, jpeg_standard_chrominance_dc),
    segment_of(ac_class, jpeg_standard_luminance_ac),
    segment_of(ac_class | 1U, jpeg_standard_chrominance_ac),
};

} // namespace

NUV_JPEGQuantisers jpeg_quantisers_of_quality(std::span<const std::uint8_t, 64> base,
                                              std::uint32_t quality) noexcept
{
    const auto scale = static_cast<float>(2.0 - 2.0 * quality / 100.0);
    NUV_JPEGQuantisers quantisers{};
    for (std::size_t i = 0; i < quantisers.size(); ++i) {
        const float product = static_cast<float>(base[jpeg_zigzag[i]]) * scale;
        const float rounded = product + 0.5F;
        quantisers[i] = static_cast<std::uint8_t>(std::clamp(static_cast<int>(rounded), 1, 255));
    }
    return quantisers;
}

bool NUV_JPEGSequentialEncoder::build_tables(std::uint32_t quality) noexcept
{
    bool ok = true;
    quantisers_[0] = jpeg_quantisers_of_quality(jpeg_standard_luminance_quantisers, quality);
    quantisers_[1] = jpeg_quantisers_of_quality(jpeg_standard_chrominance_quantisers, quality);
    for (std::size_t i = 0; i < most_tables; ++i) {
        const NUV_JPEGHuffmanSegment& dc = all_huffman_segments[i];
        const NUV_JPEGHuffmanSegment& ac = all_huffman_segments[most_tables + i];
        ok &= is_good(primitives_->quant_forward_init(quantisers_[i].data(), inverses_[i].data()));
        ok &= is_good(primitives_->huffman_encode_spec_init(dc.counts.data(), dc.values.data(),
                                                            &dc_tables_[i]));
        ok &= is_good(huffman_encode_wide_init(ac.counts.data(), ac.values.data(), &ac_tables_[i]));
    }
    primitives_->huffman_encode_state_init(&bits_);
    return ok;
}

NUV_JPEGCode NUV_JPEGSequentialEncoder::write_markers(
    std::span<const NUV_JPEGMarker> markers) noexcept
{
    for (const NUV_JPEGMarker& marker : markers) {
        std::uint8_t head[4];
        NUV_JPEGSegmentWriter(head).put_segment(marker.id, marker.payload.size());
        NUV_JPEGCode code = write(head);
        if (is_good(code) && !marker.payload.empty())
            code = write(marker.payload);
        if (!is_good(code))
            return code;
    }
    return NUV_JPEGCode::good;
}

NUV_JPEGCode NUV_JPEGSequentialEncoder::write_header(
    std::span<const NUV_JPEGMarker> markers) noexcept
{
    std::array<std::uint8_t, 1024> header; // the segments take 623 bytes at most
    NUV_JPEGSegmentWriter start(header);
    start.put_marker(jpeg_marker_soi);
    NUV_JPEGCode code = write(std::span(header).first(start.position()));
    if (is_good(code))
        code = write_markers(markers);
    if (!is_good(code))
        return code;

    const std::size_t tables = frame_.components == 1 ? 1 : most_tables;
    const std::array<NUV_JPEGHuffmanSegment, 2> luma = {all_huffman_segments[0],
                                                        all_huffman_segments[most_tables]};
    NUV_JPEGSegmentWriter writer(header);
    if (tables == 1)
        writer.put_huffman_tables(luma);
    else
        writer.put_huffman_tables(all_huffman_segments);
    writer.put_quantisers(std::span(quantisers_).first(tables));
    if (frame_.restart_interval != 0)
        writer.put_restart_interval(frame_.restart_interval);
    const std::size_t height_offset = writer.put_frame(frame_);
    writer.put_scan(frame_, 0, jpeg_block_size - 1, 0);

    const std::int32_t begin = output_.position(output_.storage);
    code = write(std::span(header).first(writer.position()));
    if (is_good(code)) // else the sum may lie beyond the last position
        height_position_ = begin + static_cast<std::int32_t>(height_offset);
    return code;
}

} // namespace nuv
