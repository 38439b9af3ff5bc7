#pragma once

#include "framework/engine/nuv_processengine.h"

#include <cstdint>

namespace nuv {

// One line in, one line out, as many lines as the image has.
class NUV_ProcessLineToLineEngine : public NUV_ProcessEngine {
public:
    using NUV_ProcessEngine::NUV_ProcessEngine;

    [[nodiscard]] bool execute() override;
    // Lines that grow that much are mostly writing, which a plain copy does best where nothing asks
    // for their memory in advance.
    [[nodiscard]] bool delivers_what_it_writes() const override
    {
        return header_.line_bytes() / 2 <= src_buffer_->block_bytes();
    }

    // Raw images only, else NUV_ERR_UNSUPPORTED. Sets the reader's block to one line; the concrete
    // class sets the destination's.
    [[nodiscard]] bool initiate(const NUV_Header* header, NUV_SrcBuffer* src, NUV_DstBuffer* dst);

protected:
    // Makes the output line from the input line alone; they do not overlap. Not called for lines
    // that nobody looks at. False after a status, when nothing of the output line is written.
    [[nodiscard]] virtual bool process_line(const void* in, void* out) = 0;

    std::uint32_t line_ = 0;

private:
    [[nodiscard]] std::uint32_t lines_at_once() const;
    [[nodiscard]] bool process_lines(std::uint32_t lines);

    bool goes_by_many_ = true; // so far both sides have had as many lines as were asked for
};

} // namespace nuv
