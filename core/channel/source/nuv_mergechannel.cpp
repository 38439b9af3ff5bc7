#include "core/channel/nuv_mergechannel.h"

#include "core/channel/source/nuv_interleave_kernels.h"
#include "core/channel/source/nuv_linebits.h"
#include "framework/base/nuv_failure.h"
#include "framework/base/nuv_held.h"
#include "framework/base/nuv_status.h"
#include "framework/engine/nuv_multiinputprocessengine.h"
#include "framework/engine/nuv_stepblocks.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <limits>

namespace nuv {
namespace {

// Takes a line of every input and makes one output line of them.
class NUV_MergeChannelEngine : public NUV_MultiInputProcessEngine {
public:
    static constexpr auto initiate_method = "NUV_MergeChannelEngine::initiate()";
    using NUV_MultiInputProcessEngine::NUV_MultiInputProcessEngine;

    [[nodiscard]] bool execute() final;
    [[nodiscard]] bool delivers_what_it_writes() const final { return true; }

protected:
    // Size and bits of the output come from the first input, the channels are the sum of all, and
    // everything else comes from `output`.
    [[nodiscard]] bool begin(std::span<const NUV_Header* const> headers,
                             std::span<NUV_SrcBuffer* const> sources, NUV_DstBuffer* dst,
                             const NUV_Header* output);

    virtual void merge_line(void* out) = 0;

    // True when every input has one channel.
    [[nodiscard]] bool is_planar() const
    {
        return std::ranges::all_of(headers_.items(),
                                   [](const NUV_Header* input) { return input->channels() == 1; });
    }

    NUV_Scratch<const void*> lines_; // of the inputs, valid during merge_line()

private:
    [[nodiscard]] bool check_inputs();
    [[nodiscard]] bool take_lines();
    [[nodiscard]] bool release_lines(std::size_t count);

    std::uint32_t line_ = 0;
};

bool NUV_MergeChannelEngine::check_inputs()
{
    constexpr auto method = "NUV_MergeChannelEngine::initiate()";

    const auto inputs = headers_.items();
    for (const NUV_Header* input : inputs) {
        if (!input->is_raw())
            return fail(manager(), NUV_ERR_UNSUPPORTED, method);
    }
    for (std::size_t i = 1; i < inputs.size(); ++i) {
        const NUV_Header& a = *inputs[i - 1];
        const NUV_Header& b = *inputs[i];
        if (a.width() != b.width() || a.height() != b.height() || a.bits() != b.bits() ||
            a.data_type() != b.data_type())
            return fail(manager(), NUV_ERR_ARGUMENT, method);
    }
    return true;
}

bool NUV_MergeChannelEngine::begin(std::span<const NUV_Header* const> headers,
                                   std::span<NUV_SrcBuffer* const> sources, NUV_DstBuffer* dst,
                                   const NUV_Header* output)
{
    if (!NUV_MultiInputProcessEngine::initiate(headers, sources, dst) || !check_inputs())
        return false;
    const NUV_Header& first = *headers_[0];
    std::uint64_t channels = 0;
    for (const NUV_Header* input : headers_.items())
        channels += input->channels();
    if (channels > std::numeric_limits<std::uint16_t>::max())
        return fail(manager(), NUV_ERR_UNSUPPORTED, initiate_method);
    if (!header_.copy(*output))
        return false;
    header_.width(first.width());
    header_.height(first.height());
    header_.bits(first.bits());
    header_.channels(static_cast<std::uint16_t>(channels));
    if (!header_.is_valid())
        return fail(manager(), NUV_ERR_ARGUMENT, initiate_method);
    if (!header_.checked_line_bytes())
        return fail(manager(), NUV_ERR_UNSUPPORTED, initiate_method);

    if (!lines_.allocate(manager(), src_buffers_.size()))
        return false;
    bool ok = dst->block_bytes(header_.line_bytes());
    for (std::size_t i = 0; i < src_buffers_.size(); ++i) {
        const bool set = src_buffers_[i]->block_bytes(headers_[i]->line_bytes());
        ok = ok && set;
    }
    return ok;
}

bool NUV_MergeChannelEngine::take_lines()
{
    for (std::size_t i = 0; i < src_buffers_.size(); ++i) {
        lines_[i] = src_buffers_[i]->get(nullptr);
        if (!lines_[i]) {
            static_cast<void>(release_lines(i));
            return false;
        }
    }
    return true;
}

bool NUV_MergeChannelEngine::release_lines(std::size_t count)
{
    bool ok = true;
    for (std::size_t i = 0; i < count; ++i) {
        const bool released = src_buffers_[i]->release();
        ok = ok && released;
    }
    return ok;
}

bool NUV_MergeChannelEngine::execute()
{
    if (line_ >= header_.height())
        return false;
    ++line_;
    NUV_OutputBlock out(*dst_buffer_);
    if (!out || !take_lines())
        return false;
    merge_line(out.data());
    const bool released = release_lines(src_buffers_.size());
    const bool committed = out.commit(header_.line_bytes());
    return released && committed;
}

// One sample of each of `Inputs` planes after the other.
template <class T, std::size_t Inputs>
void interleave(const std::array<const T*, Inputs>& in, T* out, std::size_t width)
{
    for (std::size_t p = 0; p < width; ++p) {
        for (std::size_t i = 0; i < Inputs; ++i)
            out[Inputs * p + i] = in[i][p];
    }
}

template <class T>
class NUV_MergeChannel8xNbitsEngine final : public NUV_MergeChannelEngine {
public:
    static constexpr auto initiate_method = "NUV_MergeChannel8xNbitsEngine::initiate()";
    using NUV_MergeChannelEngine::NUV_MergeChannelEngine;

