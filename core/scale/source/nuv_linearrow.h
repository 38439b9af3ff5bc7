#pragma once

#include "core/include/nuv_scaleframe.h"
#include "core/scale/kernels/nuv_scaletaps_kernels.h"
#include "core/scale/source/nuv_padline.h"
#include "framework/base/nuv_held.h"

#include <cstddef>
#include <cstdint>
#include <limits>
#include <span>

namespace nuv {

// The work of a width engine whose output pixels lie between two source pixels each: the work line
// with `Pads` pixels on either side, the table, and the choice of the kernel.
template <IntegerSample T, RealNumber R, std::size_t Pads>
class NUV_LinearRow {
public:
    using Taps = NUV_LinearTaps<ScaleWeight<R>>;

    [[nodiscard]] bool allocate(NUV_Manager& manager, std::uint32_t width, std::uint32_t channels,
                                std::uint32_t destination_width)
    {
        channels_ = channels;
        may_pack_ = fits_packed_offsets(width, channels);
        // The packed forms weigh four pixels, and the last one of a line may be the first of them.
        const std::size_t slack_bytes =
            std::size_t{3} * channels * sizeof(T) + packed_taps_slack_bytes;
        return line_.initiate(manager, width, channels, slack_bytes) &&
               taps_.allocate(manager, destination_width);
    }

    // To be filled behind allocate(), offsets counted from the left pad; then finish_table().
    [[nodiscard]] std::span<Taps> table() const noexcept { return taps_.items(); }

    [[nodiscard]] bool finish_table(NUV_Manager& manager)
    {
        pixels_ = taps_.size();
        if constexpr (std::same_as<T, std::uint8_t> && std::same_as<R, NUV_FixedReal>) {
            if (may_pack_)
                convolve_packed_ = choose_convolve_packed(manager.cpu(), channels_);
            if (!convolve_packed_)
                return true;
            if (!packed_.allocate(manager, pixels_))
                return false;
            for (std::size_t k = 0; k < pixels_; ++k) {
                const std::int32_t weights[4] = {taps_[k].first, taps_[k].second, 0, 0};
                packed_.set(k, taps_[k].offset, weights);
            }
            taps_.free();
        }
        if constexpr (std::same_as<T, std::uint16_t> && std::same_as<R, double>) {
            convolve_real_ = choose_convolve_real<NUV_LinearTaps<double>>(manager.cpu(), channels_);
        }
        return true;
    }

    // Where the source line is to be read to.
    [[nodiscard]] std::uint8_t* image_bytes() const noexcept { return line_.image_bytes(); }

    void convolve(T* out) const noexcept
    {
        line_.fill_pads();
        if constexpr (std::same_as<T, std::uint8_t>) {
            if (convolve_packed_) {
                convolve_packed_(line_.samples(), packed_.taps(), out, pixels_,
                                 std::numeric_limits<T>::max());
                return;
            }
        }
        if constexpr (std::same_as<T, std::uint16_t> && std::same_as<R, double>) {
            if (convolve_real_) {
                convolve_real_(line_.samples(), taps_.data(), out, pixels_,
                               std::numeric_limits<T>::max());
                return;
            }
        }
        visit_channels(channels_, [&]<int Channels>() {
            convolve_linear_row<Channels>(line_.samples(), taps_.data(), out, pixels_, channels_);
        });
    }

private:
    std::uint32_t channels_ = 0;
    std::size_t pixels_ = 0;
    NUV_PaddedLine<T, Pads> line_;
    NUV_Scratch<Taps> taps_;

    // The forms for the processor, where there are any.
    bool may_pack_ = false;
    ConvolvePackedRow convolve_packed_ = nullptr;
    NUV_PackedTapTable packed_;
    ConvolveRealRow<NUV_LinearTaps<double>> convolve_real_ = nullptr;
};

} // namespace nuv
