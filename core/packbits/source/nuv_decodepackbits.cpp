#include "core/packbits/nuv_decodepackbits.h"

#include "core/packbits/nuv_packbitsdecoder.h"
#include "framework/base/nuv_held.h"
#include "framework/engine/nuv_processengine.h"
#include "framework/engine/nuv_stepblocks.h"

#include <new>

namespace nuv {
namespace {

class NUV_DecodePackBitsEngine final : public NUV_ProcessEngine {
public:
    static constexpr auto initiate_method = "NUV_DecodePackBitsEngine::initiate()";
    using NUV_ProcessEngine::NUV_ProcessEngine;

    [[nodiscard]] bool initiate(const NUV_Header* header, NUV_SrcBuffer* src, NUV_DstBuffer* dst);
    [[nodiscard]] bool execute() override;

private:
    using DecodeStream = NUV_CodedInput;

    [[nodiscard]] bool start();

    DecodeStream stream_;
    NUV_Scratch<QDPackBitsDecoder> decoder_; // there from the first line on
    std::uint32_t line_ = 0;
    std::uint32_t line_bytes_ = 0;
};

bool NUV_DecodePackBitsEngine::initiate(const NUV_Header* header, NUV_SrcBuffer* src,
                                        NUV_DstBuffer* dst)
{
    if (!NUV_ProcessEngine::initiate(header, src, dst))
        return false;
    if (header->encode_type() != NUV_EncodeType::pack_bits ||
        header->data_type() != NUV_DataType::u_integer)
        return fail(manager(), NUV_ERR_UNSUPPORTED, initiate_method);
    header_.encode_type(NUV_EncodeType::raw);
    line_bytes_ = header_.line_bytes();
    stream_.source(src);
    const bool source_set = src->block_bytes(manager().default_block_bytes());
    return source_set && dst->block_bytes(line_bytes_);
}

// With the first line: an engine that only stands in a chain is small.
bool NUV_DecodePackBitsEngine::start()
{
    if (!decoder_.allocate(manager(), 1))
        return false;
    ::new (decoder_.data()) QDPackBitsDecoder(stream_, line_bytes_);
    return true;
}

bool NUV_DecodePackBitsEngine::execute()
{
    if (line_ >= header_.height() || (line_ == 0 && !start()))
        return false;
    NUV_OutputBlock out(*dst_buffer_);
    if (!out)
        return false;
    if (!decoder_[0].decode_line(out.as<std::uint8_t>()))
        return fail(manager(), NUV_ERR_BROKEN_DATA, "NUV_DecodePackBitsEngine::execute()",
                    packbits_end_in_line(line_, header_.height()));
    ++line_;
    return out.commit(line_bytes_);
}

} // namespace

NUV_Diagnosis packbits_end_in_line(std::uint32_t line, std::uint32_t lines) noexcept
{
    return NUV_Diagnosis().on_line(line).says("the coded data ends in line %u of %u", line + 1,
                                              lines);
}

NUV_Engine* NUV_DecodePackBits::append_decoder(NUV_Engine& previous)
{
    return append_new<NUV_DecodePackBitsEngine>(previous);
}

} // namespace nuv
