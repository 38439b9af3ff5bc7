#include "core/png/nuv_readpng.h"

#include "core/png/source/nuv_pnginfointernal.h"
#include "framework/base/nuv_failure.h"
#include "framework/base/nuv_status.h"
#include "framework/engine/nuv_readengine.h"
#include "framework/engine/nuv_stepblocks.h"

#include <optional>

namespace nuv {
namespace {

using Decoder = NUV_SharedPointer<NUV_PNGInfoInternal>;

// Goes on with libpng where the info has stopped.
class NUV_ReadPNGEngine : public NUV_ReadEngine {
public:
    static constexpr auto initiate_method = "NUV_ReadPNGEngine::initiate()";
    using NUV_ReadEngine::NUV_ReadEngine;

    bool cleanup() override;

protected:
    // NUV_ERR_UNSUPPORTED for a header other than that of the decoder, NUV_ERR_SEQUENCE for a
    // decoder that another engine has.
    [[nodiscard]] bool initiate(NUV_InputStorage* storage, const NUV_Header* header,
                                NUV_DstBuffer* dst, const Decoder& decoder);

    Decoder decoder_;
    std::uint32_t row_ = 0;

private:
    [[nodiscard]] bool is_served() const;
};

bool NUV_ReadPNGEngine::cleanup()
{
    decoder_.reset();
    return NUV_ReadEngine::cleanup();
}

// The second half is for lines that fit their blocks, whatever was done to the info.
bool NUV_ReadPNGEngine::is_served() const
{
    const NUV_Header& decoded = decoder_->header();
    return header_.data_type() == NUV_DataType::u_integer && header_.is_raw() &&
           (header_.color_type() == NUV_ColorType::gray ||
            header_.color_type() == NUV_ColorType::s_rgb) &&
           (header_.channels() == 1 || header_.channels() == 3) &&
           header_.width() == decoded.width() && header_.height() == decoded.height() &&
           header_.bits() == decoded.bits() && header_.channels() == decoded.channels();
}

bool NUV_ReadPNGEngine::initiate(NUV_InputStorage* storage, const NUV_Header* header,
                                 NUV_DstBuffer* dst, const Decoder& decoder)
{
    if (!NUV_ReadEngine::initiate(storage, header, dst))
        return false;
    decoder_ = decoder;
    if (!is_served())
        return fail(manager(), NUV_ERR_UNSUPPORTED, initiate_method);
    if (!decoder_->begin(*storage))
        return fail(manager(), NUV_ERR_SEQUENCE, initiate_method);
    return true;
}

// An image that is stored line after line.
class NUV_ReadPNGNoninterlaceEngine final : public NUV_ReadPNGEngine {
public:
    using NUV_ReadPNGEngine::NUV_ReadPNGEngine;

    [[nodiscard]] bool initiate(NUV_InputStorage* storage, const NUV_Header* header,
                                NUV_DstBuffer* dst, const Decoder& decoder);
    [[nodiscard]] bool execute() override;
};

bool NUV_ReadPNGNoninterlaceEngine::initiate(NUV_InputStorage* storage, const NUV_Header* header,
                                             NUV_DstBuffer* dst, const Decoder& decoder)
{
    return NUV_ReadPNGEngine::initiate(storage, header, dst, decoder) &&
           dst->block_bytes(header_.line_bytes());
}

bool NUV_ReadPNGNoninterlaceEngine::execute()
{
    const std::uint32_t height = header_.height();
    if (row_ >= height) {
        if (row_++ == height)
            decoder_->decode_end();
        return false;
    }
    NUV_OutputBlock line(*dst_buffer_);
    if (!line)
        return false;
    const NUV_PNGDecoded decoded = decoder_->decode_process(line.as<std::uint8_t>(), row_);
    const bool goes_on = decoded == NUV_PNGDecoded::complete;
    row_ = goes_on ? row_ + 1 : height + 1;
    return line.commit(decoded == NUV_PNGDecoded::lost ? 0 : header_.line_bytes()) && goes_on;
}

// An image that is stored in passes over all of its lines: one block.
class NUV_ReadPNGInterlaceEngine final : public NUV_ReadPNGEngine {
public:
    using NUV_ReadPNGEngine::NUV_ReadPNGEngine;

