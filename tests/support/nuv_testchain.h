#pragma once

#include "framework/base/nuv_header.h"
#include "framework/base/nuv_held.h"
#include "framework/base/nuv_status.h"
#include "framework/engine/nuv_engine.h"
#include "framework/manager/nuv_blockworkflow.h"
#include "framework/manager/nuv_firsterrorhandler.h"
#include "framework/manager/nuv_managerimpl.h"
#include "tests/support/nuv_failingmemory.h"
#include "tests/support/nuv_testlevels.h"

namespace nuv {

// A manager whose allocations can fail, for a processor of any level.
struct NUV_TestManager final
    : NUV_ManagerImpl<NUV_FailingMemory, NUV_FirstErrorHandler, NUV_BlockWorkflow> {
    explicit NUV_TestManager(const NUV_Cpu& cpu = NUV_Cpu::current()) : NUV_ManagerImpl(cpu) {}
};

// An engine without an image.
class NUV_HeadlessEngine : public NUV_Engine {
public:
    using NUV_Engine::NUV_Engine;
    bool execute() override { return false; }
    const NUV_Header* header() const override { return nullptr; }
    NUV_SrcBuffer* src_buffer() override { return nullptr; }
    NUV_Vector<NUV_Engine*> branch(std::uint32_t) override
    {
        return NUV_Vector<NUV_Engine*>(manager());
    }
};

// An image for a test. One 8-bit gray pixel unless it says otherwise. In the order of reading, not
// of the least padding.
struct NUV_TestImage {
    std::uint32_t width = 1;
    std::uint32_t height = 1;
    std::uint16_t channels = 1;
    std::uint16_t bits = 8;
    const NUV_DataType* data_type = NUV_DataType::u_integer;
    const NUV_EncodeType* encode_type = NUV_EncodeType::raw;
    const NUV_ColorType* color_type = NUV_ColorType::none;
    bool palette = false; // one that the bits can index, of 8-bit RGB
};

// False when there was no memory for the palette.
bool fill_header(NUV_Header& header, const NUV_TestImage& image);
[[nodiscard]] NUV_TestImage image_of(const NUV_Header& header);

// What the manager says, which is forgotten then.
void expect_status(NUV_Manager& manager, NUV_StatusCode code, const std::string& method);

// A chain on a manager of its own: a source of given samples, operations, and a sink that collects
// what comes out. At its end nothing may be left: no memory, no engine, no dependency.
class NUV_TestChain {
public:
    // The allocation with number `fail_at` fails, counted from here.
    explicit NUV_TestChain(std::size_t fail_at = NUV_FailingMemory::never,
                           const NUV_Cpu& cpu = NUV_Cpu::current());
    // As on a processor of this level.
    explicit NUV_TestChain(const NUV_Cpu& cpu) : NUV_TestChain(NUV_FailingMemory::never, cpu) {}
    ~NUV_TestChain();
    NUV_TestChain(const NUV_TestChain&) = delete;
    NUV_TestChain& operator=(const NUV_TestChain&) = delete;

    // The source. Bits and type follow from T; the samples are those of all lines, one after the
    // other.
    template <class T>
    void source(NUV_TestImage image, const std::vector<T>& samples)
    {
        image.bits = static_cast<std::uint16_t>(8 * sizeof(T));
        image.data_type =
            static_cast<T>(-1) < T{0} ? NUV_DataType::s_integer : NUV_DataType::u_integer;
        Bytes bytes(samples.size() * sizeof(T));
        if (!bytes.empty())
            std::memcpy(bytes.data(), samples.data(), bytes.size());
        source_bytes(image, std::move(bytes));
    }
    // The bytes of an image of any kind: raw lines, which may break off, or a coded stream, which
    // comes in blocks of `block_bytes`.
    void source_bytes(const NUV_TestImage& image, Bytes bytes, std::uint32_t block_bytes = 64);
    // An image of zeros.
    void blank_source(const NUV_TestImage& image);
    // An engine without an image.
    void headless_source();

    // Appends Creator(manager).engine(last, args...). False when that gave null.
    template <class Creator, class... Args>
    bool append(Args&&... args)
    {
        last_ = Creator(manager_).engine(last_, std::forward<Args>(args)...);
        return last_ != nullptr;
    }
    // Steps the sink until it answers false, and gives what came. Empty without a chain.
    [[nodiscard]] Bytes run_bytes();
    template <class T>
    [[nodiscard]] std::vector<T> run()
    {
        const Bytes bytes = run_bytes();
        std::vector<T> samples(bytes.size() / sizeof(T));
        if (!samples.empty())
            std::memcpy(samples.data(), bytes.data(), samples.size() * sizeof(T));
        return samples;
    }
    // Steps the writer that ends the chain, if there is one, and lets go of it.
    void run_writer();

    [[nodiscard]] NUV_TestManager& manager() noexcept { return manager_; }
    [[nodiscard]] NUV_Engine* last() noexcept { return last_; }
    void last(NUV_Engine* engine) noexcept { last_ = engine; }
    // The image that comes out; the chain must stand.
    [[nodiscard]] const NUV_Header& header() const { return *last_->header(); }
    [[nodiscard]] const NUV_Status& status() const { return manager_.status(); }
    // Allocations that live, less those that lived when the source stood.
    [[nodiscard]] std::size_t live_objects_behind_source() noexcept
    {
        return manager_.memory().live() - live_with_source_;
    }

private:
    NUV_TestManager manager_;
    std::size_t live_at_start_;
    std::size_t live_with_source_ = 0;
    NUV_Held<NUV_HeadlessEngine> headless_;
    NUV_Engine* last_ = nullptr;
};

// A call that appends to a chain, and answers whether it did.
using NUV_Append = std::function<bool(NUV_TestChain&)>;

// The call of Creator::engine(last, args...).
template <class Creator, class... Args>
[[nodiscard]] NUV_Append appending(Args... args)
{
    return [=](NUV_TestChain& chain) { return chain.append<Creator>(args...); };
}

// What comes out of the call behind that source.
void expect_result(const char* what, const NUV_TestImage& image, const Bytes& source,
                   const NUV_Append& append, const Bytes& wanted,
                   NUV_StatusCode code = NUV_STATUS_OK);

// Runs `build_and_run` once, and then once for each of its allocations with that one failing. The
// chain complains if anything is left behind.
void expect_clean_at_every_allocation(const std::function<void(NUV_TestChain&)>& build_and_run);

} // namespace nuv
