// A facsimile page in one of its codings, whole or in strips, in blocks of any size. Every line has
// to be that of the plain decoder: on the careful and on the fast path, as bits and as runs.
//
// The input: coding and options, width (2 bytes), height, rows per strip, how many strips, 2 bytes
// for each, block size, then the data.

#include "tests/core/ccitt/nuv_faxjob.h"

#include "fuzz/nuv_numbers.h"
#include "fuzz/nuv_require.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    nuv::NUV_Numbers numbers(data, size);
    nuv::NUV_FaxJob job;
    const std::uint32_t options = numbers.byte();
    job.coding = static_cast<nuv::model::FaxCoding>(options % 4 % 3);
    job.option = {{(options & 4) == 0, false, (options & 8) != 0}, (options & 16) == 0};
    job.width = 1 + numbers.word() % ((options & 32) != 0 ? 65535 : 300);
    job.height = 1 + numbers.byte() % 64;
    job.rows = numbers.byte() % 32;
    for (std::uint32_t strips = numbers.byte() % 16; strips > 0; --strips)
        job.counts.push_back(numbers.word());
    job.block_bytes = 1 + numbers.byte() * 8;
    while (!numbers.empty())
        job.data.push_back(static_cast<std::uint8_t>(numbers.byte()));
    nuv::require(is_decoded_alike(job), "differs from the plain decoder");
    return 0;
}
