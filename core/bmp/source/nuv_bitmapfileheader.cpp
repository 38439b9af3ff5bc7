#include "core/bmp/nuv_bitmapfileheader.h"

#include "framework/base/nuv_failure.h"
#include "framework/base/nuv_status.h"
#include "framework/io/nuv_checkedstream.h"
#include "framework/utility/nuv_endian.h"

namespace nuv {

bool NUV_BitmapFileHeader::read(NUV_InputStorage* storage)
{
    constexpr auto method = "NUV_BitmapFileHeader::read()";
    constexpr std::uint16_t bitmap_type = 0x4D42; // "BM"

    if (!storage || storage->is_closed())
        return fail(manager(), NUV_ERR_ARGUMENT, method);
    std::uint8_t stored[stored_bytes];
    start_ = storage->position();
    if (!read_exactly(*storage, stored, sizeof(type)))
        return fail(manager(), NUV_ERR_BROKEN_DATA, method,
                    NUV_Diagnosis().because(NUV_Cause::unknown_kind).says("it is too short"));
    type = load_le16(stored);
    if (type != bitmap_type)
        return false;
    if (!read_exactly(*storage, stored + sizeof(type), stored_bytes - sizeof(type)))
        return fail(manager(), NUV_ERR_BROKEN_DATA, method,
                    ends_early(*storage, "the file header", stored_bytes - sizeof(type)));
    size = load_le32(stored + 2);
    reserved1 = load_le16(stored + 6);
    reserved2 = load_le16(stored + 8);
    off_bits = load_le32(stored + 10);
    return true;
}

bool NUV_BitmapFileHeader::is_valid(std::uint32_t bytes_of_headers) const
{
    if (off_bits == 0 || off_bits >= bytes_of_headers)
        return true;
    return fail(manager(), NUV_ERR_INVALID_DATA, "NUV_BitmapFileHeader::is_valid()",
                at_offset().says("pixels at byte %u, within %u bytes of headers", off_bits,
                                 bytes_of_headers));
}

} // namespace nuv
