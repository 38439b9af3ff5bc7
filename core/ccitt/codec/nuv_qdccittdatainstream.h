#pragma once

#include <cstdint>
#include <span>

namespace nuv {

// Where a decoder gets its bytes. QDCCITTDecoder has it as its DataInStream.
class QDCCITTDataInStream {
public:
    virtual ~QDCCITTDataInStream() = default;

    // The next bytes, valid until the next call. Empty at the end of the data, and at the end of a
    // strip for as long as the strip is not changed.
    [[nodiscard]] virtual std::span<const std::uint8_t> read() = 0;

    // True when the data comes in strips, so that what was read of one is of no use behind
    // QDCCITTDecoder::rewind_line(), which the next strip follows.
    [[nodiscard]] virtual bool has_strips() const noexcept { return false; }

protected:
    QDCCITTDataInStream() = default;
    QDCCITTDataInStream(const QDCCITTDataInStream&) = default;
    QDCCITTDataInStream& operator=(const QDCCITTDataInStream&) = default;
};

} // namespace nuv
