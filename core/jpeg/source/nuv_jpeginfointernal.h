#pragma once

#include "core/jpeg/decode/nuv_jpegdecoder.h"
#include "core/jpeg/nuv_jpegshared.h"
#include "framework/base/nuv_failure.h"
#include "framework/base/nuv_tags.h"
#include "framework/io/nuv_inputstorage.h"

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string_view>

namespace nuv {

// A coder over a storage, which lives as long; its memory comes from the manager.
class NUV_JPEGTableInfoInternal final : public NUV_JPEGShared {
public:
    using NUV_JPEGShared::NUV_JPEGShared;

    // Reads a stream of tables.
    [[nodiscard]] bool initiate(NUV_InputStorage* storage);
    bool cleanup() override;

    [[nodiscard]] const NUV_JPEGStoredTables& tables() const noexcept
    {
        return decoder_.header().tables();
    }

private:
    NUV_JPEGDecoder decoder_;
};

class NUV_JPEGInfoInternal final : public NUV_JPEGShared {
public:
    using NUV_JPEGShared::NUV_JPEGShared;

    // Reads the header of a stream. The arguments behind the storage are those of
    // NUV_JPEGInfo::load().
    [[nodiscard]] bool initiate(NUV_InputStorage* storage, const NUV_ColorType* color,
                                const NUV_JPEGTableInfoInternal* tables,
                                std::uint32_t restart_rows);
    bool cleanup() override;
    // Frees the decoder; nothing can be read any more.
    bool finish();

    [[nodiscard]] const NUV_JPEGFrame& frame() const noexcept { return decoder_.header().frame(); }
    [[nodiscard]] std::uint32_t sampling() const noexcept { return jpeg_sampling_key(frame()); }
    [[nodiscard]] NUV_JPEGColor color_code() const noexcept { return decoder_.output_color(); }
    // As that of NUV_JPEGInfo.
    [[nodiscard]] std::int32_t quality_estimate() const noexcept;
    [[nodiscard]] bool is_progressive() const noexcept
    {
        return frame().start_marker == jpeg_marker_sof2;
    }
    [[nodiscard]] bool is_lossless() const noexcept
    {
        return frame().start_marker == jpeg_marker_sof3;
    }

    [[nodiscard]] std::size_t marker_count() const noexcept
    {
        return decoder_.header().markers().items().size();
    }
    [[nodiscard]] const NUV_JPEGMarker& marker(std::size_t index) const noexcept
    {
        return decoder_.header().markers().items()[index];
    }
    [[nodiscard]] bool has_jfif() const noexcept;
    [[nodiscard]] bool has_exif() const noexcept;
    [[nodiscard]] bool has_g3fax() const noexcept;
    [[nodiscard]] bool has_adobe() const noexcept;

    // What NUV_JPEGDecoder answers. `scale` divides the size; `tables` as it takes them.
    [[nodiscard]] NUV_JPEGCode start_decode(std::uint32_t scale, NUV_JPEGScanTables* tables);
    [[nodiscard]] NUV_JPEGCode read_line(void* line, bool in_planes);
    [[nodiscard]] std::optional<std::uint32_t> take_left_over();
    [[nodiscard]] const NUV_JPEGDecoder& decoder() const noexcept { return decoder_; }

    // Raises what a code stands for under "NUV_JPEGInfoInternal::" and `name`. Data that ended in
    // a segment is broken data here. True for a code above 0.
    bool raise(NUV_JPEGCode code, const char* name, const NUV_Diagnosis& why,
               NUV_Here here = NUV_Here::now());
    // Why the stream is not decoded, and why start_decode() answered `code`.
    [[nodiscard]] NUV_Diagnosis not_served() const noexcept;
    [[nodiscard]] NUV_Diagnosis not_started(NUV_JPEGCode code) const noexcept;

private:
    NUV_JPEGDecoder decoder_;
};

// The first segment of this kind that is long enough and begins so; null without one.
[[nodiscard]] const NUV_JPEGMarker* find_jpeg_marker(const NUV_JPEGMarkerList& list,
                                                     std::uint8_t id, std::size_t least_bytes,
                                                     std::string_view begin) noexcept;

// The code of a colour, and the colour of a code; `unknown` has none.
[[nodiscard]] NUV_JPEGColor jpeg_color_of(const NUV_ColorType* color) noexcept;
[[nodiscard]] const NUV_ColorType* color_of_jpeg(NUV_JPEGColor color) noexcept;

} // namespace nuv
