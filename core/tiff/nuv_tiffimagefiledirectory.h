#pragma once

#include "core/tiff/source/nuv_qdtiffclasses.h"
#include "core/tiff/structure/nuv_qdtiffdirectory.h"
#include "framework/base/nuv_utility.h"

#include <cstdint>
#include <optional>

namespace nuv {

class NUV_InputStorage;

// The order of bytes in the numbers of a file.
enum class NUV_TIFFByteOrder : std::int32_t { big_endian = 0, little_endian = 1 };

// The header of a TIFF file.
class NUV_TIFFImageFileHeader : public NUV_Utility {
public:
    using NUV_Utility::NUV_Utility;

    // From where the storage stands. False in silence when it does not begin with a byte order;
    // NUV_ERR_BROKEN_DATA, NUV_ERR_ARGUMENT.
    [[nodiscard]] bool load(NUV_InputStorage* storage);

    [[nodiscard]] NUV_TIFFByteOrder byte_order() const noexcept { return byte_order_; }
    [[nodiscard]] std::uint32_t first_ifd_offset() const noexcept { return first_ifd_offset_; }

private:
    NUV_TIFFByteOrder byte_order_ = NUV_TIFFByteOrder::big_endian;
    std::uint32_t first_ifd_offset_ = 0;
};

// One directory of a file.
class NUV_TIFFImageFileDirectory : public NUV_Utility {
public:
    explicit NUV_TIFFImageFileDirectory(NUV_Manager& manager) noexcept
        : NUV_Utility(manager),
          allocator_(manager),
          directory_(allocator_)
    {}

    // The directory that is `page` steps behind the one at `offset`. The storage, which is read
    // again for each value, is the caller's. NUV_ERR_ARGUMENT for a null or closed one and for a
    // page that is not there, NUV_ERR_IO for an offset that cannot be reached,
    // NUV_ERR_BROKEN_DATA, NUV_ERR_UNSUPPORTED for a number of entries that is not served.
    [[nodiscard]] bool load(NUV_InputStorage* storage, std::uint32_t offset,
                            NUV_TIFFByteOrder order, std::uint32_t page);

    // Of the directory behind this one, 0 when there is none. NUV_ERR_BROKEN_DATA, and 0, for one
    // that no storage can have.
    [[nodiscard]] std::uint32_t next_ifd_offset();
    [[nodiscard]] NUV_TIFFByteOrder byte_order() const noexcept { return byte_order_; }

    // The first tag of this number, or null, and where its value is read from.
    [[nodiscard]] QDTIFF_Tag* find(std::uint16_t number) const noexcept
    {
        return directory_.find(number);
    }
    [[nodiscard]] QDTIFF_ValueInputStorage& values() noexcept { return *values_; }

private:
    NUV_QDTIFFAllocator allocator_;
    QDTIFF_ImageFileDirectory directory_;
    std::optional<NUV_QDTIFFInputStorage> input_;
    std::optional<QDTIFF_LittleEndianValueInputStorage> little_endian_; // one of the two
    std::optional<QDTIFF_BigEndianValueInputStorage> big_endian_;
    QDTIFF_ValueInputStorage* values_ = nullptr;
    NUV_TIFFByteOrder byte_order_ = NUV_TIFFByteOrder::little_endian;
};

} // namespace nuv
