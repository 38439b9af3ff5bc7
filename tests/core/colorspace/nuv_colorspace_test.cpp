#include "core/colorspace/nuv_colorspace.h"

#include "tests/support/nuv_checksum.h"
#include "tests/support/nuv_testchain.h"

#include <lcms2.h>

namespace nuv {
namespace {

using Color = NUV_ColorType;
using Part = std::array<double, 3>; // of a pixel, in parts of the range

// Pixels of one line, one after the other, through the conversion.
template <class T>
[[nodiscard]] std::vector<T> convert(const NUV_ColorType* source, const NUV_ColorType* target,
                                     const std::vector<T>& samples)
{
    NUV_TestChain chain;
    chain.source<T>({.width = static_cast<std::uint32_t>(samples.size() / source->channels()),
                     .channels = static_cast<std::uint16_t>(source->channels()),
                     .color_type = source},
                    samples);
    if (!chain.append<NUV_ColorSpace>(target))
        return {};
    EXPECT_EQ(chain.header().color_type(), target);
    EXPECT_EQ(chain.header().channels(), target->channels());
    EXPECT_EQ(chain.header().bits(), 8 * sizeof(T));
    return chain.run<T>();
}

// All corners of the cube, grays, and random colours.
template <class T>
[[nodiscard]] std::vector<T> some_samples(std::size_t channels)
{
    constexpr T top = std::numeric_limits<T>::max();
    std::vector<T> samples = random_samples<T>(channels * 1000, 77);
    for (std::size_t corner = 0; corner < std::size_t{1} << channels; ++corner) {
        for (std::size_t c = 0; c < channels; ++c)
            samples.push_back((corner >> c & 1) != 0 ? top : T{0});
    }
    for (std::uint32_t level = 1; level < 16; ++level)
        samples.insert(samples.end(), channels, static_cast<T>(top / 16 * level));
    return samples;
}

struct Sums {
    const NUV_ColorType* source;
    std::uint64_t of_bytes, of_words; // over the results in all other colours
};
const Sums sums[] = {
    {Color::gray, 0xDB0FFE90054903FE, 0xDBF09E23341CDD8E},
    {Color::gray_reverse, 0x58188CD37CDA1BC9, 0xAC68536B1B3D296E},
    {Color::lstar, 0xA5CBA29F0EA8F70F, 0x45F7E4F4205984E4},
    {Color::s_rgb, 0x082F373E6A49790F, 0x0BFE92A711E70E7A},
    {Color::adobe_rgb, 0x5072F609BB0AA43E, 0xF1D0A5CFF5A46983},
    {Color::ycbcr, 0xE27CD4EBA5947864, 0x73B6BDD12E5B1722},
    {Color::hsl, 0xF745CBB810283C70, 0xF9437BFED4A64038},
    {Color::icc_lab, 0x5C54D6DD1E6A3763, 0xCFBA143080EA668D},
    {Color::itu_lab, 0x19F6155B29B8D821, 0xBA0447808A941C63},
    {Color::xyz, 0x69045157DCE46F9E, 0x1BB43DDA5088D83C},
    {Color::cmy, 0x2697A5D7E6D946CA, 0x06FBEA445AF74AB9},
    {Color::cmyk, 0x921147C35D2B2E42, 0x1DDB9C4CDAD2BC0F},
};

template <class T>
[[nodiscard]] std::uint64_t sum_of_conversions(const NUV_ColorType* source)
{
    const auto samples = some_samples<T>(source->channels());
    NUV_Checksum sum;
    for (const Sums& other : sums) {
        // Grids of four axes take long, and the wide ones hold the same colours.
        const bool is_slow = source == Color::cmyk && sizeof(T) > 1 && other.source != Color::s_rgb;
        if (other.source == source || is_slow)
            continue;
        const auto got = convert(source, other.source, samples);
        EXPECT_EQ(got.size() * source->channels(), samples.size() * other.source->channels());
        sum.add(got);
    }
    return sum.value();
}

// The sums are those of results that outside readers computed again from the definitions.
TEST(ColorSpace, GivesTheSameForEveryPairForEver)
{
    for (const Sums& wanted : sums) {
        EXPECT_EQ(sum_of_conversions<std::uint8_t>(wanted.source), wanted.of_bytes)
            << wanted.source->key();
        EXPECT_EQ(sum_of_conversions<std::uint16_t>(wanted.source), wanted.of_words)
            << wanted.source->key();
    }
}

using Profile = std::unique_ptr<void, decltype(&cmsCloseProfile)>;
using Transform = std::unique_ptr<void, decltype(&cmsDeleteTransform)>;

[[nodiscard]] Profile adobe_rgb_profile()
{
    const cmsCIExyY white{0.3127, 0.3290, 1};
    const cmsCIExyYTRIPLE primaries{{0.64, 0.33, 1}, {0.21, 0.71, 1}, {0.15, 0.06, 1}};
    cmsToneCurve* gamma = cmsBuildGamma(nullptr, 563 / 256.0);
    cmsToneCurve* const curves[] = {gamma, gamma, gamma};
    Profile profile(cmsCreateRGBProfile(&white, &primaries, curves), cmsCloseProfile);
    cmsFreeToneCurve(gamma);
    return profile;
}

// Colours of sRGB as Little CMS sees them elsewhere.
class Reference {
public:
    [[nodiscard]] Part seen_as(const NUV_ColorType* color, const Part& rgb) const
    {
        Part part = rgb;
        if (color == Color::adobe_rgb)
            cmsDoTransform(to_adobe_rgb_.get(), rgb.data(), part.data(), 1);
        if (color == Color::s_rgb || color == Color::adobe_rgb)
            return part;
        cmsCIEXYZ xyz;
        cmsDoTransform(to_xyz_.get(), rgb.data(), &xyz, 1);
        if (color == Color::xyz)
            return {xyz.X, xyz.Y, xyz.Z};
        cmsCIELab lab;
        cmsXYZ2Lab(nullptr, &lab, &xyz);
        if (color == Color::icc_lab) // ICC.1
            return {lab.L / 100, (lab.a + 128) / 255, (lab.b + 128) / 255};
        return {lab.L / 100, lab.a / 170 + 32768 / 65535.0, lab.b / 200 + 24576 / 65535.0}; // T.42
    }

private:
    [[nodiscard]] static Transform from_srgb(const Profile& to, cmsUInt32Number format)
    {
        const Profile srgb(cmsCreate_sRGBProfile(), cmsCloseProfile);
        return {cmsCreateTransform(srgb.get(), TYPE_RGB_DBL, to.get(), format,
                                   INTENT_RELATIVE_COLORIMETRIC, cmsFLAGS_NOOPTIMIZE),
                cmsDeleteTransform};
    }

