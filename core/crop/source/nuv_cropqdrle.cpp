#include "core/crop/nuv_crop.h"
#include "core/qdrle/nuv_qdrleline.h"
#include "framework/engine/nuv_processengine.h"

#include <algorithm>

namespace nuv {
namespace {

class NUV_CropQDRLEEngine final : public NUV_ProcessEngine {
public:
    static constexpr auto initiate_method = "NUV_CropQDRLEEngine::initiate()";
    explicit NUV_CropQDRLEEngine(NUV_Manager& manager) noexcept
        : NUV_ProcessEngine(manager),
          kept_(manager)
    {}

    bool cleanup() override;
    [[nodiscard]] bool execute() override;
    [[nodiscard]] bool initiate(const NUV_Header* header, NUV_SrcBuffer* src, NUV_DstBuffer* dst,
                                std::uint32_t x, std::uint32_t y, std::uint32_t w, std::uint32_t h);

private:
    // Reads the next line, white when there is none. False once an error stands.
    [[nodiscard]] bool read_line();
    [[nodiscard]] bool keep_columns();

    NUV_Held<NUV_QDRLELine> line_;
    NUV_QDRLERunVector kept_;
    std::uint32_t x0_ = 0; // first and last column and line of the rectangle
    std::uint32_t x1_ = 0;
    std::uint32_t y0_ = 0;
    std::uint32_t y1_ = 0;
    std::uint32_t row_ = 0;
};

bool NUV_CropQDRLEEngine::cleanup()
{
    line_.reset();
    return NUV_ProcessEngine::cleanup();
}

bool NUV_CropQDRLEEngine::initiate(const NUV_Header* header, NUV_SrcBuffer* src, NUV_DstBuffer* dst,
                                   std::uint32_t x, std::uint32_t y, std::uint32_t w,
                                   std::uint32_t h)
{
    if (!NUV_ProcessEngine::initiate(header, src, dst))
        return false;
    if (x >= header->width() || y >= header->height() || w == 0 || h == 0)
        return fail(manager(), NUV_ERR_ARGUMENT, initiate_method);
    if (!holds_runs(*header) || !checked_run_line_bytes(header->width()))
        return fail(manager(), NUV_ERR_UNSUPPORTED, initiate_method);

    header_.width(std::min(w, header->width() - x));
    header_.height(std::min(h, header->height() - y));
    x0_ = x;
    x1_ = x + header_.width() - 1;
    y0_ = y;
    y1_ = y + header_.height() - 1;
    line_ = make_initiated<NUV_QDRLELine>(manager(), src, header);
    return line_ && dst->block_bytes(checked_run_line_bytes(header_.width()).value_or(0));
}

bool NUV_CropQDRLEEngine::execute()
{
    if (row_ > y1_)
        return false;
    const bool is_inside = row_ >= y0_;
    if (!read_line())
        return false;
    ++row_;
    if (!is_inside)
        return true;
    return keep_columns() && kept_.write(dst_buffer_);
}

bool NUV_CropQDRLEEngine::read_line()
{
    static_cast<void>(line_->get_next_line()); // empties the line when there is none
    return !manager().status().has_error();
}

bool NUV_CropQDRLEEngine::keep_columns()
{
    kept_.clear();
    std::uint32_t start = 0;
    std::uint32_t end = 0;
    while (line_->line().next(&start, &end)) {
        if (end < x0_ || start > x1_)
            continue;
        if (!kept_.add(std::max(start, x0_) - x0_, std::min(end, x1_) - x0_))
            return false;
    }
    return true;
}

} // namespace

NUV_Engine* NUV_CropQDRLE::engine(NUV_Engine* previous, std::uint32_t x, std::uint32_t y,
                                  std::uint32_t w, std::uint32_t h)
{
    if (!accepts_image(previous, "NUV_CropQDRLE::engine()"))
        return nullptr;
    const NUV_Header& header = *previous->header();
    if (x == 0 && y == 0 && w >= header.width() && h >= header.height())
        return previous;
    return append_new<NUV_CropQDRLEEngine>(*previous, x, y, w, h);
}

} // namespace nuv
