#pragma once

#include "core/include/nuv_formatinfo.h"
#include "framework/base/nuv_diagnosis.h"

#include <cstdint>

namespace nuv {

// A file of the library's own raster format, which carries an image in any coding: the fields of a
// header by their ids, a palette or none, and the data. docs/formats.md has its layout. The storage
// stands at the first byte of the data after a load().
class NUV_InternalInfo final : public NUV_FormatInfo {
public:
    using NUV_FormatInfo::NUV_FormatInfo;

    [[nodiscard]] const char* format_name() const noexcept override { return "nuv"; }
    // NUV_ERR_BROKEN_DATA for a storage that ends within fields or palette, NUV_ERR_UNSUPPORTED for
    // another version and for sides beyond 32 bits, NUV_ERR_INVALID_DATA for no data and for a
    // palette that no image has. Ids that mean nothing give tags that are `unknown`.
    [[nodiscard]] bool load_internal(NUV_InputStorage* storage) override;

    // Bytes of the data, above 0; what follows them in the storage is not of this image.
    [[nodiscard]] std::uint64_t data_size() const noexcept { return data_size_; }

private:
    [[nodiscard]] bool load_fields(NUV_InputStorage& storage);
    [[nodiscard]] bool describe(const std::uint8_t* fields);
    [[nodiscard]] bool load_palette(NUV_InputStorage& storage, const std::uint8_t* fields);
    // For what is wrong `offset` bytes into the file.
    [[nodiscard]] NUV_Diagnosis at(std::uint32_t offset) const noexcept;
    [[nodiscard]] bool refuse(std::uint32_t code, const NUV_Diagnosis& why = {});

    std::int32_t start_ = 0; // of the file in its storage
    std::uint64_t data_size_ = 0;
};

} // namespace nuv
