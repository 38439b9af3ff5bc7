#pragma once

#include "core/jpeg/nuv_decodejpeg.h"
#include "core/jpeg/nuv_jpeginfo.h"
#include "core/jpeg/source/nuv_jpeginfointernal.h"
#include "framework/engine/nuv_readengine.h"

#include <cstdint>
#include <optional>

namespace nuv {

// Delivers the lines of a JPEG stream, one a step.
class NUV_DecodeJPEGEngine final : public NUV_ReadEngine {
public:
    static constexpr auto initiate_method = "NUV_DecodeJPEGEngine::initiate()";
    using NUV_ReadEngine::NUV_ReadEngine;

    // `header` is what `info` says, but for lossless samples of 9 to 15 bits, which it calls 16.
    // `scale` is in 256ths: 256, 128, 64 or 32. NUV_ERR_ARGUMENT without an info that is loaded.
    // With `reopening`, which is how the info was loaded from the begin of the storage, there is no
    // decoder but from the first line to the last: it is opened anew then.
    [[nodiscard]] bool initiate(NUV_InputStorage* storage, const NUV_Header* header,
                                NUV_DstBuffer* dst, const NUV_JPEGInfo* info, std::int32_t scale,
                                const NUV_DecodeJPEGOption* reopening);
    bool cleanup() override;
    [[nodiscard]] bool execute() override;

private:
    [[nodiscard]] bool is_supported(const NUV_JPEGInfo& info, std::int32_t scale) const;
    [[nodiscard]] bool start();
    [[nodiscard]] bool reopen();
    [[nodiscard]] NUV_Diagnosis at_line(std::uint32_t line) const noexcept;
    [[nodiscard]] NUV_JPEGInfoInternal& internal() const noexcept
    {
        return static_cast<NUV_JPEGInfoInternal&>(*reference_.get());
    }

    NUV_JPEGReference reference_;
    std::optional<NUV_DecodeJPEGOption> reopening_;
    std::uint32_t divisor_ = 1; // of the size
    std::uint32_t line_ = 0;
    std::uint32_t line_bytes_ = 0;
};

} // namespace nuv
