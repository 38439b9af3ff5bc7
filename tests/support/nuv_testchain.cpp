#include "tests/support/nuv_testchain.h"

#include "framework/engine/nuv_enginecreator.h"
#include "framework/engine/nuv_generateengine.h"
#include "framework/engine/nuv_writeengine.h"
#include "framework/manager/nuv_relationforst.h"

namespace nuv {
namespace {

// Delivers bytes block by block, and ends where they end.
class NUV_TestSourceEngine final : public NUV_GenerateEngine {
public:
    using NUV_GenerateEngine::NUV_GenerateEngine;

    [[nodiscard]] bool initiate(const NUV_Header* header, NUV_DstBuffer* dst, const Bytes* bytes,
                                std::uint32_t block_bytes)
    {
        if (!NUV_GenerateEngine::initiate(header, dst))
            return false;
        bytes_ = *bytes;
        return dst->block_bytes(header->is_raw() ? header->line_bytes() : block_bytes);
    }

    [[nodiscard]] bool execute() override
    {
        const std::size_t count =
            std::min<std::size_t>(bytes_.size() - done_, dst_buffer_->block_bytes());
        if (count == 0)
            return false;
        void* out = dst_buffer_->get();
        if (!out)
            return false;
        std::memcpy(out, bytes_.data() + done_, count);
        done_ += count;
        return dst_buffer_->release(static_cast<std::uint32_t>(count));
    }

private:
    Bytes bytes_;
    std::size_t done_ = 0;
};

// Collects all bytes, taking the writer's block size as its own.
class NUV_TestSinkEngine final : public NUV_NoOutputEngine, public NUV_BufferInputEngine {
public:
    explicit NUV_TestSinkEngine(NUV_Manager& manager)
        : NUV_NoOutputEngine(manager),
          NUV_BufferInputEngine(manager)
    {}
    bool cleanup() override { return NUV_BufferInputEngine::cleanup(initiated()); }

    [[nodiscard]] bool initiate(const NUV_Header* header, NUV_SrcBuffer* src, NUV_OutputStorage*,
                                Bytes* collected)
    {
        if (!NUV_NoOutputEngine::initiate() || !NUV_BufferInputEngine::initiate(header, src))
            return false;
        collected_ = collected;
        return true;
    }

    [[nodiscard]] bool execute() override
    {
        std::uint32_t count = 0;
        const auto* block = static_cast<const std::uint8_t*>(src_buffer_->get(&count));
        if (!block)
            return false;
        collected_->insert(collected_->end(), block, block + count);
        return src_buffer_->release();
    }

private:
    Bytes* collected_ = nullptr;
};

class NUV_TestEnds final : public NUV_EngineCreator {
public:
    using NUV_EngineCreator::NUV_EngineCreator;

