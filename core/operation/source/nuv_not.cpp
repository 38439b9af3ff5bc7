#include "core/operation/nuv_not.h"

#include "framework/engine/nuv_processlinetolineengine.h"

#include <cstddef>
#include <cstdint>

namespace nuv {
namespace {

class NUV_NotEngine final : public NUV_ProcessLineToLineEngine {
public:
    static constexpr auto initiate_method = "NUV_NotEngine::initiate()";
    using NUV_ProcessLineToLineEngine::NUV_ProcessLineToLineEngine;

    [[nodiscard]] bool initiate(const NUV_Header* header, NUV_SrcBuffer* src, NUV_DstBuffer* dst)
    {
        if (!NUV_ProcessLineToLineEngine::initiate(header, src, dst))
            return false;
        line_bytes_ = header->line_bytes();
        return dst->block_bytes(header->line_bytes());
    }

private:
    [[nodiscard]] bool process_line(const void* in, void* out) override
    {
        const auto* from = static_cast<const std::uint8_t*>(in);
        auto* to = static_cast<std::uint8_t*>(out);
        const std::size_t count = line_bytes_;
        for (std::size_t i = 0; i < count; ++i)
            to[i] = static_cast<std::uint8_t>(~from[i]);
        return true;
    }

    std::size_t line_bytes_ = 0;
};

} // namespace

NUV_Engine* NUV_Not::engine(NUV_Engine* previous)
{
    if (!accepts_image(previous, "NUV_Not::engine()"))
        return nullptr;
    if (previous->header()->encode_type() == NUV_EncodeType::qd_rle)
        return NUV_NotQDRLE(manager()).engine(previous);
    return append_new<NUV_NotEngine>(*previous);
}

} // namespace nuv
