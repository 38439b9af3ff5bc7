#pragma once

#include "core/dlut/nuv_dlutdata.h"
#include "framework/base/nuv_tags.h"
#include "framework/engine/nuv_enginecreator.h"

namespace nuv {

// Turns the pixels of an image into those of a table over all channels at once, interpolated
// between the points of its grid. Raw images of 8 and 16 bit unsigned samples without a palette,
// with as many channels and bits as the table has on its input side. The result has its output
// channels, the same bits, and the colour `target`, which must allow those channels. The table is
// copied.
//
// NUV_ERR_ARGUMENT for nulls and for a table or a colour that does not fit, NUV_ERR_UNSUPPORTED for
// other images.
class NUV_DLut : public NUV_EngineCreator {
public:
    using NUV_EngineCreator::NUV_EngineCreator;

    [[nodiscard]] virtual NUV_Engine* engine(NUV_Engine* previous, const NUV_DLutData* table,
                                             const NUV_ColorType* target) = 0;
};

// Interpolates in the simplex that holds the point, for three channels a tetrahedron: along the
// way from one corner of its cell to the opposite one that takes the axes in the order of falling
// fractions.
class NUV_DLutTetrahedron final : public NUV_DLut {
public:
    using NUV_DLut::NUV_DLut;

    [[nodiscard]] NUV_Engine* engine(NUV_Engine* previous, const NUV_DLutData* table,
                                     const NUV_ColorType* target) override;
};

} // namespace nuv
