#pragma once

#include "framework/engine/nuv_bufferoutputengine.h"
#include "framework/io/nuv_inputstorage.h"

#include <cstdint>

namespace nuv {

// An engine that takes its image from a storage, which lives as long as the engine.
class NUV_ReadEngine : public NUV_BufferOutputEngine {
public:
    using NUV_BufferOutputEngine::NUV_BufferOutputEngine;

    // NUV_ERR_ARGUMENT for a null or closed storage.
    [[nodiscard]] bool initiate(NUV_InputStorage* storage, const NUV_Header* header,
                                NUV_DstBuffer* dst);

protected:
    // Whether nobody will look at the next block, and the storage has gone past the bytes that it
    // would be made of; then deliver_unseen() delivers it. False for any that has to be read, for
    // bytes that are not there, too.
    [[nodiscard]] bool passes_over(std::uint64_t bytes);

    NUV_InputStorage* storage_ = nullptr;
};

} // namespace nuv
