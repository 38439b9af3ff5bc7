#include "core/crop/nuv_crop.h"
#include "framework/engine/nuv_processlinetolineengine.h"

#include <algorithm>
#include <cstddef>
#include <cstring>

namespace nuv {
namespace {

// What the forms share: the columns, and where they lie in a line.
class NUV_CropWidthEngine : public NUV_ProcessLineToLineEngine {
public:
    using NUV_ProcessLineToLineEngine::NUV_ProcessLineToLineEngine;

protected:
    [[nodiscard]] bool initiate(const NUV_Header* header, NUV_SrcBuffer* src, NUV_DstBuffer* dst,
                                std::uint32_t x, std::uint32_t w);

    std::size_t out_bytes_ = 0; // of a line
    std::size_t offset_ = 0;    // of the byte in which the kept part starts
    unsigned first_bit_ = 0;    // of the kept part in that byte
};

bool NUV_CropWidthEngine::initiate(const NUV_Header* header, NUV_SrcBuffer* src, NUV_DstBuffer* dst,
                                   std::uint32_t x, std::uint32_t w)
{
    if (!NUV_ProcessLineToLineEngine::initiate(header, src, dst))
        return false;
    if (x >= header->width() || w == 0)
        return fail(manager(), NUV_ERR_ARGUMENT, "NUV_CropWidthEngine::initiate()");

    header_.width(std::min(w, header->width() - x));
    const std::uint64_t first = std::uint64_t{header->channels()} * header->bits() * x;
    offset_ = static_cast<std::size_t>(first >> 3);
    first_bit_ = static_cast<unsigned>(first & 7);
    out_bytes_ = header_.line_bytes();
    return dst->block_bytes(header_.line_bytes());
}

// Samples of whole bytes.
class NUV_CropWidth8xNBitsEngine final : public NUV_CropWidthEngine {
public:
    static constexpr auto initiate_method = "NUV_CropWidth8xNBitsEngine::initiate()";
    using NUV_CropWidthEngine::NUV_CropWidthEngine;

    [[nodiscard]] bool initiate(const NUV_Header* header, NUV_SrcBuffer* src, NUV_DstBuffer* dst,
                                std::uint32_t x, std::uint32_t w)
    {
        if (!NUV_CropWidthEngine::initiate(header, src, dst, x, w))
            return false;
        if (header->bits() % 8 != 0)
            return fail(manager(), NUV_ERR_UNSUPPORTED, initiate_method);
        return true;
    }

private:
    [[nodiscard]] bool process_line(const void* in, void* out) override
    {
        std::memcpy(out, static_cast<const std::uint8_t*>(in) + offset_, out_bytes_);
        return true;
    }
};

class NUV_CropWidth1BitEngine : public NUV_CropWidthEngine {
public:
    using NUV_CropWidthEngine::NUV_CropWidthEngine;

protected:
    [[nodiscard]] bool initiate(const NUV_Header* header, NUV_SrcBuffer* src, NUV_DstBuffer* dst,
                                std::uint32_t x, std::uint32_t w)
    {
        if (!NUV_CropWidthEngine::initiate(header, src, dst, x, w))
            return false;
        const std::uint64_t bits = std::uint64_t{header_.channels()} * header_.width();
        const auto used = static_cast<unsigned>(bits & 7); // bits of the last byte; 0 for all
        if (used != 0)
            last_mask_ = static_cast<std::uint8_t>(0xFFU << (8 - used));
        return true;
    }

    std::uint8_t last_mask_ = 0xFF; // of the bits of the last byte that belong to the line
};

// From a byte boundary.
class NUV_CropWidth1BitBSEngine final : public NUV_CropWidth1BitEngine {
public:
    static constexpr auto initiate_method = "NUV_CropWidth1BitBSEngine::initiate()";
    using NUV_CropWidth1BitEngine::NUV_CropWidth1BitEngine;

