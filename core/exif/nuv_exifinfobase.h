#pragma once

#include "core/exif/nuv_exifattributes.h"
#include "core/tiff/nuv_tiffimagefiledirectory.h"
#include "framework/base/nuv_utility.h"

#include <cstdint>

namespace nuv {

class NUV_InputStorage;

// Reads the attributes of an Exif structure. A damaged tag costs itself, a directory that lies
// outside costs itself, with NUV_WARN_INVALID_DATA; a directory that cannot be read costs all of
// them.
class NUV_ExifInfoBase final : public NUV_Utility, public NUV_ExifAttributes {
public:
    explicit NUV_ExifInfoBase(NUV_Manager& manager) noexcept
        : NUV_Utility(manager),
          NUV_ExifAttributes(manager),
          allocator_(manager)
    {}

    // The structure whose header begins where the storage stands; its offsets are positions of the
    // storage. Null stands for a structure of no bytes. At most four times the bytes of the values
    // are held, eight times where up to 1024 bytes stand in place of rationals.
    // NUV_ERR_BROKEN_DATA and NUV_ERR_UNSUPPORTED for a structure that cannot be read, NUV_ERROR
    // for a closed storage, NUV_ERR_MEMORY.
    [[nodiscard]] bool load_attributes(NUV_InputStorage* storage);

private:
    // A directory, and where the values of its tags are read from.
    struct Directory {
        Directory(QDTIFF_Allocator& allocator, QDTIFF_ValueInputStorage& source) noexcept
            : tags(allocator),
              values(source)
        {}

        QDTIFF_ImageFileDirectory tags;
        QDTIFF_ValueInputStorage& values;
    };

    [[nodiscard]] bool load_0th_ifd_tags(Directory& ifd0_tags);
    [[nodiscard]] bool load_exif_private_tags(Directory& ifd0_tags);
    [[nodiscard]] bool load_interoperability_tags(Directory& exif_tags);
    [[nodiscard]] bool load_gps_info_tags(Directory& ifd0_tags);
    [[nodiscard]] bool load_1st_ifd_tags(Directory& ifd0_tags);

    // The directory where the storage stands, and its record.
    template <class Record>
    [[nodiscard]] bool load_record(Directory& directory, Record& record, const char* operation);
    // The same for a directory at an offset, where 0 stands for none.
    template <class Record>
    [[nodiscard]] bool load_record_at(std::uint32_t offset, Directory& directory, Record& record,
                                      const char* operation);

    // An overload for each kind of attribute. True also for a tag that is not there, that has no
    // elements, or that is damaged, which is a warning: `attribute` then stays as it was.
    [[nodiscard]] bool tag_getter(Directory& directory, std::uint16_t number,
                                  NUV_ExifKind::Long& attribute);
    [[nodiscard]] bool tag_getter(Directory& directory, std::uint16_t number,
                                  NUV_ExifKind::Short& attribute);
    [[nodiscard]] bool tag_getter(Directory& directory, std::uint16_t number,
                                  NUV_ExifKind::URational& attribute);
    [[nodiscard]] bool tag_getter(Directory& directory, std::uint16_t number,
                                  NUV_ExifKind::SRational& attribute);
    [[nodiscard]] bool tag_getter(Directory& directory, std::uint16_t number,
                                  NUV_ExifKind::Ascii& attribute);
    template <class T> // bytes, shorts, longs, rationals
    [[nodiscard]] bool tag_getter(Directory& directory, std::uint16_t number,
                                  NUV_Vector<T>& attribute);

    // True when there is a first element.
    template <class T>
    [[nodiscard]] bool get_first(Directory& directory, std::uint16_t number, T& value);
    // Null for a tag that gives nothing.
    [[nodiscard]] QDTIFF_Tag* find_sound(Directory& directory, std::uint16_t number);
    void warn_of_tag(std::uint16_t number);
    void warn_of_offset(const char* operation, std::uint32_t offset);

    // Raises what a status of the header (offset 0) or of the directory at `offset` stands for,
    // under "NUV_ExifInfoBase::" and `operation`. True for success.
    [[nodiscard]] bool raise(QDTIFF_Status status, const char* operation, std::uint32_t offset);

    NUV_QDTIFFAllocator allocator_;
};

} // namespace nuv
