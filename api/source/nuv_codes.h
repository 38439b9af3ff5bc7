#pragma once

#include "framework/base/nuv_diagnosis.h"
#include "framework/base/nuv_header.h"
#include "framework/base/nuv_tags.h"

#include <cstdint>

#include "api/source/nuv_api.h"

namespace nuv {

// Between the codes of the public header and what they are called inside. A code without a meaning
// becomes null, but for NUV_COLOR_OTHER, which is the unknown tag; a tag without a code becomes
// NUV_COLOR_OTHER.
[[nodiscard]] const NUV_ColorType* color_tag_of(std::int32_t code) noexcept;
// The word that users know, as "rgb" or "gray-reverse".
[[nodiscard]] const char* color_name_of(const NUV_ColorType* tag) noexcept;
[[nodiscard]] nuv_color color_code_of(const NUV_ColorType* tag) noexcept;
[[nodiscard]] const NUV_DataType* data_tag_of(std::int32_t type) noexcept;
[[nodiscard]] nuv_sample_type data_code_of(const NUV_DataType* tag) noexcept;
[[nodiscard]] nuv_status status_of(NUV_Cause cause) noexcept;

// A key has a byte for each of three components with its two sampling factors; 0 for no code of a
// sampling that is written.
[[nodiscard]] std::uint32_t sampling_key_of(std::int32_t code) noexcept;
[[nodiscard]] nuv_sampling sampling_code_of(std::uint32_t key) noexcept;

[[nodiscard]] nuv_picture picture_of(const NUV_Header& header) noexcept;

} // namespace nuv
