#pragma once

namespace nuv {

// One colour after another as real numbers from 0 to 1 in every channel, but for Lab, which has
// its own units. XYZ is relative to the D50 white, X = 0.9643, Y = 1, Z = 0.8251. `in` and `out`
// may be the same; each has as many numbers as its colour has channels.
using CsPointFunction = void (*)(const double* in, double* out);

// To and from XYZ.
void srgb_to_xyz(const double* in, double* out);
void xyz_to_srgb(const double* in, double* out);
void adobe_rgb_to_xyz(const double* in, double* out);
void xyz_to_adobe_rgb(const double* in, double* out);
void lab_to_xyz(const double* in, double* out);
void xyz_to_lab(const double* in, double* out);
void icc_lab_to_xyz(const double* in, double* out);
void xyz_to_icc_lab(const double* in, double* out);
void lstar_to_xyz(const double* in, double* out);
void xyz_to_lstar(const double* in, double* out);

// ITU Lab (T.42) has its zeros at whole codes: where they lie between 0 and 1 depends on the bits
// of a sample, 8 or 16.
template <int Bits>
void itu_lab_to_xyz(const double* in, double* out);
template <int Bits>
void xyz_to_itu_lab(const double* in, double* out);

// To and from sRGB.
void gray_to_srgb(const double* in, double* out);
void srgb_to_gray(const double* in, double* out);
void gray_reverse_to_srgb(const double* in, double* out);
void srgb_to_gray_reverse(const double* in, double* out);
void ycbcr_to_srgb(const double* in, double* out);
void srgb_to_ycbcr(const double* in, double* out);
void hsl_to_srgb(const double* in, double* out);
void srgb_to_hsl(const double* in, double* out);
void cmy_to_srgb(const double* in, double* out);
void srgb_to_cmy(const double* in, double* out);
void cmyk_to_srgb(const double* in, double* out);
void srgb_to_cmyk(const double* in, double* out);

} // namespace nuv
