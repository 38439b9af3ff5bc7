#include "core/jpeg/nuv_encodejpeg.h"

#include "core/jpeg/source/nuv_writejpegengine.h"

#include <algorithm>

namespace nuv {

NUV_WriteJPEGOption::NUV_WriteJPEGOption(std::uint32_t quality, std::uint32_t sampling,
                                         std::uint32_t restart_interval) noexcept
    : quality_(std::min(quality, best_quality)),
      sampling_(sampling),
      restart_interval_(restart_interval)
{}

void NUV_WriteJPEGOption::set_quality(std::uint32_t quality) noexcept
{
    quality_ = std::min(quality, best_quality);
}

NUV_Engine* NUV_WriteJPEG::engine(NUV_Engine* previous, NUV_OutputStorage* storage)
{
    return engine(previous, storage, nullptr);
}

NUV_Engine* NUV_WriteJPEG::engine(NUV_Engine* previous, NUV_OutputStorage* storage,
                                  NUV_EncodeJPEGAttributes* attributes)
{
    constexpr std::uint32_t usual_quality = 75;
    constexpr std::uint32_t usual_sampling = 0x211111;

    if (!accepts_image(previous, "NUV_WriteJPEG::engine()"))
        return nullptr;
    NUV_WriteJPEGOption usual(usual_quality, usual_sampling, /*restart_interval=*/0);
    const NUV_EncodeJPEGAttributes* chosen = attributes ? attributes : &usual;
    return append_writer<NUV_WriteJPEGEngine>(*previous, storage, chosen);
}

NUV_Engine* NUV_WriteLosslessJPEG::engine(NUV_Engine* previous, NUV_OutputStorage* storage,
                                          NUV_WriteLosslessJPEGOption* option)
{
    constexpr std::uint32_t no_restarts = 0xFFFFFFFF;

    if (!accepts_image(previous, "NUV_WriteLosslessJPEG::engine()"))
        return nullptr;
    const NUV_WriteLosslessJPEGOption usual(/*optimise=*/false, no_restarts);
    const NUV_WriteLosslessJPEGOption* chosen = option ? option : &usual;
    return append_writer<NUV_WriteJPEGEngine>(*previous, storage, chosen);
}

} // namespace nuv
