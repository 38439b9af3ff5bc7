#pragma once

#include "core/ccitt/codec/nuv_qdccittallocator.h"
#include "framework/base/nuv_utility.h"

#include <cstddef>

namespace nuv {

// Memory of the manager.
class NUV_CCITTAllocator final : public NUV_Utility, public QDCCITTAllocator {
public:
    using NUV_Utility::NUV_Utility;

    [[nodiscard]] void* allocate(std::size_t bytes) override { return manager().allocate(bytes); }
    void free(void* memory) noexcept override { manager().deallocate(memory); }
};

} // namespace nuv
