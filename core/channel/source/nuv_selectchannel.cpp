#include "core/channel/nuv_selectchannel.h"

#include "core/channel/source/nuv_linebits.h"
#include "core/channel/source/nuv_selectrow_kernels.h"
#include "framework/base/nuv_failure.h"
#include "framework/base/nuv_status.h"
#include "framework/engine/nuv_processlinetolineengine.h"

#include <cstddef>
#include <cstring>

namespace nuv {
namespace {

// What both forms have in common: the output header.
class NUV_SelectEngine : public NUV_ProcessLineToLineEngine {
public:
    using NUV_ProcessLineToLineEngine::NUV_ProcessLineToLineEngine;

protected:
    // The creator has checked the channels.
    [[nodiscard]] bool begin(const NUV_Header* header, NUV_SrcBuffer* src, NUV_DstBuffer* dst,
                             std::uint32_t first, std::uint32_t count, const NUV_ColorType* color)
    {
        if (!NUV_ProcessLineToLineEngine::initiate(header, src, dst))
            return false;
        src_channels_ = header->channels();
        first_ = first;
        count_ = count;
        header_.channels(static_cast<std::uint16_t>(count));
        header_.color_type(color);
        return header_.palette().copy(NUV_Header::NUV_Palette(manager())) &&
               dst->block_bytes(header_.line_bytes());
    }

    std::uint32_t src_channels_ = 0;
    std::uint32_t first_ = 0;
    std::uint32_t count_ = 0;
};

class NUV_SelectNChannel8xNbitsEngine : public NUV_SelectEngine {
public:
    static constexpr auto initiate_method = "NUV_SelectNChannel8xNbitsEngine::initiate()";
    using NUV_SelectEngine::NUV_SelectEngine;

    [[nodiscard]] bool initiate(const NUV_Header* header, NUV_SrcBuffer* src, NUV_DstBuffer* dst,
                                std::uint32_t first, std::uint32_t count,
                                const NUV_ColorType* color)
    {
        if (!begin(header, src, dst, first, count, color))
            return false;
        const std::size_t sample_bytes = header_.bits() / 8U;
        first_bytes_ = first_ * sample_bytes;
        stride_ = src_channels_ * sample_bytes;
        unit_ = count_ * sample_bytes;
        select_row_ = choose_select_row(manager().cpu(), stride_, unit_);
        return true;
    }

private:
    [[nodiscard]] bool process_line(const void* in, void* out) override
    {
        select_row_(static_cast<const std::uint8_t*>(in) + first_bytes_,
                    static_cast<std::uint8_t*>(out), header_.width(), stride_, unit_);
        return true;
    }

    SelectRow select_row_ = nullptr;
    std::size_t first_bytes_ = 0; // offset of the first channel in a pixel
    std::size_t stride_ = 0;      // bytes of an input pixel
    std::size_t unit_ = 0;        // bytes of an output pixel
};

class NUV_Select1Channel8xNbitsEngine final : public NUV_SelectNChannel8xNbitsEngine {
public:
    static constexpr auto initiate_method = "NUV_Select1Channel8xNbitsEngine::initiate()";
    using NUV_SelectNChannel8xNbitsEngine::NUV_SelectNChannel8xNbitsEngine;

    [[nodiscard]] bool initiate(const NUV_Header* header, NUV_SrcBuffer* src, NUV_DstBuffer* dst,
                                std::uint32_t first, const NUV_ColorType* color)
    {
        return NUV_SelectNChannel8xNbitsEngine::initiate(header, src, dst, first, 1, color);
    }
};

class NUV_SelectNChannel1bitEngine : public NUV_SelectEngine {
public:
    static constexpr auto initiate_method = "NUV_SelectNChannel1bitEngine::initiate()";
    using NUV_SelectEngine::NUV_SelectEngine;

    [[nodiscard]] bool initiate(const NUV_Header* header, NUV_SrcBuffer* src, NUV_DstBuffer* dst,
                                std::uint32_t first, std::uint32_t count,
                                const NUV_ColorType* color)
    {
        return begin(header, src, dst, first, count, color);
    }

private:
    [[nodiscard]] bool process_line(const void* in, void* out) override
    {
        const auto* from = static_cast<const std::uint8_t*>(in);
        auto* to = static_cast<std::uint8_t*>(out);
        std::memset(to, 0, header_.line_bytes());
        std::size_t input = first_;
        std::size_t output = 0;
        for (std::uint32_t p = 0; p < header_.width(); ++p, input += src_channels_) {
            for (std::uint32_t c = 0; c < count_; ++c)
                add_bit(to, output++, bit_at(from, input + c));
        }
        return true;
    }
};

class NUV_Select1Channel1bitEngine final : public NUV_SelectNChannel1bitEngine {
public:
    static constexpr auto initiate_method = "NUV_Select1Channel1bitEngine::initiate()";
    using NUV_SelectNChannel1bitEngine::NUV_SelectNChannel1bitEngine;

