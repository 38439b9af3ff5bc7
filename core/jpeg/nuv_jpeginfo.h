#pragma once

#include "core/include/nuv_formatinfo.h"
#include "core/jpeg/nuv_jpegshared.h"
#include "framework/base/nuv_diagnosis.h"
#include "framework/base/nuv_utility.h"

#include <cstdint>
#include <span>

namespace nuv {

class NUV_JPEGInfoInternal;
class NUV_JPEGTableInfoInternal;

// Tables that a stream of their own carries, for streams that lack them. Copies share what was
// read.
class NUV_JPEGTableInfo final : public NUV_Utility {
public:
    using NUV_Utility::NUV_Utility;
    NUV_JPEGTableInfo(const NUV_JPEGTableInfo& other) noexcept = default;
    NUV_JPEGTableInfo& operator=(const NUV_JPEGTableInfo&) = delete;
    ~NUV_JPEGTableInfo() override;

    // NUV_ERR_ARGUMENT for a null or closed storage, NUV_ERR_BROKEN_DATA for what is no JPEG
    // stream, NUV_ERR_INVALID_DATA for one that breaks off or breaks its rules.
    [[nodiscard]] bool load(NUV_InputStorage* storage);
    [[nodiscard]] bool loaded() const noexcept { return static_cast<bool>(internal_); }
    // Null before a load().
    [[nodiscard]] const NUV_JPEGTableInfoInternal* internal() const noexcept;

private:
    NUV_JPEGReference internal_;
};

// The header of a stream, as an info has read it, for other infos of the same stream. Empty where
// none could be read.
struct NUV_JPEGReadHeader {
    NUV_JPEGReference internal;
    std::int32_t begin = 0; // of the stream, in its storage
    std::int32_t end = 0;   // of the header, where the coded data begins
};

// An application segment or a comment.
struct NUV_JPEGSegment {
    std::uint8_t marker = 0; // its second byte: 224 for APP0, 254 for COM
    std::span<const std::uint8_t> payload;
};

// A JPEG stream of any kind. The storage stands at the coded data of the first scan after a load().
// Bits are the precision that the frame states, from 2 to 16.
class NUV_JPEGInfo : public NUV_FormatInfo {
public:
    // The size of the picture as it is stored, for a reader.
    static constexpr std::int32_t full_scale = 256;

    explicit NUV_JPEGInfo(NUV_Manager& manager) noexcept;
    ~NUV_JPEGInfo() override;
    NUV_JPEGInfo(const NUV_JPEGInfo&) = delete;
    NUV_JPEGInfo& operator=(const NUV_JPEGInfo&) = delete;

    [[nodiscard]] const char* format_name() const noexcept override { return "jpeg"; }
    // NUV_ERR_BROKEN_DATA, NUV_ERR_INVALID_DATA or NUV_ERR_UNSUPPORTED for a JPEG stream whose
    // header ends early, breaks its rules, or is of a kind that is not known.
    [[nodiscard]] bool load_internal(NUV_InputStorage* storage) override;

    using NUV_FormatInfo::load;
    // load() for a stream that cannot tell all of it itself: the colour to deliver (`unknown` for
    // the file's own), the tables that it lacks (null for none), and the lines after which its
    // scans begin anew without saying so (0 for never).
    [[nodiscard]] virtual bool load(NUV_InputStorage* storage, const NUV_ColorType* color,
                                    const NUV_JPEGTableInfo* tables, std::uint32_t restart_rows);

    // What load() has read, also when it refused for what there is.
    [[nodiscard]] const NUV_JPEGReadHeader& read_header() const noexcept { return header_; }
    // The next load() takes this where the storage stands at its begin, in place of reading again.
    void known_header(const NUV_JPEGReadHeader& header) noexcept { known_ = header; }

    // What the frame says. 0 or false before a load().
    [[nodiscard]] std::uint8_t frame_marker() const noexcept; // 192 baseline, 194, 195
    [[nodiscard]] bool is_progressive() const noexcept;
    [[nodiscard]] bool is_lossless() const noexcept;
    [[nodiscard]] std::uint16_t precision() const noexcept;
    // A byte for each component, its horizontal and vertical factor in the two halves: 0x221111
    // is 4:2:0. 0x111111 for one component.
    [[nodiscard]] std::uint32_t sampling() const noexcept;
    // The quality, 0 to 100, at which a common writer would have quantised the first component so:
    // 50 for the table of T.81, annex K. -1 for a stream without quantisation.
    [[nodiscard]] std::int32_t quality_estimate() const noexcept;
    // Of the colour that is delivered, 1 for s_rgb to 9 for icc_lab; 99999 when it is not set.
    [[nodiscard]] std::uint32_t color_code() const noexcept;

    // The segments that the stream has; those of a JFIF, an Exif, a facsimile and an Adobe file.
    [[nodiscard]] std::size_t segment_count() const noexcept;
    [[nodiscard]] NUV_JPEGSegment segment(std::size_t index) const noexcept;
    [[nodiscard]] bool is_jfif() const noexcept { return is_jfif_; }
    [[nodiscard]] bool is_exif() const noexcept { return is_exif_; }
    [[nodiscard]] bool is_g3fax() const noexcept { return is_g3fax_; }
    [[nodiscard]] bool is_adobe() const noexcept { return is_adobe_; }

    // Why a stream of this kind is not decoded.
    [[nodiscard]] NUV_Diagnosis not_served() const noexcept;

    // What reads the stream on, shared with the engine that does. Null before a load().
    [[nodiscard]] const NUV_JPEGReference& internal_reference() const noexcept
    {
        return header_.internal;
    }

private:
    [[nodiscard]] bool load_stream(NUV_InputStorage* storage, const NUV_ColorType* color,
                                   const NUV_JPEGTableInfo* tables, std::uint32_t restart_rows);
    [[nodiscard]] bool update();
    [[nodiscard]] bool update_color();
    [[nodiscard]] const NUV_JPEGInfoInternal* internal() const noexcept;

    NUV_JPEGReadHeader header_;
    NUV_JPEGReadHeader known_;
    bool is_jfif_ = false;
    bool is_exif_ = false;
    bool is_g3fax_ = false;
    bool is_adobe_ = false;
};

} // namespace nuv
