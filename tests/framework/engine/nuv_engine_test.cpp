#include "framework/engine/nuv_engine.h"

#include "framework/base/nuv_checkedsize.h"
#include "framework/base/nuv_failure.h"
#include "framework/base/nuv_version.h"
#include "framework/engine/nuv_multiinputprocessengine.h"
#include "framework/engine/nuv_nop.h"
#include "framework/engine/nuv_processlinetolineengine.h"
#include "tests/support/nuv_refusals.h"

namespace nuv {
namespace {

// Copies lines, and fails at one of them.
class FailingLineEngine final : public NUV_ProcessLineToLineEngine {
public:
    using NUV_ProcessLineToLineEngine::NUV_ProcessLineToLineEngine;

    [[nodiscard]] bool initiate(const NUV_Header* header, NUV_SrcBuffer* src, NUV_DstBuffer* dst,
                                std::uint32_t fails_at)
    {
        fails_at_ = fails_at;
        return NUV_ProcessLineToLineEngine::initiate(header, src, dst) &&
               dst->block_bytes(header->line_bytes());
    }

    [[nodiscard]] NUV_DstBuffer& destination() { return *dst_buffer_; }

private:
    bool process_line(const void* in, void* out) override
    {
        if (line_ == fails_at_)
            return fail(manager(), NUV_ERR_BROKEN_DATA, "FailingLineEngine::process_line()");
        std::memcpy(out, in, header_.line_bytes());
        return true;
    }
    std::uint32_t fails_at_ = 0;
};

// Writes blocks of a given size, if of any, and never runs.
class BlockEngine final : public NUV_ProcessEngine {
public:
    using NUV_ProcessEngine::NUV_ProcessEngine;
    [[nodiscard]] bool initiate(const NUV_Header* header, NUV_SrcBuffer* src, NUV_DstBuffer* dst,
                                std::uint32_t block_bytes)
    {
        return NUV_ProcessEngine::initiate(header, src, dst) &&
               (block_bytes == 0 || dst->block_bytes(block_bytes));
    }
    bool execute() override { return false; }
};

template <class E>
class Append final : public NUV_EngineCreator {
public:
    using NUV_EngineCreator::NUV_EngineCreator;
    template <class... Args>
    NUV_Engine* engine(NUV_Engine* previous, const Args&... args)
    {
        return previous ? append_new<E>(*previous, args...) : nullptr;
    }
};

TEST(LineToLineEngine, DeliversTheLinesBeforeTheOneThatFails)
{
    const auto image = random_samples<std::uint8_t>(std::size_t{5} * 4, 1);
    for (const std::uint32_t fails_at : {0U, 2U, 4U}) {
        NUV_TestChain chain;
        chain.source<std::uint8_t>({.width = 5, .height = 4}, image);
        ASSERT_TRUE(chain.append<Append<FailingLineEngine>>(fails_at));
        const auto got = chain.run<std::uint8_t>();
        EXPECT_EQ(got, Bytes(image.begin(), image.begin() + std::ptrdiff_t{5} * fails_at));
        EXPECT_EQ(chain.status().code, fails_at < 4 ? NUV_ERR_BROKEN_DATA : NUV_STATUS_OK);
    }
}

TEST(LineToLineEngine, LetsGoOfALineForWhichThereIsNoRoom)
{
    NUV_TestChain chain;
    chain.source<std::uint8_t>({.width = 2, .height = 3}, {1, 2, 3, 4, 5, 6});
    ASSERT_TRUE(chain.append<Append<FailingLineEngine>>(9U));
    auto& engine = static_cast<FailingLineEngine&>(*chain.last());
    const NUV_Held<NUV_SrcBuffer> reader(engine.src_buffer());

    ASSERT_NE(engine.destination().get(), nullptr); // the block that the engine wants
    EXPECT_FALSE(engine.execute());
    EXPECT_STREQ(chain.status().method, "NUV_STBlockDstBuffer::get()");
    chain.manager().reset();
    EXPECT_TRUE(engine.destination().release(0));
    const std::size_t allocations = chain.manager().memory().allocations();
    EXPECT_TRUE(engine.execute());
    EXPECT_EQ(chain.manager().memory().allocations(), allocations) << "a held line costs a block";
    const auto* line = static_cast<const std::uint8_t*>(reader->get(nullptr));
    ASSERT_NE(line, nullptr);
    EXPECT_EQ(line[0], 3);
}

// A block is no larger than the stream: an image, or 2^30 bytes where nobody knows the length.
TEST(Engine, RefusesWhatIsBeyondItsArithmeticAndItsStream)
{
    const NUV_TestImage raw = {.width = 4, .height = 3};
    const NUV_TestImage coded = {.encode_type = NUV_EncodeType::jpeg};
    const auto lines = appending<Append<FailingLineEngine>>(9U);
    const auto block = [](std::uint32_t bytes) { return appending<Append<BlockEngine>>(bytes); };
    const auto three_bits = [](NUV_TestChain& chain) {
        chain.blank_source({.width = 3});
        NUV_Header header(chain.manager());
        fill_header(header, {.width = 8, .bits = 3});
        ASSERT_TRUE(chain.append<NUV_RewriteHeader>(&header));
    };
    constexpr auto unsupported = NUV_ERR_UNSUPPORTED;
    constexpr auto output = "NUV_BufferOutputEngine::initiate()";
    constexpr auto block_bytes = "NUV_DstBufferBase::block_bytes()";
    // clang-format off
    expect_refusals({
        {"line", {{.width = 0x20000001}}, lines, unsupported, output},
        {"coded line", {{.width = 0x20000001, .encode_type = NUV_EncodeType::jpeg}}, lines, unsupported, output},
        {"plane", {{.width = 65536, .height = 65536, .channels = 3}}, lines, unsupported, "NUV_BlockWorkflow::create_dst_buffer()"},
        {"lines of a stream", coded, lines, unsupported, "NUV_ProcessLineToLineEngine::initiate()"},
        {"samples of 3 bits", {three_bits}, lines, NUV_ERR_ARGUMENT, "NUV_BufferInputEngine::initiate()"},
        {"no block", raw, block(0), NUV_ERR_ARGUMENT, block_bytes},
        {"a block above the image", raw, block(13), NUV_ERR_ARGUMENT, block_bytes},
        {"a block above 2^30", coded, block(0x40000001), NUV_ERR_ARGUMENT, block_bytes},
        {"no source", {[](NUV_TestChain&) {}}, appending<NUV_RewriteHeader>(nullptr), NUV_ERR_ARGUMENT, "NUV_RewriteHeader::engine()"},
    });
    // clang-format on
    const std::pair<NUV_TestImage, std::uint32_t> largest[] = {
        {raw, 12},
        {coded, 0x40000000},
        {{.width = 2, .channels = 65535, .bits = 64, .data_type = NUV_DataType::unknown}, 1}};
    for (const auto& [image, bytes] : largest) {
        NUV_TestChain chain;
        chain.blank_source(image);
        EXPECT_TRUE(chain.append<Append<BlockEngine>>(bytes)) << chain.status().method;
        EXPECT_LT(chain.manager().memory().largest(), 4096u);
    }
}

TEST(Engine, IsBuiltAfterAWarningButNotWhileAnErrorIsPending)
{
    for (const NUV_StatusCode code : {NUV_WARN_BROKEN_DATA, NUV_ERR_BROKEN_DATA}) {
        const bool builds = code == NUV_WARN_BROKEN_DATA;
        for (const bool has_engine : {false, true}) { // the end of a chain needs no buffer
            NUV_TestChain chain;
            chain.blank_source({});
            chain.manager().raise_short(code, "first()");
            EXPECT_EQ(!has_engine || chain.append<Append<FailingLineEngine>>(9U),
                      !has_engine || builds);
            EXPECT_EQ(chain.run_bytes().size(), builds ? 1u : 0u);
            EXPECT_STREQ(chain.status().method, "first()") << "and nothing else is told";
        }
    }
}

// However long the image, the same few blocks go round.
TEST(Engine, TakesNoMoreMemoryForALongerImage)
{
    const auto used = [](std::uint32_t height) {
        NUV_TestChain chain;
        chain.blank_source({.width = 100, .height = height});
        EXPECT_TRUE(chain.append<Append<FailingLineEngine>>(height));
        EXPECT_EQ(chain.run_bytes().size(), std::size_t{100} * height);
        NUV_FailingMemory& memory = chain.manager().memory();
        return std::pair(memory.allocations(), memory.largest());
    };
    EXPECT_EQ(used(10000), used(100));
}

// The first blocks of one branch.
Bytes drain(NUV_Engine* engine, std::uint32_t steps = 1000)
{
    Bytes got;
    NUV_Held<NUV_SrcBuffer> reader(engine->src_buffer());
    std::uint32_t count = 0;
    for (const void* block = nullptr; reader && steps > 0 && (block = reader->get(&count));
         --steps) {
        got.insert(got.end(), static_cast<const std::uint8_t*>(block),
                   static_cast<const std::uint8_t*>(block) + count);
        EXPECT_TRUE(reader->release());
    }
    return got;
}

TEST(Branch, GivesEveryBranchTheWholeImageAlsoWhenOneStopsEarly)
{
    const auto image = random_samples<std::uint8_t>(std::size_t{7} * 200, 3);
    for (const std::uint32_t count : {1U, 2U, 5U}) {
        NUV_TestChain chain;
        chain.source<std::uint8_t>({.width = 7, .height = 200}, image);
        auto branches = chain.last()->branch(count);
        ASSERT_EQ(branches.size(), count);
        if (count > 1) {
            EXPECT_EQ(drain(branches[0], 1), std::vector(image.begin(), image.begin() + 7));
            EXPECT_TRUE(branches[0]->end()) << "the others still read what it shares";
        }
        for (std::uint32_t i = count > 1 ? 1 : 0; i < count; ++i)
            EXPECT_EQ(drain(branches[i]), image) << i << " of " << count;
    }
    NUV_TestChain chain;
    chain.blank_source({});
    EXPECT_TRUE(chain.last()->branch(0).empty());
    EXPECT_EQ(chain.status().code, NUV_ERR_ARGUMENT);
}

// A chain deeper than any job is refused while it runs, instead of using up the stack.
TEST(Manager, RefusesToPullThroughAThousandStages)
{
    for (const int stages : {900, 1100}) {
        NUV_TestChain chain;
        chain.source<std::uint8_t>({.width = 1, .height = 1}, {42});
        for (int i = 0; i < stages; ++i)
            ASSERT_TRUE(chain.append<Append<FailingLineEngine>>(9U));
        const auto got = chain.run<std::uint8_t>();
        EXPECT_EQ(got.size(), stages < 1000 ? 1u : 0u);
        expect_status(chain.manager(), stages < 1000 ? NUV_STATUS_OK : NUV_ERR_UNSUPPORTED,
                      stages < 1000 ? "" : "NUV_ManagerImpl::pull()");
    }
}

static_assert(compatible_version(NUV_VERSION) && compatible_version(NUV_EXTENSION_VERSION));
static_assert(!compatible_version(0x01050000) && !compatible_version(0x01040201));

class NUV_LaterEngine final : public NUV_NopEngine {
public:
    static constexpr auto initiate_method = "NUV_LaterEngine::initiate()";
    static constexpr std::uint32_t module_version = 0x01050000;
    using NUV_NopEngine::NUV_NopEngine;
};

TEST(EngineCreator, RefusesAnEngineOfALaterInterfaceUnderItsOwnName)
{
    NUV_TestChain chain;
    chain.blank_source({});
    EXPECT_FALSE(chain.append<Append<NUV_LaterEngine>>());
    expect_status(chain.manager(), NUV_ERR_VERSION, "NUV_LaterEngine::initiate()");
    EXPECT_EQ(chain.live_objects_behind_source(), 0U);
}

} // namespace
} // namespace nuv