    [[nodiscard]] bool initiate(const NUV_Header* header, NUV_SrcBuffer* src, NUV_DstBuffer* dst,
                                std::uint32_t x, std::uint32_t w)
    {
        if (!NUV_CropWidth1BitEngine::initiate(header, src, dst, x, w))
            return false;
        if (header->bits() != 1 || first_bit_ != 0)
            return fail(manager(), NUV_ERR_UNSUPPORTED, initiate_method);
        return true;
    }

private:
    [[nodiscard]] bool process_line(const void* in, void* out) override
    {
        auto* to = static_cast<std::uint8_t*>(out);
        std::memcpy(to, static_cast<const std::uint8_t*>(in) + offset_, out_bytes_);
        to[out_bytes_ - 1] = static_cast<std::uint8_t>(to[out_bytes_ - 1] & last_mask_);
        return true;
    }
};

// From inside a byte.
class NUV_CropWidth1BitISEngine final : public NUV_CropWidth1BitEngine {
public:
    static constexpr auto initiate_method = "NUV_CropWidth1BitISEngine::initiate()";
    using NUV_CropWidth1BitEngine::NUV_CropWidth1BitEngine;

    [[nodiscard]] bool initiate(const NUV_Header* header, NUV_SrcBuffer* src, NUV_DstBuffer* dst,
                                std::uint32_t x, std::uint32_t w);

private:
    [[nodiscard]] bool process_line(const void* in, void* out) override;

    std::size_t line_bytes_ = 0; // of the source
    unsigned left_shift_ = 0;
    unsigned right_shift_ = 0;
};

bool NUV_CropWidth1BitISEngine::initiate(const NUV_Header* header, NUV_SrcBuffer* src,
                                         NUV_DstBuffer* dst, std::uint32_t x, std::uint32_t w)
{
    if (!NUV_CropWidth1BitEngine::initiate(header, src, dst, x, w))
        return false;
    if (header->bits() != 1 || first_bit_ == 0)
        return fail(manager(), NUV_ERR_UNSUPPORTED, initiate_method);

    line_bytes_ = header->line_bytes();
    left_shift_ = first_bit_;
    right_shift_ = 8 - left_shift_;
    return true;
}

bool NUV_CropWidth1BitISEngine::process_line(const void* in, void* out)
{
    const std::uint8_t* from = static_cast<const std::uint8_t*>(in) + offset_;
    auto* to = static_cast<std::uint8_t*>(out);
    const unsigned left = left_shift_;
    const unsigned right = right_shift_;
    const std::size_t last = out_bytes_ - 1;
    for (std::size_t i = 0; i < last; ++i)
        to[i] = static_cast<std::uint8_t>(from[i] << left | from[i + 1] >> right);
    // The kept part may end in the last byte of the source line.
    const bool has_next = offset_ + last + 1 < line_bytes_;
    const unsigned next = has_next ? from[last + 1] : 0U;
    to[last] =
        static_cast<std::uint8_t>((unsigned{from[last]} << left | next >> right) & last_mask_);
    return true;
}

} // namespace

NUV_Engine* NUV_CropWidth::engine(NUV_Engine* previous, std::uint32_t x, std::uint32_t w)
{
    if (!accepts_image(previous, "NUV_CropWidth::engine()"))
        return nullptr;
    const NUV_Header& header = *previous->header();
    if (x == 0 && w >= header.width())
        return previous;
    if (header.bits() != 1)
        return NUV_CropWidth8xNBits(manager()).engine(previous, x, w);
    if ((std::uint64_t{header.channels()} * x & 7) == 0)
        return NUV_CropWidth1BitBS(manager()).engine(previous, x, w);
    return NUV_CropWidth1BitIS(manager()).engine(previous, x, w);
}

NUV_Engine* NUV_CropWidth8xNBits::engine(NUV_Engine* previous, std::uint32_t x, std::uint32_t w)
{
    if (!accepts_image(previous, "NUV_CropWidth8xNBits::engine()"))
        return nullptr;
    return append_new<NUV_CropWidth8xNBitsEngine>(*previous, x, w);
}

NUV_Engine* NUV_CropWidth1BitBS::engine(NUV_Engine* previous, std::uint32_t x, std::uint32_t w)
{
    if (!accepts_image(previous, "NUV_CropWidth1BitBS::engine()"))
        return nullptr;
    return append_new<NUV_CropWidth1BitBSEngine>(*previous, x, w);
}

NUV_Engine* NUV_CropWidth1BitIS::engine(NUV_Engine* previous, std::uint32_t x, std::uint32_t w)
{
    if (!accepts_image(previous, "NUV_CropWidth1BitIS::engine()"))
        return nullptr;
    return append_new<NUV_CropWidth1BitISEngine>(*previous, x, w);
}

} // namespace nuv
