#pragma once

#include "framework/base/nuv_header.h"

#include <concepts>
#include <cstdint>
#include <type_traits>

namespace nuv {

// The integer samples, with those of 32 bits, which few operations serve.
template <class T>
concept WideIntegerSample = std::same_as<T, std::uint8_t> || std::same_as<T, std::uint16_t> ||
    std::same_as<T, std::uint32_t> || std::same_as<T, std::int8_t> ||
    std::same_as<T, std::int16_t> || std::same_as<T, std::int32_t>;

// True when the samples of `header` are plain T: not packed, not coded, not indices to a palette.
template <WideIntegerSample T>
[[nodiscard]] bool holds_wide_samples_of(const NUV_Header& header) noexcept
{
    const auto* wanted = std::is_signed_v<T> ? NUV_DataType::s_integer : NUV_DataType::u_integer;
    return header.is_raw() && header.palette().is_empty() && header.data_type() == wanted &&
           header.bits() == 8 * sizeof(T);
}

// Calls visit.operator()<T>() with the sample type of `data_type` and `bits`, otherwise() when it
// is none of the six.
template <class Visit, class Otherwise>
auto visit_wide_sample_type(const NUV_DataType* data_type, std::uint32_t bits, Visit&& visit,
                            Otherwise&& otherwise)
{
    const bool is_signed = data_type == NUV_DataType::s_integer;
    if (!is_signed && data_type != NUV_DataType::u_integer)
        return otherwise();
    switch (bits) {
    case 8:
        return is_signed ? visit.template operator()<std::int8_t>()
                         : visit.template operator()<std::uint8_t>();
    case 16:
        return is_signed ? visit.template operator()<std::int16_t>()
                         : visit.template operator()<std::uint16_t>();
    case 32:
        return is_signed ? visit.template operator()<std::int32_t>()
                         : visit.template operator()<std::uint32_t>();
    default:
        return otherwise();
    }
}

} // namespace nuv
