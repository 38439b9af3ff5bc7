#include "core/colorspace/source/nuv_cspointfunctions.h"

#include <algorithm>
#include <cmath>
#include <limits>

// Sums and products are taken from the left, as they are written: the tables that come out are to
// be the same everywhere.

namespace nuv {
namespace {

constexpr double epsilon = std::numeric_limits<double>::epsilon();

// CIE 1976: where the cube root ends and the line begins.
constexpr double six_29ths = 0.20689655172413793;
constexpr double line_slope = 1 / (3 * (six_29ths * six_29ths));
constexpr double line_end = six_29ths * six_29ths * six_29ths;
constexpr double line_start = 0.13793103448275862; // 4 / 29

constexpr double white_x = 0.9643;
constexpr double white_z = 0.8251;
constexpr double one_over_white_x = 1.0370216737529814;
constexpr double one_over_white_z = 1.21197430614471;

constexpr double one_116th = 0.008620689655172414;

[[nodiscard]] double limit(double v)
{
    return v < 0 ? 0 : v > 1 ? 1 : v;
}

void limit_three(double* out)
{
    for (int c = 0; c < 3; ++c)
        out[c] = limit(out[c]);
}

void multiply(const double (&rows)[3][3], const double* in, double* out)
{
    const double a = in[0];
    const double b = in[1];
    const double c = in[2];
    for (int j = 0; j < 3; ++j)
        out[j] = rows[j][0] * a + rows[j][1] * b + rows[j][2] * c;
}

[[nodiscard]] double lab_f(double t)
{
    return t > line_end ? std::pow(t, 1.0 / 3.0) : line_slope * t + line_start;
}

[[nodiscard]] double lab_g(double t)
{
    return t > six_29ths ? t * t * t : (t - line_start) / line_slope;
}

// Of ITU Lab: what the code of a zero is, as a part of all codes.
constexpr double itu_a_part = 0.5;
constexpr double itu_b_part = 0.375;

template <int Bits>
struct ItuCodes {
    static constexpr double count = 1 << Bits;
    static constexpr double maximum = count - 1;
};

[[nodiscard]] double hue_arm(int angle, double m1, double m2)
{
    const int a = ((angle % 360) + 360) % 360;
    if (a < 60)
        return m1 + (m2 - m1) * a / 60.0;
    if (a < 180)
        return m2;
    if (a < 240)
        return m1 + (m2 - m1) * (240 - a) / 60.0;
    return m1;
}

} // namespace

void srgb_to_xyz(const double* in, double* out)
{
    constexpr double rows[3][3] = {
        {0.4361, 0.3851, 0.1431}, {0.2225, 0.7169, 0.0606}, {0.0139, 0.0971, 0.7141}};
    double linear[3];
    for (int c = 0; c < 3; ++c) {
        const double v = in[c];
        linear[c] = v > 0.0392768 ? std::pow((v + 0.055) * 0.9478672985781991, 2.4)
                                  : v * 0.07739938080495357;
        linear[c] = std::min(linear[c], 1.0);
    }
    multiply(rows, linear, out);
    limit_three(out);
}

void xyz_to_srgb(const double* in, double* out)
{
    constexpr double rows[3][3] = {{3.133602571, -1.616821401, -0.490742404},
                                   {-0.978650316, 1.916061004, 0.033512902},
                                   {0.072076558, -0.229065545, 1.405359497}};
    multiply(rows, in, out);
    limit_three(out);
    for (int c = 0; c < 3; ++c) {
        const double v = out[c];
        out[c] = v > 0.00304 ? 1.055 * std::pow(v, 0.4166666666666667) - 0.055 : 12.92 * v;
        out[c] = std::min(out[c], 1.0);
    }
}

void adobe_rgb_to_xyz(const double* in, double* out)
{
    constexpr double rows[3][3] = {
        {0.6097, 0.2053, 0.1492}, {0.3111, 0.6257, 0.0632}, {0.0195, 0.0609, 0.7446}};
    double linear[3];
    for (int c = 0; c < 3; ++c)
        linear[c] = in[c] > 0 ? std::pow(in[c], 2.2) : in[c];
    multiply(rows, linear, out);
}

void xyz_to_adobe_rgb(const double* in, double* out)
{
    constexpr double rows[3][3] = {{1.962711, -0.610757, -0.34144},
                                   {-0.97876, 1.916094, 0.033486},
                                   {0.028651, -0.14072, 1.349206}};
    multiply(rows, in, out);
    for (int c = 0; c < 3; ++c)
        out[c] = limit(out[c] > 0 ? std::pow(out[c], 0.45454545454545453) : out[c]);
}

void xyz_to_lab(const double* in, double* out)
{
    const double fx = lab_f(in[0] * one_over_white_x);
    const double fy = lab_f(in[1]);
    const double fz = lab_f(in[2] * one_over_white_z);
    out[0] = 116 * fy - 16;
    out[1] = 500 * (fx - fy);
    out[2] = 200 * (fy - fz);
}

void lab_to_xyz(const double* in, double* out)
{
    const double qy = (in[0] + 16) * one_116th;
    const double qx = qy + in[1] * 0.002;
    const double qz = qy - in[2] * 0.005;
    out[0] = lab_g(qx) * white_x;
    out[1] = lab_g(qy);
    out[2] = lab_g(qz) * white_z;
}

void lstar_to_xyz(const double* in, double* out)
{
    const double g = lab_g((in[0] * 100 + 16) * one_116th);
    out[0] = g * white_x;
    out[1] = g;
    out[2] = g * white_z;
}

void xyz_to_lstar(const double* in, double* out)
{
    out[0] = (lab_f(in[1]) * 116 - 16) * 0.01;
}

void icc_lab_to_xyz(const double* in, double* out)
{
    const double lab[3] = {in[0] * 100, in[1] * 255 - 128, in[2] * 255 - 128};
    lab_to_xyz(lab, out);
}

void xyz_to_icc_lab(const double* in, double* out)
{
    double lab[3];
    xyz_to_lab(in, lab);
    out[0] = lab[0] * 0.01;
    out[1] = lab[1] * 0.00392156862745098 + 0.5019607843137255;
    out[2] = lab[2] * 0.00392156862745098 + 0.5019607843137255;
}

template <int Bits>
void itu_lab_to_xyz(const double* in, double* out)
{
    using Codes = ItuCodes<Bits>;
    constexpr double a_offset = -(170 * itu_a_part * Codes::count / Codes::maximum);
    constexpr double b_offset = -(200 * itu_b_part * Codes::count / Codes::maximum);
    const double lab[3] = {in[0] * 100, in[1] * 170 + a_offset, in[2] * 200 + b_offset};
    lab_to_xyz(lab, out);
}

template <int Bits>
void xyz_to_itu_lab(const double* in, double* out)
{
    using Codes = ItuCodes<Bits>;
    double lab[3];
    xyz_to_lab(in, lab);
    out[0] = lab[0] * 0.01;
    out[1] = lab[1] * 0.0058823529411764705 + itu_a_part * Codes::count / Codes::maximum;
    out[2] = lab[2] * 0.005 + itu_b_part * Codes::count / Codes::maximum;
}

template void itu_lab_to_xyz<8>(const double*, double*);
template void itu_lab_to_xyz<16>(const double*, double*);
template void xyz_to_itu_lab<8>(const double*, double*);
template void xyz_to_itu_lab<16>(const double*, double*);

void gray_to_srgb(const double* in, double* out)
{
    const double gray = in[0];
    out[0] = gray;
    out[1] = gray;
    out[2] = gray;
}

void srgb_to_gray(const double* in, double* out)
{
    out[0] = limit(0.298992944 * in[0] + 0.587015974 * in[1] + 0.113991082 * in[2]);
}

void gray_reverse_to_srgb(const double* in, double* out)
{
    const double gray = 1 - in[0];
    gray_to_srgb(&gray, out);
}

void srgb_to_gray_reverse(const double* in, double* out)
{
    srgb_to_gray(in, out);
    out[0] = 1 - out[0];
}

void ycbcr_to_srgb(const double* in, double* out)
{
    const double y = in[0];
    const double cb = in[1] - 0.5;
    const double cr = in[2] - 0.5;
    out[0] = y + 1.402 * cr;
    out[1] = y - 0.3441 * cb - 0.7141 * cr;
    out[2] = y + 1.772 * cb;
    limit_three(out);
}

void srgb_to_ycbcr(const double* in, double* out)
{
    constexpr double rows[3][3] = {{0.298992944, 0.587015974, 0.113991082},
                                   {-0.16873191, -0.331273123, 0.500005033},
                                   {0.500005033, -0.418698983, -0.08130605}};
    multiply(rows, in, out);
    out[1] += 0.5;
    out[2] += 0.5;
    limit_three(out);
}

void srgb_to_hsl(const double* in, double* out)
{
    const double r = in[0];
    const double g = in[1];
    const double b = in[2];
    const double most = std::max(std::max(r, g), b);
    const double least = std::min(std::min(r, g), b);
    const double d = most - least;
    double hue = 0;
    double saturation = 0;
    const double lightness = (most + least) / 2;
    if (d > epsilon) {
        saturation = lightness <= 0.5 ? d / (most + least) : d / (2 - most - least);
        if (most - r <= epsilon)
            hue = (g - b) / d;
        else if (most - g <= epsilon)
            hue = 2 + (b - r) / d;
        else
            hue = 4 + (r - g) / d;
        hue *= 60;
        hue = (hue < 0 ? hue + 360 : hue) * 0.002777777777777778;
    }
    out[0] = hue;
    out[1] = saturation;
    out[2] = lightness;
    limit_three(out);
}

void hsl_to_srgb(const double* in, double* out)
{
    const double saturation = in[1];
    const double lightness = in[2];
    if (saturation == 0) {
        gray_to_srgb(&lightness, out);
        limit_three(out);
        return;
    }
    const int hue = static_cast<int>(limit(in[0]) * 360);
    const double m2 = lightness < 0.5 ? lightness * (1 + saturation)
                                      : lightness + saturation - lightness * saturation;
    const double m1 = 2 * lightness - m2;
    out[0] = hue_arm(hue + 120, m1, m2);
    out[1] = hue_arm(hue, m1, m2);
    out[2] = hue_arm(hue - 120, m1, m2);
    limit_three(out);
}

void cmy_to_srgb(const double* in, double* out)
{
    for (int c = 0; c < 3; ++c)
        out[c] = 1 - in[c];
}

void srgb_to_cmy(const double* in, double* out)
{
    cmy_to_srgb(in, out);
}

void cmyk_to_srgb(const double* in, double* out)
{
    const double k = in[3];
    for (int c = 0; c < 3; ++c)
        out[c] = 1 - std::min(in[c] + k, 1.0);
}

void srgb_to_cmyk(const double* in, double* out)
{
    const double cmy[3] = {1 - in[0], 1 - in[1], 1 - in[2]};
    const double k = std::min(std::min(cmy[0], cmy[1]), cmy[2]);
    const bool is_black = std::abs(1 - k) <= epsilon;
    for (int c = 0; c < 3; ++c)
        out[c] = is_black ? 0 : cmy[c] - k;
    out[3] = k;
}

} // namespace nuv
