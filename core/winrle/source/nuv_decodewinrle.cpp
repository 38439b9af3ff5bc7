#include "core/winrle/nuv_decodewinrle.h"

#include "core/winrle/nuv_winrledecoder.h"
#include "framework/engine/nuv_processengine.h"
#include "framework/engine/nuv_stepblocks.h"

#include <optional>

namespace nuv {
namespace {

class NUV_DecodeWinRLEEngine final : public NUV_ProcessEngine {
public:
    static constexpr auto initiate_method = "NUV_DecodeWinRLEEngine::initiate()";
    using NUV_ProcessEngine::NUV_ProcessEngine;

    [[nodiscard]] bool initiate(const NUV_Header* header, NUV_SrcBuffer* src, NUV_DstBuffer* dst);
    [[nodiscard]] bool execute() override;

private:
    [[nodiscard]] NUV_Diagnosis why_dropped() const noexcept;

    NUV_CodedInput stream_;
    std::optional<WinRLE8Decoder> decoder8_; // one of the two, by the coding
    std::optional<WinRLE4Decoder> decoder4_;
    WinRLEDecoder* decoder_ = nullptr;
    std::uint32_t line_ = 0;
};

bool is_supported(const NUV_Header& header) noexcept
{
    return (header.encode_type() == NUV_EncodeType::win_rle8 ||
            header.encode_type() == NUV_EncodeType::win_rle4) &&
           (header.bits() == 4 || header.bits() == 8) && header.channels() == 1 &&
           header.data_type() == NUV_DataType::u_integer &&
           header.color_type() == NUV_ColorType::s_rgb && header.palette().entries != 0;
}

bool NUV_DecodeWinRLEEngine::initiate(const NUV_Header* header, NUV_SrcBuffer* src,
                                      NUV_DstBuffer* dst)
{
    if (!NUV_ProcessEngine::initiate(header, src, dst))
        return false;
    if (!is_supported(*header))
        return fail(manager(), NUV_ERR_UNSUPPORTED, initiate_method,
                    NUV_Diagnosis().says("run-length coding of %u x %u bits",
                                         unsigned{header->channels()}, unsigned{header->bits()}));
    stream_.source(src);
    if (header->encode_type() == NUV_EncodeType::win_rle8)
        decoder_ = &decoder8_.emplace(stream_, header->width());
    else
        decoder_ = &decoder4_.emplace(stream_, header->width());
    header_.bits(8);
    header_.encode_type(NUV_EncodeType::raw);
    return dst->block_bytes(header_.line_bytes());
}

// Some programs code what fills up a line to whole words, too: no pixel is lost by that.
NUV_Diagnosis NUV_DecodeWinRLEEngine::why_dropped() const noexcept
{
    constexpr std::uint64_t most_padding = 3;
    NUV_Diagnosis why;
    if (decoder_->dropped_pixels() <= most_padding)
        why.because(NUV_Cause::invalid);
    return why.on_line(line_);
}

bool NUV_DecodeWinRLEEngine::execute()
{
    constexpr auto method = "NUV_DecodeWinRLEEngine::execute()";

    if (line_ >= header_.height())
        return false;
    NUV_OutputBlock out(*dst_buffer_);
    if (!out)
        return false;
    const std::uint32_t code = decoder_->decode_line(out.as<std::uint8_t>());
    if (code == NUV_WARN_BROKEN_DATA)
        warn(manager(), NUV_WARN_BROKEN_DATA, method, why_dropped());
    else if (code != WinRLEDecoder::line_done)
        return fail(manager(), NUV_ERR_BROKEN_DATA, method,
                    NUV_Diagnosis().on_line(line_).says("the codes end in stored line %u of %u",
                                                        line_ + 1, header_.height()));
    ++line_;
    return out.commit(header_.line_bytes());
}

} // namespace

NUV_Engine* NUV_DecodeWinRLE::append_decoder(NUV_Engine& previous)
{
    return append_new<NUV_DecodeWinRLEEngine>(previous);
}

} // namespace nuv
