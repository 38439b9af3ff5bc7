#include "core/tiff/structure/nuv_qdtiffstorage.h"

#include "framework/utility/nuv_endian.h"

#include <bit>

namespace nuv {

bool QDTIFF_ValueInputStorage::read_array(void* into, std::size_t count, std::size_t unit_bytes)
{
    if (!storage_.read({static_cast<std::uint8_t*>(into), count * unit_bytes}))
        return false;
    to_host_order(into, count, unit_bytes);
    return true;
}

void QDTIFF_ValueInputStorage::to_host_order(void* values, std::size_t count,
                                             std::size_t unit_bytes) const noexcept
{
    if (swaps_)
        swap_bytes(values, count, unit_bytes);
}

QDTIFF_LittleEndianValueInputStorage::QDTIFF_LittleEndianValueInputStorage(
    QDTIFF_InputStorage& storage) noexcept
    : QDTIFF_ValueInputStorage(storage, std::endian::native == std::endian::big)
{}

QDTIFF_BigEndianValueInputStorage::QDTIFF_BigEndianValueInputStorage(
    QDTIFF_InputStorage& storage) noexcept
    : QDTIFF_ValueInputStorage(storage, std::endian::native == std::endian::little)
{}

} // namespace nuv
