#pragma once

#include "tests/support/nuv_model_codecs.h"
#include "tests/support/nuv_testchain.h"

namespace nuv {

// A coding of bytes, the images that are coded so, and what decoding is to give.
struct NUV_SmallCodec {
    const char* name;
    const NUV_EncodeType* const* encode_type;
    std::uint16_t bits;
    bool palette;
    model::Decoded (*plain)(std::span<const std::uint8_t> in, std::uint32_t width,
                            std::uint32_t height);
};

inline const NUV_SmallCodec small_codecs[] = {
    {"pack_bits", &NUV_EncodeType::pack_bits, 8, false, model::pack_bits},
    {"win_rle8", &NUV_EncodeType::win_rle8, 8, true, model::win_rle<8>},
    {"win_rle4", &NUV_EncodeType::win_rle4, 4, true, model::win_rle<4>},
    {"flate", &NUV_EncodeType::flate, 8, false, model::flate},
};

inline NUV_TestImage image_of(const NUV_SmallCodec& codec, std::uint32_t width,
                              std::uint32_t height)
{
    return {.width = width,
            .height = height,
            .bits = codec.bits,
            .encode_type = *codec.encode_type,
            .palette = codec.palette};
}

// What Creator gives for the stream, which comes in blocks of `block_bytes`.
template <class Creator>
model::Decoded decode(const Bytes& in, const NUV_TestImage& image, std::uint32_t block_bytes)
{
    NUV_TestChain chain;
    chain.source_bytes(image, in, block_bytes);
    model::Decoded got;
    got.broken = !chain.append<Creator>();
    got.bytes = chain.run_bytes();
    got.broken = got.broken || chain.status().code == NUV_ERR_BROKEN_DATA;
    got.warned = chain.status().code == NUV_WARN_BROKEN_DATA;
    return got;
}

} // namespace nuv
