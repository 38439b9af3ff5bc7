#pragma once

#include "framework/base/nuv_diagnosis.h"
#include "framework/base/nuv_manager.h"
#include "framework/base/nuv_status.h"

#include <string_view>

namespace nuv {

// What libpng is told when the storage has no more.
inline constexpr const char* png_read_error = "Read error: nuv_read_callback()";

// The status that an error text of libpng stands for; NUV_STATUS_OK for data that is no PNG file,
// which a probe is silent about.
[[nodiscard]] NUV_StatusCode png_status_of(std::string_view message) noexcept;

// Raises it, if any, under `method`, with the text as the reason, unless `why`, which has what
// else is known, tells a better one.
void nuv_pngregiststatus(NUV_Manager& manager, const char* message, const char* method,
                         NUV_Diagnosis why);

} // namespace nuv