    Transform to_xyz_ = from_srgb({cmsCreateXYZProfile(), cmsCloseProfile}, TYPE_XYZ_DBL);
    Transform to_adobe_rgb_ = from_srgb(adobe_rgb_profile(), TYPE_RGB_DBL);
};

// Over the colours of a grid that all spaces can show; in levels of 8 bits. Interpolation between
// 33 points bends most where a curve is steep, at the dark end.
TEST(ColorSpace, StaysNearLittleCMS)
{
    struct Space {
        const NUV_ColorType* color;
        double mean, most; // error of what comes from there
        std::vector<std::uint16_t> samples = {};
    };
    Space spaces[] = {{Color::s_rgb, 0.05, 1.2},
                      {Color::adobe_rgb, 0.6, 17},
                      {Color::xyz, 2.6, 32},
                      {Color::icc_lab, 1.6, 34},
                      {Color::itu_lab, 1.2, 33}};
    const Reference reference;
    for (int i = 0; i < 11 * 11 * 11; ++i) {
        const int tenths[] = {i % 11, i / 11 % 11, i / 121};
        const Part rgb{tenths[0] / 10.0, tenths[1] / 10.0, tenths[2] / 10.0};
        const Part least = reference.seen_as(Color::itu_lab, rgb); // the narrowest
        if (*std::min_element(least.begin(), least.end()) < 0 ||
            *std::max_element(least.begin(), least.end()) > 1)
            continue;
        for (Space& space : spaces) {
            for (const double part : reference.seen_as(space.color, rgb))
                space.samples.push_back(
                    static_cast<std::uint16_t>(std::lround(std::clamp(part, 0.0, 1.0) * 65535)));
        }
    }
    for (const Space& source : spaces) {
        for (const Space& target : spaces) {
            const auto got = convert(source.color, target.color, source.samples);
            ASSERT_EQ(got.size(), target.samples.size());
            double sum = 0;
            double most = 0;
            for (std::size_t i = 0; i < got.size(); ++i) {
                const double error = std::abs(got[i] - target.samples[i]) / 257.0;
                sum += error;
                most = std::max(most, error);
            }
            const double mean = sum / static_cast<double>(got.size());
            EXPECT_LE(mean, source.mean) << source.color->key() << " to " << target.color->key();
            EXPECT_LE(most, source.most) << source.color->key() << " to " << target.color->key();
        }
    }
}

TEST(ColorSpace, InvertsOrRelabelsBits)
{
    const NUV_ColorType* const grays[] = {Color::gray, Color::gray_reverse, Color::lstar};
    for (const NUV_ColorType* source : grays) {
        for (const NUV_ColorType* target : grays) {
            NUV_TestChain chain;
            chain.source_bytes({.width = 16, .bits = 1, .color_type = source}, {0x0F, 0x81});
            const NUV_Engine* before = chain.last();
            ASSERT_TRUE(chain.append<NUV_ColorSpace>(target));
            EXPECT_EQ(chain.last() == before, source == target);
            EXPECT_EQ(chain.header().color_type(), target);
            const bool inverts = (source == Color::gray_reverse) != (target == Color::gray_reverse);
            const Bytes as_it_is{0x0F, 0x81}, inverted{0xF0, 0x7E};
            EXPECT_EQ(chain.run_bytes(), inverts ? inverted : as_it_is);
        }
    }
}

} // namespace
} // namespace nuv
