#include "core/lut/nuv_lutdata.h"

#include "framework/base/nuv_checkedsize.h"
#include "framework/base/nuv_failure.h"
#include "framework/base/nuv_status.h"

#include <cstring>
#include <utility>

namespace nuv {

bool NUV_LutData::cleanup()
{
    manager().deallocate(std::exchange(value_, nullptr));
    return true;
}

std::optional<std::uint32_t> NUV_LutData::wanted_bytes() const noexcept
{
    const std::uint64_t entry_bits = std::uint64_t{bits} * channels; // below 2^32
    return fits_32(entry_bits * entries / 8);
}

bool NUV_LutData::is_valid() const noexcept
{
    return value_ && data_type && wanted_bytes() == value_bytes_;
}

bool NUV_LutData::value(const std::uint8_t* data, std::uint32_t bytes)
{
    std::uint8_t* copy = nullptr;
    if (data || bytes != 0) {
        const auto wanted = wanted_bytes();
        if (!data || !wanted || bytes == 0 || bytes != *wanted)
            return fail(manager(), NUV_ERR_ARGUMENT, "NUV_LutData::value()");
        copy = static_cast<std::uint8_t*>(manager().allocate(bytes));
        if (!copy)
            return false;
        std::memcpy(copy, data, bytes);
    }
    manager().deallocate(std::exchange(value_, copy));
    value_bytes_ = bytes;
    return true;
}

} // namespace nuv
