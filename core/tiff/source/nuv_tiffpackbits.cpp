#include "core/tiff/source/nuv_tiffpackbits.h"

#include "core/packbits/nuv_decodepackbits.h"
#include "core/packbits/nuv_packbitsdecoder.h"
#include "framework/engine/nuv_readengine.h"
#include "framework/engine/nuv_stepblocks.h"
#include "framework/io/nuv_checkedstream.h"

#include <algorithm>
#include <cstddef>
#include <new>
#include <span>

namespace nuv {
namespace {

// The bytes of a strip, a block at a time.
class StripInput final : public QDCodedInput {
public:
    // From where the storage stands on. All stay their holder's.
    void begin(NUV_InputStorage& storage, std::uint32_t bytes,
               std::span<std::uint8_t> block) noexcept
    {
        storage_ = &storage;
        left_ = bytes;
        block_ = block;
    }
    [[nodiscard]] std::span<const std::uint8_t> next() override
    {
        const auto wanted = static_cast<std::int32_t>(std::min<std::size_t>(left_, block_.size()));
        const auto bytes = static_cast<std::uint32_t>(storage_->read(block_.data(), wanted));
        left_ -= bytes;
        return block_.first(bytes);
    }

private:
    NUV_InputStorage* storage_ = nullptr;
    std::uint32_t left_ = 0;
    std::span<std::uint8_t> block_;
};

// Fails as a reader of stored bytes and a decoder a strip would fail.
class NUV_ReadPackBitsStripsEngine final : public NUV_ReadEngine {
public:
    static constexpr auto initiate_method = "NUV_DecodePackBitsEngine::initiate()";
    explicit NUV_ReadPackBitsStripsEngine(NUV_Manager& manager) noexcept
        : NUV_ReadEngine(manager),
          offsets_(manager),
          byte_counts_(manager)
    {}

    [[nodiscard]] bool initiate(NUV_InputStorage* storage, const NUV_Header* header,
                                NUV_DstBuffer* dst, NUV_TIFFStripStream* strips,
                                std::uint32_t rows);
    [[nodiscard]] bool execute() override;

private:
    [[nodiscard]] bool begin_strip(std::size_t strip);

    NUV_PackedNumbers offsets_;
    NUV_PackedNumbers byte_counts_;
    std::uint32_t rows_ = 0;
    std::uint32_t line_ = 0;
    std::uint32_t line_bytes_ = 0;
    StripInput input_;
    NUV_Scratch<std::uint8_t> block_;        // these two are there from the first line on
    NUV_Scratch<QDPackBitsDecoder> decoder_; // of the strip at hand
};

bool NUV_ReadPackBitsStripsEngine::initiate(NUV_InputStorage* storage, const NUV_Header* header,
                                            NUV_DstBuffer* dst, NUV_TIFFStripStream* strips,
                                            std::uint32_t rows)
{
    if (!NUV_ReadEngine::initiate(storage, header, dst))
        return false;
    if (!storage->to(0)) // which says that its first strip is not there
        return fail(manager(), NUV_ERR_BROKEN_DATA, "NUV_ReadStorageEngine::initiate()",
                    NUV_Diagnosis().says("the first strip is not there"));
    header_.encode_type(NUV_EncodeType::raw);
    rows_ = rows;
    line_bytes_ = header_.line_bytes();
    strips->hand_on(offsets_, byte_counts_);
    return dst->block_bytes(line_bytes_);
}

bool NUV_ReadPackBitsStripsEngine::begin_strip(std::size_t strip)
{
    constexpr std::size_t block_bytes = 16384;

    if (strip == 0 &&
        (!block_.allocate(manager(), block_bytes) || !decoder_.allocate(manager(), 1)))
        return false;
    // Coded bytes of single pixels are twice as many; of a small strip no more are read.
    const std::uint64_t usual = std::uint64_t{2} * rows_ * line_bytes_;
    const auto piece = static_cast<std::size_t>(std::min<std::uint64_t>(usual, block_bytes));
    const bool is_reached = seek_exactly(*storage_, offsets_[strip]);
    input_.begin(*storage_, is_reached ? byte_counts_[strip] : 0, block_.items().first(piece));
    ::new (decoder_.data()) QDPackBitsDecoder(input_, line_bytes_);
    return true;
}

bool NUV_ReadPackBitsStripsEngine::execute()
{
    if (line_ >= header_.height())
        return false;
    NUV_OutputBlock out(*dst_buffer_);
    if (!out || (line_ % rows_ == 0 && !begin_strip(line_ / rows_)))
        return false;
    if (!decoder_[0].decode_line(out.as<std::uint8_t>()))
        return fail(manager(), NUV_ERR_BROKEN_DATA, "NUV_DecodePackBitsEngine::execute()",
                    packbits_end_in_line(line_, header_.height()));
    ++line_;
    return out.commit(line_bytes_);
}

} // namespace

NUV_Engine* NUV_ReadPackBitsStrips::engine(NUV_InputStorage* storage, const NUV_Header& header,
                                           NUV_TIFFStripStream& strips, std::uint32_t rows)
{
    return append_reader<NUV_ReadPackBitsStripsEngine>(storage, &header, &strips, rows);
}

} // namespace nuv
