#include "core/mirror/nuv_mirrorx.h"

#include "core/include/nuv_mirrorrow_kernels.h"
#include "core/include/nuv_reversebits_kernels.h"
#include "framework/base/nuv_failure.h"
#include "framework/base/nuv_status.h"
#include "framework/engine/nuv_processlinetolineengine.h"

#include <cstddef>
#include <cstdint>

namespace nuv {
namespace {

template <class T>
class NUV_MirrorX8xNBitsEngine final : public NUV_ProcessLineToLineEngine {
public:
    static constexpr auto initiate_method = "NUV_MirrorX8xNBitsEngine::initiate()";
    using NUV_ProcessLineToLineEngine::NUV_ProcessLineToLineEngine;

    [[nodiscard]] bool initiate(const NUV_Header* header, NUV_SrcBuffer* src, NUV_DstBuffer* dst)
    {
        if (!NUV_ProcessLineToLineEngine::initiate(header, src, dst))
            return false;
        if (header->bits() != 8 * sizeof(T))
            return fail(manager(), NUV_ERR_UNSUPPORTED, initiate_method);
        pixel_bytes_ = header->channels() * sizeof(T);
        mirror_row_ = choose_mirror_row(manager().cpu(), pixel_bytes_);
        return dst->block_bytes(header_.line_bytes());
    }

private:
    [[nodiscard]] bool process_line(const void* in, void* out) override
    {
        mirror_row_(static_cast<const std::uint8_t*>(in), static_cast<std::uint8_t*>(out),
                    header_.width(), pixel_bytes_);
        return true;
    }

    MirrorRow mirror_row_ = nullptr;
    std::size_t pixel_bytes_ = 0;
};

class NUV_MirrorX1BitEngine final : public NUV_ProcessLineToLineEngine {
public:
    static constexpr auto initiate_method = "NUV_MirrorX1BitEngine::initiate()";
    using NUV_ProcessLineToLineEngine::NUV_ProcessLineToLineEngine;

    [[nodiscard]] bool initiate(const NUV_Header* header, NUV_SrcBuffer* src, NUV_DstBuffer* dst)
    {
        if (!NUV_ProcessLineToLineEngine::initiate(header, src, dst))
            return false;
        if (header->bits() != 1 || header->channels() != 1 ||
            header->data_type() != NUV_DataType::u_integer)
            return fail(manager(), NUV_ERR_UNSUPPORTED, initiate_method);
        reverse_bits_ = choose_reverse_bits(manager().cpu());
        return dst->block_bytes(header_.line_bytes());
    }

private:
    [[nodiscard]] bool process_line(const void* in, void* out) override
    {
        reverse_bits_(static_cast<const std::uint8_t*>(in), static_cast<std::uint8_t*>(out),
                      header_.width());
        return true;
    }

    ReverseBits reverse_bits_ = nullptr;
};

} // namespace

NUV_Engine* NUV_MirrorX::engine(NUV_Engine* previous)
{
    if (!accepts_image(previous, "NUV_MirrorX::engine()"))
        return nullptr;
    if (previous->header()->bits() == 1)
        return NUV_MirrorX1Bit(manager()).engine(previous);
    return NUV_MirrorX8xNBits(manager()).engine(previous);
}

NUV_Engine* NUV_MirrorX8xNBits::engine(NUV_Engine* previous)
{
    if (!accepts_image(previous, "NUV_MirrorX8xNBits::engine()"))
        return nullptr;
    if (previous->header()->bits() == 16)
        return append_new<NUV_MirrorX8xNBitsEngine<std::uint16_t>>(*previous);
    return append_new<NUV_MirrorX8xNBitsEngine<std::uint8_t>>(*previous);
}

NUV_Engine* NUV_MirrorX1Bit::engine(NUV_Engine* previous)
{
    if (!accepts_image(previous, "NUV_MirrorX1Bit::engine()"))
        return nullptr;
    return append_new<NUV_MirrorX1BitEngine>(*previous);
}

} // namespace nuv
