#include "core/scale/nuv_scalennqdrle.h"

#include "core/include/nuv_scaleframe.h"
#include "core/qdrle/nuv_qdrlebuffer.h"
#include "framework/engine/nuv_processengine.h"
#include "framework/engine/nuv_stepblocks.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <optional>
#include <span>

namespace nuv {
namespace {

constexpr auto width_method = "NUV_ScaleWidthQDRLEEngine::initiate()";
constexpr auto height_method = "NUV_ScaleHeightNNQDRLEEngine::initiate()";

bool is_run_image(const NUV_Header& header) noexcept
{
    return holds_runs(header) && header.data_type() == NUV_DataType::u_integer &&
           checked_run_line_bytes(header.width());
}

// The source lines that the output lines are made of, from the top.
class NUV_SourceRows {
public:
    NUV_SourceRows(std::uint32_t height, double ratio) noexcept
        : last_row_(height - 1),
          ratio_(ratio),
          position_(ratio * 0.5)
    {}

    [[nodiscard]] std::uint32_t row() const noexcept
    {
        return static_cast<std::uint32_t>(std::min<double>(position_, last_row_));
    }
    void next() noexcept { position_ += ratio_; }

private:
    std::uint32_t last_row_;
    double ratio_;
    double position_;
};

// The lines that are left when the height shrinks.
class NUV_SourceRowChoice final : public NUV_QDRLELineChoice {
public:
    explicit NUV_SourceRowChoice(const NUV_SourceRows& rows) noexcept : rows_(rows) {}

    [[nodiscard]] bool wants(std::uint32_t row) override
    {
        while (rows_.row() < row)
            rows_.next(); // by a line at least
        return rows_.row() == row;
    }

private:
    NUV_SourceRows rows_;
};

// Columns of a source line to columns of an output line.
class NUV_RunScale {
public:
    NUV_RunScale(std::uint32_t source_width, std::uint32_t width) noexcept
        : factor_(static_cast<double>(width) / source_width)
    {}

    // Writes the scaled runs and their terminator, and answers where they end. Runs that touch
    // become one, so that they fit into checked_run_line_bytes() of the output width.
    [[nodiscard]] std::uint8_t* write(std::span<const NUV_QDRLERun> runs,
                                      std::uint8_t* out) const noexcept
    {
        std::int32_t start = 0; // of the run that is not written yet
        std::int32_t stop = 0;  // the column behind it; start when there is none
        for (const NUV_QDRLERun& run : runs) {
            const std::int32_t next_start = scaled(run.start);
            const std::int32_t next_stop = scaled(run.end + 1);
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
        out = write_run(out, start, stop);
        store_run(out, {});
        return out + NUV_QDRLERun::bytes;
    }

private:
    // Column `column` of the source as the start of an output column. Widths are below 2^28, see
    // checked_run_line_bytes(), so the column behind the last one comes out as the output width:
    // its product is off by far less than half a column.
    [[nodiscard]] std::int32_t scaled(std::uint32_t column) const noexcept
    {
        const double position = static_cast<std::int32_t>(column) * factor_ + 0.5;
        return static_cast<std::int32_t>(position);
    }

    [[nodiscard]] static std::uint8_t* write_run(std::uint8_t* out, std::int32_t start,
                                                 std::int32_t stop) noexcept
    {
        if (stop <= start)
            return out;
        store_run(out, {static_cast<std::uint32_t>(start), static_cast<std::uint32_t>(stop - 1)});
        return out + NUV_QDRLERun::bytes;
    }

    double factor_; // output width / source width
};

// Base of the engines on runs: the source lines that are wanted, in memory. The two passes of a
// change of both sizes are done line by line here, since lines are only picked and repeated by the
// one and only changed in themselves by the other.
class NUV_ScaleQDRLEEngine : public NUV_ProcessEngine {
public:
    using NUV_ProcessEngine::NUV_ProcessEngine;

    bool cleanup() override
    {
        source_.reset(); // before the reader that it depends on
        repeated_.free();
        return NUV_ProcessEngine::cleanup();
    }
    [[nodiscard]] bool execute() override;

protected:
    [[nodiscard]] bool open_source(const NUV_Header* header, std::uint32_t width,
                                   std::uint32_t height);

private:
    [[nodiscard]] bool load();
    [[nodiscard]] bool write_scaled(std::uint32_t row);
    [[nodiscard]] bool write_repeated(std::uint32_t row);

