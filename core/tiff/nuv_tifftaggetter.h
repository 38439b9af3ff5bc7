#pragma once

#include "core/tiff/nuv_tiffimagefiledirectory.h"
#include "framework/base/nuv_failure.h"
#include "framework/base/nuv_status.h"
#include "framework/containers/nuv_basicstring.h"
#include "framework/containers/nuv_packednumbers.h"
#include "framework/containers/nuv_vector.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <span>

namespace nuv {

// A fraction as a tag has it.
template <class T>
struct NUV_TIFFRational {
    T numerator = 0;
    T denominator = 1;
    bool set = false; // by a tag

    [[nodiscard]] bool operator==(const NUV_TIFFRational&) const = default;
};

// Brings the value of a tag, read as elements of T, into a container C.
template <class T, class C>
class NUV_TIFFTagGetter : public NUV_Utility {
public:
    // The directory is the holder's.
    NUV_TIFFTagGetter(NUV_Manager& manager, NUV_TIFFImageFileDirectory& directory) noexcept
        : NUV_Utility(manager),
          directory_(directory)
    {}

    // True also when the directory has no such tag, or none with elements, and with
    // NUV_WARN_INVALID_DATA for a damaged one: `values` then stays as it was. NUV_ERR_MEMORY,
    // NUV_ERR_INVALID_DATA.
    [[nodiscard]] bool get_values(std::uint16_t number, C& values)
    {
        QDTIFF_Tag* tag = sound_tag(number);
        if (!tag)
            return true;
        if (!make_room(*tag, values))
            return fail(manager(), NUV_ERR_MEMORY, method);
        const std::size_t count = copy(*tag, values);
        if (count == tag->count())
            return true;
        values.clear();
        if (!tag->status().is_good()) {
            warn(manager(), NUV_WARN_INVALID_DATA, method);
            return true;
        }
        return fail(
            manager(), NUV_ERR_INVALID_DATA, method,
            NUV_Diagnosis().says("the value of the tag %u means nothing", unsigned{number}));
    }

    // The first element alone; true when there is one.
    [[nodiscard]] bool get_first(std::uint16_t number, T& value)
    {
        QDTIFF_Tag* tag = sound_tag(number);
        if (!tag)
            return false;
        T first{};
        if (tag->get(directory_.values(), std::span(&first, 1), 0) == 1) {
            value = first;
            return true;
        }
        warn(manager(), NUV_WARN_INVALID_DATA, method);
        return false;
    }

protected:
    [[nodiscard]] virtual bool make_room(QDTIFF_Tag& tag, C& values)
    {
        return values.resize(tag.count());
    }
    // How many elements came.
    [[nodiscard]] virtual std::size_t copy(QDTIFF_Tag& tag, C& values) = 0;

    NUV_TIFFImageFileDirectory& directory_;

private:
    static constexpr auto method = "NUV_TIFFTagGetter::get_values()";

    // Null for a tag without elements, too.
    [[nodiscard]] QDTIFF_Tag* sound_tag(std::uint16_t number)
    {
        QDTIFF_Tag* tag = directory_.find(number);
        if (!tag)
            return nullptr;
        if (!tag->status().is_good()) {
            warn(manager(), NUV_WARN_INVALID_DATA, method);
            return nullptr;
        }
        return tag->count() > 0 ? tag : nullptr;
    }
};

// Elements as they are.
template <class T, class C>
class NUV_TIFFTagValueGetter final : public NUV_TIFFTagGetter<T, C> {
public:
    using NUV_TIFFTagGetter<T, C>::NUV_TIFFTagGetter;

private:
    [[nodiscard]] std::size_t copy(QDTIFF_Tag& tag, C& values) override
    {
        return tag.get(this->directory_.values(), std::span<T>(values.items()), 0);
    }
};

// Elements of T that are turned into others, a piece at a time.
template <class T, class E, class Turn>
[[nodiscard]] std::size_t get_turned(NUV_TIFFImageFileDirectory& directory, QDTIFF_Tag& tag,
                                     std::span<E> values, Turn turn)
{
    std::array<T, 1024 / sizeof(T)> piece;
    std::size_t done = 0;
    while (done < values.size()) {
        const std::size_t wanted = std::min(piece.size(), values.size() - done);
        const std::size_t got =
            tag.get(directory.values(), std::span<T>(piece).first(wanted), done);
        std::transform(piece.data(), piece.data() + got, values.data() + done, turn);
        done += got;
        if (got < wanted)
            break;
    }
    return done;
}

// Enumerators by their numbers of type T, which may be any.
template <class E, class T = std::uint32_t>
class NUV_TIFFEnumGetter final : public NUV_TIFFTagGetter<T, NUV_Vector<E>> {
public:
    using NUV_TIFFTagGetter<T, NUV_Vector<E>>::NUV_TIFFTagGetter;

private:
    [[nodiscard]] std::size_t copy(QDTIFF_Tag& tag, NUV_Vector<E>& values) override
    {
        return get_turned<T>(this->directory_, tag, values.items(),
                             [](T value) { return static_cast<E>(value); });
    }
};

template <class T, class R>
class NUV_TIFFRationalGetter final : public NUV_TIFFTagGetter<QDTIFF_Rational_T<T>, NUV_Vector<R>> {
public:
    using NUV_TIFFTagGetter<QDTIFF_Rational_T<T>, NUV_Vector<R>>::NUV_TIFFTagGetter;

private:
    [[nodiscard]] std::size_t copy(QDTIFF_Tag& tag, NUV_Vector<R>& values) override
    {
        return get_turned<QDTIFF_Rational_T<T>>(
            this->directory_, tag, values.items(), [](const QDTIFF_Rational_T<T>& value) {
                return R{value.numerator, value.denominator, true};
            });
    }
};

// Integers in no more bytes than the tag has for them.
class NUV_TIFFNumbersGetter final : public NUV_TIFFTagGetter<std::uint32_t, NUV_PackedNumbers> {
public:
    using NUV_TIFFTagGetter::NUV_TIFFTagGetter;

private:
    [[nodiscard]] bool make_room(QDTIFF_Tag& tag, NUV_PackedNumbers& values) override;
    [[nodiscard]] std::size_t copy(QDTIFF_Tag& tag, NUV_PackedNumbers& values) override;
};

// The characters of a tag, the zero at their end among them.
class NUV_TIFFAsciiGetter final : public NUV_TIFFTagGetter<std::uint8_t, NUV_BasicString<char>> {
public:
    using NUV_TIFFTagGetter::NUV_TIFFTagGetter;

private:
    [[nodiscard]] std::size_t copy(QDTIFF_Tag& tag, NUV_BasicString<char>& text) override;
};

} // namespace nuv
