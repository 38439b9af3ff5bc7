// A file of the library's own raster format: whatever the input, its magic and version stand.

#include <algorithm>
#include <iterator>

#include "fuzz/nuv_readjob.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    constexpr std::uint8_t begin[] = {'N', 'U', 'V', 'F', 0, 1, 0, 0};
    if (size < sizeof(begin) || size > nuv::fuzz_room)
        return 0;
    std::vector<std::uint8_t> file(data, data + size);
    std::copy(std::begin(begin), std::end(begin), file.begin());
    nuv::read_whole(file.data(), size);
    return 0;
}
