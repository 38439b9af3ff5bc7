// A PNG file: whatever the input, its signature stands, and in inputs of an even size the checksums
// of all chunks are right.

#include "tests/support/nuv_pngcraft.h"

#include <algorithm>

#include "fuzz/nuv_readjob.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    constexpr std::size_t frame = 12; // length, name and checksum of a chunk
    const auto signature = nuv::PNGCraft().bytes;
    if (size < signature.size() || size > nuv::fuzz_room)
        return 0;
    std::vector<std::uint8_t> file(data, data + size);
    std::copy(signature.begin(), signature.end(), file.begin());
    for (std::size_t at = signature.size(); size % 2 == 0 && size - at >= frame;) {
        const std::size_t length = nuv::load_be32(&file[at]);
        if (length > size - at - frame)
            break;
        const auto checksum = nuv::PNGCraft::checksum(&file[at + 4], length + 4);
        at += frame + length;
        std::copy(checksum.begin(), checksum.end(), &file[at - 4]);
    }
    nuv::read_whole(file.data(), size);
    return 0;
}
