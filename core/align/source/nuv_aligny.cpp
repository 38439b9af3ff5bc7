#include "core/align/nuv_aligny.h"

#include "core/align/source/nuv_alignengine.h"
#include "framework/engine/nuv_stepblocks.h"

#include <algorithm>

namespace nuv {
namespace {

class NUV_AlignYEngine final : public NUV_AlignEngine {
public:
    static constexpr auto initiate_method = "NUV_AlignYEngine::initiate()";
    using NUV_AlignEngine::NUV_AlignEngine;

    [[nodiscard]] bool initiate(std::span<const NUV_Header* const> headers,
                                std::span<NUV_SrcBuffer* const> sources, NUV_DstBuffer* dst);
    [[nodiscard]] bool execute() override;

private:
    std::uint32_t line_ = 0; // of the input
};

class NUV_AlignYQDRLEEngine final : public NUV_AlignEngine {
public:
    static constexpr auto initiate_method = "NUV_AlignYQDRLEEngine::initiate()";
    using NUV_AlignEngine::NUV_AlignEngine;

    [[nodiscard]] bool initiate(std::span<const NUV_Header* const> headers,
                                std::span<NUV_SrcBuffer* const> sources, NUV_DstBuffer* dst);
    [[nodiscard]] bool execute() override;
};

bool NUV_AlignYEngine::initiate(std::span<const NUV_Header* const> headers,
                                std::span<NUV_SrcBuffer* const> sources, NUV_DstBuffer* dst)
{
    if (!NUV_AlignEngine::initiate(headers, sources, dst))
        return false;
    const NUV_Header& first = *headers_[0];
    const bool alike = std::ranges::all_of(headers_.items(), [&first](const NUV_Header* input) {
        return input->is_raw() && input->width() == first.width() &&
               input->channels() == first.channels() && input->bits() == first.bits() &&
               input->data_type() == first.data_type();
    });
    if (!alike || !add_heights())
        return fail(manager(), NUV_ERR_UNSUPPORTED, initiate_method);
    const std::uint32_t line_bytes = header_.line_bytes();
    bool ok = dst->block_bytes(line_bytes);
    for (NUV_SrcBuffer* source : src_buffers_.items()) {
        const bool set = source->block_bytes(line_bytes);
        ok = ok && set;
    }
    return ok;
}

bool NUV_AlignYEngine::execute()
{
    while (input_ < headers_.size() && line_ >= headers_[input_]->height()) {
        ++input_;
        line_ = 0;
    }
    if (input_ == headers_.size())
        return false;
    NUV_OutputBlock out(*dst_buffer_);
    if (!out)
        return false;
    NUV_InputBlock in(*src_buffers_[input_], out.data());
    if (!in)
        return false;
    ++line_;
    // The source first: its buffer may hold our block as its own.
    const bool released = in.release();
    const bool committed = out.commit(header_.line_bytes());
    return released && committed;
}

bool NUV_AlignYQDRLEEngine::initiate(std::span<const NUV_Header* const> headers,
                                     std::span<NUV_SrcBuffer* const> sources, NUV_DstBuffer* dst)
{
    if (!NUV_AlignEngine::initiate(headers, sources, dst))
        return false;
    const NUV_Header& first = *headers_[0];
    const bool alike = std::ranges::all_of(headers_.items(), [&first](const NUV_Header* input) {
        return input->encode_type() == NUV_EncodeType::qd_rle &&
               input->data_type() == NUV_DataType::u_integer && input->bits() == 1 &&
               input->width() == first.width() && input->palette().equal(first.palette());
    });
    if (!alike || !add_heights())
        return fail(manager(), NUV_ERR_UNSUPPORTED, initiate_method);
    const std::uint32_t block_bytes = sources[0]->block_bytes();
    bool ok = dst->block_bytes(block_bytes);
    for (NUV_SrcBuffer* source : src_buffers_.items()) {
        const bool set = source->block_bytes(block_bytes);
        ok = ok && set;
    }
    return ok;
}

// Blocks as they come: where lines end in them is nobody's concern here.
bool NUV_AlignYQDRLEEngine::execute()
{
    NUV_OutputBlock out(*dst_buffer_);
    if (!out)
        return false;
    for (; input_ < src_buffers_.size(); ++input_) {
        std::uint32_t bytes = 0;
        NUV_InputBlock in(*src_buffers_[input_], out.data(), &bytes);
        if (!in)
            continue;
        const bool released = in.release();
        if (bytes == 0 && released)
            continue;
        const bool committed = out.commit(bytes);
        return released && committed;
    }
    return false;
}

bool are_complete(std::span<NUV_Engine* const> sources)
{
    return !sources.empty() && std::ranges::all_of(sources, [](const NUV_Engine* source) {
        return source && source->header();
    });
}

} // namespace

NUV_Engine* NUV_AlignY::engine(std::span<NUV_Engine* const> sources)
{
    if (!are_complete(sources))
        return fail(manager(), NUV_ERR_ARGUMENT, "NUV_AlignY::engine()");
    return sources.size() == 1 ? sources[0] : append_multi<NUV_AlignYEngine>(sources);
}

NUV_Engine* NUV_AlignYQDRLE::engine(std::span<NUV_Engine* const> sources)
{
    if (!are_complete(sources))
        return fail(manager(), NUV_ERR_ARGUMENT, "NUV_AlignYQDRLE::engine()");
    return sources.size() == 1 ? sources[0] : append_multi<NUV_AlignYQDRLEEngine>(sources);
}

} // namespace nuv
