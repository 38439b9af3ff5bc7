#pragma once

#include "framework/io/nuv_decorator.h"

#include <cstdint>
#include <type_traits>

namespace nuv {

enum class NUV_ByteOrder : std::int32_t { big_endian = 0, little_endian = 1 };

// Reads the numbers of a file in the file's byte order. The position is the inner storage's.
class NUV_DataInput final : public NUV_InputStorageDecorator {
public:
    using NUV_InputStorageDecorator::NUV_InputStorageDecorator;

    // NUV_ERR_ARGUMENT for a null.
    [[nodiscard]] bool initiate(NUV_InputStorage* inner, NUV_ByteOrder order);

    // One value of 1, 2, 4 or 8 bytes, in host order. False when the stream ends inside it; what
    // there was of it has then been consumed, and `into` is not a value.
    [[nodiscard]] bool read_value(void* into, std::int32_t size);
    template <class T>
    [[nodiscard]] bool read_value(T& value)
    {
        static_assert(std::is_arithmetic_v<T>);
        return read_value(&value, static_cast<std::int32_t>(sizeof(T)));
    }

private:
    bool swaps_ = false;
};

} // namespace nuv
