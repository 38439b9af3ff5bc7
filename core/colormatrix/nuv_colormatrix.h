#pragma once

#include "core/colormatrix/nuv_matrix.h"
#include "framework/base/nuv_tags.h"
#include "framework/engine/nuv_enginecreator.h"

#include <span>

namespace nuv {

// Multiplies every pixel by a matrix and adds an offset to each channel of the result, in units of
// the sample. The matrix has a column for each channel of the image and a row for each channel of
// the result. Raw images of 8 and 16 bit unsigned samples without a palette. Results are rounded
// and limited to the range of the samples; what is not a number becomes 0.
//
// `offsets` are empty, for none, or one for each row. `target`, unless null, becomes the colour of
// the result, which must allow its channels. Fixed-point arithmetic has 12 fractional bits, which
// is enough for samples of 8 bits. The identity without offsets and without a new colour gives
// `previous` itself.
//
// NUV_ERR_ARGUMENT for nulls and for sizes that do not fit, NUV_ERR_UNSUPPORTED for other images.
class NUV_ColorMatrix : public NUV_EngineCreator {
public:
    using NUV_EngineCreator::NUV_EngineCreator;

    [[nodiscard]] virtual NUV_Engine* engine(NUV_Engine* previous, const NUV_Matrix* matrix,
                                             std::span<const double> offsets,
                                             const NUV_ColorType* target, bool use_fixed_real);
};

// Any matrix.
class NUV_ColorMatrix8xNbits final : public NUV_ColorMatrix {
public:
    using NUV_ColorMatrix::NUV_ColorMatrix;

    [[nodiscard]] NUV_Engine* engine(NUV_Engine* previous, const NUV_Matrix* matrix,
                                     std::span<const double> offsets, const NUV_ColorType* target,
                                     bool use_fixed_real) override;
};

// Three rows and three columns.
class NUV_ColorMatrix3x3_8xNbits final : public NUV_ColorMatrix {
public:
    using NUV_ColorMatrix::NUV_ColorMatrix;

    [[nodiscard]] NUV_Engine* engine(NUV_Engine* previous, const NUV_Matrix* matrix,
                                     std::span<const double> offsets, const NUV_ColorType* target,
                                     bool use_fixed_real) override;
};

} // namespace nuv
