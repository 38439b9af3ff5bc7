#include "core/crop/nuv_crop.h"
#include "core/operation/nuv_not.h"
#include "core/qdrle/nuv_decodeqdrle.h"
#include "core/qdrle/nuv_qdrlerun.h"
#include "core/rotate/nuv_rotate90.h"
#include "tests/support/nuv_model_runs.h"
#include "tests/support/nuv_testchain.h"

#include <gtest/gtest.h>

#include <functional>
#include <random>

namespace nuv {
namespace {

// Records of any kind: in order and not, overlapping, inverted, at the width and far beyond it,
// terminators and halves of them, with an end anywhere.
[[nodiscard]] std::vector<std::uint8_t> random_records(std::uint32_t width, std::mt19937& random)
{
    const auto column = [&]() -> std::uint32_t {
        switch (random() % 12) {
        case 0:
            return 0xFFFFFFFF;
        case 1:
            return static_cast<std::uint32_t>(random());
        case 2:
            return width;
        default:
            return static_cast<std::uint32_t>(random() % width);
        }
    };
    std::vector<std::uint8_t> bytes;
    for (std::size_t count = random() % 60; count > 0; --count) {
        const std::uint32_t start = column();
        if (random() % 4 == 0)
            append_record(bytes, 0xFFFFFFFF, 0xFFFFFFFF);
        else
            append_record(bytes, start, random() % 3 == 0 ? column() : start);
    }
    if (random() % 2 == 0)
        bytes.resize(bytes.size() - random() % (bytes.size() + 1));
    return bytes;
}

// What every reader of the form may rely on: lines of ordered runs within the width.
void expect_lines(const std::vector<std::uint8_t>& bytes, std::uint32_t width, std::uint32_t height)
{
    ASSERT_EQ(bytes.size() % NUV_QDRLERun::bytes, 0U);
    std::uint64_t free_from = 0;
    std::uint32_t lines = 0;
    for (std::size_t i = 0; i < bytes.size(); i += NUV_QDRLERun::bytes) {
        const NUV_QDRLERun run = load_run(bytes.data() + i);
        if (run.is_terminator()) {
            ++lines;
            free_from = 0;
            continue;
        }
        ASSERT_GE(run.start, free_from);
        ASSERT_LE(run.start, run.end);
        ASSERT_LT(run.end, width);
        free_from = std::uint64_t{run.end} + 2;
    }
    EXPECT_LE(lines, height);
    EXPECT_EQ(free_from, 0U) << "the last line has no end";
}

TEST(HostileRuns, LeaveEveryEngineWithLinesInOrderOrNone)
{
    using Append = std::function<bool(NUV_TestChain&)>;
    const Append engines[] = {
        [](NUV_TestChain& chain) { return chain.append<NUV_NotQDRLE>(); },
        [](NUV_TestChain& chain) { return chain.append<NUV_CropQDRLE>(0U, 1U, 99U, 4U); },
        [](NUV_TestChain& chain) { return chain.append<NUV_CropQDRLE>(1U, 0U, 3U, 99U); },
        [](NUV_TestChain& chain) { return chain.append<NUV_Rotate90QDRLE>(90); },
        [](NUV_TestChain& chain) { return chain.append<NUV_Rotate90QDRLE>(180); },
        [](NUV_TestChain& chain) { return chain.append<NUV_Rotate90QDRLE>(270); },
    };
    std::mt19937 random(11);
    for (int round = 0; round < 1500; ++round) {
        const auto width = static_cast<std::uint32_t>(2 + random() % 30);
        const auto height = static_cast<std::uint32_t>(2 + random() % 8);
        const auto bytes = random_records(width, random);
        const auto block_bytes = static_cast<std::uint32_t>(8 * (1 + random() % 6));
        for (const Append& append : engines) {
            SCOPED_TRACE(round);
            NUV_TestChain chain;
            chain.source_bytes(run_description(width, height), bytes, block_bytes);
            ASSERT_TRUE(append(chain));
            const std::uint32_t out_width = chain.header().width();
            const std::uint32_t out_height = chain.header().height();
            expect_lines(chain.run_bytes(), out_width, out_height);
        }
        NUV_TestChain chain;
        chain.source_bytes(run_description(width, height), bytes, block_bytes);
        ASSERT_TRUE(chain.append<NUV_DecodeQDRLE>());
        EXPECT_LE(chain.run_bytes().size(), (width + 7) / 8 * height);
    }
}

// A few bytes that claim a page as wide as the form can be: what is kept follows the bytes.
TEST(HostileRuns, TakeNoTimeOrMemoryForPixelsThatAFewBytesClaim)
{
    constexpr std::uint32_t width = 0x00FFFFFF;
    std::vector<std::uint8_t> bytes;
    for (int line = 0; line < 64; ++line) {
        append_record(bytes, 0, width - 1);
        append_record(bytes, 0xFFFFFFFF, 0xFFFFFFFF);
    }
    NUV_TestChain chain;
    chain.source_bytes(run_description(width, 64), bytes);
    ASSERT_TRUE(chain.append<NUV_Rotate90>(90));
    ASSERT_TRUE(chain.append<NUV_Crop>(0U, 0U, 64U, 2U)); // the last lines are never asked for
    std::vector<std::uint8_t> wanted;
    for (int line = 0; line < 2; ++line) {
        append_record(wanted, 0, 63);
        append_record(wanted, 0xFFFFFFFF, 0xFFFFFFFF);
    }
    EXPECT_EQ(chain.run_bytes(), wanted);
}

} // namespace
} // namespace nuv
