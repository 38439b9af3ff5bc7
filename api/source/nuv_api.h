#pragma once

#include <cstdint>

#include "api/include/nuv/nuv.h"

namespace nuv {

inline constexpr std::uint32_t api_header_version = NUV_VERSION;

} // namespace nuv

#undef NUV_VERSION // which the framework has for a constant of its own
