#pragma once

#include "core/jpeg/nuv_jpeginfo.h"
#include "framework/engine/nuv_enginecreator.h"

#include <cstdint>

namespace nuv {

class NUV_DecodeJPEGOption;

// The streams of an image that is cut into strips, from the top to the bottom.
class NUV_JPEGStreams : public NUV_Object {
public:
    using NUV_Object::NUV_Object;

    [[nodiscard]] virtual std::size_t size() const noexcept = 0;
    // A stream, at its begin, to be read until the next call. Null after a status.
    [[nodiscard]] virtual NUV_InputStorage* open(std::size_t index) = 0;
    // Whether what was read of the stream's header is that of a strip; its colour may be set. False
    // after a status.
    [[nodiscard]] virtual bool accepts(NUV_JPEGInfo& info, std::size_t index) = 0;
};

// Reads a JPEG stream: baseline and progressive ones of 8 bits, lossless ones of 8 and 16, of 1, 3
// or 4 components. Samples come as they are coded, without any conversion of colours but the one
// that the info asks for. Where data is missing, lines show the ones above or gray, with
// NUV_WARN_BROKEN_DATA. Data that means nothing ends the image with NUV_ERR_BROKEN_DATA, but counts
// as missing in a lossless one. In one that is progressive or comes in several scans it ends its
// scan; then, and when a component is missing, every line carries the warning.
class NUV_ReadJPEG final : public NUV_EngineCreator {
public:
    using NUV_EngineCreator::NUV_EngineCreator;

    // Loads the info itself; NUV_ERR_FORMAT when the data is no JPEG stream. `scale` is the size in
    // 256ths: 256, and for sequential pictures of 1 or 3 components sampled 4:4:4, 4:2:2, 4:2:0 or
    // 4:1:1 also 128, 64 and 32. Sizes are rounded up.
    [[nodiscard]] NUV_Engine* engine(NUV_InputStorage* storage, std::int32_t scale);
    // NUV_ERR_ARGUMENT for an info that is not loaded or not valid and for a null or closed
    // storage; NUV_ERR_UNSUPPORTED for a stream that is not decoded; NUV_ERR_INVALID_DATA and
    // NUV_ERR_BROKEN_DATA for one whose tables are missing or which cannot be what it says.
    [[nodiscard]] NUV_Engine* engine(NUV_InputStorage* storage, const NUV_JPEGInfo* info,
                                     std::int32_t scale);
    // For many streams that are read one behind the other, as they would be by an engine each and
    // NUV_AlignY. All headers are looked at here; what is kept of them is the number of lines, and
    // they are read again where their lines begin.
    [[nodiscard]] NUV_Engine* engine(NUV_JPEGStreams* streams, const NUV_DecodeJPEGOption& option);
};

// Reads a lossless JPEG stream of 8 to 16 bits. Samples of more than 8 bits come in 16, in their
// low bits.
class NUV_ReadLosslessJPEG final : public NUV_EngineCreator {
public:
    using NUV_EngineCreator::NUV_EngineCreator;

    // Loads the info itself; NUV_ERR_FORMAT when the data is no JPEG stream.
    [[nodiscard]] NUV_Engine* engine(NUV_InputStorage* storage);
    // NUV_ERR_ARGUMENT for an info that is not loaded and for a null or closed storage,
    // NUV_ERR_UNSUPPORTED for a stream that is not lossless or has fewer than 8 bits.
    [[nodiscard]] NUV_Engine* engine(NUV_InputStorage* storage, const NUV_JPEGInfo* info);
};

} // namespace nuv
