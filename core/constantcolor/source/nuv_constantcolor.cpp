#include "core/constantcolor/nuv_constantcolor.h"

#include "framework/base/nuv_held.h"
#include "framework/engine/nuv_generateengine.h"
#include "framework/engine/nuv_stepblocks.h"
#include "framework/utility/nuv_sampletype.h"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <cstring>
#include <limits>

namespace nuv {
namespace {

// Writes one line again and again.
class NUV_RepeatLineEngine : public NUV_GenerateEngine {
public:
    using NUV_GenerateEngine::NUV_GenerateEngine;

    bool cleanup() override
    {
        line_.free();
        return NUV_GenerateEngine::cleanup();
    }
    [[nodiscard]] bool execute() override;

protected:
    // The memory of the line, and the destination's block.
    [[nodiscard]] bool prepare()
    {
        return line_.allocate(manager(), header_.line_bytes()) &&
               dst_buffer_->block_bytes(header_.line_bytes());
    }

    NUV_Scratch<std::uint8_t> line_;

private:
    std::uint32_t row_ = 0;
};

bool NUV_RepeatLineEngine::execute()
{
    if (row_ >= header_.height())
        return false;
    NUV_OutputBlock out(*dst_buffer_);
    if (!out)
        return false;
    std::memcpy(out.data(), line_.data(), line_.size());
    ++row_;
    return out.commit(header_.line_bytes());
}

// True when T can hold `value` as it is; of reals only the range counts.
template <class T>
[[nodiscard]] bool holds(double value)
{
    const bool is_inside = value >= static_cast<double>(std::numeric_limits<T>::lowest()) &&
                           value <= static_cast<double>(std::numeric_limits<T>::max());
    return is_inside && (std::is_floating_point_v<T> || std::trunc(value) == value);
}

template <class T>
class NUV_ConstantColorRaw8xNBitsEngine final : public NUV_RepeatLineEngine {
public:
    static constexpr auto initiate_method = "NUV_ConstantColorRaw8xNBitsEngine::initiate()";
    using NUV_RepeatLineEngine::NUV_RepeatLineEngine;

    [[nodiscard]] bool initiate(const NUV_Header* header, NUV_DstBuffer* dst,
                                std::span<const double> color);
};

template <class T>
bool NUV_ConstantColorRaw8xNBitsEngine<T>::initiate(const NUV_Header* header, NUV_DstBuffer* dst,
                                                    std::span<const double> color)
{
    if (!NUV_GenerateEngine::initiate(header, dst))
        return false;
    if (!header->is_raw() || header->bits() != 8 * sizeof(T))
        return fail(manager(), NUV_ERR_UNSUPPORTED, initiate_method);
    if (color.size() != header->channels() || !std::ranges::all_of(color, holds<T>))
        return fail(manager(), NUV_ERR_ARGUMENT, initiate_method);
    if (!prepare())
        return false;

    std::uint8_t* to = line_.data();
    for (std::uint32_t x = 0; x < header->width(); ++x) {
        for (const double value : color) {
            const T sample = static_cast<T>(value);
            std::memcpy(to, &sample, sizeof(sample));
            to += sizeof(sample);
        }
    }
    return true;
}

class NUV_ConstantColorRaw1Engine final : public NUV_RepeatLineEngine {
public:
    static constexpr auto initiate_method = "NUV_ConstantColorRaw1Engine::initiate()";
    using NUV_RepeatLineEngine::NUV_RepeatLineEngine;

    [[nodiscard]] bool initiate(const NUV_Header* header, NUV_DstBuffer* dst,
                                std::span<const double> color);
};

bool NUV_ConstantColorRaw1Engine::initiate(const NUV_Header* header, NUV_DstBuffer* dst,
                                           std::span<const double> color)
{
    if (!NUV_GenerateEngine::initiate(header, dst))
        return false;
    if (!header->is_raw() || header->bits() != 1)
        return fail(manager(), NUV_ERR_UNSUPPORTED, initiate_method);
    const auto is_bit = [](double value) { return value == 0 || value == 1; };
    if (color.size() != header->channels() || !std::ranges::all_of(color, is_bit))
        return fail(manager(), NUV_ERR_ARGUMENT, initiate_method);
    if (!prepare())
        return false;

    std::ranges::fill(line_.items(), std::uint8_t{0}); // the bits behind the last sample too
    const std::uint64_t samples = std::uint64_t{header->width()} * header->channels();
    for (std::uint64_t i = 0; i < samples; ++i) {
        if (color[i % color.size()] != 0) {
            std::uint8_t& byte = line_[static_cast<std::size_t>(i >> 3)];
            byte = static_cast<std::uint8_t>(byte | 0x80U >> (i & 7));
        }
    }
    return true;
}

} // namespace

NUV_Engine* NUV_ConstantColorRaw::engine(const NUV_Header* header, std::span<const double> color)
{
    constexpr auto method = "NUV_ConstantColorRaw::engine()";

    if (!header)
        return fail(manager(), NUV_ERR_ARGUMENT, method);
    const auto refuse = [&]() -> NUV_Engine* {
        return fail(manager(), NUV_ERR_UNSUPPORTED, method);
    };
    if (!header->is_raw())
        return refuse();
    if (header->bits() == 1)
        return append_generator<NUV_ConstantColorRaw1Engine>(header, color);
    return visit_sample_type(
        all_samples, *header,
        [&]<class T>() -> NUV_Engine* {
            return append_generator<NUV_ConstantColorRaw8xNBitsEngine<T>>(header, color);
        },
        refuse);
}

NUV_Engine* NUV_ConstantColor::engine(const NUV_Header* header, std::span<const double> color)
{
    constexpr auto method = "NUV_ConstantColor::engine()";

    if (!header)
        return fail(manager(), NUV_ERR_ARGUMENT, method);
    if (!header->is_raw())
        return fail(manager(), NUV_ERR_UNSUPPORTED, method);
    return NUV_ConstantColorRaw(manager()).engine(header, color);
}

} // namespace nuv
