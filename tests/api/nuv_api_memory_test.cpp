// Whole jobs by the plain interface, with one allocation after the other failing. The library's
// heap policy is replaced here, when the program is linked.

#include "tests/api/nuv_apijob.h"
#include "tests/support/nuv_failingheap.h"

#include <gtest/gtest.h>

#include <cstddef>

namespace nuv {
namespace {

const ApiBytes samples(std::size_t{4} * 16 * 16, 77);
const std::uint16_t mixed[] = {2, 0, 1};
const double factors[] = {1, 0, 0.5, 0, 1, 0, 0, 0, 1};

nuv_status open_planes(nuv_job* job)
{
    const nuv_picture is = api_picture(16, 16, 3, NUV_RGB);
    const void* const planes[] = {&samples[0], &samples[256], &samples[512]};
    return nuv_open_planes(job, planes, 0, &is);
}

nuv_status open_file(nuv_job* job)
{
    const nuv_picture is = api_picture(9, 9, 3, NUV_RGB);
    return nuv_open_samples_file(job, api_fixture("jpeg/420.jpg").c_str(), &is, 1);
}

nuv_status open_stream(nuv_job* job)
{
    static const ApiBytes jpeg = api_read(api_fixture("jpeg/420.jpg"));
    ApiStream stream{jpeg};
    return nuv_open_stream(job, ApiStream::read, &stream);
}

TEST(ApiMemory, NothingIsLeftWhicheverAllocationFails)
{
    // clang-format off
    const ApiCall calls[] = {
        [](nuv_job* j) { open_stream(j); nuv_fit(j, NUV_FINE, 9, 9, NUV_FILL | NUV_FAST); nuv_recolor(j, NUV_RGB); nuv_as_jpeg(j, 50, NUV_SAMPLING_420); return nuv_run_to_memory(j, nullptr, nullptr); },
        [](nuv_job* j) { open_planes(j); nuv_crop(j, 1, 1, 9, 9); nuv_pick_channels(j, mixed, 3, NUV_RGB); nuv_rotate(j, 90); nuv_flip(j, NUV_TOP_TO_BOTTOM); nuv_as_samples(j, 1); return nuv_run_to_memory(j, nullptr, nullptr); },
        [](nuv_job* j) { open_planes(j); nuv_invert(j); nuv_reverse_channels(j); nuv_table(j, samples.data(), 256, 1, 8); nuv_matrix(j, factors, 3, nullptr, NUV_RGB); nuv_color_table(j, samples.data(), 2, 3, NUV_RGB); nuv_clamp(j, 9, 99); nuv_as_lossless_jpeg(j, 1); return nuv_run_to_memory(j, nullptr, nullptr); },
        [](nuv_job* j) { open_file(j); nuv_table(j, samples.data(), 99, 3, 16); nuv_as_samples(j, 0); return nuv_run_to_memory(j, nullptr, nullptr); },
        [](nuv_job* j) { open_planes(j); nuv_convert(j, NUV_UNSIGNED, 1, 1, 70); nuv_expand_bits(j, 16, 0, 9); nuv_shift(j, NUV_UNSIGNED, 8, 1); nuv_scale(j, NUV_AREA, 5, 5); nuv_as_anymap(j); return nuv_run_to_memory(j, nullptr, nullptr); },
        [](nuv_job* j) { ApiBytes line(64); std::uint32_t got = 1; nuv_status last = open_planes(j); while (last == NUV_OK && got != 0) last = nuv_read_lines(j, line.data(), 0, 1, &got); return last; },
    };
    // clang-format on
    for (const ApiCall& call : calls) {
        heap_fails_at = never_fails;
        heap_allocations = 0;
        EXPECT_EQ(call(ApiJob(nuv_new(nullptr)).get()), NUV_OK);
        ASSERT_EQ(heap_live, 0);
        const std::size_t all = heap_allocations;
        std::size_t told = 0;
        for (std::size_t k = 0; k < all; ++k) {
            heap_fails_at = k;
            heap_allocations = 0;
            const ApiJob job(nuv_new(nullptr));
            const nuv_status status = call(job.get());
            // A probe that has no memory passes the data by, and another one may take it.
            const bool is_told =
                job ? status == NUV_NO_MEMORY || status == NUV_OK : status == NUV_BAD_CALL;
            ASSERT_TRUE(is_told) << "allocation " << k << ": " << nuv_message(job.get());
            told += status == NUV_NO_MEMORY ? 1 : 0;
        }
        heap_fails_at = never_fails;
        ASSERT_EQ(heap_live, 0);
        EXPECT_GT(told, all / 2);
    }
}

} // namespace
} // namespace nuv
