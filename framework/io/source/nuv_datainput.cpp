#include "framework/io/nuv_datainput.h"

#include "framework/utility/nuv_endian.h"

#include <bit>

namespace nuv {

bool NUV_DataInput::initiate(NUV_InputStorage* inner, NUV_ByteOrder order)
{
    constexpr auto host = std::endian::native == std::endian::little ? NUV_ByteOrder::little_endian
                                                                     : NUV_ByteOrder::big_endian;
    swaps_ = order != host;
    return NUV_InputStorageDecorator::initiate(inner);
}

bool NUV_DataInput::read_value(void* into, std::int32_t size)
{
    if (size < 1 || read(into, size) != size)
        return false;
    if (swaps_)
        swap_bytes(into, 1, static_cast<std::size_t>(size));
    return true;
}

} // namespace nuv
