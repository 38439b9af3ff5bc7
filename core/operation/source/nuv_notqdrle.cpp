#include "core/operation/nuv_not.h"
#include "core/qdrle/nuv_qdrleline.h"
#include "framework/engine/nuv_processengine.h"

#include <cstdint>

namespace nuv {
namespace {

class NUV_NotQDRLEEngine final : public NUV_ProcessEngine {
public:
    static constexpr auto initiate_method = "NUV_NotQDRLEEngine::initiate()";
    explicit NUV_NotQDRLEEngine(NUV_Manager& manager) noexcept
        : NUV_ProcessEngine(manager),
          inverted_(manager)
    {}

    bool cleanup() override
    {
        line_.reset();
        return NUV_ProcessEngine::cleanup();
    }
    [[nodiscard]] bool execute() override;
    [[nodiscard]] bool initiate(const NUV_Header* header, NUV_SrcBuffer* src, NUV_DstBuffer* dst);

private:
    // Makes the gaps of the line read the runs of inverted_.
    [[nodiscard]] bool invert();

    NUV_Held<NUV_QDRLELine> line_;
    NUV_QDRLERunVector inverted_;
    std::uint32_t row_ = 0;
};

bool NUV_NotQDRLEEngine::initiate(const NUV_Header* header, NUV_SrcBuffer* src, NUV_DstBuffer* dst)
{
    if (!NUV_ProcessEngine::initiate(header, src, dst))
        return false;
    const auto block_bytes = checked_run_line_bytes(header->width());
    if (!holds_runs(*header) || !block_bytes)
        return fail(manager(), NUV_ERR_UNSUPPORTED, initiate_method);
    line_ = make_initiated<NUV_QDRLELine>(manager(), src, header);
    return line_ && dst->block_bytes(*block_bytes);
}

bool NUV_NotQDRLEEngine::execute()
{
    if (row_ >= header_.height())
        return false;
    static_cast<void>(line_->get_next_line()); // empties the line when there is none
    if (!invert())
        return false;
    ++row_;
    return inverted_.write(dst_buffer_);
}

bool NUV_NotQDRLEEngine::invert()
{
    inverted_.clear();
    std::uint32_t next = 0; // the first column behind the runs so far
    std::uint32_t start = 0;
    std::uint32_t end = 0;
    while (line_->line().next(&start, &end)) {
        if (start > next && !inverted_.add(next, start - 1))
            return false;
        next = end + 1; // runs lie within the width, so this does not wrap
    }
    return next >= header_.width() || inverted_.add(next, header_.width() - 1);
}

} // namespace

NUV_Engine* NUV_NotQDRLE::engine(NUV_Engine* previous)
{
    if (!accepts_image(previous, "NUV_NotQDRLE::engine()"))
        return nullptr;
    return append_new<NUV_NotQDRLEEngine>(*previous);
}

} // namespace nuv
