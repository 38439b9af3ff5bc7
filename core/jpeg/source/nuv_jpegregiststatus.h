#pragma once

#include "core/jpeg/stream/nuv_jpegcodes.h"
#include "core/jpeg/stream/nuv_jpegheader.h"
#include "framework/base/nuv_failure.h"

namespace nuv {

// The status that a code of the coder stands for; NUV_STATUS_OK for the codes that raise none:
// success, no memory (which the manager has raised), a stream that is no JPEG (a probe stays
// silent) and data that ended in the scan (which shows as damaged lines).
[[nodiscard]] NUV_StatusCode jpeg_status_of(NUV_JPEGCode code) noexcept;

// Raises what `code` stands for under `method`, if anything. True for a code above 0.
bool nuv_jpegregiststatus(NUV_Manager& manager, NUV_JPEGCode code, const char* method,
                          const NUV_Diagnosis& why = {}, NUV_Here here = NUV_Here::now());

// Why a stream with this header is not decoded: its process, its depth, its sampling.
[[nodiscard]] NUV_Diagnosis jpeg_not_served(const NUV_JPEGHeader& header) noexcept;
// Why reading a header ended with `code`.
[[nodiscard]] NUV_Diagnosis jpeg_header_trouble(NUV_JPEGCode code,
                                                const NUV_JPEGHeader& header) noexcept;

} // namespace nuv
