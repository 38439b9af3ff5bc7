#pragma once

#include "framework/io/nuv_decorator.h"
#include "framework/utility/nuv_mirroredbytes.h"

#include <cstddef>
#include <cstdint>

namespace nuv {

// A storage whose bytes come with their bits in the opposite order.
class NUV_MirroredInputStorage final : public NUV_InputStorageDecorator {
public:
    using NUV_InputStorageDecorator::NUV_InputStorageDecorator;

    [[nodiscard]] std::int32_t get() override
    {
        const std::int32_t byte = NUV_InputStorageDecorator::get();
        return byte < 0 ? byte : mirrored_bytes[static_cast<std::size_t>(byte)];
    }
    [[nodiscard]] std::int32_t read(void* into, std::int32_t bytes) override
    {
        const std::int32_t got = NUV_InputStorageDecorator::read(into, bytes);
        auto* to = static_cast<std::uint8_t*>(into);
        for (std::int32_t i = 0; i < got; ++i)
            to[i] = mirrored_bytes[to[i]];
        return got;
    }
};

} // namespace nuv
