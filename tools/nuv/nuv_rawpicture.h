#pragma once

#include <nuv/nuv.h>

#include <string_view>

namespace nuv_tool {

// Understands "WxHxCxBITS", with ":" and a colour behind it if it likes, as "640x480x3x8:rgb".
// Without a colour one channel is gray, three are RGB, and others have none. Throws UsageError.
[[nodiscard]] nuv_picture parse_raw_picture(std::string_view text);

} // namespace nuv_tool
