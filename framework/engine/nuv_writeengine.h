#pragma once

#include "framework/engine/nuv_bufferinputengine.h"
#include "framework/engine/nuv_engine.h"
#include "framework/io/nuv_outputstorage.h"

namespace nuv {

// Ends a chain: what asks it for its output gets NUV_ERR_SEQUENCE.
class NUV_NoOutputEngine : public NUV_Engine {
public:
    using NUV_Engine::NUV_Engine;

    [[nodiscard]] const NUV_Header* header() const override;
    [[nodiscard]] NUV_SrcBuffer* src_buffer() override;
    [[nodiscard]] NUV_Vector<NUV_Engine*> branch(std::uint32_t count) override;
};

// Writes to a storage, which lives as long as the engine.
class NUV_StorageOutputEngine : public NUV_NoOutputEngine {
public:
    using NUV_NoOutputEngine::NUV_NoOutputEngine;

    // NUV_ERR_ARGUMENT for a null or closed storage.
    [[nodiscard]] bool initiate(NUV_OutputStorage* storage);

protected:
    NUV_OutputStorage* storage_ = nullptr;
};

// From a buffer to a storage.
class NUV_WriteEngine : public NUV_StorageOutputEngine, public NUV_BufferInputEngine {
public:
    explicit NUV_WriteEngine(NUV_Manager& manager) noexcept
        : NUV_StorageOutputEngine(manager),
          NUV_BufferInputEngine(manager)
    {}

    bool cleanup() override;
    [[nodiscard]] bool initiate(const NUV_Header* header, NUV_SrcBuffer* src,
                                NUV_OutputStorage* storage);
};

} // namespace nuv
