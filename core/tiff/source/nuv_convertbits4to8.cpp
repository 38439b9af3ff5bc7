#include "core/tiff/nuv_convertbits4to8.h"

#include "framework/engine/nuv_processlinetolineengine.h"

#include <cstddef>

namespace nuv {
namespace {

class NUV_ConvertBits4To8Engine final : public NUV_ProcessLineToLineEngine {
public:
    static constexpr auto initiate_method = "NUV_ConvertBits4To8Engine::initiate()";
    using NUV_ProcessLineToLineEngine::NUV_ProcessLineToLineEngine;

    [[nodiscard]] bool initiate(const NUV_Header* header, NUV_SrcBuffer* src, NUV_DstBuffer* dst);

private:
    [[nodiscard]] bool process_line(const void* in, void* out) override;

    std::uint8_t factor_ = 0; // from the samples to those of 8 bits
};

bool NUV_ConvertBits4To8Engine::initiate(const NUV_Header* header, NUV_SrcBuffer* src,
                                         NUV_DstBuffer* dst)
{
    constexpr std::uint8_t stretch = 255 / 15;

    if (!NUV_ProcessLineToLineEngine::initiate(header, src, dst))
        return false;
    if (header->bits() != 4)
        return fail(manager(), NUV_ERR_UNSUPPORTED, initiate_method);
    factor_ = header->palette().is_empty() ? stretch : 1;
    header_.bits(8);
    if (!header_.checked_line_bytes())
        return fail(manager(), NUV_ERR_UNSUPPORTED, initiate_method);
    return dst->block_bytes(header_.line_bytes());
}

bool NUV_ConvertBits4To8Engine::process_line(const void* in, void* out)
{
    const auto* from = static_cast<const std::uint8_t*>(in);
    auto* to = static_cast<std::uint8_t*>(out);
    const std::uint8_t factor = factor_;
    const std::size_t samples = header_.line_bytes();
    for (std::size_t i = 0; i < samples / 2; ++i) {
        to[2 * i] = static_cast<std::uint8_t>((from[i] >> 4) * factor);
        to[2 * i + 1] = static_cast<std::uint8_t>((from[i] & 15) * factor);
    }
    if (samples % 2 != 0)
        to[samples - 1] = static_cast<std::uint8_t>((from[samples / 2] >> 4) * factor);
    return true;
}

} // namespace

NUV_Engine* NUV_ConvertBits4To8::engine(NUV_Engine* source)
{
    if (!accepts_image(source, "NUV_ConvertBits4To8::engine()"))
        return nullptr;
    return append_new<NUV_ConvertBits4To8Engine>(*source);
}

} // namespace nuv
