#include "core/scale/nuv_scalennqdrle.h"

#include "core/include/nuv_scaleframe.h"
#include "core/qdrle/nuv_qdrlebuffer.h"
#include "framework/base/nuv_version.h"
#include "framework/engine/nuv_processengine.h"

#include <algorithm>
#include <cstddef>
#include <optional>
#include <span>

namespace nuv {
namespace {

bool is_run_image(const NUV_Header& header) noexcept
{
    return holds_runs(header) && header.data_type() == NUV_DataType::u_integer;
}

// Base of the engines on runs: the source image in memory, and room for the longest output line.
class NUV_ScaleQDRLEEngine : public NUV_ProcessEngine {
public:
    using NUV_ProcessEngine::NUV_ProcessEngine;

    bool cleanup() override
    {
        source_.reset(); // before the reader that it depends on
        return NUV_ProcessEngine::cleanup();
    }

    // Behind the base and after header_ has the output size.
    [[nodiscard]] bool open_source(const NUV_Header* header, const char* method)
    {
        if (!is_run_image(*header))
            return fail(manager(), NUV_ERR_UNSUPPORTED, method);
        const auto block_bytes = checked_run_line_bytes(header_.width());
        if (!block_bytes)
            return fail(manager(), NUV_ERR_UNSUPPORTED, method);
        source_ = make_initiated<NUV_QDRLEBuffer>(manager(), src_buffer_, header);
        return source_ && dst_buffer_->block_bytes(*block_bytes);
    }

protected:
    NUV_Held<NUV_QDRLEBuffer> source_;
    std::uint32_t line_ = 0; // output lines made
};

class NUV_ScaleWidthQDRLEEngine : public NUV_ScaleQDRLEEngine {
public:
    using NUV_ScaleQDRLEEngine::NUV_ScaleQDRLEEngine;

    [[nodiscard]] bool initiate(const NUV_Header* header, NUV_SrcBuffer* src, NUV_DstBuffer* dst,
                                std::uint32_t width)
    {
        constexpr auto method = "NUV_ScaleWidthQDRLEEngine::initiate()";

        if (!compatible_version(NUV_VERSION))
            return fail(manager(), NUV_ERR_VERSION, method);
        if (!NUV_ProcessEngine::initiate(header, src, dst))
            return false;
        if (width == 0)
            return fail(manager(), NUV_ERR_ARGUMENT, method);
        header_.width(width);
        factor_ = static_cast<double>(width) / header->width();
        return open_source(header, method);
    }

protected:
    double factor_ = 1; // output width / source width
};

class NUV_ScaleWidthNNQDRLEEngine final : public NUV_ScaleWidthQDRLEEngine {
public:
    using NUV_ScaleWidthQDRLEEngine::NUV_ScaleWidthQDRLEEngine;

    [[nodiscard]] bool execute() override
    {
        if (line_ >= header_.height() || !source_->load())
            return false;
        auto* out = static_cast<std::uint8_t*>(dst_buffer_->get());
        if (!out)
            return false;
        std::uint8_t* behind = scale_runs(source_->line(line_), out);
        store_run(behind, NUV_QDRLERun{});
        behind += NUV_QDRLERun::bytes;
        ++line_;
        return dst_buffer_->release(static_cast<std::uint32_t>(behind - out));
    }

private:
    // Column `column` of the source as the start of an output column, at most the output width.
    [[nodiscard]] std::uint32_t scaled(std::uint64_t column) const noexcept
    {
        const double position = static_cast<double>(column) * factor_ + 0.5;
        return static_cast<std::uint32_t>(std::min<double>(position, header_.width()));
    }

    // Writes the scaled runs of a line, and answers where they end. Runs that touch become one, so
    // the block holds them all.
    [[nodiscard]] std::uint8_t* scale_runs(std::span<const NUV_QDRLERun> runs,
                                           std::uint8_t* out) const noexcept
    {
        std::uint32_t start = 0; // of the run that is not written yet
        std::uint32_t stop = 0;  // the column behind it; start when there is none
        for (const NUV_QDRLERun& run : runs) {
            const std::uint32_t next_start = scaled(run.start);
            const std::uint32_t next_stop = scaled(std::uint64_t{run.end} + 1);
            if (next_stop <= next_start)
                continue;
            if (stop > start && next_start <= stop) {
                stop = next_stop;
                continue;
            }
            out = write_run(out, start, stop);
            start = next_start;
            stop = next_stop;
        }
        return write_run(out, start, stop);
    }

