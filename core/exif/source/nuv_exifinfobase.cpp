#include "core/exif/nuv_exifinfobase.h"

#include "core/exif/source/nuv_exifvisit.h"
#include "framework/base/nuv_failure.h"
#include "framework/base/nuv_status.h"
#include "framework/io/nuv_inputstorage.h"

#include <array>
#include <cstdio>
#include <span>

namespace nuv {
namespace {

// Exif 2.2, 4.6.3: tags that point to directories.
constexpr std::uint16_t exif_ifd_pointer = 34665;
constexpr std::uint16_t gps_ifd_pointer = 34853;
constexpr std::uint16_t interoperability_ifd_pointer = 40965;

constexpr NUV_StatusCode status_of(std::int32_t code) noexcept
{
    switch (code) {
    case QDTIFF_Status::version_mismatch:
        return NUV_ERR_VERSION;
    case QDTIFF_Status::size_overflow:
    case QDTIFF_Status::bad_entry_count:
        return NUV_ERR_UNSUPPORTED;
    case QDTIFF_Status::no_byte_order:
    case QDTIFF_Status::refused_tag:
        return NUV_ERR_INVALID_DATA;
    case QDTIFF_Status::outside:
    case QDTIFF_Status::read_failed:
        return NUV_ERR_BROKEN_DATA;
    case QDTIFF_Status::no_memory:
        return NUV_ERR_MEMORY;
    default:
        return NUV_ERROR;
    }
}

[[nodiscard]] const char* reason_of(std::int32_t code) noexcept
{
    switch (code) {
    case QDTIFF_Status::size_overflow:
        return "has values of too many bytes";
    case QDTIFF_Status::bad_entry_count:
        return "has no entries, or too many";
    case QDTIFF_Status::no_byte_order:
        return "has no byte order";
    case QDTIFF_Status::refused_tag:
        return "has a tag of an unknown type, or twice";
    default:
        return "ends early";
    }
}

// The words of a status.
class Method {
public:
    explicit Method(const char* operation, const char* reason = "") noexcept
    {
        std::snprintf(text_.data(), text_.size(), "NUV_ExifInfoBase::%s%s", operation, reason);
    }
    [[nodiscard]] const char* text() const noexcept { return text_.data(); }

private:
    std::array<char, 96> text_{};
};

// A structure whose header has no byte order may be one all the same.
bool is_bad_byte_order(QDTIFF_Status status) noexcept
{
    return status.code() == QDTIFF_Status::no_byte_order ||
           status.code() == QDTIFF_Status::refused_tag ||
           status.code() == QDTIFF_Status::bad_entry_count;
}

} // namespace

bool NUV_ExifInfoBase::load_attributes(NUV_InputStorage* storage)
{
    constexpr auto operation = "load_attributes()";
    constexpr std::array<std::uint8_t, 2> big_endian{'M', 'M'};

    reset_attributes();
    if (!storage)
        return raise(QDTIFF_Status::read_failed, operation, 0);
    NUV_QDTIFFInputStorage input(*storage);
    QDTIFF_ImageFileHeader header;
    const QDTIFF_Status status = header.read(input);
    if (is_bad_byte_order(status))
        warn(manager(), NUV_WARN_INVALID_DATA, Method(operation, " - invalid byte order").text(),
             NUV_Diagnosis().says("a byte order that is neither II nor MM"));
    else if (!raise(status, operation, 0))
        return false;
    if (input.seek(header.first_ifd_offset) != header.first_ifd_offset) {
        warn_of_offset(operation, header.first_ifd_offset);
        return true;
    }
    QDTIFF_BigEndianValueInputStorage big(input);
    QDTIFF_LittleEndianValueInputStorage little(input);
    QDTIFF_ValueInputStorage* values = &little;
    if (header.byte_order == big_endian)
        values = &big;
    Directory ifd0_tags(allocator_, *values);
    return load_0th_ifd_tags(ifd0_tags) && load_exif_private_tags(ifd0_tags) &&
           load_gps_info_tags(ifd0_tags) && load_1st_ifd_tags(ifd0_tags);
}

bool NUV_ExifInfoBase::load_0th_ifd_tags(Directory& ifd0_tags)
{
    return load_record(ifd0_tags, ifd0, "load_0th_ifd_tags()");
}

bool NUV_ExifInfoBase::load_exif_private_tags(Directory& ifd0_tags)
{
    Directory exif_tags(allocator_, ifd0_tags.values);
    std::uint32_t offset = 0;
    return tag_getter(ifd0_tags, exif_ifd_pointer, offset) &&
           load_record_at(offset, exif_tags, exif, "load_exif_private_tags()") &&
           load_interoperability_tags(exif_tags);
}

bool NUV_ExifInfoBase::load_interoperability_tags(Directory& exif_tags)
{
    Directory tags(allocator_, exif_tags.values);
    std::uint32_t offset = 0;
    return tag_getter(exif_tags, interoperability_ifd_pointer, offset) &&
           load_record_at(offset, tags, interoperability, "load_interoperability_tags()");
}

bool NUV_ExifInfoBase::load_gps_info_tags(Directory& ifd0_tags)
{
    Directory tags(allocator_, ifd0_tags.values);
    std::uint32_t offset = 0;
    return tag_getter(ifd0_tags, gps_ifd_pointer, offset) &&
           load_record_at(offset, tags, gps, "load_gps_info_tags()");
}

bool NUV_ExifInfoBase::load_1st_ifd_tags(Directory& ifd0_tags)
{
    Directory tags(allocator_, ifd0_tags.values);
    return load_record_at(ifd0_tags.tags.next_ifd_offset(), tags, ifd1, "load_1st_ifd_tags()");
}

template <class Record>
bool NUV_ExifInfoBase::load_record(Directory& directory, Record& record, const char* operation)
{
    const std::uint32_t offset = directory.values.storage().tell();
    return raise(directory.tags.read(directory.values), operation, offset) &&
           visit_tags<Record>([&](std::uint16_t number, auto attribute) {
               return tag_getter(directory, number, record.*attribute);
           });
}

template <class Record>
bool NUV_ExifInfoBase::load_record_at(std::uint32_t offset, Directory& directory, Record& record,
                                      const char* operation)
{
    if (offset == 0)
        return true;
    if (directory.values.storage().seek(offset) == offset)
        return load_record(directory, record, operation);
    warn_of_offset(operation, offset);
    return true;
}

bool NUV_ExifInfoBase::tag_getter(Directory& directory, std::uint16_t number,
                                  NUV_ExifKind::Long& attribute)
{
    static_cast<void>(get_first(directory, number, attribute));
    return true;
}

// Through 16 bits, so that no file has the number that stands for an absent tag.
bool NUV_ExifInfoBase::tag_getter(Directory& directory, std::uint16_t number,
                                  NUV_ExifKind::Short& attribute)
{
    std::uint16_t value = 0;
    if (get_first(directory, number, value))
        attribute.value = value;
    return true;
}

bool NUV_ExifInfoBase::tag_getter(Directory& directory, std::uint16_t number,
                                  NUV_ExifKind::URational& attribute)
{
    static_cast<void>(get_first(directory, number, attribute));
    return true;
}

bool NUV_ExifInfoBase::tag_getter(Directory& directory, std::uint16_t number,
                                  NUV_ExifKind::SRational& attribute)
{
    static_cast<void>(get_first(directory, number, attribute));
    return true;
}

bool NUV_ExifInfoBase::tag_getter(Directory& directory, std::uint16_t number,
                                  NUV_ExifKind::Ascii& attribute)
{
    NUV_ExifKind::Bytes characters(manager());
    if (!tag_getter(directory, number, characters))
        return false;
    if (characters.empty())
        return true;
    if (!attribute.resize(characters.size()))
        return false;
    if (attribute.size() != characters.size())
        return fail(manager(), NUV_ERROR, "get_array_values()");
    for (std::size_t i = 0; i < characters.size(); ++i)
        attribute[i] = static_cast<char>(characters[i]);
    return characters.back() != 0 || attribute.resize(characters.size() - 1);
}

template <class T>
bool NUV_ExifInfoBase::tag_getter(Directory& directory, std::uint16_t number,
                                  NUV_Vector<T>& attribute)
{
    // Bytes that stand in place of rationals take eight times their size in memory. No attribute
    // has more than six rationals.
    constexpr std::size_t most_growth = 4;
    constexpr std::uint32_t few = 1024;

    QDTIFF_Tag* tag = find_sound(directory, number);
    if (!tag)
        return true;
    if (tag->count() > few && sizeof(T) > most_growth * tag->element_size()) {
        warn_of_tag(number);
        return true;
    }
    if (!attribute.resize(tag->count()))
        return false;
    if (tag->get(directory.values, attribute.items(), 0) == tag->count())
        return true;
    attribute.clear();
    warn_of_tag(number);
    return true;
}

template <class T>
bool NUV_ExifInfoBase::get_first(Directory& directory, std::uint16_t number, T& value)
{
    QDTIFF_Tag* tag = find_sound(directory, number);
    if (!tag)
        return false;
    T first{};
    if (tag->get(directory.values, std::span(&first, 1), 0) == 1) {
        value = first;
        return true;
    }
    warn_of_tag(number);
    return false;
}

QDTIFF_Tag* NUV_ExifInfoBase::find_sound(Directory& directory, std::uint16_t number)
{
    QDTIFF_Tag* tag = directory.tags.find(number);
    if (!tag)
        return nullptr;
    if (!tag->status().is_good()) {
        warn_of_tag(number);
        return nullptr;
    }
    return tag->count() > 0 ? tag : nullptr;
}

void NUV_ExifInfoBase::warn_of_tag(std::uint16_t number)
{
    warn(manager(), NUV_WARN_INVALID_DATA, "NUV_ExifInfoBase::tag_getter() - invalid tag data",
         NUV_Diagnosis().says("the tag %u", unsigned{number}));
}

void NUV_ExifInfoBase::warn_of_offset(const char* operation, std::uint32_t offset)
{
    warn(manager(), NUV_WARN_INVALID_DATA, Method(operation, " - invalid offset").text(),
         NUV_Diagnosis().says("a directory at byte %u, behind the end", offset));
}

// Bytes are counted from the begin of the structure, which in a JPEG is not that of the source.
bool NUV_ExifInfoBase::raise(QDTIFF_Status status, const char* operation, std::uint32_t offset)
{
    if (status.is_good())
        return true;
    const char* const what = offset == 0 ? "header" : "directory";
    return fail(
        manager(), status_of(status.code()), Method(operation).text(),
        NUV_Diagnosis().says("the Exif %s at byte %u %s", what, offset, reason_of(status.code())));
}

} // namespace nuv
