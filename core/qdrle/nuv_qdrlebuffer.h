#pragma once

#include "core/qdrle/nuv_qdrleruncursor.h"
#include "framework/base/nuv_held.h"
#include "framework/base/nuv_object.h"
#include "framework/buffer/nuv_srcbuffer.h"

#include <cstddef>
#include <cstdint>
#include <span>

namespace nuv {

// What a holder of a whole image in run form has of its source.
class NUV_QDRLEBufferBase : public NUV_Object {
public:
    explicit NUV_QDRLEBufferBase(NUV_Manager& manager) noexcept
        : NUV_Object(manager),
          header_(manager)
    {}

    bool cleanup() override;

protected:
    // Copies `header`. NUV_ERR_ARGUMENT for a null, NUV_ERR_UNSUPPORTED for an image of another
    // kind and for lines longer than a stream of runs may be.
    [[nodiscard]] bool initiate(NUV_SrcBuffer* src, const NUV_Header* header);

    // The source may go as far as this object is concerned.
    void let_go_of_source() noexcept;

    NUV_Scratch<NUV_QDRLERun> block_; // records
    NUV_SrcBuffer* src_ = nullptr;    // null once it has been let go of
    NUV_Header header_;

private:
    // Depends on the source, which so lives until this is ended.
    class SrcBufHolder final : public NUV_Object {
    public:
        using NUV_Object::NUV_Object;
        bool cleanup() override { return true; }
        [[nodiscard]] bool initiate(const NUV_SrcBuffer* src)
        {
            return manager().depend(this, src);
        }
    };

    NUV_Held<SrcBufHolder> holder_;
};

// Which lines of an image an engine will ask for.
class NUV_QDRLELineChoice {
public:
    NUV_QDRLELineChoice() = default;
    NUV_QDRLELineChoice(const NUV_QDRLELineChoice&) = delete;
    NUV_QDRLELineChoice& operator=(const NUV_QDRLELineChoice&) = delete;
    virtual ~NUV_QDRLELineChoice() = default;

    // Asked once for each line, from the top.
    [[nodiscard]] virtual bool wants(std::uint32_t row) = 0;
};

// Lines of runs, one after the other.
struct NUV_QDRLELines {
    std::span<const NUV_QDRLERun> runs;
    std::span<const std::size_t> ends;      // where in `runs` each line ends
    std::span<const std::uint32_t> repeats; // how many more times each one comes

    [[nodiscard]] std::span<const NUV_QDRLERun> operator[](std::size_t line) const noexcept
    {
        const std::size_t begin = line == 0 ? 0 : ends[line - 1];
        return runs.subspan(begin, ends[line] - begin);
    }
    [[nodiscard]] std::uint32_t rows(std::size_t line) const noexcept { return repeats[line] + 1; }
};

// Who takes the lines of an image as they are read.
class NUV_QDRLELineTaker {
public:
    NUV_QDRLELineTaker() = default;
    NUV_QDRLELineTaker(const NUV_QDRLELineTaker&) = delete;
    NUV_QDRLELineTaker& operator=(const NUV_QDRLELineTaker&) = delete;
    virtual ~NUV_QDRLELineTaker() = default;

    // How many lines come at a time, but for the last ones.
    [[nodiscard]] virtual std::uint32_t most_lines() const noexcept = 0;
    // The lines from `row` on, each in canonical order. One that comes again and again, run by run,
    // is there once. False ends the reading.
    [[nodiscard]] virtual bool take(std::uint32_t row, const NUV_QDRLELines& lines) = 0;
};

// A whole image in run form, for engines that need its lines out of order. The source is read at
// the first access to a line, once. An engine ends the buffer before its reader.
class NUV_QDRLEBuffer final : public NUV_QDRLEBufferBase {
public:
    explicit NUV_QDRLEBuffer(NUV_Manager& manager) noexcept
        : NUV_QDRLEBufferBase(manager),
          runs_(manager),
          line_ends_(manager),
          repeats_(manager)
    {}

    bool cleanup() override;
    [[nodiscard]] bool initiate(NUV_SrcBuffer* src, const NUV_Header* header);

    [[nodiscard]] std::uint32_t height() const noexcept { return height_; }

    // True when the whole image is here. Reads it when nobody has tried yet. Of a line that
    // `choice` does not want the runs are checked, but not kept; without one all lines are wanted.
    [[nodiscard]] bool load(NUV_QDRLELineChoice* choice = nullptr);

    // Reads the image, instead of load(), and gives its lines to `taker`, from the top; none of
    // them is kept, so that line() answers with none. False where the image is not whole or was
    // read before, and where the taker says so.
    [[nodiscard]] bool hand_over(NUV_QDRLELineTaker& taker);

    // The runs of a line, top line 0, in canonical order: ascending, apart from one another, within
    // the width. Empty where the image ended before that line, and where it was not wanted.
    [[nodiscard]] std::span<const NUV_QDRLERun> line(std::uint32_t row);

    // The same as a pair of cursors.
    [[nodiscard]] NUV_QDRLERunCursor line_begin(std::uint32_t row);
    [[nodiscard]] NUV_QDRLERunCursor line_end(std::uint32_t row);

    // Reads the image. NUV_ERR_BROKEN_DATA for a stream that ends early or in the middle of a
    // record, and for runs outside the line; the lines before that stay.
    [[nodiscard]] bool regist_runarray(NUV_SrcBuffer* src, const NUV_Header* header);

private:
    [[nodiscard]] bool regist_block(std::span<const NUV_QDRLERun> records,
                                    const NUV_Header& header);
    [[nodiscard]] std::size_t check_runs(std::span<const NUV_QDRLERun> records,
                                         std::uint32_t width) noexcept;
    void begin_line();
    [[nodiscard]] bool repeats_line(std::span<const NUV_QDRLERun>& records) noexcept;
    [[nodiscard]] bool repeat_no_more();
    [[nodiscard]] std::span<NUV_QDRLERun> line_so_far() noexcept;
    [[nodiscard]] bool order_line(std::uint32_t width); // what there is of it, canonically
    [[nodiscard]] bool finish_line(std::uint32_t width);
    [[nodiscard]] bool hand_lines_over();

    NUV_Vector<NUV_QDRLERun> runs_;     // of all lines, one after the other
    NUV_Vector<std::size_t> line_ends_; // where in runs_ each line ends
    NUV_Vector<std::uint32_t> repeats_; // for a taker: how many more times each one comes
    NUV_QDRLELineChoice* choice_ = nullptr;
    NUV_QDRLELineTaker* taker_ = nullptr;
    std::uint32_t rows_read_ = 0;
    std::uint32_t handed_over_ = 0; // of these, so many lines are with the taker
    // Of the line that is being read:
    std::int64_t free_from_ = 0; // the first column that its next run may start in
    bool is_canonical_ = true;   // so far
    bool is_wanted_ = true;
    bool repeats_so_far_ = false; // the line before it, in so many runs:
    std::size_t repeated_ = 0;
    std::uint32_t height_ = 0;
    bool registered_ = false;
    bool complete_ = false;
};

} // namespace nuv
