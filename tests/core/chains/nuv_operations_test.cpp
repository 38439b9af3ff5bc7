#include "tests/core/chains/nuv_operationrows.h"
#include "tests/support/nuv_refusals.h"

namespace nuv {
namespace {

// The table. An operation of the library has a row here, or its tests know why not.
const std::vector<NUV_OperationRow>& rows()
{
    static const std::vector<NUV_OperationRow> table = [] {
        std::vector<NUV_OperationRow> all;
        for (const auto& area : {geometry_rows(), pixel_rows(), scale_rows()})
            all.insert(all.end(), area.begin(), area.end());
        return all;
    }();
    return table;
}

// One row by itself. Random numbers start anew for each test, so that a failure stays one.
class Operation : public ::testing::TestWithParam<std::size_t> {
protected:
    [[nodiscard]] const NUV_OperationRow& row() const { return rows()[GetParam()]; }
    [[nodiscard]] NUV_TableChain draw()
    {
        NUV_TableChain chain(draw_image(row(), random_));
        chain.add(row(), random_);
        return chain;
    }

    std::mt19937 random_{1};
};

INSTANTIATE_TEST_SUITE_P(Table, Operation, ::testing::Range(std::size_t{0}, rows().size()),
                         [](const auto& row) { return rows()[row.param].name; });

TEST_P(Operation, DeliversWhatItsModelGives)
{
    for (int i = 0; i < 200 && !HasFailure(); ++i)
        draw().expect_whole();
}

TEST_P(Operation, EndsWithItsSourceAndLeavesNothing)
{
    for (int i = 0; i < 100 && !HasFailure(); ++i) {
        draw().expect_cut(random_);
        draw().expect_same_in_memory(random_);
        if (i % 10 != 0)
            continue;
        draw().expect_clean_teardown();
        draw().expect_clean_at_every_allocation();
    }
}

// The same for all: nothing or no image in front, an error that stands, an image without lines.
TEST_P(Operation, RefusesWhatNoneCanTake)
{
    if (row().refusal.empty())
        return;
    const NUV_ModelImage image = draw_image(row(), random_);
    const NUV_Append append = row().draw(image, random_).append;
    for (const bool is_headless : {false, true}) {
        NUV_TestChain chain;
        if (is_headless)
            chain.headless_source();
        EXPECT_FALSE(append(chain));
        EXPECT_EQ(chain.status().method, row().refusal);
        EXPECT_EQ(chain.status().code, NUV_ERR_ARGUMENT);
    }
    for (const bool is_pending : {false, true}) {
        NUV_TestImage source = image.description();
        source.encode_type = is_pending ? source.encode_type : NUV_EncodeType::jpeg;
        NUV_TestChain chain;
        chain.blank_source(source);
        NUV_Engine* const last = chain.last();
        if (is_pending)
            fail(chain.manager(), NUV_ERR_UNSUPPORTED, "pending");
        if (append(chain))
            EXPECT_EQ(chain.last(), last);
        else
            EXPECT_EQ(chain.status().code, NUV_ERR_UNSUPPORTED) << chain.status().method;
        EXPECT_EQ(chain.live_objects_behind_source(), 0U);
    }
}

TEST_P(Operation, InventsNothingAtTheLargestSizes)
{
    for (const std::uint32_t size : {0xFFFFFFFFU, 0xFFFFFFFEU}) {
        const NUV_ModelImage image = draw_image(row(), random_);
        const NUV_Append append = row().draw(image, random_).append;
        NUV_TestImage high = image.description();
        NUV_TestImage wide = high;
        high.height = wide.width = size;
        expect_nothing_invented(high, image.is_raw() ? 5 : 0, append);
        expect_nothing_invented(wide, 0, append);
    }
}

// Chains of several operations, whose blocks, readers and ends have to go together.
TEST(Chains, DeliverWhatTheOperationsGiveOnTheWholeImage)
{
    std::mt19937 random(2);
    for (int i = 0; i < 1000 && !::testing::Test::HasFailure(); ++i)
        NUV_TableChain::draw(rows(), 5, random).expect_whole();
}

TEST(Chains, EndWithTheirSourceAndLeaveNothing)
{
    std::mt19937 random(3);
    for (int i = 0; i < 500 && !::testing::Test::HasFailure(); ++i) {
        NUV_TableChain::draw(rows(), 5, random).expect_cut(random);
        NUV_TableChain::draw(rows(), 3, random).expect_same_in_memory(random);
        if (i % 5 == 0)
            NUV_TableChain::draw(rows(), 5, random).expect_clean_teardown();
        if (i % 60 == 0)
            NUV_TableChain::draw(rows(), 4, random).expect_clean_at_every_allocation();
    }
}

} // namespace
} // namespace nuv
