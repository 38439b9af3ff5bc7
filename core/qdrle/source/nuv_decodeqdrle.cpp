#include "core/qdrle/nuv_decodeqdrle.h"

#include "core/qdrle/nuv_qdrlecodec.h"
#include "core/qdrle/nuv_qdrlerun.h"
#include "framework/engine/nuv_processengine.h"
#include "framework/engine/nuv_stepblocks.h"
#include "framework/utility/nuv_endian.h"

#include <limits>
#include <optional>

namespace nuv {
namespace {

class NUV_DecodeQDRLEEngine final : public NUV_ProcessEngine {
public:
    static constexpr auto initiate_method = "NUV_DecodeQDRLEEngine::initiate()";
    using NUV_ProcessEngine::NUV_ProcessEngine;

    bool cleanup() override;
    [[nodiscard]] bool execute() override;
    [[nodiscard]] bool initiate(const NUV_Header* header, NUV_SrcBuffer* src, NUV_DstBuffer* dst);

private:
    // The words of a source buffer, one after the other, from a copy of its blocks.
    class DataInStream final : public NUV_Object, public QDRLEDecoder::DataInStream {
    public:
        using NUV_Object::NUV_Object;

        bool cleanup() override
        {
            block_.free();
            return true;
        }
        [[nodiscard]] bool initiate(NUV_SrcBuffer* src);
        [[nodiscard]] bool read(std::uint32_t* word) override
        {
            if (position_ >= count_ && !next_block())
                return false;
            *word = load_le32(block_.data() + position_);
            position_ += sizeof(*word);
            return true;
        }

    private:
        [[nodiscard]] bool next_block();

        NUV_SrcBuffer* src_ = nullptr;
        NUV_Scratch<std::uint8_t> block_;
        std::uint32_t position_ = 0; // in bytes
        std::uint32_t count_ = 0;    // bytes in the block
    };

    NUV_Held<DataInStream> stream_;
    std::optional<QDRLEDecoder> decoder_;
    std::uint32_t row_ = 0;
};

bool NUV_DecodeQDRLEEngine::DataInStream::initiate(NUV_SrcBuffer* src)
{
    constexpr std::uint32_t mask = NUV_QDRLERun::bytes - 1;
    constexpr std::uint32_t most = std::numeric_limits<std::uint32_t>::max() & ~mask;
    const std::uint32_t wanted = src->block_bytes();
    const std::uint32_t whole_records = wanted > most ? most : (wanted + mask) & ~mask;
    src_ = src;
    return src->block_bytes(whole_records) && block_.allocate(manager(), whole_records);
}

bool NUV_DecodeQDRLEEngine::DataInStream::next_block()
{
    position_ = 0;
    count_ = 0;
    std::uint32_t bytes = 0;
    NUV_InputBlock in(*src_, block_.data(), &bytes);
    if (!in || !in.release() || bytes == 0 || bytes % NUV_QDRLERun::bytes != 0)
        return false;
    count_ = bytes;
    return true;
}

bool NUV_DecodeQDRLEEngine::cleanup()
{
    decoder_.reset();
    stream_.reset();
    return NUV_ProcessEngine::cleanup();
}

bool NUV_DecodeQDRLEEngine::initiate(const NUV_Header* header, NUV_SrcBuffer* src,
                                     NUV_DstBuffer* dst)
{
    if (!NUV_ProcessEngine::initiate(header, src, dst))
        return false;
    if (!holds_runs(*header) || header->data_type() != NUV_DataType::u_integer ||
        !checked_run_line_bytes(header->width()))
        return fail(manager(), NUV_ERR_UNSUPPORTED, initiate_method);
    stream_ = make_initiated<DataInStream>(manager(), src);
    if (!stream_)
        return false;
    decoder_.emplace(stream_.get(), header->width());
    header_.encode_type(NUV_EncodeType::raw);
    return decoder_->is_good() && dst->block_bytes(header_.line_bytes());
}

bool NUV_DecodeQDRLEEngine::execute()
{
    if (row_ >= header_.height())
        return false;
    NUV_OutputBlock out(*dst_buffer_);
    if (!out)
        return false;
    if (!decoder_->decode(out.as<unsigned char>()))
        return fail(manager(), NUV_ERR_BROKEN_DATA, "NUV_DecodeQDRLEEngine::execute()");
    ++row_;
    return out.commit(header_.line_bytes());
}

} // namespace

NUV_Engine* NUV_DecodeQDRLE::append_decoder(NUV_Engine& previous)
{
    return append_new<NUV_DecodeQDRLEEngine>(previous);
}

} // namespace nuv
