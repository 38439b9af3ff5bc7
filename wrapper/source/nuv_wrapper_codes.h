#pragma once

#include "framework/base/nuv_tags.h"

#include <cstdint>

namespace nuv {

class NUV_JPEGInfo;

// Between the codes of the public header and what they are called inside. A code without a meaning
// becomes the unknown tag, and a tag without a code the unknown code.
[[nodiscard]] const NUV_ColorType* color_tag(std::int32_t code) noexcept;
[[nodiscard]] std::int32_t color_code(const NUV_ColorType* tag) noexcept;
[[nodiscard]] const NUV_EncodeType* encode_tag(std::int32_t format) noexcept;
[[nodiscard]] std::int32_t format_code(const NUV_EncodeType* tag) noexcept;
[[nodiscard]] std::int32_t format_code(const NUV_JPEGInfo& jpeg) noexcept;

[[nodiscard]] bool is_gray(std::int32_t color_code) noexcept;

// A key has a byte for each of three components, with its two sampling factors. What is not known
// is written as 4:2:2.
[[nodiscard]] std::uint32_t sampling_key(std::int32_t code) noexcept;
[[nodiscard]] std::int32_t sampling_code(std::uint32_t key) noexcept;

} // namespace nuv
