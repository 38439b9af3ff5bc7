#include "core/decodetoraw/nuv_decodetoraw.h"

#include "core/ccitt/nuv_decodeccitt.h"
#include "core/flate/nuv_decodeflate.h"
#include "core/jpeg/nuv_decodejpeg.h"
#include "core/packbits/nuv_decodepackbits.h"
#include "core/qdrle/nuv_decodeqdrle.h"
#include "core/winrle/nuv_decodewinrle.h"
#include "framework/base/nuv_failure.h"
#include "framework/base/nuv_status.h"

#include <optional>

namespace nuv {
namespace {

// What Decoder appends; nothing when the coding is not the one that it takes.
template <class Decoder>
std::optional<NUV_Engine*> try_decoder(NUV_Manager& manager, NUV_Engine& previous)
{
    Decoder decoder(manager);
    if (decoder.encode_type() != previous.header()->encode_type())
        return std::nullopt;
    return decoder.engine(&previous);
}

// All codings that can be decoded.
constexpr std::optional<NUV_Engine*> (*decoders[])(NUV_Manager&, NUV_Engine&) = {
    try_decoder<NUV_DecodeQDRLE>, try_decoder<NUV_DecodeWinRLE8>, try_decoder<NUV_DecodeWinRLE4>,
    try_decoder<NUV_DecodeJPEG>,  try_decoder<NUV_DecodeMH>,      try_decoder<NUV_DecodeMR>,
    try_decoder<NUV_DecodeMMR>,   try_decoder<NUV_DecodeFlate>,   try_decoder<NUV_DecodePackBits>,
};

} // namespace

NUV_Engine* NUV_DecodeToRaw::engine(NUV_Engine* previous)
{
    constexpr auto method = "NUV_DecodeToRaw::engine()";

    if (!accepts_image(previous, method))
        return nullptr;
    if (previous->header()->is_raw())
        return previous;
    for (const auto try_to_decode : decoders) {
        if (const std::optional<NUV_Engine*> decoder = try_to_decode(manager(), *previous))
            return *decoder;
    }
    return fail(manager(), NUV_ERR_UNSUPPORTED, method,
                NUV_Diagnosis().says("the coding %s", previous->header()->encode_type()->key()));
}

} // namespace nuv
