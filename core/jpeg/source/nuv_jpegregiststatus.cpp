#include "core/jpeg/source/nuv_jpegregiststatus.h"

#include <cstdio>

namespace nuv {

NUV_StatusCode jpeg_status_of(NUV_JPEGCode code) noexcept
{
    switch (code) {
    case NUV_JPEGCode::good:
    case NUV_JPEGCode::no_memory:
    case NUV_JPEGCode::no_jpeg:
    case NUV_JPEGCode::scan_ended:
        return NUV_STATUS_OK;
    case NUV_JPEGCode::bad_parameter:
        return NUV_ERR_ARGUMENT;
    case NUV_JPEGCode::read_failed:
        return NUV_ERR_BROKEN_DATA;
    case NUV_JPEGCode::io:
        return NUV_ERR_IO;
    case NUV_JPEGCode::bad_segment:
    case NUV_JPEGCode::bad_marker:
        return NUV_ERR_INVALID_DATA;
    case NUV_JPEGCode::unsupported:
        return NUV_ERR_UNSUPPORTED;
    case NUV_JPEGCode::damaged_lines:
        return NUV_WARN_BROKEN_DATA;
    case NUV_JPEGCode::segment_trouble:
        return NUV_WARN_UNSUPPORTED;
    case NUV_JPEGCode::registered:
        return NUV_WARN_INVALID_DATA | 0x10;
    default:
        return NUV_ERROR;
    }
}

bool nuv_jpegregiststatus(NUV_Manager& manager, NUV_JPEGCode code, const char* method,
                          const NUV_Diagnosis& why, NUV_Here here)
{
    const NUV_StatusCode status = jpeg_status_of(code);
    if (status != NUV_STATUS_OK)
        manager.raise_because(status, method, here.file, here.line, why);
    return !is_failure(code);
}

// T.81, table B.1.
namespace {

// "2x1, 1x1, 1x1": across and down, for each component.
struct SamplingText {
    explicit SamplingText(const NUV_JPEGFrame& frame) noexcept
    {
        const std::uint32_t key = jpeg_sampling_key(frame);
        std::size_t used = 0;
        for (std::size_t left = frame.components; left-- > 0;) {
            const std::uint32_t factors = key >> (8 * left);
            used += static_cast<std::size_t>(std::snprintf(text + used, sizeof(text) - used,
                                                           "%s%ux%u", used != 0 ? ", " : "",
                                                           (factors >> 4) & 15U, factors & 15U));
        }
    }
    char text[32]{}; // four of them at the most, each with a comma and a space
};

} // namespace

NUV_Diagnosis jpeg_not_served(const NUV_JPEGHeader& header) noexcept
{
    const NUV_JPEGFrame& frame = header.frame();
    const unsigned sof = frame.start_marker - unsigned{jpeg_marker_sof0};
    NUV_Diagnosis why;
    why.because(NUV_Cause::unsupported);
    if (!header.has_frame())
        return why.at_byte(header.last_offset()).says("the marker FF %02X", header.last_marker());
    why.at_byte(header.frame_offset());
    if (sof >= 9)
        return why.says("arithmetic coding (SOF%u)", sof);
    if (sof >= 5)
        return why.says("hierarchical coding (SOF%u)", sof);
    if (sof != 3 && frame.precision != 8)
        return why.says("%u bits a sample (SOF%u)", unsigned{frame.precision}, sof);
    if (frame.components != 1 && frame.components != 3 && frame.components != 4)
        return why.says("%u components", static_cast<unsigned>(frame.components));
    return why.says("SOF%u with %u bits a sample and components sampled %s", sof,
                    unsigned{frame.precision}, SamplingText(frame).text);
}

NUV_Diagnosis jpeg_header_trouble(NUV_JPEGCode code, const NUV_JPEGHeader& header) noexcept
{
    NUV_Diagnosis why;
    why.at_byte(header.last_offset());
    if (code == NUV_JPEGCode::unsupported) {
        if (header.last_marker() == jpeg_marker_dac)
            return why.says("arithmetic coding (DAC)");
        return why.says("the marker FF %02X", header.last_marker());
    }
    if (header.has_scan() && header.frame().height == 0)
        return why.at_byte(header.frame_offset())
            .says("the frame has no height, and no DNL segment behind the scan tells it");
    if (code == NUV_JPEGCode::bad_marker && header.last_marker() == jpeg_marker_dqt)
        return why.because(NUV_Cause::unsupported).says("quantisers of 16 bits");
    if (jpeg_status_of(code) == NUV_ERR_INVALID_DATA)
        return why.says("a bad segment behind the marker FF %02X", header.last_marker());
    return why.says("the header ends early");
}

} // namespace nuv
