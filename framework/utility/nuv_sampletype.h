#pragma once

#include "framework/base/nuv_header.h"

#include <concepts>
#include <cstdint>
#include <type_traits>

namespace nuv {

template <class T>
concept IntegerSample = std::same_as<T, std::uint8_t> || std::same_as<T, std::uint16_t> ||
    std::same_as<T, std::int8_t> || std::same_as<T, std::int16_t>;

// With those of 32 bits, which few operations serve.
template <class T>
concept WideIntegerSample =
    IntegerSample<T> || std::same_as<T, std::uint32_t> || std::same_as<T, std::int32_t>;

// True when samples of `bits` bits of `data_type` are a T each.
template <class T>
[[nodiscard]] bool is_sample_type(const NUV_DataType* data_type, std::uint32_t bits) noexcept
{
    const auto* wanted = std::is_floating_point_v<T> ? NUV_DataType::floating
                         : std::is_signed_v<T>       ? NUV_DataType::s_integer
                                                     : NUV_DataType::u_integer;
    return data_type == wanted && bits == 8 * sizeof(T);
}

// True when the samples of `header` are plain T: not packed, not coded, not indices to a palette.
template <class T>
[[nodiscard]] bool holds_samples_of(const NUV_Header& header) noexcept
{
    return header.is_raw() && header.palette().is_empty() &&
           is_sample_type<T>(header.data_type(), header.bits());
}

// The sample types that an operation serves.
template <class... T>
struct NUV_SampleTypes {};

inline constexpr NUV_SampleTypes<std::uint8_t, std::uint16_t> unsigned_samples;
inline constexpr NUV_SampleTypes<std::uint8_t, std::uint16_t, std::int8_t, std::int16_t>
    integer_samples;
inline constexpr NUV_SampleTypes<std::uint8_t, std::uint16_t, std::uint32_t, std::int8_t,
                                 std::int16_t, std::int32_t>
    wide_integer_samples;
inline constexpr NUV_SampleTypes<std::uint8_t, std::uint16_t, std::uint32_t, std::int8_t,
                                 std::int16_t, std::int32_t, float, double>
    all_samples;

// Calls visit.operator()<T>() with the one of the listed types that samples of `bits` bits of
// `data_type` are, otherwise() when it is none of them. A creator never switches on bits.
template <class T, class... Others, class Visit, class Otherwise>
auto visit_sample_type(NUV_SampleTypes<T, Others...>, const NUV_DataType* data_type,
                       std::uint32_t bits, Visit&& visit, Otherwise&& otherwise)
{
    if (is_sample_type<T>(data_type, bits))
        return visit.template operator()<T>();
    if constexpr (sizeof...(Others) == 0)
        return otherwise();
    else
        return visit_sample_type(NUV_SampleTypes<Others...>(), data_type, bits, visit, otherwise);
}

// The same for the samples of `header`. It looks at type and bits alone; the engine tests the rest.
template <class... T, class Visit, class Otherwise>
auto visit_sample_type(NUV_SampleTypes<T...> types, const NUV_Header& header, Visit&& visit,
                       Otherwise&& otherwise)
{
    return visit_sample_type(types, header.data_type(), header.bits(), visit, otherwise);
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