    [[nodiscard]] NUV_Engine* source(const NUV_Header* header, const Bytes& bytes,
                                     std::uint32_t block_bytes)
    {
        return append_generator<NUV_TestSourceEngine>(header, &bytes, block_bytes);
    }
    [[nodiscard]] NUV_Engine* sink(NUV_Engine& previous, Bytes& collected)
    {
        return append_writer<NUV_TestSinkEngine>(previous, nullptr, &collected);
    }
};

} // namespace

bool fill_header(NUV_Header& header, const NUV_TestImage& image)
{
    header.width(image.width);
    header.height(image.height);
    header.channels(image.channels);
    header.bits(image.bits);
    header.data_type(image.data_type);
    header.encode_type(image.encode_type);
    header.color_type(image.color_type);
    if (!image.palette)
        return true;

    header.color_type(NUV_ColorType::s_rgb);
    NUV_Header::NUV_Palette& palette = header.palette();
    palette.bits = 8;
    palette.channels = 3;
    palette.entries = 1U << image.bits;
    Bytes value(std::size_t{3} * palette.entries);
    for (std::size_t i = 0; i < value.size(); ++i)
        value[i] = static_cast<std::uint8_t>(37 * i);
    return palette.value(value.data(), static_cast<std::uint32_t>(value.size()));
}

NUV_TestImage image_of(const NUV_Header& header)
{
    return {header.width(),      header.height(),
            header.channels(),   header.bits(),
            header.data_type(),  header.encode_type(),
            header.color_type(), !header.palette().is_empty()};
}

void expect_status(NUV_Manager& manager, NUV_StatusCode code, const std::string& method)
{
    EXPECT_EQ(manager.status().code, code) << manager.status().method;
    EXPECT_EQ(manager.status().method, method);
    manager.reset();
}

NUV_TestChain::NUV_TestChain(std::size_t fail_at, const NUV_Cpu& cpu)
    : manager_(cpu),
      live_at_start_(manager_.memory().live())
{
    manager_.memory().fail_at(fail_at);
}

NUV_TestChain::~NUV_TestChain()
{
    manager_.memory().fail_at(NUV_FailingMemory::never);
    headless_.reset();
    manager_.clear();
    EXPECT_EQ(manager_.memory().live(), live_at_start_) << "allocations are left";
    const auto* relation = dynamic_cast<const NUV_RelationForST*>(manager_.relation());
    EXPECT_TRUE(!relation || relation->is_empty()) << "engines or dependencies are left";
}

void NUV_TestChain::source_bytes(const NUV_TestImage& image, Bytes bytes, std::uint32_t block_bytes)
{
    NUV_Header header(manager_);
    if (fill_header(header, image))
        last_ = NUV_TestEnds(manager_).source(&header, bytes, block_bytes);
    live_with_source_ = manager_.memory().live();
    // The header above goes, and its palette with it.
    live_with_source_ -= header.palette().value() ? 1 : 0;
}

void NUV_TestChain::blank_source(const NUV_TestImage& image)
{
    const std::uint64_t bits = std::uint64_t{image.channels} * image.bits * image.width;
    const std::size_t bytes = image.encode_type == NUV_EncodeType::raw ? (bits + 7) / 8 : 0;
    constexpr std::size_t enough = 1 << 20; // for refusals of huge images, which are never run
    source_bytes(image, Bytes(bytes * image.height <= enough ? bytes * image.height : 0));
}

void NUV_TestChain::headless_source()
{
    headless_ = make_object<NUV_HeadlessEngine>(manager_);
    last_ = headless_.get();
}

Bytes NUV_TestChain::run_bytes()
{
    Bytes collected;
    last_ = last_ ? NUV_TestEnds(manager_).sink(*last_, collected) : nullptr;
    run_writer();
    return collected;
}

void NUV_TestChain::run_writer()
{
    if (NUV_Engine* const writer = std::exchange(last_, nullptr)) {
        while (writer->execute()) {
        }
        writer->end();
    }
}

void expect_result(const char* what, const NUV_TestImage& image, const Bytes& source,
                   const NUV_Append& append, const Bytes& wanted, NUV_StatusCode code)
{
    SCOPED_TRACE(what);
    NUV_TestChain chain;
    chain.source_bytes(image, source);
    ASSERT_TRUE(append(chain)) << chain.status().method;
    EXPECT_EQ(chain.run_bytes(), wanted);
    EXPECT_EQ(chain.status().code, code) << chain.status().method;
}

void expect_clean_at_every_allocation(const std::function<void(NUV_TestChain&)>& build_and_run)
{
    std::size_t allocations = 0;
    {
        NUV_TestChain chain;
        build_and_run(chain);
        allocations = chain.manager().memory().allocations();
    }
    ASSERT_GT(allocations, 0u);
    for (std::size_t k = 0; k < allocations; ++k) {
        SCOPED_TRACE("allocation " + std::to_string(k) + " fails");
        NUV_TestChain chain(k);
        build_and_run(chain);
    }
}

} // namespace nuv
