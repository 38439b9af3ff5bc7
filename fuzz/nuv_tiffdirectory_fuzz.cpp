// A page of a TIFF file, up to the ninth, and a directory inside other data. What is said of them,
// and what comes out, has to be what a plain reader has; the memory for it is limited.

#include "tests/support/nuv_tiffcompare.h"

#include <cstddef>
#include <cstdio>
#include <cstdlib>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    if (size == 0)
        return 0;
    const std::uint32_t page = data[size - 1] % 9;
    const std::uint32_t offset = data[size / 2];
    const std::string difference = nuv::tiff_difference({data, size}, page) +
                                   nuv::tiff_directory_difference({data, size}, offset, true, page);
    if (difference.empty())
        return 0;
    std::fprintf(stderr, "page %u, offset %u: %s\n", page, offset, difference.c_str());
    std::abort();
}
