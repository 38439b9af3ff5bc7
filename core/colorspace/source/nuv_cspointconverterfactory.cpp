#include "core/colorspace/source/nuv_cspointconverterfactory.h"

namespace nuv {
namespace {

using Color = NUV_ColorType;

// The ways between a colour and XYZ: directly, or through sRGB.
struct Way {
    const NUV_ColorType* color;
    CsPointFunction in; // to XYZ, or to sRGB
    CsPointFunction out;
    bool through_srgb;
};

template <class T>
[[nodiscard]] const Way* find_way(const NUV_ColorType* color) noexcept
{
    constexpr int bits = 8 * sizeof(T);
    static const Way ways[] = {
        {Color::gray, gray_to_srgb, srgb_to_gray, true},
        {Color::gray_reverse, gray_reverse_to_srgb, srgb_to_gray_reverse, true},
        {Color::lstar, lstar_to_xyz, xyz_to_lstar, false},
        {Color::s_rgb, srgb_to_xyz, xyz_to_srgb, false},
        {Color::adobe_rgb, adobe_rgb_to_xyz, xyz_to_adobe_rgb, false},
        {Color::ycbcr, ycbcr_to_srgb, srgb_to_ycbcr, true},
        {Color::hsl, hsl_to_srgb, srgb_to_hsl, true},
        {Color::icc_lab, icc_lab_to_xyz, xyz_to_icc_lab, false},
        {Color::itu_lab, itu_lab_to_xyz<bits>, xyz_to_itu_lab<bits>, false},
        {Color::cmy, cmy_to_srgb, srgb_to_cmy, true},
        {Color::cmyk, cmyk_to_srgb, srgb_to_cmyk, true},
    };
    for (const Way& way : ways) {
        if (way.color == color)
            return &way;
    }
    return nullptr;
}

} // namespace

bool is_convertible(const NUV_ColorType* color) noexcept
{
    return color == Color::xyz || find_way<std::uint8_t>(color);
}

template <class T>
NUV_Held<NUV_CsPointConverter<double>> NUV_CsPointConverterFactory<T>::to_xyz(
    const NUV_ColorType* source)
{
    const Way* way = find_way<T>(source);
    if (!way)
        return {};
    return make_object<NUV_CsRealConverter>(manager(), way->in,
                                            way->through_srgb ? srgb_to_xyz : nullptr,
                                            source->channels(), Color::xyz->channels());
}

template <class T>
NUV_Held<NUV_CsPointConverter<double>> NUV_CsPointConverterFactory<T>::from_xyz(
    const NUV_ColorType* target)
{
    const Way* way = find_way<T>(target);
    if (!way)
        return {};
    return make_object<NUV_CsRealConverter>(manager(), way->through_srgb ? xyz_to_srgb : way->out,
                                            way->through_srgb ? way->out : nullptr,
                                            Color::xyz->channels(), target->channels());
}

template <class T>
NUV_Held<NUV_CsPointConverter<T>> NUV_CsPointConverterFactory<T>::between(
    const NUV_ColorType* source, const NUV_ColorType* target)
{
    const auto is_pair = [&](const NUV_ColorType* a, const NUV_ColorType* b) {
        return source == a && target == b;
    };
    if (is_pair(Color::s_rgb, Color::cmy) || is_pair(Color::cmy, Color::s_rgb) ||
        is_pair(Color::gray, Color::gray_reverse) || is_pair(Color::gray_reverse, Color::gray))
        return make_object<NUV_CsInversion<T>>(manager(), source->channels());
    if (is_pair(Color::s_rgb, Color::cmyk))
        return make_object<NUV_CsRgbToCmyk<T>>(manager());
    if (is_pair(Color::cmyk, Color::s_rgb))
        return make_object<NUV_CsCmykToRgb<T>>(manager());
    if (is_pair(Color::s_rgb, Color::hsl))
        return make_object<NUV_CsSampledConverter<T>>(manager(), srgb_to_hsl);
    if (is_pair(Color::hsl, Color::s_rgb))
        return make_object<NUV_CsSampledConverter<T>>(manager(), hsl_to_srgb);
    return {};
}

template class NUV_CsPointConverterFactory<std::uint8_t>;
template class NUV_CsPointConverterFactory<std::uint16_t>;

} // namespace nuv
