#pragma once

#include "core/include/nuv_scaleframe.h"
#include "framework/engine/nuv_enginecreator.h"

#include <cstdint>

namespace nuv {

// Base of the creators that change one axis: the tests they have in common.
class NUV_ScaleAxis : public NUV_EngineCreator {
public:
    using NUV_EngineCreator::NUV_EngineCreator;

protected:
    // False after NUV_ERR_ARGUMENT with the text `method`: no engine, one without an image, or a
    // size of 0.
    [[nodiscard]] bool accepts(const NUV_Engine* previous, std::uint32_t size, const char* method);

    enum class Axis { width, height };

    // Behind accepts(): `previous` where the axis has the size already, else what
    // append.operator()<T>() gives for unsigned samples of 8 and 16 bits. NUV_ERR_UNSUPPORTED with
    // the text `method` for others.
    template <class Append>
    [[nodiscard]] NUV_Engine* scale_unsigned(NUV_Engine* previous, Axis axis, std::uint32_t size,
                                             const char* method, Append&& append)
    {
        if (!accepts(previous, size, method))
            return nullptr;
        const NUV_Header& source = *previous->header();
        if (size == (axis == Axis::width ? source.width() : source.height()))
            return previous;
        return visit_sample_type(unsigned_samples, source, append, [&]() -> NUV_Engine* {
            return fail(manager(), NUV_ERR_UNSUPPORTED, method);
        });
    }
};

// Base of the two-dimensional scalers. Sizes are in pixels. A creator appends one or more engines
// and returns the last one, `previous` itself when there is nothing to change, and null after a
// status; engines of a pass that did succeed stay in the pipeline.
class NUV_Scale : public NUV_EngineCreator {
public:
    using NUV_EngineCreator::NUV_EngineCreator;

    [[nodiscard]] virtual NUV_Engine* engine(NUV_Engine* previous, std::uint32_t width,
                                             std::uint32_t height) = 0;

    // The size that scaling by the two factors leads to, rounded at a hair above one half and 1 at
    // least. False after NUV_ERR_ARGUMENT: no header, a factor that is not a number above 0, or a
    // size that passes 32 bits.
    [[nodiscard]] bool ratio_to_size(const NUV_Header* header, double ratio_x, double ratio_y,
                                     std::uint32_t& width, std::uint32_t& height);

protected:
    // As in NUV_ScaleAxis.
    [[nodiscard]] bool accepts(const NUV_Engine* previous, std::uint32_t width,
                               std::uint32_t height, const char* method);

    // ratio_to_size() with the text `method`.
    [[nodiscard]] bool scaled_sizes(const NUV_Header* header, double ratio_x, double ratio_y,
                                    std::uint32_t& width, std::uint32_t& height,
                                    const char* method);

    // Runs the pass over the height first when that shrinks it, otherwise the one over the width:
    // NUV_Engine* pass(NUV_Engine*). Null when either gives null.
    template <class WidthPass, class HeightPass>
    [[nodiscard]] static NUV_Engine* in_order(NUV_Engine* previous, std::uint32_t height,
                                              WidthPass&& width_pass, HeightPass&& height_pass)
    {
        if (height < previous->header()->height()) {
            NUV_Engine* shrunk = height_pass(previous);
            return shrunk ? width_pass(shrunk) : nullptr;
        }
        NUV_Engine* widened = width_pass(previous);
        return widened ? height_pass(widened) : nullptr;
    }
};

// A scaler that can calculate in fixed-point numbers or in double precision.
class NUV_ScaleUsingFixedReal : public NUV_Scale {
public:
    using NUV_Scale::NUV_Scale;

    // Fixed-point below 9 bits per sample.
    [[nodiscard]] NUV_Engine* engine(NUV_Engine* previous, std::uint32_t width,
                                     std::uint32_t height) override;
    [[nodiscard]] virtual NUV_Engine* engine(NUV_Engine* previous, std::uint32_t width,
                                             std::uint32_t height, bool use_fixed_real) = 0;
};

} // namespace nuv
