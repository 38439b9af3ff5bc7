#pragma once

#include "framework/base/nuv_tags.h"
#include "framework/engine/nuv_enginecreator.h"

namespace nuv {

// Base of the creators that put a decoder behind an engine.
class NUV_Decode : public NUV_EngineCreator {
public:
    // `previous` itself when it delivers already what the decoder would: raw lines, in most cases.
    // NUV_ERR_ARGUMENT for a null and for an engine without a header.
    [[nodiscard]] NUV_Engine* engine(NUV_Engine* previous);

    // The coding that the decoder takes.
    [[nodiscard]] virtual const NUV_EncodeType* encode_type() const noexcept = 0;

protected:
    // `method` is the text of the creator's own refusals.
    NUV_Decode(NUV_Manager& manager, const char* method,
               const NUV_EncodeType* delivers = NUV_EncodeType::raw) noexcept
        : NUV_EngineCreator(manager),
          method_(method),
          delivers_(delivers)
    {}

    // The decoder behind an engine with a header of another coding.
    [[nodiscard]] virtual NUV_Engine* append_decoder(NUV_Engine& previous) = 0;

private:
    const char* method_;
    const NUV_EncodeType* delivers_;
};

} // namespace nuv
