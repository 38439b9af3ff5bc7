#include "core/channel/nuv_reversechannel.h"

#include "core/channel/source/nuv_linebits.h"
#include "core/include/nuv_reversetriples_kernels.h"
#include "framework/base/nuv_failure.h"
#include "framework/base/nuv_status.h"
#include "framework/engine/nuv_processlinetolineengine.h"
#include "framework/utility/nuv_sampletype.h"

#include <cstddef>
#include <cstdint>
#include <cstring>

namespace nuv {
namespace {

// `Channels` is the count of channels, or 0 where `channels` says.
template <class T, int Channels>
void reverse_row(const void* in, void* out, std::size_t width, std::size_t channels)
{
    const auto* from = static_cast<const T*>(in);
    auto* to = static_cast<T*>(out);
    const std::size_t count = Channels > 0 ? static_cast<std::size_t>(Channels) : channels;
    for (std::size_t p = 0; p < width; ++p) {
        for (std::size_t c = 0; c < count; ++c)
            to[p * count + c] = from[p * count + count - 1 - c];
    }
}

// Three channels of a byte each.
template <ReverseTriples Reverse>
void reverse_triples(const void* in, void* out, std::size_t width, std::size_t)
{
    Reverse(static_cast<const std::uint8_t*>(in), static_cast<std::uint8_t*>(out), width);
}

using ReverseRow = void (*)(const void* in, void* out, std::size_t width, std::size_t channels);

[[nodiscard]] ReverseRow choose_reverse_row(const NUV_Cpu& cpu, const NUV_Header& header)
{
    if (header.bits() == 8 && header.channels() == 3)
        return visit_reverse_triples(
            cpu, []<ReverseTriples Form>() -> ReverseRow { return reverse_triples<Form>; });
    return visit_channels(header.channels(), [&]<int Channels>() -> ReverseRow {
        return header.bits() == 8 ? reverse_row<std::uint8_t, Channels>
                                  : reverse_row<std::uint16_t, Channels>;
    });
}

class NUV_ReverseChannel8xNbitsEngine final : public NUV_ProcessLineToLineEngine {
public:
    static constexpr auto initiate_method = "NUV_ReverseChannel8xNbitsEngine::initiate()";
    using NUV_ProcessLineToLineEngine::NUV_ProcessLineToLineEngine;

    [[nodiscard]] bool initiate(const NUV_Header* header, NUV_SrcBuffer* src, NUV_DstBuffer* dst)
    {
        if (!NUV_ProcessLineToLineEngine::initiate(header, src, dst))
            return false;
        if (header->bits() != 8 && header->bits() != 16)
            return fail(manager(), NUV_ERR_UNSUPPORTED, initiate_method);
        reverse_row_ = choose_reverse_row(manager().cpu(), *header);
        return dst->block_bytes(header_.line_bytes());
    }

private:
    [[nodiscard]] bool process_line(const void* in, void* out) override
    {
        reverse_row_(in, out, header_.width(), header_.channels());
        return true;
    }

    ReverseRow reverse_row_ = nullptr;
};

class NUV_ReverseChannel1bitEngine final : public NUV_ProcessLineToLineEngine {
public:
    static constexpr auto initiate_method = "NUV_ReverseChannel1bitEngine::initiate()";
    using NUV_ProcessLineToLineEngine::NUV_ProcessLineToLineEngine;

    [[nodiscard]] bool initiate(const NUV_Header* header, NUV_SrcBuffer* src, NUV_DstBuffer* dst)
    {
        if (!NUV_ProcessLineToLineEngine::initiate(header, src, dst))
            return false;
        if (header->bits() != 1 || header->data_type() != NUV_DataType::u_integer)
            return fail(manager(), NUV_ERR_UNSUPPORTED, initiate_method);
        return dst->block_bytes(header_.line_bytes());
    }

private:
    // Both give the count of pixels that they made.
    static std::size_t reverse_three(const std::uint8_t* in, std::uint8_t* out, std::size_t width);
    static std::size_t reverse_four(const std::uint8_t* in, std::uint8_t* out, std::size_t width);

    [[nodiscard]] bool process_line(const void* in, void* out) override
    {
        const auto* from = static_cast<const std::uint8_t*>(in);
        auto* to = static_cast<std::uint8_t*>(out);
        const std::size_t width = header_.width();
        const std::size_t channels = header_.channels();
        std::memset(to, 0, header_.line_bytes());
        std::size_t done = 0;
        if (channels == 3)
            done = reverse_three(from, to, width);
        else if (channels == 4)
            done = reverse_four(from, to, width);
        for (std::size_t p = done; p < width; ++p) {
            for (std::size_t c = 0; c < channels; ++c)
                add_bit(to, p * channels + c, bit_at(from, p * channels + channels - 1 - c));
        }
        return true;
    }
};

// Eight pixels are three bytes; the middle bit of each stays.
std::size_t NUV_ReverseChannel1bitEngine::reverse_three(const std::uint8_t* in, std::uint8_t* out,
                                                        std::size_t width)
{
    constexpr std::uint32_t lasts = 0x249249; // every third bit of 24
    for (std::size_t p = 0; p + 8 <= width; p += 8, in += 3, out += 3) {
        const std::uint32_t pixels = std::uint32_t{in[0]} << 16 | std::uint32_t{in[1]} << 8 | in[2];
        const std::uint32_t turned =
            (pixels & lasts) << 2 | (pixels & lasts << 1) | (pixels >> 2 & lasts);
        out[0] = static_cast<std::uint8_t>(turned >> 16);
        out[1] = static_cast<std::uint8_t>(turned >> 8);
        out[2] = static_cast<std::uint8_t>(turned);
    }
    return width & ~std::size_t{7};
}

// Two pixels are one byte.
std::size_t NUV_ReverseChannel1bitEngine::reverse_four(const std::uint8_t* in, std::uint8_t* out,
                                                       std::size_t width)
{
    for (std::size_t b = 0; b < width / 2; ++b) {
        const unsigned pair = in[b];
        out[b] = static_cast<std::uint8_t>((pair & 0x11) << 3 | (pair & 0x22) << 1 |
                                           (pair & 0x44) >> 1 | (pair & 0x88) >> 3);
    }
    return width & ~std::size_t{1};
}

} // namespace

NUV_Engine* NUV_ReverseChannel::engine(NUV_Engine* previous)
{
    constexpr auto method = "NUV_ReverseChannel::engine()";

    if (!accepts_image(previous, method))
        return nullptr;
    const NUV_Header& header = *previous->header();
    if (header.channels() == 1)
        return previous;
    if (header.bits() == 1)
        return NUV_ReverseChannel1bit(manager()).engine(previous);
    if (header.bits() == 0 || header.bits() % 8 != 0)
        return fail(manager(), NUV_ERR_UNSUPPORTED, method);
    return NUV_ReverseChannel8xNbits(manager()).engine(previous);
}

NUV_Engine* NUV_ReverseChannel8xNbits::engine(NUV_Engine* previous)
{
    if (!accepts_image(previous, "NUV_ReverseChannel8xNbits::engine()"))
        return nullptr;
    return append_new<NUV_ReverseChannel8xNbitsEngine>(*previous);
}

NUV_Engine* NUV_ReverseChannel1bit::engine(NUV_Engine* previous)
{
    if (!accepts_image(previous, "NUV_ReverseChannel1bit::engine()"))
        return nullptr;
    return append_new<NUV_ReverseChannel1bitEngine>(*previous);
}

} // namespace nuv
