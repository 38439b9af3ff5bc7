#pragma once

#include "framework/engine/nuv_enginecreator.h"

namespace nuv {

class NUV_EncodeType;

// Base of the creators that put a decoder behind an engine.
class NUV_Decode : public NUV_EngineCreator {
public:
    // `previous` itself when what it delivers is raw already. NUV_ERR_ARGUMENT for a null and for
    // an engine without a header.
    [[nodiscard]] NUV_Engine* engine(NUV_Engine* previous);

    // The coding that the decoder takes.
    [[nodiscard]] virtual const NUV_EncodeType* encode_type() const noexcept = 0;

protected:
    // `method` is the text of the creator's own refusals.
    NUV_Decode(NUV_Manager& manager, const char* method) noexcept
        : NUV_EngineCreator(manager),
          method_(method)
    {}

    // The decoder behind an engine with a header that is not raw.
    [[nodiscard]] virtual NUV_Engine* append_decoder(NUV_Engine& previous) = 0;

private:
    const char* method_;
};

} // namespace nuv
