#include "core/tiff/structure/nuv_qdtifftag.h"

#include <algorithm>
#include <cmath>
#include <concepts>
#include <cstring>
#include <limits>
#include <new>
#include <type_traits>

namespace nuv {
namespace {

constexpr std::uint32_t most_signed = std::numeric_limits<std::int32_t>::max();

template <class T>
constexpr bool is_rational = false;
template <class T>
constexpr bool is_rational<QDTIFF_Rational_T<T>> = true;

// The unit that a byte order turns: a rational is two numbers of four bytes.
template <class T>
constexpr std::size_t unit_bytes = is_rational<T> ? sizeof(T) / 2 : sizeof(T);
template <class T>
constexpr std::size_t units(std::size_t elements) noexcept
{
    return elements * sizeof(T) / unit_bytes<T>;
}

template <std::integral To, class From>
To number_of(const From& from) noexcept
{
    using Limits = std::numeric_limits<To>;
    if constexpr (std::is_floating_point_v<From>) {
        if (from >= static_cast<double>(Limits::max()))
            return Limits::max();
        if (from <= static_cast<double>(Limits::min()))
            return Limits::min();
        return std::isnan(from) ? To{0} : static_cast<To>(from);
    } else if constexpr (is_rational<From>) {
        const std::int64_t numerator = from.numerator;
        const std::int64_t denominator = from.denominator;
        return static_cast<To>(denominator == 0 ? 0 : numerator / denominator);
    } else {
        return static_cast<To>(from);
    }
}

template <class To, class From>
To converted(const From& from) noexcept
{
    if constexpr (!is_rational<To>) {
        return number_of<To>(from);
    } else {
        using Number = decltype(To::numerator);
        if constexpr (is_rational<From>)
            return {static_cast<Number>(from.numerator), static_cast<Number>(from.denominator)};
        else
            return {number_of<Number>(from), 1};
    }
}

template <class T>
QDTIFF_Tag* make(QDTIFF_Allocator& allocator, std::uint16_t tag, std::uint16_t type)
{
    void* memory = allocator.allocate(sizeof(QDTIFF_Tag_T<T>));
    return memory ? ::new (memory) QDTIFF_Tag_T<T>(tag, type) : nullptr;
}

} // namespace

void QDTIFF_Tag::read_entry(std::span<const std::uint8_t, 8> stored, std::uint32_t entry_position,
                            const QDTIFF_ValueInputStorage& storage) noexcept
{
    entry_position_ = entry_position;
    std::memcpy(&count_, stored.data(), sizeof(count_));
    std::memcpy(&offset_, stored.data() + sizeof(count_), sizeof(offset_));
    storage.to_host_order(&count_, 1, sizeof(count_));
    storage.to_host_order(&offset_, 1, sizeof(offset_));
}

QDTIFF_Status QDTIFF_Tag::check_value(std::uint32_t storage_bytes) const noexcept
{
    const std::uint32_t bytes = total_size();
    if (bytes / element_size() != count_)
        return QDTIFF_Status::size_overflow;
    if (bytes > most_signed || bytes > storage_bytes)
        return QDTIFF_Status::outside;
    if (!is_offset())
        return QDTIFF_Status::good;
    if (offset_ > most_signed)
        return QDTIFF_Status::outside;
    return std::uint64_t{offset_} + bytes <= storage_bytes ? QDTIFF_Status::good
                                                           : QDTIFF_Status::read_failed;
}

bool QDTIFF_Tag::seek_element(QDTIFF_ValueInputStorage& storage, std::size_t index) const
{
    constexpr std::uint32_t before_value = entry_bytes - inline_bytes;
    const std::uint32_t begin = is_offset() ? offset_ : entry_position_ + before_value;
    const std::uint32_t position = begin + static_cast<std::uint32_t>(index * element_size());
    return storage.storage().seek(position) == position;
}

template <class T>
std::span<const T> QDTIFF_TagValueReader_T<T>::next(std::size_t most)
{
    const std::size_t count = std::min(most, piece_.size());
    if (!storage_.read_array(piece_.data(), units<T>(count), unit_bytes<T>))
        return {};
    return std::span<const T>(piece_).first(count);
}

template <class T>
template <class To>
std::size_t QDTIFF_Tag_T<T>::convert(QDTIFF_ValueInputStorage& storage, std::span<To> into,
                                     std::size_t first)
{
    const std::size_t there = count() - std::min<std::size_t>(count(), first);
    const std::size_t wanted = std::min(there, into.size());
    bool good = wanted == 0 || seek_element(storage, first);
    if constexpr (std::is_same_v<T, To>) { // nothing to convert
        good = good &&
               (wanted == 0 || storage.read_array(into.data(), units<T>(wanted), unit_bytes<T>));
    } else {
        QDTIFF_TagValueReader_T<T> reader(storage);
        for (std::size_t done = 0; good && done < wanted;) {
            const std::span<const T> piece = reader.next(wanted - done);
            std::transform(piece.begin(), piece.end(), into.data() + done,
                           [](const T& element) { return converted<To>(element); });
            done += piece.size();
            good = !piece.empty();
        }
    }
    if (good)
        return wanted;
    status(QDTIFF_Status::read_failed);
    return 0;
}

template <class T>
std::size_t QDTIFF_Tag_T<T>::get(QDTIFF_ValueInputStorage& storage, std::span<std::uint8_t> into,
                                 std::size_t first)
{
    return convert(storage, into, first);
}

template <class T>
std::size_t QDTIFF_Tag_T<T>::get(QDTIFF_ValueInputStorage& storage, std::span<std::uint16_t> into,
                                 std::size_t first)
{
    return convert(storage, into, first);
}

template <class T>
std::size_t QDTIFF_Tag_T<T>::get(QDTIFF_ValueInputStorage& storage, std::span<std::uint32_t> into,
                                 std::size_t first)
{
    return convert(storage, into, first);
}

template <class T>
std::size_t QDTIFF_Tag_T<T>::get(QDTIFF_ValueInputStorage& storage,
                                 std::span<QDTIFF_Rational_T<std::uint32_t>> into,
                                 std::size_t first)
{
    return convert(storage, into, first);
}

template <class T>
std::size_t QDTIFF_Tag_T<T>::get(QDTIFF_ValueInputStorage& storage,
                                 std::span<QDTIFF_Rational_T<std::int32_t>> into, std::size_t first)
{
    return convert(storage, into, first);
}

QDTIFF_Tag* QDTIFF_TagFactory::create(QDTIFF_Allocator& allocator, std::uint16_t tag,
                                      std::uint16_t type)
{
    // TIFF 6.0, section 2: the field types, and 13, a directory, of the later supplement.
    switch (type) {
    case 3: // SHORT
    case 8: // SSHORT
        return make<std::uint16_t>(allocator, tag, type);
    case 4:  // LONG
    case 9:  // SLONG
    case 11: // FLOAT, by its bits
    case 13: // IFD
        return make<std::uint32_t>(allocator, tag, type);
    case 5: // RATIONAL
        return make<QDTIFF_Rational_T<std::uint32_t>>(allocator, tag, type);
    case 10: // SRATIONAL
        return make<QDTIFF_Rational_T<std::int32_t>>(allocator, tag, type);
    case 12: // DOUBLE
        return make<double>(allocator, tag, type);
    default: // BYTE, ASCII, SBYTE, UNDEFINED
        return make<std::uint8_t>(allocator, tag, type);
    }
}

void QDTIFF_TagFactory::destroy(QDTIFF_Allocator& allocator, QDTIFF_Tag* tag)
{
    tag->~QDTIFF_Tag();
    allocator.free(tag);
}

} // namespace nuv
