#include "framework/engine/nuv_bitreverse.h"

#include "framework/engine/nuv_processengine.h"
#include "framework/engine/nuv_stepblocks.h"
#include "framework/utility/nuv_mirroredbytes.h"

#include <cstdint>

namespace nuv {
namespace {

class NUV_BitReverseEngine final : public NUV_ProcessEngine {
public:
    static constexpr auto initiate_method = "NUV_BitReverseEngine::initiate()";
    using NUV_ProcessEngine::NUV_ProcessEngine;

    [[nodiscard]] bool execute() override;
    // Output blocks are as large as input blocks.
    [[nodiscard]] bool initiate(const NUV_Header* header, NUV_SrcBuffer* src, NUV_DstBuffer* dst);
};

bool NUV_BitReverseEngine::initiate(const NUV_Header* header, NUV_SrcBuffer* src,
                                    NUV_DstBuffer* dst)
{
    return NUV_ProcessEngine::initiate(header, src, dst) && dst->block_bytes(src->block_bytes());
}

bool NUV_BitReverseEngine::execute()
{
    NUV_OutputBlock out(*dst_buffer_);
    if (!out)
        return false;
    std::uint32_t count = 0;
    NUV_InputBlock in(*src_buffer_, out.data(), &count);
    if (!in || count == 0)
        return false;
    // The source first: its buffer may hold our block as its own.
    const bool released = in.release();
    auto* block = out.as<std::uint8_t>();
    for (std::uint32_t i = 0; i < count; ++i)
        block[i] = mirrored_bytes[block[i]];
    const bool committed = out.commit(count);
    return released && committed;
}

} // namespace

NUV_Engine* NUV_BitReverse::engine(NUV_Engine* source)
{
    if (!accepts_image(source, "NUV_BitReverse::engine()"))
        return nullptr;
    return append_new<NUV_BitReverseEngine>(*source);
}

} // namespace nuv
