#pragma once

#include "core/ccitt/codec/nuv_qdccittdecoder.h"
#include "framework/base/nuv_held.h"
#include "framework/containers/nuv_packednumbers.h"

#include <cstddef>
#include <cstdint>
#include <span>

namespace nuv {

class NUV_InputStorage;
class NUV_SrcBuffer;

// The bytes of a source buffer, in one piece or in strips, each of which looks like all data until
// it is changed for the next one.
class NUV_CCITTDataInStream final : public QDCCITTDecoder::DataInStream {
public:
    explicit NUV_CCITTDataInStream(NUV_Manager& manager) noexcept : strip_byte_counts_(manager) {}

    // `strip_byte_counts` are copied; without any, or a null, the data is in one piece. False
    // without memory.
    [[nodiscard]] bool initiate(NUV_SrcBuffer* src, const NUV_PackedNumbers* strip_byte_counts);

    // What is left of the block or of the strip, whichever ends first.
    [[nodiscard]] std::span<const std::uint8_t> read() override;
    [[nodiscard]] bool has_strips() const noexcept override { return !strip_byte_counts_.empty(); }

    // False on the last strip.
    [[nodiscard]] bool has_next_strip() const noexcept
    {
        return !has_strips() || strip_ + 1 < strip_byte_counts_.size();
    }
    // Drops what is left of the strip and goes on to the next one; in data of one piece there is
    // nothing to do. False on the last strip, and when the data ends before the strip does.
    [[nodiscard]] bool next_strip();

private:
    // At most `most` bytes of the block at hand, or of the next one.
    [[nodiscard]] std::span<const std::uint8_t> take(std::uint64_t most);

    NUV_SrcBuffer* src_ = nullptr;
    NUV_PackedNumbers strip_byte_counts_;
    std::size_t strip_ = 0;
    std::uint64_t strip_end_ = 0; // offsets in the data
    std::uint64_t position_ = 0;
    std::span<const std::uint8_t> block_; // what is left of it
    bool holds_block_ = false;
};

// The bytes of strips wherever they are in a storage. To its decoder, a strip is all data.
class NUV_CCITTStripsInStream final : public QDCCITTDecoder::DataInStream {
public:
    explicit NUV_CCITTStripsInStream(NUV_Manager& manager) noexcept
        : offsets_(manager),
          byte_counts_(manager)
    {}

    // The storage is the holder's; the numbers, as many of both, are taken over.
    void initiate(NUV_InputStorage& storage, NUV_PackedNumbers& offsets,
                  NUV_PackedNumbers& byte_counts) noexcept;

    // Goes on to a strip, of which `piece` bytes are read at once, or a block where that is less.
    // False without memory. A strip that is not there has no bytes.
    [[nodiscard]] bool begin_strip(std::size_t strip, std::uint64_t piece);
    [[nodiscard]] std::span<const std::uint8_t> read() override;

private:
    NUV_InputStorage* storage_ = nullptr;
    NUV_PackedNumbers offsets_;
    NUV_PackedNumbers byte_counts_;
    std::uint32_t left_ = 0;  // of the strip
    std::uint32_t piece_ = 0; // bytes
    NUV_Scratch<std::uint8_t> block_;
};

} // namespace nuv
