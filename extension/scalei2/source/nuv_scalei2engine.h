#pragma once

#include "core/include/nuv_interpolationtable.h"
#include "framework/engine/nuv_processengine.h"

#include <cstddef>
#include <cstdint>

namespace nuv {

// What the engine of a mask scaler of both axes is told.
struct NUV_ScaleI2Order {
    std::uint32_t width;  // pixels of the result
    std::uint32_t height; // lines of the result
    std::uint16_t bits;   // significant ones, 0 for all
    const NUV_CubicSplineTable* table;
    std::uint32_t taps;
};

// The larger of the two ratios of result to source.
[[nodiscard]] double scale_i2_ratio(const NUV_Header& source, std::uint32_t width,
                                    std::uint32_t height) noexcept;

// Both axes in one engine, by one ratio.
class NUV_ScaleI2Engine : public NUV_ProcessEngine {
public:
    static constexpr std::uint32_t module_version = NUV_EXTENSION_VERSION;

    static constexpr auto initiate_method = "NUV_ScaleI2Engine::initiate()";
    using NUV_ProcessEngine::NUV_ProcessEngine;

protected:
    // NUV_ERR_UNSUPPORTED for pictures of other than `sample_bits` bits and for lines that pass
    // 32-bit sizes, NUV_ERR_ARGUMENT for a size of 0.
    [[nodiscard]] bool initiate(const NUV_Header* header, NUV_SrcBuffer* src, NUV_DstBuffer* dst,
                                const NUV_ScaleI2Order& order, std::uint16_t sample_bits);

    // Takes and drops source lines up to line `end`. False when there are not as many.
    [[nodiscard]] bool skip_lines(std::uint32_t end);

    double ratio_ = 1; // result pixels per source pixel
    std::uint32_t source_width_ = 0;
    std::uint32_t source_height_ = 0;
    std::uint32_t channels_ = 0;
    std::size_t samples_per_line_ = 0; // of the result
    std::uint32_t lines_read_ = 0;
    std::uint32_t line_ = 0; // lines of the result made
};

} // namespace nuv