    [[nodiscard]] static std::uint8_t* write_run(std::uint8_t* out, std::uint32_t start,
                                                 std::uint32_t stop) noexcept
    {
        if (stop <= start)
            return out;
        store_run(out, NUV_QDRLERun{start, stop - 1});
        return out + NUV_QDRLERun::bytes;
    }
};

class NUV_ScaleHeightQDRLEEngine : public NUV_ScaleQDRLEEngine {
public:
    using NUV_ScaleQDRLEEngine::NUV_ScaleQDRLEEngine;

    [[nodiscard]] bool initiate(const NUV_Header* header, NUV_SrcBuffer* src, NUV_DstBuffer* dst,
                                std::uint32_t height)
    {
        constexpr auto method = "NUV_ScaleHeightQDRLEEngine::initiate()";

        if (!NUV_ProcessEngine::initiate(header, src, dst))
            return false;
        if (height == 0)
            return fail(manager(), NUV_ERR_ARGUMENT, method);
        header_.height(height);
        source_height_ = header->height();
        ratio_ = scale_ratio(source_height_, height);
        return true;
    }

protected:
    std::uint32_t source_height_ = 0;
    double ratio_ = 1; // source height / output height
};

class NUV_ScaleHeightNNQDRLEEngine final : public NUV_ScaleHeightQDRLEEngine {
public:
    using NUV_ScaleHeightQDRLEEngine::NUV_ScaleHeightQDRLEEngine;

    [[nodiscard]] bool initiate(const NUV_Header* header, NUV_SrcBuffer* src, NUV_DstBuffer* dst,
                                std::uint32_t height)
    {
        constexpr auto method = "NUV_ScaleHeightNNQDRLEEngine::initiate()";

        if (!compatible_version(NUV_VERSION))
            return fail(manager(), NUV_ERR_VERSION, method);
        if (!NUV_ScaleHeightQDRLEEngine::initiate(header, src, dst, height))
            return false;
        position_ = ratio_ * 0.5;
        return open_source(header, method);
    }

    [[nodiscard]] bool execute() override
    {
        if (line_ >= header_.height() || !source_->load())
            return false;
        const double row = std::min<double>(position_, source_height_ - 1);
        position_ += ratio_;
        ++line_;
        return write_runs(source_->line(static_cast<std::uint32_t>(row)), *dst_buffer_);
    }

private:
    double position_ = 0;
};

} // namespace

NUV_Engine* NUV_ScaleNNQDRLE::engine(NUV_Engine* previous, std::uint32_t width,
                                     std::uint32_t height)
{
    if (!accepts(previous, width, height, "NUV_ScaleNNQDRLE::engine()"))
        return nullptr;
    return in_order(
        previous, height,
        [&](NUV_Engine* last) { return NUV_ScaleWidthNNQDRLE(manager()).engine(last, width); },
        [&](NUV_Engine* last) { return NUV_ScaleHeightNNQDRLE(manager()).engine(last, height); });
}

NUV_Engine* NUV_ScaleWidthNNQDRLE::engine(NUV_Engine* previous, std::uint32_t width)
{
    if (!accepts(previous, width, "NUV_ScaleWidthNNQDRLE::engine()"))
        return nullptr;
    if (width == previous->header()->width())
        return previous;
    return append_new<NUV_ScaleWidthNNQDRLEEngine>(*previous, width);
}

NUV_Engine* NUV_ScaleHeightNNQDRLE::engine(NUV_Engine* previous, std::uint32_t height)
{
    if (!accepts(previous, height, "NUV_ScaleHeightNNQDRLE::engine()"))
        return nullptr;
    if (height == previous->header()->height())
        return previous;
    return append_new<NUV_ScaleHeightNNQDRLEEngine>(*previous, height);
}

} // namespace nuv
