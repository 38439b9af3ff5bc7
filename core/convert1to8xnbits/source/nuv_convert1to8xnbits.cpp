#include "core/convert1to8xnbits/nuv_convert1to8xnbits.h"

#include "framework/engine/nuv_processlinetolineengine.h"
#include "framework/utility/nuv_sampletype.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <utility>

namespace nuv {
namespace {

template <IntegerSample T>
class NUV_Convert1To8xNBitsEngine final : public NUV_ProcessLineToLineEngine {
public:
    static constexpr auto initiate_method = "NUV_Convert1To8xNBitsEngine::initiate()";
    using NUV_ProcessLineToLineEngine::NUV_ProcessLineToLineEngine;

    [[nodiscard]] bool initiate(const NUV_Header* header, NUV_SrcBuffer* src, NUV_DstBuffer* dst,
                                const NUV_DataType* type, std::int32_t one, std::int32_t zero);

private:
    [[nodiscard]] bool process_line(const void* in, void* out) override;

    std::array<std::array<T, 8>, 256> samples_of_{}; // of each byte of bits, top bit first
    std::size_t samples_per_line_ = 0;               // width x channels
};

template <IntegerSample T>
bool NUV_Convert1To8xNBitsEngine<T>::initiate(const NUV_Header* header, NUV_SrcBuffer* src,
                                              NUV_DstBuffer* dst, const NUV_DataType* type,
                                              std::int32_t one, std::int32_t zero)
{
    if (!NUV_ProcessLineToLineEngine::initiate(header, src, dst))
        return false;
    if (header->bits() != 1 || header->data_type() != NUV_DataType::u_integer ||
        !header->palette().is_empty())
        return fail(manager(), NUV_ERR_UNSUPPORTED, initiate_method);
    if (!std::in_range<T>(one) || !std::in_range<T>(zero))
        return fail(manager(), NUV_ERR_ARGUMENT, initiate_method);

    header_.data_type(type);
    header_.bits(static_cast<std::uint16_t>(8 * sizeof(T)));
    if (!header_.checked_line_bytes())
        return fail(manager(), NUV_ERR_UNSUPPORTED, initiate_method);
    for (std::size_t byte = 0; byte < samples_of_.size(); ++byte) {
        for (std::size_t bit = 0; bit < 8; ++bit)
            samples_of_[byte][bit] = static_cast<T>((byte << bit & 0x80) != 0 ? one : zero);
    }
    samples_per_line_ = std::size_t{header->width()} * header->channels();
    return dst->block_bytes(header_.line_bytes());
}

template <IntegerSample T>
bool NUV_Convert1To8xNBitsEngine<T>::process_line(const void* in, void* out)
{
    const auto* from = static_cast<const std::uint8_t*>(in);
    auto* to = static_cast<T*>(out);
    const std::size_t whole = samples_per_line_ / 8;
    for (std::size_t i = 0; i < whole; ++i)
        std::copy_n(samples_of_[from[i]].data(), 8, to + 8 * i);
    if (samples_per_line_ % 8 != 0)
        std::copy_n(samples_of_[from[whole]].data(), samples_per_line_ % 8, to + 8 * whole);
    return true;
}

} // namespace

NUV_Engine* NUV_Convert1To8xNBits::engine(NUV_Engine* previous, const NUV_DataType* type,
                                          std::uint16_t bits, std::int32_t one, std::int32_t zero)
{
    constexpr auto method = "NUV_Convert1To8xNBits::engine()";

    if (!has_image(previous) || !type)
        return fail(manager(), NUV_ERR_ARGUMENT, method);
    return visit_sample_type(
        integer_samples, type, bits,
        [&]<class T>() -> NUV_Engine* {
            return append_new<NUV_Convert1To8xNBitsEngine<T>>(*previous, type, one, zero);
        },
        [&]() -> NUV_Engine* { return fail(manager(), NUV_ERR_UNSUPPORTED, method); });
}

} // namespace nuv
