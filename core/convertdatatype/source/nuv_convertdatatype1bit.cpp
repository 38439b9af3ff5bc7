#include "core/convertdatatype/nuv_convertdatatype.h"
#include "core/convertdatatype/source/nuv_convertsample.h"
#include "core/operation/nuv_not.h"
#include "framework/engine/nuv_processlinetolineengine.h"

#include <algorithm>
#include <array>
#include <cstring>

namespace nuv {
namespace {

[[nodiscard]] bool holds_bits(const NUV_Header& header) noexcept
{
    return header.is_raw() && header.palette().is_empty() &&
           header.data_type() == NUV_DataType::u_integer && header.bits() == 1;
}

[[nodiscard]] std::size_t samples_of_line(const NUV_Header& header) noexcept
{
    return std::size_t{header.width()} * header.channels();
}

// Where both numbers are units they count as such among integers, so that a 1 less a hair is not
// cut down to 0.
template <class O>
[[nodiscard]] NUV_LinearRule rule_of_bits(double slope, double offset) noexcept
{
    const auto unit_slope = unit_of(slope);
    const auto unit_offset = unit_of(offset);
    if (is_real_sample<O> || !unit_slope || !unit_offset)
        return {slope, offset};
    return {static_cast<double>(*unit_slope), static_cast<double>(*unit_offset)};
}

template <class O>
class NUV_ConvertDataTypeFrom1bitEngine final : public NUV_ProcessLineToLineEngine {
public:
    static constexpr auto initiate_method = "NUV_ConvertDataTypeFrom1bitEngine::initiate()";
    using NUV_ProcessLineToLineEngine::NUV_ProcessLineToLineEngine;

    [[nodiscard]] bool initiate(const NUV_Header* header, NUV_SrcBuffer* src, NUV_DstBuffer* dst,
                                const NUV_DataType* type, const NUV_LinearRule& rule);

private:
    [[nodiscard]] bool process_line(const void* in, void* out) override;

    std::array<O, 2> values_{}; // of a 0 and of a 1
    std::size_t whole_bytes_ = 0;
    std::size_t remaining_bits_ = 0;
};

template <class O>
bool NUV_ConvertDataTypeFrom1bitEngine<O>::initiate(const NUV_Header* header, NUV_SrcBuffer* src,
                                                    NUV_DstBuffer* dst, const NUV_DataType* type,
                                                    const NUV_LinearRule& rule)
{
    if (!NUV_ProcessLineToLineEngine::initiate(header, src, dst))
        return false;
    if (!holds_bits(*header))
        return fail(manager(), NUV_ERR_UNSUPPORTED, initiate_method);

    header_.data_type(type);
    header_.bits(static_cast<std::uint16_t>(8 * sizeof(O)));
    if (!header_.checked_line_bytes())
        return fail(manager(), NUV_ERR_UNSUPPORTED, initiate_method);
    values_ = {convert_one<O>(0, rule), convert_one<O>(1, rule)};
    whole_bytes_ = samples_of_line(*header) / 8;
    remaining_bits_ = samples_of_line(*header) % 8;
    return dst->block_bytes(header_.line_bytes());
}

template <class O>
bool NUV_ConvertDataTypeFrom1bitEngine<O>::process_line(const void* in, void* out)
{
    const auto* from = static_cast<const std::uint8_t*>(in);
    auto* to = static_cast<O*>(out);
    const auto expand = [&](std::uint32_t byte, std::size_t bits) {
        for (std::size_t bit = 0; bit < bits; ++bit)
            *to++ = values_[byte >> (7 - bit) & 1];
    };
    for (std::size_t i = 0; i < whole_bytes_; ++i)
        expand(from[i], 8);
    if (remaining_bits_ > 0)
        expand(from[whole_bytes_], remaining_bits_);
    return true;
}

template <class I>
class NUV_ConvertDataTypeTo1bitEngine final : public NUV_ProcessLineToLineEngine {
public:
    static constexpr auto initiate_method = "NUV_ConvertDataTypeTo1bitEngine::initiate()";
    using NUV_ProcessLineToLineEngine::NUV_ProcessLineToLineEngine;

    [[nodiscard]] bool initiate(const NUV_Header* header, NUV_SrcBuffer* src, NUV_DstBuffer* dst,
                                double slope, double threshold);

private:
    [[nodiscard]] bool process_line(const void* in, void* out) override;
    // `bits` samples as the top bits of a byte.
    [[nodiscard]] std::uint8_t pack(const I* in, std::size_t bits) const;

