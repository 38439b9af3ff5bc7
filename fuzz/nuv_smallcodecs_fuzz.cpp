// A stream of one of the small codings in blocks of any size. What comes out has to be what a plain
// decoder gives.
//
// The input: coding, width (2 bytes), height and block size, then the stream.

#include "tests/support/nuv_smallcodecs.h"

#include "core/decodetoraw/nuv_decodetoraw.h"

#include "fuzz/nuv_require.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    constexpr std::size_t numbers = 5;
    if (size < numbers)
        return 0;
    const nuv::NUV_SmallCodec& codec = nuv::small_codecs[data[0] % std::size(nuv::small_codecs)];
    const nuv::NUV_TestImage image =
        nuv::image_of(codec, 1 + data[1] + (data[2] & 3U) * 256, 1U + data[3] % 64);
    const Bytes stream(data + numbers, data + size);
    nuv::require(nuv::decode<nuv::NUV_DecodeToRaw>(stream, image, 1U + data[4]) ==
                     codec.plain(stream, image.width, image.height),
                 codec.name);
    return 0;
}
