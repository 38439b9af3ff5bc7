#include "core/jpeg/source/nuv_jpegregiststatus.h"

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
                          NUV_Here here)
{
    const NUV_StatusCode status = jpeg_status_of(code);
    if (status != NUV_STATUS_OK)
        manager.raise(status, method, here.file, here.line);
    return !is_failure(code);
}

} // namespace nuv