    [[nodiscard]] bool initiate(std::span<const NUV_Header* const> headers,
                                std::span<NUV_SrcBuffer* const> sources, NUV_DstBuffer* dst,
                                const NUV_Header* output)
    {
        if (!begin(headers, sources, dst, output))
            return false;
        if (header_.bits() != 8 * sizeof(T))
            return fail(manager(), NUV_ERR_UNSUPPORTED, initiate_method);
        interleave_triples_ = choose_interleave_triples<T>(manager().cpu());
        return true;
    }

private:
    [[nodiscard]] const T* line(std::size_t i) const { return static_cast<const T*>(lines_[i]); }

    void merge_line(void* out) override
    {
        auto* to = static_cast<T*>(out);
        const std::size_t width = header_.width();
        if (lines_.size() == 2 && is_planar())
            return interleave<T, 2>({line(0), line(1)}, to, width);
        if (lines_.size() == 3 && is_planar())
            return interleave_triples_(line(0), line(1), line(2), to, width);

        const std::size_t stride = header_.channels();
        for (std::size_t i = 0; i < lines_.size(); ++i) {
            const T* from = line(i);
            const std::size_t channels = headers_[i]->channels();
            for (std::size_t p = 0; p < width; ++p) {
                for (std::size_t c = 0; c < channels; ++c)
                    to[p * stride + c] = from[p * channels + c];
            }
            to += channels;
        }
    }

    InterleaveTriples<T> interleave_triples_ = nullptr;
};

// The eight bits of a byte, each `Step` bits behind the one before it, the last in bit 0.
template <unsigned Step>
constexpr auto spread_bits = [] {
    std::array<std::uint32_t, 256> table{};
    for (unsigned byte = 0; byte < table.size(); ++byte) {
        for (unsigned bit = 0; bit < 8; ++bit)
            table[byte] |= (byte >> bit & 1U) << bit * Step;
    }
    return table;
}();

class NUV_MergeChannel1bitEngine final : public NUV_MergeChannelEngine {
public:
    static constexpr auto initiate_method = "NUV_MergeChannel1bitEngine::initiate()";
    using NUV_MergeChannelEngine::NUV_MergeChannelEngine;

    [[nodiscard]] bool initiate(std::span<const NUV_Header* const> headers,
                                std::span<NUV_SrcBuffer* const> sources, NUV_DstBuffer* dst,
                                const NUV_Header* output)
    {
        if (!begin(headers, sources, dst, output))
            return false;
        if (header_.bits() != 1)
            return fail(manager(), NUV_ERR_UNSUPPORTED, initiate_method);
        return true;
    }

private:
    [[nodiscard]] const std::uint8_t* line(std::size_t i) const
    {
        return static_cast<const std::uint8_t*>(lines_[i]);
    }

