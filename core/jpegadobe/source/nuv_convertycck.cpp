#include "core/jpegadobe/nuv_convertycck.h"

#include "framework/base/nuv_failure.h"
#include "framework/base/nuv_status.h"
#include "framework/engine/nuv_processlinetolineengine.h"

#include <cstddef>
#include <cstdint>

namespace nuv {
namespace {

constexpr std::size_t channels_in = 4;
constexpr std::size_t channels_out = 3;

class NUV_ConvertYCCKToYCbCrEngine final : public NUV_ProcessLineToLineEngine {
public:
    static constexpr auto initiate_method = "NUV_ConvertYCCKToYCbCrEngine::initiate()";
    using NUV_ProcessLineToLineEngine::NUV_ProcessLineToLineEngine;

    [[nodiscard]] bool initiate(const NUV_Header* header, NUV_SrcBuffer* src, NUV_DstBuffer* dst);

private:
    [[nodiscard]] bool process_line(const void* in, void* out) override;
};

bool NUV_ConvertYCCKToYCbCrEngine::initiate(const NUV_Header* header, NUV_SrcBuffer* src,
                                            NUV_DstBuffer* dst)
{
    if (!NUV_ProcessLineToLineEngine::initiate(header, src, dst))
        return false;
    if (header->bits() != 8 || header->channels() != channels_in ||
        header->data_type() != NUV_DataType::u_integer || !header->is_raw() ||
        !header->palette().is_empty())
        return fail(manager(), NUV_ERR_UNSUPPORTED, initiate_method);
    header_.channels(channels_out);
    header_.color_type(NUV_ColorType::ycbcr);
    return dst->block_bytes(header_.line_bytes());
}

bool NUV_ConvertYCCKToYCbCrEngine::process_line(const void* in, void* out)
{
    const auto* ycck = static_cast<const std::uint8_t*>(in);
    auto* ycc = static_cast<std::uint8_t*>(out);
    for (std::size_t i = 0; i < header_.width(); ++i) {
        const std::int32_t luma = ycck[3] - ycck[0];
        ycc[0] = static_cast<std::uint8_t>(luma < 0 ? 0 : luma);
        ycc[1] = static_cast<std::uint8_t>(255 - ycck[1]);
        ycc[2] = static_cast<std::uint8_t>(255 - ycck[2]);
        ycck += channels_in;
        ycc += channels_out;
    }
    return true;
}

} // namespace

NUV_Engine* NUV_ConvertYCCKToYCbCr::engine(NUV_Engine* previous)
{
    if (!accepts_image(previous, "NUV_ConvertYCCKToYCbCr::engine()"))
        return nullptr;
    return append_new<NUV_ConvertYCCKToYCbCrEngine>(*previous);
}

} // namespace nuv
