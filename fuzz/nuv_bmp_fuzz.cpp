// Any bytes behind the two that make them a Windows bitmap file, and the same without the file
// header. What comes out has to be what a plain reader gives.

#include "tests/support/nuv_bitmapjudge.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    GTEST_FLAG_SET(break_on_failure, true);
    Bytes file = {'B', 'M'};
    file.insert(file.end(), data + std::min<std::size_t>(size, 2), data + size);
    nuv::expect_as_model(file);
    return 0;
}
