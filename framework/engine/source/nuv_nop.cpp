#include "framework/engine/nuv_nop.h"

#include "framework/base/nuv_failure.h"
#include "framework/base/nuv_status.h"
#include "framework/engine/nuv_stepblocks.h"

namespace nuv {
namespace {

class NUV_RewriteHeaderEngine final : public NUV_NopEngine {
public:
    static constexpr auto initiate_method = "NUV_RewriteHeaderEngine::initiate()";
    using NUV_NopEngine::NUV_NopEngine;

    [[nodiscard]] bool initiate(const NUV_Header* header, NUV_SrcBuffer* src, NUV_DstBuffer* dst,
                                const NUV_Header* new_header);
};

bool NUV_RewriteHeaderEngine::initiate(const NUV_Header* header, NUV_SrcBuffer* src,
                                       NUV_DstBuffer* dst, const NUV_Header* new_header)
{
    if (!NUV_NopEngine::initiate(header, src, dst))
        return false;
    if (!new_header)
        return fail(manager(), NUV_ERR_ARGUMENT, initiate_method);
    if (!new_header->checked_line_bytes())
        return fail(manager(), NUV_ERR_UNSUPPORTED, initiate_method);
    if (new_header->is_raw()) {
        const std::uint32_t line = new_header->line_bytes();
        const bool source_set = src->block_bytes(line);
        const bool destination_set = dst->block_bytes(line);
        if (!source_set || !destination_set)
            return false;
    }
    return header_.copy(*new_header);
}

} // namespace

bool NUV_NopEngine::initiate(const NUV_Header* header, NUV_SrcBuffer* src, NUV_DstBuffer* dst)
{
    return NUV_ProcessEngine::initiate(header, src, dst) && dst->block_bytes(src->block_bytes());
}

bool NUV_NopEngine::execute()
{
    NUV_OutputBlock out(*dst_buffer_);
    if (!out)
        return false;
    std::uint32_t count = 0;
    NUV_InputBlock in(*src_buffer_, out.data(), &count);
    if (!in)
        return false;
    // The source first: its buffer may hold our block as its own.
    const bool released = in.release();
    const bool committed = out.commit(count);
    return released && committed;
}

NUV_Engine* NUV_Nop::engine(const NUV_Header* header, NUV_SrcBuffer* src)
{
    return append_behind<NUV_NopEngine>(header, src);
}

NUV_Engine* NUV_RewriteHeader::engine(NUV_Engine* previous, const NUV_Header* header)
{
    if (!accepts_image(previous, "NUV_RewriteHeader::engine()"))
        return nullptr;
    return append_new<NUV_RewriteHeaderEngine>(*previous, header);
}

} // namespace nuv
