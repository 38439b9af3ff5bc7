#pragma once

#include "core/colorspace/source/nuv_cspointfunctions.h"
#include "framework/base/nuv_utility.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <limits>

namespace nuv {

// A part of the range, 0 to 1, as a sample. What is not a number becomes 0.
template <class T>
[[nodiscard]] constexpr T cs_sample(double part) noexcept
{
    constexpr double maximum = std::numeric_limits<T>::max();
    const double scaled = part * maximum;
    if (!(scaled > 0))
        return 0;
    const double moved = scaled + 0.5;
    return scaled > maximum ? std::numeric_limits<T>::max()
                            : static_cast<T>(static_cast<std::uint32_t>(moved));
}

// Converts pixels from one colour to another: T is double for parts of the range, or a sample.
template <class T>
class NUV_CsPointConverter : public NUV_Utility {
public:
    using NUV_Utility::NUV_Utility;

    // `count` pixels, each of as many numbers as its colour has channels. The two do not overlap.
    virtual void convert(const T* in, T* out, std::size_t count) const = 0;
};

// A real function, and a second one unless it is null. Channels are those of its two ends.
class NUV_CsRealConverter final : public NUV_CsPointConverter<double> {
public:
    NUV_CsRealConverter(NUV_Manager& manager, CsPointFunction first, CsPointFunction second,
                        std::size_t inputs, std::size_t outputs) noexcept
        : NUV_CsPointConverter(manager),
          first_(first),
          second_(second),
          inputs_(inputs),
          outputs_(outputs)
    {}

    void convert(const double* in, double* out, std::size_t count) const override
    {
        for (std::size_t i = 0; i < count; ++i, in += inputs_, out += outputs_) {
            double between[4];
            first_(in, between);
            if (second_)
                second_(between, between);
            std::copy_n(between, outputs_, out);
        }
    }

private:
    CsPointFunction first_;
    CsPointFunction second_;
    std::size_t inputs_;
    std::size_t outputs_;
};

// Samples through a function of three real numbers to three.
template <class T>
class NUV_CsSampledConverter final : public NUV_CsPointConverter<T> {
public:
    NUV_CsSampledConverter(NUV_Manager& manager, CsPointFunction function) noexcept
        : NUV_CsPointConverter<T>(manager),
          function_(function)
    {}

    void convert(const T* in, T* out, std::size_t count) const override
    {
        constexpr double maximum = std::numeric_limits<T>::max();
        for (std::size_t i = 0; i < count; ++i, in += 3, out += 3) {
            double pixel[3] = {in[0] / maximum, in[1] / maximum, in[2] / maximum};
            function_(pixel, pixel);
            for (int c = 0; c < 3; ++c)
                out[c] = cs_sample<T>(pixel[c]);
        }
    }

private:
    CsPointFunction function_;
};

// What is exact in integers: inversion, and CMYK.
template <class T>
class NUV_CsInversion final : public NUV_CsPointConverter<T> {
public:
    NUV_CsInversion(NUV_Manager& manager, std::size_t channels) noexcept
        : NUV_CsPointConverter<T>(manager),
          channels_(channels)
    {}

    void convert(const T* in, T* out, std::size_t count) const override
    {
        for (std::size_t i = 0; i < count * channels_; ++i)
            out[i] = static_cast<T>(~in[i]);
    }

private:
    std::size_t channels_;
};

template <class T>
class NUV_CsRgbToCmyk final : public NUV_CsPointConverter<T> {
public:
    using NUV_CsPointConverter<T>::NUV_CsPointConverter;

    void convert(const T* in, T* out, std::size_t count) const override
    {
        constexpr T maximum = std::numeric_limits<T>::max();
        for (std::size_t i = 0; i < count; ++i, in += 3, out += 4) {
            const T k = static_cast<T>(maximum - std::max(std::max(in[0], in[1]), in[2]));
            for (int c = 0; c < 3; ++c) // of black, the differences are 0 by themselves
                out[c] = static_cast<T>(maximum - in[c] - k);
            out[3] = k;
        }
    }
};

template <class T>
class NUV_CsCmykToRgb final : public NUV_CsPointConverter<T> {
public:
    using NUV_CsPointConverter<T>::NUV_CsPointConverter;

    void convert(const T* in, T* out, std::size_t count) const override
    {
        constexpr std::uint32_t maximum = std::numeric_limits<T>::max();
        for (std::size_t i = 0; i < count; ++i, in += 4, out += 3) {
            for (int c = 0; c < 3; ++c)
                out[c] = static_cast<T>(maximum - std::min<std::uint32_t>(in[c] + in[3], maximum));
        }
    }
};

} // namespace nuv