    [[nodiscard]] bool initiate(NUV_InputStorage* storage, const NUV_Header* header,
                                NUV_DstBuffer* dst, const Decoder& decoder);
    [[nodiscard]] bool execute() override;

private:
    [[nodiscard]] bool can_be_there() const;

    std::uint32_t image_bytes_ = 0;
};

bool NUV_ReadPNGInterlaceEngine::initiate(NUV_InputStorage* storage, const NUV_Header* header,
                                          NUV_DstBuffer* dst, const Decoder& decoder)
{
    if (!NUV_ReadPNGEngine::initiate(storage, header, dst, decoder))
        return false;
    NUV_Diagnosis why;
    why.says("%u x %u pixels in passes", header_.width(), header_.height());
    if (!can_be_there())
        return fail(manager(), NUV_ERR_BROKEN_DATA, initiate_method, why);
    const std::optional<std::uint32_t> bytes = header_.checked_plane_bytes();
    if (!bytes)
        return fail(manager(), NUV_ERR_UNSUPPORTED, initiate_method, why.because(NUV_Cause::limit));
    image_bytes_ = *bytes;
    return dst->block_bytes(image_bytes_);
}

// No memory on the word of a header alone: an image of which the storage cannot hold all would
// break off, and nothing of it would be delivered.
bool NUV_ReadPNGInterlaceEngine::can_be_there() const
{
    constexpr std::uint64_t small = std::uint64_t{16} << 20; // bytes that any image may take
    constexpr std::uint64_t largest_ratio = 1032;            // of deflate
    constexpr std::uint64_t slack = std::uint64_t{64} << 10; // for what is not pixels

    return std::uint64_t{header_.line_bytes()} * header_.height() <= small ||
           decoder_->stored_bytes() <= largest_ratio * decoder_->remaining_bytes() + slack;
}

bool NUV_ReadPNGInterlaceEngine::execute()
{
    if (row_ > 0)
        return false;
    row_ = header_.height();
    NUV_OutputBlock image(*dst_buffer_);
    if (!image)
        return false;
    const NUV_PNGDecoded decoded = decoder_->decode_process_interlace(image.as<std::uint8_t>());
    const bool committed = image.commit(decoded == NUV_PNGDecoded::lost ? 0 : image_bytes_);
    if (committed && decoded == NUV_PNGDecoded::complete)
        decoder_->decode_end();
    return false;
}

[[nodiscard]] bool is_readable(const NUV_PNGInfo* info)
{
    return info && info->loaded() && info->is_valid();
}

} // namespace

NUV_Engine* NUV_ReadPNG::engine(NUV_InputStorage* storage)
{
    NUV_PNGInfo info(manager());
    if (!info.load(storage))
        return fail(manager(), NUV_ERR_FORMAT, "NUV_ReadPNG::engine()");
    return engine(storage, &info);
}

NUV_Engine* NUV_ReadPNG::engine(NUV_InputStorage* storage, const NUV_PNGInfo* info)
{
    if (!is_readable(info))
        return fail(manager(), NUV_ERR_ARGUMENT, "NUV_ReadPNG::engine()");
    if (info->fields().interlaced)
        return NUV_ReadPNGInterlace(manager()).engine(storage, info);
    return NUV_ReadPNGNoninterlace(manager()).engine(storage, info);
}

NUV_Engine* NUV_ReadPNGNoninterlace::engine(NUV_InputStorage* storage, const NUV_PNGInfo* info)
{
    constexpr auto method = "NUV_ReadPNGNoninterlace::engine()";

    if (!is_readable(info))
        return fail(manager(), NUV_ERR_ARGUMENT, method);
    if (info->fields().interlaced)
        return fail(manager(), NUV_ERR_UNSUPPORTED, method);
    return append_reader<NUV_ReadPNGNoninterlaceEngine>(storage, info, info->internal());
}

NUV_Engine* NUV_ReadPNGInterlace::engine(NUV_InputStorage* storage, const NUV_PNGInfo* info)
{
    constexpr auto method = "NUV_ReadPNGInterlace::engine()";

    if (!is_readable(info))
        return fail(manager(), NUV_ERR_ARGUMENT, method);
    if (!info->fields().interlaced)
        return fail(manager(), NUV_ERR_UNSUPPORTED, method);
    return append_reader<NUV_ReadPNGInterlaceEngine>(storage, info, info->internal());
}

} // namespace nuv
