#pragma once

#include "framework/engine/nuv_processengine.h"

#include <cstdint>

namespace nuv {

// The whole image in, one line out at a time.
class NUV_ProcessPlaneToLineEngine : public NUV_ProcessEngine {
public:
    using NUV_ProcessEngine::NUV_ProcessEngine;

    [[nodiscard]] bool execute() override;
    [[nodiscard]] bool delivers_what_it_writes() const override { return true; }

    // Raw images only, and none whose plane passes 32-bit sizes: NUV_ERR_UNSUPPORTED. Sets the
    // reader's block to the plane; the concrete class sets the destination's.
    [[nodiscard]] bool initiate(const NUV_Header* header, NUV_SrcBuffer* src, NUV_DstBuffer* dst);

protected:
    // Makes output line `line_` from the plane. False after a status, when nothing of it is
    // written.
    [[nodiscard]] virtual bool process_line(const void* plane, void* out) = 0;

    std::uint32_t line_ = 0;
    const void* plane_ = nullptr; // held for the run, and let go of with the reader
};

} // namespace nuv
