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
        {"mirror_x", 0x04A24CB92E50378F},
        {"mirror_y", 0xA9E6EB1A8A32CC4D},
        {"crop", 0x6E042470E4ECA548},
        {"crop_lines", 0xDD68679CD08A8F7A},
        {"crop_columns", 0x74583E0B147587F5},
        {"crop_columns_by_form", 0x74583E0B147587F5},
        {"rotate", 0x1C51929BC76DC761},
        {"rotate_bits_in_bands", 0xC52F7A228119D835},
        {"rotate_bytes_in_bands", 0xA528B93F63E87420},
        {"decode_runs", 0x3609F69748278F7F},
        {"bytes_as_another_image", 0x658226ECBE459990},
        {"one_of_two_branches", 0x600D858C26304455},
        {"reverse_channels", 0x4157DF6E7E7D63FF},
        {"select_channels", 0x15865731396139BE},
        {"merge_and_select", 0x7E4F81DABDCF20E2},
        {"invert", 0xD22B0A5FF185464D},
        {"limit", 0xD25B9641E181B705},
        {"expand_bits", 0x67A527BE9810997F},
        {"shift", 0x123584C97527381A},
        {"convert", 0x0915857A6C55047B},
        {"threshold", 0x969BDFD73219B2D0},
        {"table", 0xCC51E14487DB89BF},
        {"matrix", 0x1C3EDDE9EE6F059D},
        {"grid", 0xBC345651838B5D9B},
        {"color_space", 0x4F17DA5CB4B3A3E6},
        {"nearest", 0xDD13F81308F2997A},
        {"repeat", 0x5A3B309DC98281DE},
        {"subsample", 0xA594D96DD2DB8D3A},
        {"means", 0x47DC40FCE25B09F2},
        {"linear", 0x85664A7301BACB7F},
        {"linear_told", 0xA22A3938B49A681B},
        {"linear_by", 0xA22A3938B49A681B},
        {"linear_fast", 0xA22A3938B49A681B},
        {"cubic", 0x729C5751F01B336C},
        {"cubic_of_a_kernel", 0x996E1334B60D15A8},
        {"cubic_fast", 0x048E6DA76555F7CB},
        {"area", 0x146CDDB9B405240A},
        {"area_told", 0xD6CC0A95CED34C2E},
        {"area_by", 0xD6CC0A95CED34C2E},
        {"area_fast", 0x8BB25BB671F589AB},
        {"mask_each", 0x3927C0A28D4DC926},
        {"mask_both", 0xC774C90CC2268A3B},
        {"select_by_ratios", 0xF5731DB396FE47AB},
    };
    const auto known = sums.find(name);
    return known == sums.end() ? 0 : known->second;
}

TEST_P(Operation, DeliversWhatItsModelGives)
{
    for (int i = 0; i < 200 && !HasFailure(); ++i)
        draw().expect_whole();
}

TEST_P(Operation, HasTheSumThatIsKnown)
{
    NUV_Checksum sum;
    for (int i = 0; i < 50 && !HasFailure(); ++i) {
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
