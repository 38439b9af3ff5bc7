#include "core/jpeg/source/nuv_writejpegengine.h"

#include "core/jpeg/source/nuv_jpegregiststatus.h"
#include "core/jpeg/source/nuv_jpegstorageaccess.h"
#include "framework/engine/nuv_stepblocks.h"
#include "framework/io/nuv_bytearrayoutputstorage.h"
#include "framework/io/nuv_memoryoutputstorage.h"

#include <algorithm>
#include <array>

namespace nuv {
namespace {

// The colours that a JPEG can carry here.
bool is_written(const NUV_ColorType* color) noexcept
{
    const std::array written = {
        NUV_ColorType::gray,    NUV_ColorType::gray_reverse, NUV_ColorType::lstar,
        NUV_ColorType::s_rgb,   NUV_ColorType::adobe_rgb,    NUV_ColorType::ycbcr,
        NUV_ColorType::itu_lab, NUV_ColorType::icc_lab,      NUV_ColorType::cmy,
    };
    return std::ranges::find(written, color) != written.end();
}

bool is_rgb(const NUV_ColorType* color) noexcept
{
    return color == NUV_ColorType::s_rgb || color == NUV_ColorType::adobe_rgb;
}

bool is_supported(const NUV_Header& header) noexcept
{
    const bool integer = header.data_type() == NUV_DataType::u_integer ||
                         header.data_type() == NUV_DataType::s_integer;
    return header.is_raw() && (header.bits() == 8 || header.bits() == 16) &&
           (header.channels() == 1 || header.channels() == 3) &&
           header.width() <= jpeg_largest_side && header.height() <= jpeg_largest_side &&
           is_written(header.color_type()) && header.palette().is_empty() && integer;
}

// The key that the picture gets for the one that was asked for.
std::uint32_t sampling_for(const NUV_ColorType* color, std::uint32_t asked) noexcept
{
    const bool has_luma = color == NUV_ColorType::ycbcr || is_rgb(color);
    const bool known =
        asked == jpeg_sampling_422 || asked == jpeg_sampling_420 || asked == jpeg_sampling_411;
    return has_luma && known ? asked : jpeg_sampling_444;
}

} // namespace

// Storages in memory take each piece as it comes; others get it through a buffer.
bool NUV_WriteJPEGEngine::wrap(NUV_OutputStorage*& storage)
{
    const bool in_memory = dynamic_cast<NUV_ByteArrayOutputStorage*>(storage) != nullptr ||
                           dynamic_cast<NUV_MemoryOutputStorage*>(storage) != nullptr;
    if (in_memory || storage == nullptr || storage->is_closed())
        return true;
    buffered_ = make_initiated<NUV_BufferedOutput>(manager(), storage);
    if (!buffered_)
        return false;
    storage = buffered_.get();
    return true;
}

bool NUV_WriteJPEGEngine::initiate(const NUV_Header* header, NUV_SrcBuffer* src,
                                   NUV_OutputStorage* storage)
{
    if (!wrap(storage) || !NUV_WriteEngine::initiate(header, src, storage))
        return false;
    if (!is_supported(*header))
        return fail(manager(), NUV_ERR_UNSUPPORTED, initiate_method);

    NUV_JPEGCode code = coder_.open_coder(jpeg_allocator_of(manager()));
    if (!is_failure(code))
        code = coder_.create(jpeg_output_to(storage), manager().cpu());
    return accept(code);
}

bool NUV_WriteJPEGEngine::initiate(const NUV_Header* header, NUV_SrcBuffer* src,
                                   NUV_OutputStorage* storage,
                                   const NUV_EncodeJPEGAttributes* attributes)
{
    if (!initiate(header, src, storage))
        return false;
    if (header->bits() != 8 || header->data_type() != NUV_DataType::u_integer)
        return fail(manager(), NUV_ERR_UNSUPPORTED, initiate_method);
    const auto* option = dynamic_cast<const NUV_WriteJPEGOption*>(attributes);
    if (option == nullptr)
        return fail(manager(), NUV_ERR_ARGUMENT, initiate_method);

    const NUV_ColorType* color = header->color_type();
    const NUV_JPEGCode code =
        coder_.set_format(header->width(), header->height(), header->channels(), header->bits(),
                          sampling_for(color, option->sampling()), option->quality());
    if (!accept(code) || !write_tables(*header, *option))
        return false;
    if (is_rgb(color))
        coder_.set_source_color(NUV_JPEGEncoder::SourceColor::rgb);
    std::uint32_t restart_interval = option->restart_interval();
    return accept(coder_.start_encode(restart_interval)) && read_lines_of(*header);
}

bool NUV_WriteJPEGEngine::initiate(const NUV_Header* header, NUV_SrcBuffer* src,
                                   NUV_OutputStorage* storage,
                                   const NUV_WriteLosslessJPEGOption* option)
{
    constexpr std::uint32_t any_quality = 75;

    if (!initiate(header, src, storage))
        return false;
    if (option == nullptr)
        return fail(manager(), NUV_ERR_ARGUMENT, initiate_method);
    NUV_JPEGCode code = coder_.set_format(header->width(), header->height(), header->channels(),
                                          header->bits(), jpeg_sampling_444, any_quality);
    if (!is_failure(code))
        code = coder_.set_lossless(option->optimise() ? NUV_JPEGLosslessTable::optimal
                                                      : NUV_JPEGLosslessTable::standard);
    std::uint32_t restart_interval = option->restart_interval();
    if (!is_failure(code))
        code = coder_.start_encode(restart_interval);
    return accept(code) && read_lines_of(*header);
}

bool NUV_WriteJPEGEngine::write_tables(const NUV_Header& /*header*/,
                                       const NUV_EncodeJPEGAttributes& /*attributes*/)
{
    return true;
}

bool NUV_WriteJPEGEngine::accept(NUV_JPEGCode code)
{
    return nuv_jpegregiststatus(manager(), code, initiate_method);
}

bool NUV_WriteJPEGEngine::read_lines_of(const NUV_Header& header)
{
    height_ = header.height();
    return src_buffer_->block_bytes(header.line_bytes());
}

bool NUV_WriteJPEGEngine::execute()
{
    if (lines_done_ >= height_)
        return false;
    // The source puts its line where the coder wants it.
    std::uint8_t* line = coder_.next_line();
    if (line == nullptr)
        return false;
    NUV_InputBlock in(*src_buffer_, line);
    if (!in)
        return false;
    NUV_JPEGCode code = coder_.write_line(line);
    bool ok = in.release(); // before finish() takes the line away
    if (++lines_done_ == height_ && is_good(code)) {
        code = coder_.finish();
        ok &= release_storage();
    }
    if (!is_good(code))
        nuv_jpegregiststatus(manager(), code, "NUV_WriteJPEGEngine::execute()");
    return ok && is_good(code);
}

bool NUV_WriteJPEGEngine::release_storage()
{
    if (!buffered_)
        return true;
    const bool flushed = buffered_->flush();
    buffered_.reset(); // it lives on until the engine has gone
    return flushed;
}

bool NUV_WriteJPEGEngine::cleanup()
{
    const NUV_JPEGCode code = coder_.finish();
    const bool closed = nuv_jpegregiststatus(manager(), code, "NUV_WriteJPEGEngine::cleanup()");
    const bool released = release_storage();
    const bool ended = NUV_WriteEngine::cleanup();
    return closed && released && ended;
}

} // namespace nuv