    NUV_Held<NUV_QDRLEBuffer> source_;
    std::optional<NUV_SourceRows> rows_;
    std::optional<NUV_RunScale> scale_; // none where the width stays
    bool shrinks_height_ = false;
    std::uint32_t line_ = 0; // output lines made
    // Where lines are scaled and repeated: the last one and the source line it is made of.
    NUV_Scratch<std::uint8_t> repeated_;
    std::size_t repeated_bytes_ = 0;
    std::uint32_t repeated_row_ = 0;
};

bool NUV_ScaleQDRLEEngine::open_source(const NUV_Header* header, std::uint32_t width,
                                       std::uint32_t height)
{
    const auto block_bytes = checked_run_line_bytes(width);
    if (!block_bytes)
        return fail(manager(), NUV_ERR_UNSUPPORTED, width_method);
    header_.width(width);
    header_.height(height);
    rows_.emplace(header->height(), scale_ratio(header->height(), height));
    shrinks_height_ = height < header->height();
    if (width != header->width())
        scale_.emplace(header->width(), width);
    if (scale_ && height > header->height() && !repeated_.allocate(manager(), *block_bytes))
        return false;
    source_ = make_initiated<NUV_QDRLEBuffer>(manager(), src_buffer_, header);
    return source_ && dst_buffer_->block_bytes(*block_bytes);
}

bool NUV_ScaleQDRLEEngine::load()
{
    NUV_SourceRowChoice choice(*rows_);
    return source_->load(shrinks_height_ ? &choice : nullptr);
}

bool NUV_ScaleQDRLEEngine::execute()
{
    if (line_ >= header_.height() || !load())
        return false;
    const std::uint32_t row = rows_->row();
    rows_->next();
    ++line_;
    if (!scale_)
        return write_runs(source_->line(row), *dst_buffer_);
    return repeated_.size() == 0 ? write_scaled(row) : write_repeated(row);
}

bool NUV_ScaleQDRLEEngine::write_scaled(std::uint32_t row)
{
    NUV_OutputBlock out(*dst_buffer_);
    if (!out)
        return false;
    const std::uint8_t* behind = scale_->write(source_->line(row), out.as<std::uint8_t>());
    return out.commit(static_cast<std::uint32_t>(behind - out.as<std::uint8_t>()));
}

bool NUV_ScaleQDRLEEngine::write_repeated(std::uint32_t row)
{
    if (repeated_bytes_ == 0 || row != repeated_row_) {
        const std::uint8_t* behind = scale_->write(source_->line(row), repeated_.data());
        repeated_bytes_ = static_cast<std::size_t>(behind - repeated_.data());
        repeated_row_ = row;
    }
    NUV_OutputBlock out(*dst_buffer_);
    if (!out)
        return false;
    std::memcpy(out.data(), repeated_.data(), repeated_bytes_);
    return out.commit(static_cast<std::uint32_t>(repeated_bytes_));
}

class NUV_ScaleWidthNNQDRLEEngine final : public NUV_ScaleQDRLEEngine {
public:
    static constexpr auto initiate_method = width_method;
    using NUV_ScaleQDRLEEngine::NUV_ScaleQDRLEEngine;

    [[nodiscard]] bool initiate(const NUV_Header* header, NUV_SrcBuffer* src, NUV_DstBuffer* dst,
                                std::uint32_t width)
    {
        if (!NUV_ProcessEngine::initiate(header, src, dst))
            return false;
        if (width == 0)
            return fail(manager(), NUV_ERR_ARGUMENT, width_method);
        if (!is_run_image(*header))
            return fail(manager(), NUV_ERR_UNSUPPORTED, width_method);
        return open_source(header, width, header->height());
    }
};

class NUV_ScaleHeightNNQDRLEEngine final : public NUV_ScaleQDRLEEngine {
public:
    static constexpr auto initiate_method = height_method;
    using NUV_ScaleQDRLEEngine::NUV_ScaleQDRLEEngine;

    [[nodiscard]] bool initiate(const NUV_Header* header, NUV_SrcBuffer* src, NUV_DstBuffer* dst,
                                std::uint32_t height)
    {
        if (!NUV_ProcessEngine::initiate(header, src, dst))
            return false;
        if (height == 0)
            return fail(manager(), NUV_ERR_ARGUMENT, "NUV_ScaleHeightQDRLEEngine::initiate()");
        if (!is_run_image(*header))
            return fail(manager(), NUV_ERR_UNSUPPORTED, height_method);
        return open_source(header, header->width(), height);
    }
};

// Both sizes at once; refuses like the engine of the pass that comes first.
class NUV_ScaleNNQDRLEEngine final : public NUV_ScaleQDRLEEngine {
public:
    static constexpr auto initiate_method = height_method;
    using NUV_ScaleQDRLEEngine::NUV_ScaleQDRLEEngine;

    [[nodiscard]] bool initiate(const NUV_Header* header, NUV_SrcBuffer* src, NUV_DstBuffer* dst,
                                std::uint32_t width, std::uint32_t height)
    {
        if (!NUV_ProcessEngine::initiate(header, src, dst))
            return false;
        if (!is_run_image(*header)) {
            const bool height_first = height < header->height();
            return fail(manager(), NUV_ERR_UNSUPPORTED,
                        height_first ? height_method : width_method);
        }
        return open_source(header, width, height);
    }
};

} // namespace

NUV_Engine* NUV_ScaleNNQDRLE::engine(NUV_Engine* previous, std::uint32_t width,
                                     std::uint32_t height)
{
    if (!accepts(previous, width, height, "NUV_ScaleNNQDRLE::engine()"))
        return nullptr;
    const NUV_Header& header = *previous->header();
    if (height == header.height())
        return NUV_ScaleWidthNNQDRLE(manager()).engine(previous, width);
    if (width == header.width())
        return NUV_ScaleHeightNNQDRLE(manager()).engine(previous, height);
    return append_new<NUV_ScaleNNQDRLEEngine>(*previous, width, height);
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
