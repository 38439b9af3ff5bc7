#pragma once

#include "framework/base/nuv_held.h"
#include "framework/base/nuv_object.h"

#include <cstdint>

namespace nuv {

class NUV_SrcBuffer;

// Bytes, one after the other, for decoders that know nothing else of the library.
class SourceDataProvider {
public:
    // False at the end, and after a failure.
    [[nodiscard]] virtual bool get_byte(std::uint8_t* byte) = 0;

protected:
    SourceDataProvider() = default;
    ~SourceDataProvider() = default;
};

// The bytes of a pipeline. The reader stays its holder's, who ends this object before it.
class NUV_SourceDataProvider final : public NUV_Object, public SourceDataProvider {
public:
    using NUV_Object::NUV_Object;

    // NUV_ERR_ARGUMENT for a null, NUV_ERR_MEMORY.
    [[nodiscard]] bool initiate(NUV_SrcBuffer* source);
    bool close();
    bool cleanup() override { return close(); }

    [[nodiscard]] bool get_byte(std::uint8_t* byte) override;

private:
    NUV_SrcBuffer* source_ = nullptr;
    NUV_Scratch<std::uint8_t> block_;
    std::uint32_t position_ = 0; // of the next byte in the block; 0: the block is not filled
    std::uint32_t length_ = 0;   // bytes in the block
};

} // namespace nuv
