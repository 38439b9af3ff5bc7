#include "core/crop/nuv_crop.h"
#include "framework/engine/nuv_processengine.h"
#include "framework/engine/nuv_stepblocks.h"

#include <algorithm>

namespace nuv {
namespace {

class NUV_CropHeightEngine final : public NUV_ProcessEngine {
public:
    static constexpr auto initiate_method = "NUV_CropHeightEngine::initiate()";
    using NUV_ProcessEngine::NUV_ProcessEngine;

    // The source writes to this engine's room.
    [[nodiscard]] bool delivers_what_it_writes() const override
    {
        return source_delivers_what_it_writes_;
    }
    [[nodiscard]] bool execute() override;
    [[nodiscard]] bool initiate(const NUV_Header* header, NUV_SrcBuffer* src, NUV_DstBuffer* dst,
                                std::uint32_t y, std::uint32_t h,
                                bool source_delivers_what_it_writes);

private:
    [[nodiscard]] bool skip_line();
    [[nodiscard]] bool copy_line();

    std::uint32_t first_ = 0; // line to keep
    std::uint32_t end_ = 0;   // one past the last line to keep
    std::uint32_t read_ = 0;  // lines
    bool source_delivers_what_it_writes_ = false;
};

[[nodiscard]] bool can_crop(const NUV_Header& header)
{
    const NUV_DataType* type = header.data_type();
    const bool is_known = type == NUV_DataType::u_integer || type == NUV_DataType::s_integer ||
                          type == NUV_DataType::floating;
    constexpr std::uint16_t sizes[] = {1, 8, 16, 32, 64};
    return header.is_raw() && is_known &&
           std::ranges::find(sizes, header.bits()) != std::end(sizes);
}

bool NUV_CropHeightEngine::initiate(const NUV_Header* header, NUV_SrcBuffer* src,
                                    NUV_DstBuffer* dst, std::uint32_t y, std::uint32_t h,
                                    bool source_delivers_what_it_writes)
{
    if (!NUV_ProcessEngine::initiate(header, src, dst))
        return false;
    if (!can_crop(*header))
        return fail(manager(), NUV_ERR_UNSUPPORTED, initiate_method);
    if (y >= header->height() || h == 0)
        return fail(manager(), NUV_ERR_ARGUMENT, initiate_method);

    source_delivers_what_it_writes_ = source_delivers_what_it_writes;
    first_ = y;
    header_.height(std::min(h, header->height() - y));
    end_ = y + header_.height();
    return src->block_bytes(header->line_bytes()) && dst->block_bytes(header->line_bytes());
}

bool NUV_CropHeightEngine::execute()
{
    if (read_ < first_)
        return skip_line();
    return read_ < end_ && copy_line();
}

bool NUV_CropHeightEngine::skip_line()
{
    if (!src_buffer_->skip())
        return false;
    ++read_;
    return true;
}

// Straight into the output block, which is so filled by whoever writes the source.
bool NUV_CropHeightEngine::copy_line()
{
    NUV_OutputBlock out(*dst_buffer_);
    if (!out)
        return false;
    NUV_InputBlock in(*src_buffer_, out.data());
    if (!in)
        return false;
    const bool released = in.release();
    const bool committed = out.commit(header_.line_bytes());
    ++read_;
    return released && committed;
}

} // namespace

NUV_Engine* NUV_CropHeight::engine(NUV_Engine* previous, std::uint32_t y, std::uint32_t h)
{
    if (!accepts_image(previous, "NUV_CropHeight::engine()"))
        return nullptr;
    if (y == 0 && h >= previous->header()->height())
        return previous;
    return append_new<NUV_CropHeightEngine>(*previous, y, h, previous->delivers_what_it_writes());
}

} // namespace nuv
