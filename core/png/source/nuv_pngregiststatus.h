#pragma once

#include "framework/base/nuv_manager.h"
#include "framework/base/nuv_status.h"

#include <string_view>

namespace nuv {

// The status that an error text of libpng stands for; NUV_STATUS_OK for data that is no PNG file,
// which a probe is silent about.
[[nodiscard]] NUV_StatusCode png_status_of(std::string_view message) noexcept;

// Raises it, if any, under `method`.
void nuv_pngregiststatus(NUV_Manager& manager, std::string_view message, const char* method);

} // namespace nuv
