#include "core/include/nuv_scaleframe.h"
#include "extension/scalei2/nuv_scalei2.h"
#include "extension/scalei2/source/nuv_scalei2engine.h"
#include "extension/scalei2utility/nuv_scalei2smallutility.h"
#include "framework/engine/nuv_stepblocks.h"

#include <type_traits>

namespace nuv {
namespace {

// Each result pixel is the mean of a box of the source.
template <class T>
class NUV_ScaleI2SmallEngine final : public NUV_ScaleI2Engine {
public:
    static constexpr auto initiate_method = std::is_same_v<T, std::uint8_t>
                                                ? "NUV_ScaleI2FixedRealSmallEngine::initiate()"
                                                : "NUV_ScaleI2FloatSmallEngine::initiate()";
    using NUV_ScaleI2Engine::NUV_ScaleI2Engine;

    [[nodiscard]] bool initiate(const NUV_Header* header, NUV_SrcBuffer* src, NUV_DstBuffer* dst,
                                const NUV_ScaleI2Order& order);
    [[nodiscard]] bool delivers_what_it_writes() const override { return true; }
    [[nodiscard]] bool execute() override;

private:
    NUV_ScaleI2Boxes columns_;
    NUV_ScaleI2Boxes rows_;
    NUV_ScaleI2SmallUtility<T> sums_;
    T maximum_ = 0;
};

template <class T>
bool NUV_ScaleI2SmallEngine<T>::initiate(const NUV_Header* header, NUV_SrcBuffer* src,
                                         NUV_DstBuffer* dst, const NUV_ScaleI2Order& order)
{
    if (!NUV_ScaleI2Engine::initiate(header, src, dst, order, 8 * sizeof(T)))
        return false;
    if (ratio_ > 1) // boxes without a pixel
        return fail(manager(), NUV_ERR_ARGUMENT, initiate_method);

    maximum_ = NUV_SampleLimits<T>::of_bits(order.bits).maximum;
    return columns_.initiate(manager(), source_width_, order.width, ratio_) &&
           rows_.initiate(manager(), source_height_, order.height, ratio_) &&
           sums_.initiate(manager(), columns_, channels_, rows_.most_count());
}

template <class T>
bool NUV_ScaleI2SmallEngine<T>::execute()
{
    if (line_ >= header_.height() || !skip_lines(rows_.start(line_)))
        return false;
    sums_.clear();
    const std::uint32_t end = rows_.start(line_ + std::size_t{1});
    while (lines_read_ < end) {
        NUV_InputBlock in(*src_buffer_);
        if (!in)
            return false;
        sums_.add(in.as<T>());
        ++lines_read_;
        if (!in.release())
            return false;
    }
    NUV_OutputBlock out(*dst_buffer_);
    if (!out)
        return false;
    sums_.divide(out.as<T>(), rows_.count(line_), maximum_);
    ++line_;
    return out.commit(header_.line_bytes());
}

} // namespace

NUV_Engine* NUV_ScaleI2FloatSmall::engine(NUV_Engine* previous, std::uint32_t width,
                                          std::uint32_t height, std::uint16_t bits,
                                          const NUV_CubicSplineTable* table, std::uint32_t taps)
{
    if (!has_image(previous) || width == 0 || height == 0)
        return fail(manager(), NUV_ERR_ARGUMENT, "NUV_ScaleI2FloatSmall::engine()");
    const NUV_ScaleI2Order order{width, height, bits, table, taps};
    return append_new<NUV_ScaleI2SmallEngine<std::uint16_t>>(*previous, order);
}

NUV_Engine* NUV_ScaleI2FixedRealSmall::engine(NUV_Engine* previous, std::uint32_t width,
                                              std::uint32_t height, std::uint16_t bits,
                                              const NUV_CubicSplineTable* table, std::uint32_t taps)
{
    if (!has_image(previous) || width == 0 || height == 0)
        return fail(manager(), NUV_ERR_ARGUMENT, "NUV_ScaleI2FixedRealSmall::engine()");
    const NUV_ScaleI2Order order{width, height, bits, table, taps};
    return append_new<NUV_ScaleI2SmallEngine<std::uint8_t>>(*previous, order);
}

} // namespace nuv
