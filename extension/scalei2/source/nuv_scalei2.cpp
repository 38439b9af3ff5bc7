#include "extension/scalei2/nuv_scalei2.h"

#include "core/include/nuv_interpolationtable.h"
#include "extension/scalei2/source/nuv_scalei2engine.h"
#include "extension/scalei2utility/nuv_scalei2arithmetic.h"
#include "extension/scalei2utility/nuv_scalei2mask.h"

namespace nuv {

NUV_Engine* NUV_ScaleI2::engine(NUV_Engine* previous, std::uint32_t width, std::uint32_t height,
                                float a, std::uint16_t bits)
{
    constexpr auto method = "NUV_ScaleI2::engine()";

    if (!has_image(previous) || width < scale_i2_least_size || height < scale_i2_least_size)
        return fail(manager(), NUV_ERR_ARGUMENT, method);
    const NUV_Header& source = *previous->header();
    if (!limits_bits(source, bits) && width == source.width() && height == source.height())
        return previous;
    if (!takes_scale_i2(source))
        return fail(manager(), NUV_ERR_UNSUPPORTED, method);

    const auto mask = scale_i2_mask(scale_i2_ratio(source, width, height));
    const NUV_ScaleI2Mask used = mask.value_or(NUV_ScaleI2Mask{scale_i2_most_taps, 0.5});
    NUV_Held<NUV_CubicSplineTable> table = make_object<NUV_CubicSplineTable>(manager());
    if (!table || !table->allocate())
        return nullptr;
    table->fill(a);
    table->stretch(used.stretch, used.stretch);

    const auto scale_by = [&]<class Creator>() {
        return Creator(manager()).engine(previous, width, height, bits, table.get(), used.taps);
    };
    if (mask) {
        return source.bits() == 8 ? scale_by.template operator()<NUV_ScaleI2FixedReal>()
                                  : scale_by.template operator()<NUV_ScaleI2Float>();
    }
    return source.bits() == 8 ? scale_by.template operator()<NUV_ScaleI2FixedRealSmall>()
                              : scale_by.template operator()<NUV_ScaleI2FloatSmall>();
}

} // namespace nuv
