#include "core/tiff/nuv_tiffimagefiledirectory.h"

#include "framework/base/nuv_failure.h"
#include "framework/base/nuv_status.h"
#include "framework/io/nuv_checkedstream.h"
#include "framework/io/nuv_inputstorage.h"

#include <limits>

namespace nuv {
namespace {

// Positions of storages have a sign.
constexpr std::uint32_t last_position = std::numeric_limits<std::int32_t>::max();

NUV_Diagnosis directory_at(std::uint32_t offset) noexcept
{
    return NUV_Diagnosis()
        .because(NUV_Cause::damaged)
        .says("a directory is said to begin at byte %u, where the file has ended", offset);
}

} // namespace

bool NUV_TIFFImageFileHeader::load(NUV_InputStorage* storage)
{
    // Known under these words, without the colons.
    constexpr auto method = "NUV_TIFFImageFileHeaderload()";

    if (!storage)
        return fail(manager(), NUV_ERR_ARGUMENT, method);
    NUV_QDTIFFInputStorage input(*storage);
    QDTIFF_ImageFileHeader header;
    if (!NUV_QDTIFFStatus(manager(), header.read(input))
             .raise(method, NUV_Diagnosis().says("the header ends early")))
        return false;
    if (header.first_ifd_offset > last_position)
        return fail(manager(), NUV_ERR_BROKEN_DATA,
                    "NUV_TIFFImageFileHeader::load() - invalid offset",
                    directory_at(header.first_ifd_offset));
    first_ifd_offset_ = header.first_ifd_offset;
    byte_order_ = header.is_little_endian() ? NUV_TIFFByteOrder::little_endian
                                            : NUV_TIFFByteOrder::big_endian;
    return true;
}

bool NUV_TIFFImageFileDirectory::load(NUV_InputStorage* storage, std::uint32_t offset,
                                      NUV_TIFFByteOrder order, std::uint32_t page)
{
    constexpr auto method = "NUV_TIFFImageFileDirectory::load()";

    if (!storage || storage->is_closed())
        return fail(manager(), NUV_ERR_ARGUMENT, method);
    if (!seek_exactly(*storage, offset))
        return fail(manager(), NUV_ERR_IO, method, directory_at(offset));
    NUV_QDTIFFInputStorage& input = input_.emplace(*storage);
    if (order == NUV_TIFFByteOrder::little_endian)
        values_ = &little_endian_.emplace(input);
    else
        values_ = &big_endian_.emplace(input);
    const bool loaded =
        NUV_QDTIFFStatus(manager(), directory_.skip_to(*values_, page)).raise(method, {}) &&
        NUV_QDTIFFStatus(manager(), directory_.read(*values_)).raise(method, {});
    byte_order_ = order;
    return loaded;
}

std::uint32_t NUV_TIFFImageFileDirectory::next_ifd_offset()
{
    const std::uint32_t offset = directory_.next_ifd_offset();
    if (offset <= last_position)
        return offset;
    fail(manager(), NUV_ERR_BROKEN_DATA,
         "NUV_TIFFImageFileDirectory::next_ifd_offset() - invalid offset", directory_at(offset));
    return 0;
}

} // namespace nuv
