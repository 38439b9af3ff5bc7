#include "core/mirror/nuv_mirrory.h"

#include "framework/engine/nuv_processplanetolineengine.h"

#include <cstddef>
#include <cstdint>
#include <cstring>

namespace nuv {
namespace {

class NUV_MirrorYEngine final : public NUV_ProcessPlaneToLineEngine {
public:
    static constexpr auto initiate_method = "NUV_MirrorYEngine::initiate()";
    using NUV_ProcessPlaneToLineEngine::NUV_ProcessPlaneToLineEngine;

    [[nodiscard]] bool initiate(const NUV_Header* header, NUV_SrcBuffer* src, NUV_DstBuffer* dst)
    {
        if (!NUV_ProcessPlaneToLineEngine::initiate(header, src, dst))
            return false;
        line_bytes_ = header->line_bytes();
        return dst->block_bytes(line_bytes_);
    }

private:
    [[nodiscard]] bool process_line(const void* plane, void* out) override
    {
        const std::size_t wanted = header_.height() - 1 - line_;
        std::memcpy(out, static_cast<const std::uint8_t*>(plane) + wanted * line_bytes_,
                    line_bytes_);
        return true;
    }

    std::uint32_t line_bytes_ = 0;
};

} // namespace

NUV_Engine* NUV_MirrorY::engine(NUV_Engine* previous)
{
    if (!accepts_image(previous, "NUV_MirrorY::engine()"))
        return nullptr;
    return append_new<NUV_MirrorYEngine>(*previous);
}

} // namespace nuv
