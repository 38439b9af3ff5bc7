#pragma once

#include "framework/base/nuv_header.h"

#include <concepts>
#include <cstdint>
#include <type_traits>

namespace nuv {

template <class T>
concept IntegerSample = std::same_as<T, std::uint8_t> || std::same_as<T, std::uint16_t> ||
    std::same_as<T, std::int8_t> || std::same_as<T, std::int16_t>;

// True when the samples of `header` are plain T: not packed, not coded, not indices to a palette.
template <IntegerSample T>
[[nodiscard]] bool holds_samples_of(const NUV_Header& header) noexcept
{
    const auto* wanted = std::is_signed_v<T> ? NUV_DataType::s_integer : NUV_DataType::u_integer;
    return header.is_raw() && header.palette().is_empty() && header.data_type() == wanted &&
           header.bits() == 8 * sizeof(T);
}

// Calls visit.operator()<T>() with the sample type that `header` describes, otherwise() when it is
// none of the four. This is the only place that knows the list: a creator never switches on bits.
template <class Visit, class Otherwise>
auto visit_sample_type(const NUV_Header& header, Visit&& visit, Otherwise&& otherwise)
{
    if (holds_samples_of<std::uint8_t>(header))
        return visit.template operator()<std::uint8_t>();
    if (holds_samples_of<std::uint16_t>(header))
        return visit.template operator()<std::uint16_t>();
    if (holds_samples_of<std::int8_t>(header))
        return visit.template operator()<std::int8_t>();
    if (holds_samples_of<std::int16_t>(header))
        return visit.template operator()<std::int16_t>();
    return otherwise();
}

// Calls visit.operator()<Channels>() with 1, 3 or 4, or with 0 for a count that is asked at run
// time.
template <class Visit>
auto visit_channels(std::uint32_t channels, Visit&& visit)
{
    switch (channels) {
    case 1:
        return visit.template operator()<1>();
    case 3:
        return visit.template operator()<3>();
    case 4:
        return visit.template operator()<4>();
    default:
        return visit.template operator()<0>();
    }
}

} // namespace nuv
