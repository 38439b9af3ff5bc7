#include "core/flate/nuv_decodeflate.h"

#include "core/include/nuv_codedinput.h"
#include "framework/base/nuv_checkedsize.h"
#include "framework/engine/nuv_processengine.h"
#include "framework/engine/nuv_stepblocks.h"

#include <zlib.h>

#include <algorithm>

namespace nuv {
namespace {

class NUV_DecodeFlateEngine final : public NUV_ProcessEngine {
public:
    static constexpr auto initiate_method = "NUV_DecodeFlateEngine::initiate()";
    using NUV_ProcessEngine::NUV_ProcessEngine;

    bool cleanup() override;
    [[nodiscard]] bool initiate(const NUV_Header* header, NUV_SrcBuffer* src, NUV_DstBuffer* dst);
    [[nodiscard]] bool execute() override;

private:
    [[nodiscard]] bool fill_block(void* block);

    NUV_CodedInput stream_;
    z_stream inflater_{};
    bool started_ = false;
    int last_result_ = Z_OK;
    std::uint64_t wanted_bytes_ = 0; // of the image, less what has come
    std::uint32_t line_bytes_ = 0;
};

void* allocate_for_zlib(void* manager, uInt items, uInt size)
{
    const auto bytes = checked_product(items, size);
    return bytes ? static_cast<NUV_Manager*>(manager)->allocate(*bytes) : nullptr;
}

void free_for_zlib(void* manager, void* memory)
{
    static_cast<NUV_Manager*>(manager)->deallocate(memory);
}

bool NUV_DecodeFlateEngine::cleanup()
{
    if (started_)
        inflateEnd(&inflater_);
    started_ = false;
    return NUV_ProcessEngine::cleanup();
}

bool NUV_DecodeFlateEngine::initiate(const NUV_Header* header, NUV_SrcBuffer* src,
                                     NUV_DstBuffer* dst)
{
    if (!NUV_ProcessEngine::initiate(header, src, dst))
        return false;
    if (header->encode_type() != NUV_EncodeType::flate ||
        header->data_type() != NUV_DataType::u_integer ||
        (header->bits() != 1 && header->bits() != 8))
        return fail(manager(), NUV_ERR_UNSUPPORTED, initiate_method);
    header_.encode_type(NUV_EncodeType::raw);
    line_bytes_ = header_.line_bytes();
    wanted_bytes_ = std::uint64_t{line_bytes_} * header_.height();
    stream_.source(src);
    inflater_.zalloc = allocate_for_zlib;
    inflater_.zfree = free_for_zlib;
    inflater_.opaque = &manager();
    started_ = inflateInit(&inflater_) == Z_OK;
    if (!started_)
        return fail(manager(), NUV_ERROR, initiate_method);
    const bool source_set = src->block_bytes(line_bytes_);
    return source_set && dst->block_bytes(line_bytes_);
}

// Fills the block, or as much of it as the stream has left. False when the data breaks off or means
// nothing.
bool NUV_DecodeFlateEngine::fill_block(void* block)
{
    inflater_.next_out = static_cast<Bytef*>(block);
    inflater_.avail_out = line_bytes_;
    while (inflater_.avail_out > 0 && last_result_ != Z_STREAM_END) {
        if (inflater_.avail_in == 0) {
            const auto bytes = stream_.next();
            if (bytes.empty())
                return false;
            inflater_.next_in = const_cast<Bytef*>(bytes.data()); // zlib only reads it
            inflater_.avail_in = static_cast<uInt>(bytes.size());
        }
        last_result_ = inflate(&inflater_, Z_SYNC_FLUSH);
        if (last_result_ != Z_OK && last_result_ != Z_STREAM_END)
            return false;
    }
    return true;
}

bool NUV_DecodeFlateEngine::execute()
{
    if (last_result_ == Z_STREAM_END)
        return false;
    NUV_OutputBlock block(*dst_buffer_);
    if (!block)
        return false;
    if (!fill_block(block.data())) {
        const char* const trouble = last_result_ == Z_OK ? "ends" : "means nothing";
        last_result_ = Z_STREAM_END;
        return fail(manager(), NUV_ERR_BROKEN_DATA, "NUV_DecodeFlateEngine::execute()",
                    NUV_Diagnosis().says("the compressed data %s behind %lu bytes", trouble,
                                         inflater_.total_in));
    }
    const auto produced = static_cast<std::uint32_t>(
        std::min<std::uint64_t>(line_bytes_ - inflater_.avail_out, wanted_bytes_));
    wanted_bytes_ -= produced;
    if (wanted_bytes_ == 0)
        last_result_ = Z_STREAM_END;
    return block.commit(produced) && produced > 0;
}

} // namespace

NUV_Engine* NUV_DecodeFlate::append_decoder(NUV_Engine& previous)
{
    return append_new<NUV_DecodeFlateEngine>(previous);
}

} // namespace nuv
