#pragma once

#include "framework/base/nuv_diagnosis.h"
#include "framework/base/nuv_utility.h"
#include "framework/io/nuv_inputstorage.h"

#include <cstdint>

namespace nuv {

// What stands before the information header of a Windows bitmap in a file.
class NUV_BitmapFileHeader final : public NUV_Utility {
public:
    static constexpr std::uint32_t stored_bytes = 14;

    using NUV_Utility::NUV_Utility;

    // Reads the header at the storage's position. False without a status when the two bytes of the
    // signature are others, else after NUV_ERR_ARGUMENT or NUV_ERR_BROKEN_DATA.
    [[nodiscard]] bool read(NUV_InputStorage* storage);
    // `bytes_of_headers` is what stands before the earliest pixel. NUV_ERR_INVALID_DATA for pixels
    // that begin inside it.
    [[nodiscard]] bool is_valid(std::uint32_t bytes_of_headers) const;
    // For what is wrong with `off_bits`: where that was read.
    [[nodiscard]] NUV_Diagnosis at_offset() const noexcept
    {
        return NUV_Diagnosis().at_byte(std::int64_t{start_} + 10);
    }

    std::uint16_t type = 0;
    std::uint32_t size = 0;
    std::uint16_t reserved1 = 0;
    std::uint16_t reserved2 = 0;
    std::uint32_t off_bits = 0; // of the pixels, from the begin of the storage, or 0

private:
    std::int32_t start_ = 0; // of the header in the storage
};

} // namespace nuv