    // A byte of each of the `Inputs` planes makes `Inputs` bytes of output.
    template <unsigned Inputs>
    void merge_whole_bytes(std::uint8_t* out, std::size_t bytes) const
    {
        for (std::size_t b = 0; b < bytes; ++b, out += Inputs) {
            std::uint32_t eight_pixels = 0;
            for (unsigned i = 0; i < Inputs; ++i)
                eight_pixels |= spread_bits<Inputs>[line(i)[b]] << (Inputs - 1 - i);
            for (unsigned i = 0; i < Inputs; ++i)
                out[i] = static_cast<std::uint8_t>(eight_pixels >> 8 * (Inputs - 1 - i));
        }
    }

    // The pixels from `first` on, bit by bit.
    void merge_pixels(std::uint8_t* out, std::size_t first) const
    {
        std::size_t output = first * header_.channels();
        for (std::size_t p = first; p < header_.width(); ++p) {
            for (std::size_t i = 0; i < lines_.size(); ++i) {
                const std::size_t channels = headers_[i]->channels();
                for (std::size_t c = 0; c < channels; ++c)
                    add_bit(out, output++, bit_at(line(i), p * channels + c));
            }
        }
    }

    void merge_line(void* out) override
    {
        auto* to = static_cast<std::uint8_t*>(out);
        std::memset(to, 0, header_.line_bytes());
        const std::size_t whole_bytes = header_.width() >> 3;
        if (lines_.size() == 3 && is_planar())
            merge_whole_bytes<3>(to, whole_bytes);
        else if (lines_.size() == 4 && is_planar())
            merge_whole_bytes<4>(to, whole_bytes);
        else
            return merge_pixels(to, 0);
        merge_pixels(to, whole_bytes << 3);
    }
};

[[nodiscard]] bool is_complete(std::span<NUV_Engine* const> engines)
{
    return !engines.empty() && std::ranges::all_of(engines, has_image);
}

// What the output takes from the creator: everything but size and channels.
void describe(NUV_Header& output, const NUV_Header& first, const NUV_ColorType* color)
{
    output.data_type(first.data_type());
    output.color_type(color);
}

} // namespace

NUV_Engine* NUV_MergeChannel::engine(std::span<NUV_Engine* const> engines,
                                     const NUV_ColorType* color)
{
    if (!is_complete(engines))
        return fail(manager(), NUV_ERR_ARGUMENT, "NUV_MergeChannel::engine()");
    if (engines.size() == 1)
        return engines[0];
    if (!color)
        return fail(manager(), NUV_ERR_ARGUMENT, "NUV_MergeChannel::engine()");
    if (engines[0]->header()->bits() == 1)
        return NUV_MergeChannel1bit(manager()).engine(engines, color);
    return NUV_MergeChannel8xNbits(manager()).engine(engines, color);
}

NUV_Engine* NUV_MergeChannel8xNbits::engine(std::span<NUV_Engine* const> engines,
                                            const NUV_ColorType* color)
{
    if (!is_complete(engines) || !color)
        return fail(manager(), NUV_ERR_ARGUMENT, "NUV_MergeChannel8xNbits::engine()");
    const NUV_Header& first = *engines[0]->header();
    NUV_Header output(manager());
    describe(output, first, color);
    const NUV_Header* header = &output;
    if (first.bits() == 16)
        return append_multi<NUV_MergeChannel8xNbitsEngine<std::uint16_t>>(engines, header);
    return append_multi<NUV_MergeChannel8xNbitsEngine<std::uint8_t>>(engines, header);
}

NUV_Engine* NUV_MergeChannel1bit::engine(std::span<NUV_Engine* const> engines,
                                         const NUV_ColorType* color)
{
    if (!is_complete(engines) || !color)
        return fail(manager(), NUV_ERR_ARGUMENT, "NUV_MergeChannel1bit::engine()");
    NUV_Header output(manager());
    describe(output, *engines[0]->header(), color);
    const NUV_Header* header = &output;
    return append_multi<NUV_MergeChannel1bitEngine>(engines, header);
}

} // namespace nuv
