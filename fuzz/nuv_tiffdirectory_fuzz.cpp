// A page of a TIFF file, up to the ninth, and a directory inside other data. What is said of them,
// and what comes out, has to be what a plain reader has; the memory for it is limited.

#include "tests/support/nuv_tiffcompare.h"

#include "fuzz/nuv_require.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    if (size == 0)
        return 0;
    const std::span<const std::uint8_t> file(data, size);
    const std::uint32_t page = data[size - 1] % 9;
    const std::string difference =
        nuv::tiff_difference(file, page) + nuv::tiff_difference(file, page, data[size / 2]);
    nuv::require(difference.empty(), difference.c_str());
    return 0;
}
