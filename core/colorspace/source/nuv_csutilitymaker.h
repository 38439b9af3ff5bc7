#pragma once

#include "core/colorspace/source/nuv_cspointconverterfactory.h"
#include "core/colorspace/source/nuv_csutility.h"

#include <cstdint>
#include <span>

namespace nuv {

// Makes the plan for samples of type T.
template <class T>
class NUV_CsUtilityMaker final : public NUV_CsUtility {
public:
    explicit NUV_CsUtilityMaker(NUV_Manager& manager) noexcept
        : NUV_CsUtility(manager),
          factory_(manager)
    {}

    // For two different convertible colours, and bits of a sample that are those of T, or 1 where
    // both colours have one channel. False when there is no way or after NUV_ERR_MEMORY.
    [[nodiscard]] bool make(const NUV_ColorType* source, const NUV_ColorType* target,
                            std::uint16_t bits);

private:
    using RealConverter = NUV_Held<NUV_CsPointConverter<double>>;

    [[nodiscard]] bool plan_bilevel();
    [[nodiscard]] bool plan_points();
    // The pairs that need no XYZ. Nothing is planned, and `found` false, for other pairs.
    [[nodiscard]] bool plan_short_way(bool& found);
    [[nodiscard]] bool plan_by_xyz();

    [[nodiscard]] bool plan_matrix(NUV_CsMode matrix_mode, std::span<const double> factors,
                                   std::span<const double> row_offsets = {});
    // From sRGB to gray, then inverted where the target is reversed; and the other ways alike.
    [[nodiscard]] bool plan_to_gray(std::span<const double> factors);
    [[nodiscard]] bool plan_from_gray(std::span<const double> factors,
                                      std::span<const double> row_offsets = {});

    // `convert(sample)` gives the entry of a sample.
    template <class Convert>
    [[nodiscard]] bool fill_table(Convert&& convert);
    [[nodiscard]] bool fill_inverting_table();
    // `convert(const std::uint32_t* point, T* out)` gives the samples of a grid point.
    template <class Convert>
    [[nodiscard]] bool fill_grid(Convert&& convert);
    [[nodiscard]] bool fill_grid_of_samples();

    NUV_CsPointConverterFactory<T> factory_;
    const NUV_ColorType* source_ = nullptr;
    const NUV_ColorType* target_ = nullptr;
};

extern template class NUV_CsUtilityMaker<std::uint8_t>;
extern template class NUV_CsUtilityMaker<std::uint16_t>;

} // namespace nuv
