#pragma once

#include "core/tiff/structure/nuv_qdtiffstatus.h"
#include "core/tiff/structure/nuv_qdtiffstorage.h"
#include "framework/base/nuv_diagnosis.h"
#include "framework/base/nuv_utility.h"

#include <cstddef>
#include <cstdint>
#include <span>

namespace nuv {

class NUV_InputStorage;

// A status of the container layer, as the library raises it.
class NUV_QDTIFFStatus final : public QDTIFF_Status {
public:
    NUV_QDTIFFStatus(NUV_Manager& manager, QDTIFF_Status status) noexcept
        : QDTIFF_Status(status),
          manager_(manager)
    {}

    // Raises what a failure stands for in the words of the caller: nothing for data that is no TIFF
    // and where memory was refused, for that has been raised. `why` without a text is given that of
    // a directory. True for success.
    [[nodiscard]] bool raise(const char* method, NUV_Diagnosis why) const;

private:
    NUV_Manager& manager_;
};

// Memory of the manager.
class NUV_QDTIFFAllocator final : public NUV_Utility, public QDTIFF_Allocator {
public:
    using NUV_Utility::NUV_Utility;

    [[nodiscard]] void* allocate(std::size_t bytes) override;
    void free(void* memory) override;
};

// A storage of the library, whose holder keeps it.
class NUV_QDTIFFInputStorage final : public QDTIFF_InputStorage {
public:
    explicit NUV_QDTIFFInputStorage(NUV_InputStorage& storage) noexcept : storage_(&storage) {}

    [[nodiscard]] bool good() const override;
    std::uint32_t seek(std::uint32_t position) override;
    [[nodiscard]] std::uint32_t tell() const override;
    [[nodiscard]] std::uint32_t size() const override;
    [[nodiscard]] bool read(std::span<std::uint8_t> into) override;

private:
    NUV_InputStorage* storage_;
};

} // namespace nuv