    double slope_ = 1;
    double threshold_ = 0;
    std::size_t whole_bytes_ = 0;
    std::size_t remaining_bits_ = 0;
};

template <class I>
bool NUV_ConvertDataTypeTo1bitEngine<I>::initiate(const NUV_Header* header, NUV_SrcBuffer* src,
                                                  NUV_DstBuffer* dst, double slope,
                                                  double threshold)
{
    if (!NUV_ProcessLineToLineEngine::initiate(header, src, dst))
        return false;
    if (!holds_samples_of<I>(*header))
        return fail(manager(), NUV_ERR_UNSUPPORTED, initiate_method);

    header_.data_type(NUV_DataType::u_integer);
    header_.bits(1);
    slope_ = slope;
    threshold_ = threshold;
    whole_bytes_ = samples_of_line(*header) / 8;
    remaining_bits_ = samples_of_line(*header) % 8;
    return dst->block_bytes(header_.line_bytes());
}

template <class I>
std::uint8_t NUV_ConvertDataTypeTo1bitEngine<I>::pack(const I* in, std::size_t bits) const
{
    std::uint32_t byte = 0;
    for (std::size_t bit = 0; bit < bits; ++bit) {
        const bool reaches = static_cast<double>(in[bit]) * slope_ >= threshold_;
        byte |= (reaches ? 0x80U : 0U) >> bit;
    }
    return static_cast<std::uint8_t>(byte);
}

template <class I>
bool NUV_ConvertDataTypeTo1bitEngine<I>::process_line(const void* in, void* out)
{
    const auto* from = static_cast<const I*>(in);
    auto* to = static_cast<std::uint8_t*>(out);
    for (std::size_t i = 0; i < whole_bytes_; ++i)
        to[i] = pack(from + 8 * i, 8);
    if (remaining_bits_ > 0)
        to[whole_bytes_] = pack(from + 8 * whole_bytes_, remaining_bits_);
    return true;
}

// One value throughout; the padding bits are 0.
class NUV_ConvertDataType1bitEngine final : public NUV_ProcessLineToLineEngine {
public:
    static constexpr auto initiate_method = "NUV_ConvertDataType1bitEngine::initiate()";
    using NUV_ProcessLineToLineEngine::NUV_ProcessLineToLineEngine;

    [[nodiscard]] bool initiate(const NUV_Header* header, NUV_SrcBuffer* src, NUV_DstBuffer* dst,
                                bool is_set)
    {
        if (!NUV_ProcessLineToLineEngine::initiate(header, src, dst))
            return false;
        if (!holds_bits(*header))
            return fail(manager(), NUV_ERR_UNSUPPORTED, initiate_method);
        fill_ = is_set ? 0xFF : 0;
        const std::size_t unused = 8 * std::size_t{header->line_bytes()} - samples_of_line(*header);
        last_ = static_cast<std::uint8_t>(fill_ << unused);
        return dst->block_bytes(header_.line_bytes());
    }

private:
    [[nodiscard]] bool process_line(const void*, void* out) override
    {
        auto* to = static_cast<std::uint8_t*>(out);
        const std::size_t bytes = header_.line_bytes();
        std::memset(to, fill_, bytes);
        to[bytes - 1] = last_;
        return true;
    }

    std::uint8_t fill_ = 0; // of all bytes but the last
    std::uint8_t last_ = 0;
};

} // namespace

NUV_Engine* NUV_ConvertDataType1bit::engine(NUV_Engine* previous, double slope, double offset)
{
    constexpr auto method = "NUV_ConvertDataType1bit::engine()";

    if (!accepts_image(previous, method))
        return nullptr;
    if (!holds_bits(*previous->header()))
        return fail(manager(), NUV_ERR_UNSUPPORTED, method);
    const NUV_LinearRule rule(slope, offset);
    const bool of_zero = convert_one<std::uint8_t>(0, rule) > 0;
    const bool of_one = convert_one<std::uint8_t>(1, rule) > 0;
    if (of_zero == of_one)
        return append_new<NUV_ConvertDataType1bitEngine>(*previous, of_one);
    return of_one ? previous : NUV_Not(manager()).engine(previous);
}

NUV_Engine* NUV_ConvertDataTypeFrom1bit::engine(NUV_Engine* previous, const NUV_DataType* type,
                                                std::uint16_t bits, double slope, double offset)
{
    constexpr auto method = "NUV_ConvertDataTypeFrom1bit::engine()";

    if (!accepts_image(previous, method))
        return nullptr;
    const NUV_DataType* to = type ? type : previous->header()->data_type();
    return visit_sample_type(
        all_samples, to, bits,
        [&]<class O>() -> NUV_Engine* {
            return append_new<NUV_ConvertDataTypeFrom1bitEngine<O>>(*previous, to,
                                                                    rule_of_bits<O>(slope, offset));
        },
        [&]() -> NUV_Engine* { return fail(manager(), NUV_ERR_UNSUPPORTED, method); });
}

NUV_Engine* NUV_ConvertDataTypeTo1bit::engine(NUV_Engine* previous, double slope, double threshold)
{
    constexpr auto method = "NUV_ConvertDataTypeTo1bit::engine()";

    if (!accepts_image(previous, method))
        return nullptr;
    const NUV_Header& header = *previous->header();
    return visit_sample_type(
        all_samples, header,
        [&]<class I>() -> NUV_Engine* {
            return append_new<NUV_ConvertDataTypeTo1bitEngine<I>>(*previous, slope, threshold);
        },
        [&]() -> NUV_Engine* { return fail(manager(), NUV_ERR_UNSUPPORTED, method); });
}

} // namespace nuv
