#include "core/limitpixelvalue/nuv_limitpixelvalue.h"

#include "framework/engine/nuv_processlinetolineengine.h"
#include "framework/utility/nuv_sampletype.h"

#include <algorithm>
#include <cstddef>
#include <limits>
#include <utility>

namespace nuv {
namespace {

template <WideIntegerSample T>
class NUV_LimitPixelValueEngine final : public NUV_ProcessLineToLineEngine {
public:
    static constexpr auto initiate_method = "NUV_LimitPixelValueEngine::initiate()";
    using NUV_ProcessLineToLineEngine::NUV_ProcessLineToLineEngine;

    [[nodiscard]] bool initiate(const NUV_Header* header, NUV_SrcBuffer* src, NUV_DstBuffer* dst,
                                std::int64_t maximum, std::int64_t minimum);

private:
    [[nodiscard]] bool process_line(const void* in, void* out) override;

    T maximum_{};
    T minimum_{};
    std::size_t samples_per_line_ = 0; // width x channels
};

template <WideIntegerSample T>
bool NUV_LimitPixelValueEngine<T>::initiate(const NUV_Header* header, NUV_SrcBuffer* src,
                                            NUV_DstBuffer* dst, std::int64_t maximum,
                                            std::int64_t minimum)
{
    if (!NUV_ProcessLineToLineEngine::initiate(header, src, dst))
        return false;
    if (!holds_samples_of<T>(*header))
        return fail(manager(), NUV_ERR_UNSUPPORTED, initiate_method);
    if (minimum > maximum || !std::in_range<T>(minimum) || !std::in_range<T>(maximum))
        return fail(manager(), NUV_ERR_ARGUMENT, initiate_method);

    maximum_ = static_cast<T>(maximum);
    minimum_ = static_cast<T>(minimum);
    samples_per_line_ = std::size_t{header->width()} * header->channels();
    return dst->block_bytes(header->line_bytes());
}

template <WideIntegerSample T>
bool NUV_LimitPixelValueEngine<T>::process_line(const void* in, void* out)
{
    const T* from = static_cast<const T*>(in);
    T* to = static_cast<T*>(out);
    const T maximum = maximum_;
    const T minimum = minimum_;
    const std::size_t count = samples_per_line_;
    for (std::size_t i = 0; i < count; ++i)
        to[i] = std::min(std::max(from[i], minimum), maximum);
    return true;
}

// What no sample can hold stays so.
[[nodiscard]] std::int64_t as_signed(std::uint64_t value) noexcept
{
    constexpr std::uint64_t most = std::numeric_limits<std::int64_t>::max();
    return static_cast<std::int64_t>(std::min(value, most));
}

} // namespace

NUV_Engine* NUV_LimitPixelValue::engine(NUV_Engine* previous, std::int64_t maximum,
                                        std::int64_t minimum)
{
    constexpr auto method = "NUV_LimitPixelValue::engine()";

    if (!accepts_image(previous, method))
        return nullptr;
    const NUV_Header& header = *previous->header();
    return visit_sample_type(
        wide_integer_samples, header,
        [&]<class T>() -> NUV_Engine* {
            return append_new<NUV_LimitPixelValueEngine<T>>(*previous, maximum, minimum);
        },
        [&]() -> NUV_Engine* { return fail(manager(), NUV_ERR_UNSUPPORTED, method); });
}

NUV_Engine* NUV_LimitPixelValue::engine(NUV_Engine* previous, std::int32_t maximum,
                                        std::int32_t minimum)
{
    return engine(previous, std::int64_t{maximum}, std::int64_t{minimum});
}

NUV_Engine* NUV_LimitPixelValue::engine(NUV_Engine* previous, std::uint32_t maximum,
                                        std::uint32_t minimum)
{
    return engine(previous, std::int64_t{maximum}, std::int64_t{minimum});
}

NUV_Engine* NUV_LimitPixelValue::engine(NUV_Engine* previous, std::uint64_t maximum,
                                        std::uint64_t minimum)
{
    return engine(previous, as_signed(maximum), as_signed(minimum));
}

} // namespace nuv
