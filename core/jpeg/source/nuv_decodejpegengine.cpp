#include "core/jpeg/source/nuv_decodejpegengine.h"

#include "framework/base/nuv_checkedsize.h"
#include "framework/base/nuv_failure.h"
#include "framework/base/nuv_status.h"
#include "framework/engine/nuv_stepblocks.h"

namespace nuv {
namespace {

constexpr std::int32_t full_scale = NUV_JPEGInfo::full_scale;

bool is_scale(std::int32_t scale) noexcept
{
    return scale == full_scale || scale == 128 || scale == 64 || scale == 32;
}

} // namespace

bool NUV_DecodeJPEGEngine::is_supported(const NUV_JPEGInfo& info, std::int32_t scale) const
{
    const std::uint32_t channels = header_.channels();
    if ((channels != 1 && channels != 3 && channels != 4) ||
        header_.encode_type() != NUV_EncodeType::jpeg ||
        header_.data_type() != NUV_DataType::u_integer || !is_scale(scale))
        return false;
    if (info.is_lossless())
        return scale == full_scale && (header_.bits() == 8 || header_.bits() == 16);
    if (header_.bits() != 8 || !is_decoded_sampling(info.sampling(), info.is_progressive()))
        return false;
    return scale == full_scale ||
           (is_reducible_sampling(info.sampling()) && !info.is_progressive() && channels != 4);
}

bool NUV_DecodeJPEGEngine::initiate(NUV_InputStorage* storage, const NUV_Header* header,
                                    NUV_DstBuffer* dst, const NUV_JPEGInfo* info,
                                    std::int32_t scale)
{
    if (!NUV_ReadEngine::initiate(storage, header, dst))
        return false;
    if (!info || !info->internal_reference())
        return fail(manager(), NUV_ERR_ARGUMENT, initiate_method);
    if (!is_supported(*info, scale))
        return fail(manager(), NUV_ERR_UNSUPPORTED, initiate_method, info->not_served());
    reference_ = info->internal_reference();
    divisor_ = static_cast<std::uint32_t>(full_scale / scale);
    if (!start())
        return false;
    header_.width(internal().decoder().width());
    header_.height(internal().decoder().height());
    line_bytes_ = header_.line_bytes();
    header_.encode_type(NUV_EncodeType::raw);
    return dst->block_bytes(line_bytes_);
}

bool NUV_DecodeJPEGEngine::initiate(const NUV_Header* /*header*/, NUV_DstBuffer* dst,
                                    NUV_JPEGStreams* streams, const NUV_DecodeJPEGOption* option)
{
    if (!manager().depend(this, streams) || !heights_.reserve(streams->size()))
        return false;
    streams_ = streams;
    option_.emplace(*option);
    divisor_ = static_cast<std::uint32_t>(full_scale / option->scale());
    NUV_Header first(manager());
    std::uint64_t lines = 0;
    bool is_alike = true;
    for (std::size_t i = 0; i < streams->size(); ++i) {
        if (!look_at_stream(i, dst) || (i == 0 && !first.copy(header_)) ||
            !heights_.push_back(static_cast<std::uint16_t>(header_.height())))
            return false;
        is_alike = is_alike && header_.width() == first.width();
        lines += header_.height();
    }
    const auto height = fits_32(lines);
    if (!is_alike || !height)
        return fail(manager(), NUV_ERR_UNSUPPORTED, "NUV_AlignYEngine::initiate()");
    if (!header_.copy(first))
        return false;
    header_.height(*height);
    header_.encode_type(NUV_EncodeType::raw);
    line_bytes_ = header_.line_bytes();
    return dst->block_bytes(line_bytes_);
}

// As if it had an engine of its own, up to what this would deliver.
bool NUV_DecodeJPEGEngine::look_at_stream(std::size_t index, NUV_DstBuffer* dst)
{
    NUV_InputStorage* const stream = streams_->open(index);
    if (!stream)
        return false;
    NUV_JPEGInfo info(manager());
    if (!info.load(stream, NUV_ColorType::unknown, &option_->tables(), option_->restart_rows()))
        return fail(manager(), NUV_ERR_FORMAT, "NUV_DecodeJPEG::engine()",
                    NUV_Diagnosis()
                        .because(NUV_Cause::damaged)
                        .says("stream %zu of %zu is no JPEG", index + 1, streams_->size()));
    if (!streams_->accepts(info, index))
        return false;
    if (!info.is_valid())
        return fail(manager(), NUV_ERR_ARGUMENT, "NUV_ReadJPEG::engine()",
                    NUV_FormatInfo::why_refused(&info));
    if (!NUV_BufferOutputEngine::initiate(&info, dst))
        return false;
    if (!is_supported(info, option_->scale()))
        return fail(manager(), NUV_ERR_UNSUPPORTED, initiate_method, info.not_served());
    reference_ = info.internal_reference();
    if (!start())
        return false;
    header_.width(internal().decoder().width());
    header_.height(internal().decoder().height());
    reference_.reset();
    return true;
}

bool NUV_DecodeJPEGEngine::start()
{
    const NUV_JPEGCode code = internal().start_decode(divisor_, streams_ ? &tables_ : nullptr);
    if (!internal().raise(code, "initiate()", internal().not_started(code)))
        return false;
    const NUV_JPEGDecoder& decoder = internal().decoder();
    const bool fits =
        decoder.components() == header_.channels() && decoder.sample_bytes() * 8 == header_.bits();
    if (!fits) // a header that does not tell of this stream
        return fail(manager(), NUV_ERR_UNSUPPORTED, initiate_method);
    return true;
}

bool NUV_DecodeJPEGEngine::begin_stream()
{
    NUV_InputStorage* const stream = streams_ ? streams_->open(stream_) : nullptr;
    auto opened = stream ? make_initiated<NUV_JPEGInfoInternal>(
                               manager(), stream, NUV_ColorType::unknown,
                               option_->tables().internal(), option_->restart_rows())
                         : NUV_Held<NUV_JPEGInfoInternal>();
    if (!opened)
        return false;
    reference_ = NUV_JPEGReference(opened.release());
    if (!start())
        return false;
    // The chain behind stands on the stream as it was.
    const NUV_JPEGDecoder& decoder = internal().decoder();
    const std::uint32_t lines = heights_[stream_++];
    stream_begin_ = line_;
    stream_end_ = line_ + lines;
    if (decoder.width() == header_.width() && decoder.height() == lines)
        return true;
    return fail(manager(), NUV_ERR_BROKEN_DATA, "NUV_DecodeJPEGEngine::execute()",
                NUV_Diagnosis().says("the stream is another one than before"));
}

bool NUV_DecodeJPEGEngine::cleanup()
{
    reference_.reset();
    tables_.close();
    return NUV_ReadEngine::cleanup();
}

// Other readers know pixels alone.
NUV_Vector<NUV_Engine*> NUV_DecodeJPEGEngine::branch(std::uint32_t count)
{
    may_give_planes_ = false;
    is_in_planes_ = false;
    return NUV_ReadEngine::branch(count);
}

// Of the picture as it is stored.
NUV_Diagnosis NUV_DecodeJPEGEngine::at_line(std::uint32_t line) const noexcept
{
    return NUV_Diagnosis().on_line(std::int64_t{line} * divisor_);
}

bool NUV_DecodeJPEGEngine::execute()
{
    constexpr auto method = "NUV_DecodeJPEGEngine::execute()";

    if (line_ >= header_.height() || (!reference_ && !begin_stream()))
        return false;
    ++line_;
    NUV_OutputBlock out(*dst_buffer_);
    if (!out)
        return false;
    is_in_planes_ = may_give_planes_ && internal().decoder().has_half_planes();
    const NUV_JPEGCode code = internal().read_line(out.data(), is_in_planes_);
    if (is_failure(code)) {
        const bool is_code = code == NUV_JPEGCode::read_failed;
        internal().raise(code, "execute()",
                         at_line(line_ - 1).says("%s in line %u of %u",
                                                 is_code ? "a code that means nothing"
                                                         : "a scan that cannot be read",
                                                 line_, header_.height()));
        return false;
    }
    if (is_warning(code))
        warn(manager(), NUV_WARN_BROKEN_DATA, method, at_line(line_ - 1));
    if (const auto line = internal().take_left_over())
        manager().note_damage(at_line(stream_begin_ + *line));
    if (streams_ && line_ == stream_end_)
        reference_.reset();
    return out.commit(line_bytes_);
}

} // namespace nuv
