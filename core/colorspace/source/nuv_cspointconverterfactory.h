#pragma once

#include "core/colorspace/source/nuv_cspointconverter.h"
#include "framework/base/nuv_held.h"
#include "framework/base/nuv_tags.h"

namespace nuv {

// True for the twelve colours that can be converted to each other.
[[nodiscard]] bool is_convertible(const NUV_ColorType* color) noexcept;

// Makes converters of colours, for samples of type T. Empty when there is none, or after
// NUV_ERR_MEMORY.
template <class T>
class NUV_CsPointConverterFactory final : public NUV_Utility {
public:
    using NUV_Utility::NUV_Utility;

    // Between a colour and XYZ, in real numbers. None for XYZ itself.
    [[nodiscard]] NUV_Held<NUV_CsPointConverter<double>> to_xyz(const NUV_ColorType* source);
    [[nodiscard]] NUV_Held<NUV_CsPointConverter<double>> from_xyz(const NUV_ColorType* target);

    // Between two colours, in samples: from sRGB to CMY, CMYK and HSL and back, and between the two
    // grays.
    [[nodiscard]] NUV_Held<NUV_CsPointConverter<T>> between(const NUV_ColorType* source,
                                                            const NUV_ColorType* target);
};

extern template class NUV_CsPointConverterFactory<std::uint8_t>;
extern template class NUV_CsPointConverterFactory<std::uint16_t>;

} // namespace nuv
