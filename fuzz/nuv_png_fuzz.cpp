// A PNG file: whatever the input, its signature stands, and in inputs of an even size the checksums
// of all chunks are right.

#include "framework/utility/nuv_endian.h"
#include "tests/support/nuv_pngcraft.h"

#include "fuzz/nuv_readjob.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    nuv::PNGCraft file;
    if (size < 8 || size > nuv::fuzz_room)
        return 0;
    file.bytes.insert(file.bytes.end(), data + 8, data + size);
    for (std::size_t at = 8; size % 2 == 0 && size - at >= 12;) { // length, name and checksum
        const std::size_t length = nuv::load_be32(&file.bytes[at]);
        if (length > size - at - 12)
            break;
        nuv::PNGCraft right{{}};
        right.chunk({}, {&file.bytes[at + 4], &file.bytes[at + 8 + length]});
        at += 12 + length;
        std::copy(right.bytes.end() - 4, right.bytes.end(), &file.bytes[at - 4]);
    }
    nuv::read_whole(file.bytes.data(), size);
    return 0;
}
