#pragma once

#include "core/include/nuv_formatinfo.h"
#include "framework/base/nuv_diagnosis.h"

#include <cstdint>

namespace nuv {

// A Sun raster file: 32 bytes of header, a colour map, lines. The storage stands at the first byte
// of the pixels after a load().
class NUV_SunrasInfo final : public NUV_FormatInfo {
public:
    // What `type()` can be.
    static constexpr std::uint32_t old_type = 0;
    static constexpr std::uint32_t standard_type = 1;
    static constexpr std::uint32_t byte_encoded_type = 2; // run-length data, which is not read
    static constexpr std::uint32_t rgb_type = 3;          // red first; the others store blue first

    using NUV_FormatInfo::NUV_FormatInfo;

    [[nodiscard]] const char* format_name() const noexcept override { return "sunras"; }
    // NUV_ERR_BROKEN_DATA for a storage that ends within header or map, NUV_ERR_INVALID_DATA for
    // values that the format does not have.
    [[nodiscard]] bool load_internal(NUV_InputStorage* storage) override;

    [[nodiscard]] std::uint32_t type() const noexcept { return type_; }
    // 0 for none, 1 for a map of reds, greens and blues.
    [[nodiscard]] std::uint32_t map_type() const noexcept { return map_type_; }

private:
    struct NUV_Fields {
        std::uint32_t depth; // bits of a pixel
        std::uint32_t type;
        std::uint32_t map_type;
        std::uint32_t map_bytes;
    };

    [[nodiscard]] bool load_fields(NUV_InputStorage& storage);
    [[nodiscard]] bool describe(const NUV_Fields& fields);
    [[nodiscard]] bool load_map(NUV_InputStorage& storage, const NUV_Fields& fields);
    [[nodiscard]] bool load_palette(NUV_InputStorage& storage, std::uint32_t map_bytes);
    // For what is wrong `offset` bytes into the file.
    [[nodiscard]] NUV_Diagnosis at(std::uint32_t offset) const noexcept;
    [[nodiscard]] bool broken(const NUV_Diagnosis& why);
    [[nodiscard]] bool broken_map(const NUV_InputStorage& storage, std::uint32_t map_bytes);
    [[nodiscard]] bool invalid(const NUV_Diagnosis& why);

    std::int32_t start_ = 0; // of the file in its storage
    std::uint32_t type_ = standard_type;
    std::uint32_t map_type_ = 0;
};

} // namespace nuv