    [[nodiscard]] bool initiate(const NUV_Header* header, NUV_SrcBuffer* src, NUV_DstBuffer* dst,
                                std::uint32_t first, const NUV_ColorType* color)
    {
        return NUV_SelectNChannel1bitEngine::initiate(header, src, dst, first, 1, color);
    }
};

// NUV_STATUS_OK, or what is wrong with the choice. `whole_bytes` and `one_bit` say which samples
// the caller serves.
[[nodiscard]] NUV_StatusCode check(const NUV_Engine* previous, std::uint32_t first,
                                   std::uint32_t count, const NUV_ColorType* color,
                                   bool whole_bytes, bool one_bit)
{
    const NUV_Header* header = previous ? previous->header() : nullptr;
    if (!header || !color || count == 0)
        return NUV_ERR_ARGUMENT;
    if (std::uint64_t{first} + count > header->channels() || !color->valid_channels(count))
        return NUV_ERR_ARGUMENT;
    const std::uint32_t bits = header->bits();
    const bool served = bits == 1 ? one_bit : whole_bytes && bits != 0 && bits % 8 == 0;
    return served ? NUV_STATUS_OK : NUV_ERR_UNSUPPORTED;
}

} // namespace

NUV_Engine* NUV_SelectChannel::engine(NUV_Engine* previous, std::uint32_t first,
                                      std::uint32_t count, const NUV_ColorType* color)
{
    if (count == 1)
        return NUV_Select1Channel(manager()).engine(previous, first, color);
    return NUV_SelectNChannel(manager()).engine(previous, first, count, color);
}

NUV_Engine* NUV_SelectChannel::engine(NUV_Engine* previous, std::uint32_t first,
                                      const NUV_ColorType* color)
{
    return engine(previous, first, 1, color);
}

NUV_Engine* NUV_Select1Channel::engine(NUV_Engine* previous, std::uint32_t first,
                                       const NUV_ColorType* color)
{
    const NUV_StatusCode wrong = check(previous, first, 1, color, true, true);
    if (wrong != NUV_STATUS_OK)
        return fail(manager(), wrong, "NUV_Select1Channel::engine()");
    if (previous->header()->bits() == 1)
        return NUV_Select1Channel1bit(manager()).engine(previous, first, color);
    return NUV_Select1Channel8xNbits(manager()).engine(previous, first, color);
}

NUV_Engine* NUV_Select1Channel8xNbits::engine(NUV_Engine* previous, std::uint32_t first,
                                              const NUV_ColorType* color)
{
    const NUV_StatusCode wrong = check(previous, first, 1, color, true, false);
    if (wrong != NUV_STATUS_OK)
        return fail(manager(), wrong, "NUV_Select1Channel8xNbits::engine()");
    return append_new<NUV_Select1Channel8xNbitsEngine>(*previous, first, color);
}

NUV_Engine* NUV_Select1Channel1bit::engine(NUV_Engine* previous, std::uint32_t first,
                                           const NUV_ColorType* color)
{
    const NUV_StatusCode wrong = check(previous, first, 1, color, false, true);
    if (wrong != NUV_STATUS_OK)
        return fail(manager(), wrong, "NUV_Select1Channel1bit::engine()");
    return append_new<NUV_Select1Channel1bitEngine>(*previous, first, color);
}

NUV_Engine* NUV_SelectNChannel::engine(NUV_Engine* previous, std::uint32_t first,
                                       std::uint32_t count, const NUV_ColorType* color)
{
    const NUV_StatusCode wrong = check(previous, first, count, color, true, true);
    if (wrong != NUV_STATUS_OK)
        return fail(manager(), wrong, "NUV_SelectNChannel::engine()");
    if (previous->header()->bits() == 1)
        return NUV_SelectNChannel1bit(manager()).engine(previous, first, count, color);
    return NUV_SelectNChannel8xNbits(manager()).engine(previous, first, count, color);
}

NUV_Engine* NUV_SelectNChannel8xNbits::engine(NUV_Engine* previous, std::uint32_t first,
                                              std::uint32_t count, const NUV_ColorType* color)
{
    const NUV_StatusCode wrong = check(previous, first, count, color, true, false);
    if (wrong != NUV_STATUS_OK)
        return fail(manager(), wrong, "NUV_SelectNChannel8xNbits::engine()");
    return append_new<NUV_SelectNChannel8xNbitsEngine>(*previous, first, count, color);
}

NUV_Engine* NUV_SelectNChannel1bit::engine(NUV_Engine* previous, std::uint32_t first,
                                           std::uint32_t count, const NUV_ColorType* color)
{
    const NUV_StatusCode wrong = check(previous, first, count, color, false, true);
    if (wrong != NUV_STATUS_OK)
        return fail(manager(), wrong, "NUV_SelectNChannel1bit::engine()");
    return append_new<NUV_SelectNChannel1bitEngine>(*previous, first, count, color);
}

} // namespace nuv
