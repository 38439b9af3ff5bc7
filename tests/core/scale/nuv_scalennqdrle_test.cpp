#include "core/scale/nuv_scalennqdrle.h"

#include "core/qdrle/nuv_qdrlerun.h"
#include "core/scale/nuv_scalenn.h"
#include "tests/core/scale/nuv_scalecases.h"

#include <cmath>

namespace nuv {
namespace {

using Line = std::vector<NUV_QDRLERun>;
using Page = std::vector<Line>;
using Bytes = std::vector<std::uint8_t>;

Bytes as_bytes(const Page& page)
{
    Bytes bytes;
    const auto put = [&](NUV_QDRLERun run) {
        bytes.resize(bytes.size() + NUV_QDRLERun::bytes);
        store_run(bytes.data() + bytes.size() - NUV_QDRLERun::bytes, run);
    };
    for (const Line& line : page) {
        for (const NUV_QDRLERun& run : line)
            put(run);
        put({});
    }
    return bytes;
}

NUV_TestImage run_image(std::uint32_t width, std::uint32_t height)
{
    return {.width = width, .height = height, .bits = 1, .encode_type = NUV_EncodeType::qd_rle};
}

Page random_page(std::uint32_t width, std::uint32_t height)
{
    const auto steps = random_samples<std::uint8_t>(std::size_t{width} * height, width);
    Page page(height);
    std::size_t next = 0;
    for (Line& line : page) {
        for (std::uint32_t x = steps[next++] % 5U; x < width;) {
            const std::uint32_t end = std::min(x + steps[next++ % steps.size()] % 4U, width - 1);
            line.push_back({x, end});
            x = end + 2 + steps[next++ % steps.size()] % 6U;
        }
        next %= steps.size();
    }
    return page;
}

// The columns that the scaled runs cover, read back as runs: touching ones become one by
// themselves.
Line scaled_line(const Line& line, std::uint32_t from, std::uint32_t to)
{
    const double r = static_cast<double>(to) / from;
    std::vector<bool> black(to + 1);
    for (const NUV_QDRLERun& run : line) {
        const auto begin = static_cast<std::size_t>(std::trunc(run.start * r + 0.5));
        const auto end = static_cast<std::size_t>(std::trunc((run.end + 1.0) * r + 0.5));
        for (std::size_t x = begin; x < end && x < to; ++x)
            black[x] = true;
    }
    Line result;
    for (std::uint32_t x = 0; x < to; ++x) {
        if (!black[x])
            continue;
        if (x == 0 || !black[x - 1])
            result.push_back({x, x});
        result.back().end = x;
    }
    return result;
}

Page scaled_page(const Page& page, std::uint32_t from, std::uint32_t to, std::uint32_t height)
{
    const auto old_height = static_cast<std::int64_t>(page.size());
    const double ry = model::ratio_of(old_height, height);
    Page result;
    for (const double y : model::positions(ry * 0.5, ry, height)) {
        const auto row = std::min(model::floor_index(y), old_height - 1);
        result.push_back(scaled_line(page[static_cast<std::size_t>(row)], from, to));
    }
    return result;
}

TEST(ScaleRuns, ScalesTheEndsOfEachRun)
{
    for (const std::uint32_t from : {1U, 7U, 64U, 200U}) {
        for (const std::uint32_t to : {1U, 3U, 7U, 50U, 64U, 199U, 611U}) {
            for (const std::uint32_t height : {2U, 5U, 9U, 23U}) {
                SCOPED_TRACE(std::to_string(from) + " to " + std::to_string(to));
                const Page page = random_page(from, 9);
                NUV_TestChain chain;
                chain.source_bytes(run_image(from, 9), as_bytes(page));
                ASSERT_TRUE(chain.append<NUV_ScaleNN>(to, height)) << chain.status().method;
                EXPECT_EQ(chain.header().encode_type(), NUV_EncodeType::qd_rle);
                EXPECT_EQ(chain.run_bytes(), as_bytes(scaled_page(page, from, to, height)));
            }
        }
    }
}

// To a quarter: the first run is too short, the next two come to touch.
TEST(ScaleRuns, ShortRunsVanishAndTouchingOnesBecomeOne)
{
    NUV_TestChain chain;
    chain.source_bytes(run_image(32, 2), as_bytes({{{3, 3}, {8, 15}, {17, 27}}, {{3, 3}}}));
    ASSERT_TRUE(chain.append<NUV_ScaleNN>(8U, 2U));
    EXPECT_EQ(chain.run_bytes(), as_bytes({{{2, 6}}, {}}));
}

// Lines as no encoder should write them still give lines in order, within the width.
TEST(ScaleRuns, CopesWithRunsThatOverlapOrReachTooFar)
{
    for (const std::uint32_t to : {5U, 20U}) {
        NUV_TestChain chain;
        chain.source_bytes(run_image(10, 1), as_bytes({{{4, 10}, {0, 2}, {1, 6}, {10, 10}}}));
        ASSERT_TRUE(chain.append<NUV_ScaleNN>(to, 1U));
        EXPECT_EQ(chain.run_bytes(), as_bytes({{{0, to - 1}}}));
    }
}

TEST(ScaleRuns, BrokenDataIsAnError)
{
    const Bytes whole = as_bytes({{{0, 1}, {3, 4}}, {{2, 2}}});
    for (const Page& broken : {Page{{{5, 2}}, {}}, Page{{{0, 1}}}}) {
        for (const std::uint32_t height : {2U, 1U}) { // to 1 without the first line
            NUV_TestChain chain;
            chain.source_bytes(run_image(10, 2), as_bytes(broken));
            ASSERT_TRUE(chain.append<NUV_ScaleNN>(20U, height));
            static_cast<void>(chain.run_bytes());
            EXPECT_EQ(chain.status().code, NUV_ERR_BROKEN_DATA);
            EXPECT_STREQ(chain.status().method, "NUV_QDRLEBuffer::regist_runarray()");
        }
    }
    for (std::size_t length = 0; length < whole.size(); ++length) {
        NUV_TestChain chain;
        chain.source_bytes(
            run_image(10, 2),
            Bytes(whole.begin(), whole.begin() + static_cast<std::ptrdiff_t>(length)));
        ASSERT_TRUE(chain.append<NUV_ScaleNN>(10U, 4U));
        static_cast<void>(chain.run_bytes());
        EXPECT_EQ(chain.status().code, NUV_ERR_BROKEN_DATA) << length;
    }
}

TEST(ScaleRuns, SurvivesEveryFailedAllocation)
{
    expect_clean_at_every_allocation([](NUV_TestChain& chain) {
        chain.source_bytes(run_image(10, 2), as_bytes({{{0, 1}, {3, 4}}, {{2, 2}}}));
        chain.append<NUV_ScaleNN>(7U, 3U);
        static_cast<void>(chain.run_bytes());
    });
}

} // namespace
} // namespace nuv
