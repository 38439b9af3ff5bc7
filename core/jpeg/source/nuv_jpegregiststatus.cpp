#include "core/jpeg/source/nuv_jpegregiststatus.h"

namespace nuv {

NUV_StatusCode jpeg_status_of(NUV_JPEGCode code) noexcept
{
    switch (code) {
    case jpeg_code_good:
    case jpeg_code_no_memory:
    case jpeg_code_no_jpeg:
    case jpeg_code_scan_ended:
        return NUV_STATUS_OK;
    case jpeg_code_bad_parameter:
        return NUV_ERR_ARGUMENT;
    case jpeg_code_read_failed:
        return NUV_ERR_BROKEN_DATA;
    case jpeg_code_io:
        return NUV_ERR_IO;
    case jpeg_code_bad_segment:
    case jpeg_code_bad_marker:
        return NUV_ERR_INVALID_DATA;
    case jpeg_code_unsupported:
        return NUV_ERR_UNSUPPORTED;
    case jpeg_code_damaged_lines:
        return NUV_WARN_BROKEN_DATA;
    case jpeg_code_segment_trouble:
        return NUV_WARN_UNSUPPORTED;
    case jpeg_code_registered:
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
    return code > 0;
}

} // namespace nuv
