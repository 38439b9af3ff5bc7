#include "tests/core/chains/nuv_operationrows.h"
#include "tests/support/nuv_refusals.h"

#include <map>

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

// What stands behind the models, too, be it in double precision: the same with every compiler, at
// every optimisation, at every level of processors.
std::uint64_t known_sum(const std::string& name)
{
    static const std::map<std::string, std::uint64_t> sums = {
        {"mirror_x", 0x66A4FCD0C7BF1DAE},
        {"mirror_y", 0x3E97C83592D4B622},
        {"crop", 0x1548F35AF8345E07},
        {"crop_lines", 0x47AD99EA0CCBEB19},
        {"crop_columns", 0x322C189957FBC084},
        {"crop_columns_by_form", 0x322C189957FBC084},
        {"rotate", 0x4B8593D28AB668B6},
        {"rotate_bits_in_bands", 0xDF30997ED20F33A8},
        {"rotate_bytes_in_bands", 0x4A97CEFD65836EA1},
        {"decode_runs", 0x38CD32C4B1AF226B},
        {"bytes_as_another_image", 0x95828EDBD7435D4E},
        {"one_of_two_branches", 0xB2B6D3283ED9BC58},
        {"reverse_channels", 0x78389D124A7F9A24},
        {"select_channels", 0xC4DF80DC12CD12A5},
        {"merge_and_select", 0x95204F9247F46132},
        {"invert", 0xA3CC7731BB8F5377},
        {"limit", 0x827BA82B41598A4F},
        {"expand_bits", 0x5E75A6EF05A32109},
        {"shift", 0x5913C345CC3CC9E2},
        {"convert", 0x3E2D5B6BA575A7BB},
        {"threshold", 0x949CC7D5DBE81B6B},
        {"table", 0x83E2A9CD43EAEB60},
        {"matrix", 0xDE624FE36243D7F8},
        {"grid", 0xCCE2E58CF4B0D12E},
        {"color_space", 0x5210CB626F358CCF},
        {"nearest", 0xF82794B9A2A917CF},
        {"repeat", 0xDD3B6E59DC73FF3A},
        {"subsample", 0x7852CB8576863E60},
        {"means", 0x7CDCAA4063E71E63},
        {"linear", 0x20781AFFB00D9857},
        {"linear_told", 0xE9EDF2935E56442E},
        {"linear_by", 0xE9EDF2935E56442E},
        {"linear_fast", 0xE9EDF2935E56442E},
        {"cubic", 0x121160A302039B4A},
        {"cubic_of_a_kernel", 0xA63CEEFC943AB08E},
        {"cubic_fast", 0xA135787938CCC6B9},
        {"area", 0x9953BF2EA38CC579},
        {"area_told", 0x1F3DAB1E47B5119F},
        {"area_by", 0x1F3DAB1E47B5119F},
        {"area_fast", 0x80C995FB3C583242},
        {"mask_each", 0x337E0A9042C55FA7},
        {"mask_both", 0x0CB9D79B815DE813},
        {"select_by_ratios", 0x54387775070E8037},
    };
    const auto known = sums.find(name);
    return known == sums.end() ? 0 : known->second;
}

TEST_P(Operation, DeliversWhatItsModelGives)
{
    NUV_Checksum sum;
    for (int i = 0; i < 200 && !HasFailure(); ++i) {
        const NUV_TableChain chain = draw();
        chain.expect_whole();
        chain.add_result(sum);
    }
    EXPECT_EQ(sum.value(), known_sum(row().name)) << row().name;
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
