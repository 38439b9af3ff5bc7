#pragma once

#include "framework/engine/nuv_enginecreator.h"
#include "framework/engine/nuv_processengine.h"

namespace nuv {

// Copies blocks through.
class NUV_NopEngine : public NUV_ProcessEngine {
public:
    static constexpr auto initiate_method = "NUV_NopEngine::initiate()";
    using NUV_ProcessEngine::NUV_ProcessEngine;

    [[nodiscard]] bool execute() override;
    // Output blocks are as large as input blocks.
    [[nodiscard]] bool initiate(const NUV_Header* header, NUV_SrcBuffer* src, NUV_DstBuffer* dst);
};

// Puts a copying stage behind a reader: one branch of an engine with several.
class NUV_Nop final : public NUV_EngineCreator {
public:
    using NUV_EngineCreator::NUV_EngineCreator;

    // `header` describes what `src` delivers. The reader is the new engine's, or has been ended
    // when the answer is null.
    [[nodiscard]] NUV_Engine* engine(const NUV_Header* header, NUV_SrcBuffer* src);
};

// Delivers the same bytes under another header. Both headers must mean the same number of bytes:
// nothing checks it, and an image that comes short ends early.
class NUV_RewriteHeader final : public NUV_EngineCreator {
public:
    using NUV_EngineCreator::NUV_EngineCreator;

    [[nodiscard]] NUV_Engine* engine(NUV_Engine* previous, const NUV_Header* header);
};

} // namespace nuv
