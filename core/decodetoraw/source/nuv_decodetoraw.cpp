#include "core/decodetoraw/nuv_decodetoraw.h"

#include "core/flate/nuv_decodeflate.h"
#include "core/jpeg/nuv_decodejpeg.h"
#include "core/packbits/nuv_decodepackbits.h"
#include "core/qdrle/nuv_decodeqdrle.h"
#include "core/winrle/nuv_decodewinrle.h"
#include "framework/base/nuv_failure.h"
#include "framework/base/nuv_status.h"

namespace nuv {
namespace {

struct DecoderRow {
    const NUV_EncodeType* const* encode_type;
    NUV_Engine* (*append)(NUV_Manager& manager, NUV_Engine* previous);
};

template <class Decoder>
NUV_Engine* append_decoder(NUV_Manager& manager, NUV_Engine* previous)
{
    return Decoder(manager).engine(previous);
}

// All encodings that can be decoded.
constexpr DecoderRow decoders[] = {
    {&NUV_EncodeType::qd_rle, append_decoder<NUV_DecodeQDRLE>},
    {&NUV_EncodeType::win_rle8, append_decoder<NUV_DecodeWinRLE8>},
    {&NUV_EncodeType::win_rle4, append_decoder<NUV_DecodeWinRLE4>},
    {&NUV_EncodeType::jpeg, append_decoder<NUV_DecodeJPEG>},
    {&NUV_EncodeType::flate, append_decoder<NUV_DecodeFlate>},
    {&NUV_EncodeType::pack_bits, append_decoder<NUV_DecodePackBits>},
};

} // namespace

NUV_Engine* NUV_DecodeToRaw::engine(NUV_Engine* previous)
{
    constexpr auto method = "NUV_DecodeToRaw::engine()";

    previous_ = previous;
    const NUV_Header* header = previous ? previous->header() : nullptr;
    if (!header)
        return fail(manager(), NUV_ERR_ARGUMENT, method);
    if (header->is_raw())
        return previous;
    for (const DecoderRow& decoder : decoders) {
        if (header->encode_type() == *decoder.encode_type)
            return decoder.append(manager(), previous);
    }
    return fail(manager(), NUV_ERR_UNSUPPORTED, method);
}

NUV_Engine* NUV_DecodeToRaw::load_engine()
{
    auto* load = find_entry_point<NUV_Engine*(NUV_Manager&, NUV_Engine*)>("LoadDecodeEngine");
    return load ? load(manager(), previous_) : nullptr;
}

} // namespace nuv
