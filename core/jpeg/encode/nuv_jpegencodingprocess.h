#pragma once

#include "core/jpeg/stream/nuv_jpegcodes.h"

#include <cstdint>

namespace nuv {

// One coding process over one picture: its header, its scan and its end. A derived class is started
// with what it needs; then come for each line next_line and encode_line, and close at the end.
class NUV_JPEGEncodingProcess {
public:
    static constexpr std::int32_t height_is_true = -1;

    NUV_JPEGEncodingProcess(const NUV_JPEGEncodingProcess&) = delete;
    NUV_JPEGEncodingProcess& operator=(const NUV_JPEGEncodingProcess&) = delete;

    // Where the next line belongs: width x components samples of 1 or, in the order of the host,
    // 2 bytes. Null after free_memory.
    [[nodiscard]] virtual std::uint8_t* next_line() noexcept = 0;
    // Takes the line that stands there; not more of them than the frame has.
    [[nodiscard]] virtual NUV_JPEGCode encode_line() noexcept = 0;
    // Ends the stream behind the lines that came, at least one.
    [[nodiscard]] virtual NUV_JPEGCode close() noexcept = 0;
    virtual void free_memory() noexcept = 0;

    // Where the storage has the height that the frame stated at the start, once the header is
    // written; height_is_true for a header that was written behind the last line.
    [[nodiscard]] virtual std::int32_t height_position() const noexcept = 0;

protected:
    NUV_JPEGEncodingProcess() = default;
    ~NUV_JPEGEncodingProcess() = default;
};

} // namespace nuv
