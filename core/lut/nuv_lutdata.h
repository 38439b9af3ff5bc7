#pragma once

#include "framework/base/nuv_object.h"
#include "framework/base/nuv_tags.h"

#include <cstdint>
#include <optional>

namespace nuv {

// A lookup table: for each channel, or once for all, the output sample of every input sample.
class NUV_LutData final : public NUV_Object {
public:
    using NUV_Object::NUV_Object;

    bool cleanup() override;

    std::uint16_t bits = 0;     // of an entry
    std::uint16_t channels = 0; // 1: one table for all channels of the image
    std::uint32_t entries = 0;  // of each channel
    const NUV_DataType* data_type = NUV_DataType::u_integer; // of the entries
    // What one table for all channels was made by, as in x slope + offset, where it is known. Who
    // goes by it looks at each entry.
    double slope = 0; // 0 where it is not
    double offset = 0;

    // The tables, one channel after the other, entries in host order. Null when there is none.
    [[nodiscard]] const std::uint8_t* value() const noexcept { return value_; }
    // Copies `bytes` bytes, which must be bits * channels * entries / 8; null and 0 clear.
    // NUV_ERR_ARGUMENT or NUV_ERR_MEMORY, and the old tables stay.
    [[nodiscard]] bool value(const std::uint8_t* data, std::uint32_t bytes);

    // True when there are tables, and as many bytes of them as the numbers ask for.
    [[nodiscard]] bool is_valid() const noexcept;

private:
    // Nothing when it passes what 32-bit sizes can hold.
    [[nodiscard]] std::optional<std::uint32_t> wanted_bytes() const noexcept;

    std::uint8_t* value_ = nullptr;
    std::uint32_t value_bytes_ = 0;
};

} // namespace nuv
