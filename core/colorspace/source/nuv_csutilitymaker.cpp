#include "core/colorspace/source/nuv_csutilitymaker.h"

#include <algorithm>
#include <limits>

namespace nuv {
namespace {

using Color = NUV_ColorType;
using Pixel = std::array<double, 4>;

constexpr std::uint32_t grid_points = 33;
constexpr double grid_step = 0.03125; // 1 / 32

// Recommendation BT.601, as this library writes it.
constexpr double srgb_to_ycbcr_rows[] = {0.298992944, 0.587015974,  0.113991082,
                                         -0.16873191, -0.331273123, 0.500005033,
                                         0.500005033, -0.418698983, -0.08130605};
constexpr std::span<const double> srgb_to_gray_row{srgb_to_ycbcr_rows, 3};
constexpr double ycbcr_to_srgb_rows[] = {1, 0, 1.402, 1, -0.3441, -0.7141, 1, 1.772, 0};
constexpr double ycbcr_to_gray_row[] = {1, 0, 0};
constexpr double gray_to_srgb_column[] = {1, 1, 1};
constexpr double gray_to_ycbcr_column[] = {1, 0, 0};

} // namespace

template <class T>
bool NUV_CsUtilityMaker<T>::make(const NUV_ColorType* source, const NUV_ColorType* target,
                                 std::uint16_t bits)
{
    source_ = source;
    target_ = target;
    if (bits == 1)
        return plan_bilevel();
    if (target == Color::hsl || source == Color::hsl)
        return plan_points();
    bool found = false;
    const bool planned = plan_short_way(found);
    return found ? planned : plan_by_xyz();
}

// With two values, lightness is gray.
template <class T>
bool NUV_CsUtilityMaker<T>::plan_bilevel()
{
    const bool inverts = (source_ == Color::gray_reverse) != (target_ == Color::gray_reverse);
    mode = inverts ? NUV_CsMode::inversion : NUV_CsMode::relabel;
    return true;
}

template <class T>
bool NUV_CsUtilityMaker<T>::plan_points()
{
    if (source_ == Color::s_rgb || target_ == Color::s_rgb)
        mode = NUV_CsMode::points;
    else
        mode =
            target_ == Color::hsl ? NUV_CsMode::others_then_points : NUV_CsMode::points_then_others;
    between = Color::s_rgb;
    return true;
}

template <class T>
bool NUV_CsUtilityMaker<T>::plan_short_way(bool& found)
{
    constexpr double half = std::uint32_t{1} << (8 * sizeof(T) - 1); // the zero of chroma
    constexpr double to_ycbcr[] = {0, half, half};
    constexpr double to_srgb[] = {-1.402 * half, (0.3441 + 0.7141) * half, -1.772 * half};
    const bool from_gray = source_ == Color::gray || source_ == Color::gray_reverse;
    const bool to_gray = target_ == Color::gray || target_ == Color::gray_reverse;
    const bool from_srgb = source_ == Color::s_rgb;

    found = true;
    if (from_srgb && to_gray)
        return plan_to_gray(srgb_to_gray_row);
    if (from_srgb && target_ == Color::ycbcr)
        return plan_matrix(NUV_CsMode::matrix, srgb_to_ycbcr_rows, to_ycbcr);
    if (from_srgb && target_ == Color::cmyk)
        return fill_grid_of_samples();
    if (from_gray && target_ == Color::s_rgb)
        return plan_from_gray(gray_to_srgb_column);
    if (from_gray && target_ == Color::ycbcr)
        return plan_from_gray(gray_to_ycbcr_column, to_ycbcr);
    if (source_ == Color::cmyk && target_ == Color::s_rgb)
        return fill_grid_of_samples();
    if (source_ == Color::ycbcr && target_ == Color::s_rgb)
        return plan_matrix(NUV_CsMode::matrix, ycbcr_to_srgb_rows, to_srgb);
    if (source_ == Color::ycbcr && to_gray)
        return plan_to_gray(ycbcr_to_gray_row);
    const bool inverts = (from_srgb && target_ == Color::cmy) ||
                         (source_ == Color::cmy && target_ == Color::s_rgb) ||
                         (from_gray && to_gray);
    if (inverts) {
        mode = NUV_CsMode::table;
        return fill_inverting_table();
    }
    found = false;
    return false;
}

template <class T>
bool NUV_CsUtilityMaker<T>::plan_by_xyz()
{
    const RealConverter in = factory_.to_xyz(source_);
    const RealConverter out = factory_.from_xyz(target_);
    if ((!in && source_ != Color::xyz) || (!out && target_ != Color::xyz))
        return false;
    const auto convert = [&](const Pixel& parts) {
        Pixel xyz = parts;
        if (in)
            in->convert(parts.data(), xyz.data(), 1);
        Pixel result = xyz;
        if (out)
            out->convert(xyz.data(), result.data(), 1);
        return result;
    };
    const std::size_t outputs = target_->channels();
    if (source_->channels() == 1 && outputs == 1) {
        mode = NUV_CsMode::table;
        return fill_table([&](std::uint32_t sample) {
            const double part = sample / double{std::numeric_limits<T>::max()};
            return cs_sample<T>(convert({part})[0]);
        });
    }
    return fill_grid([&](const std::uint32_t* point, T* samples) {
        const Pixel result = convert({point[0] * grid_step, point[1] * grid_step,
                                      point[2] * grid_step, point[3] * grid_step});
        for (std::size_t c = 0; c < outputs; ++c)
            samples[c] = cs_sample<T>(result[c]);
    });
}

template <class T>
bool NUV_CsUtilityMaker<T>::plan_matrix(NUV_CsMode matrix_mode, std::span<const double> factors,
                                        std::span<const double> row_offsets)
{
    mode = matrix_mode;
    std::copy(row_offsets.begin(), row_offsets.end(), offsets.begin());
    offset_count = row_offsets.size();
    const bool from_one = source_->channels() == 1;
    const std::uint32_t columns = from_one ? 1 : 3;
    return matrix.value(static_cast<std::uint32_t>(factors.size() / columns), columns, factors);
}

template <class T>
bool NUV_CsUtilityMaker<T>::plan_to_gray(std::span<const double> factors)
{
    if (target_ == Color::gray)
        return plan_matrix(NUV_CsMode::matrix, factors);
    return plan_matrix(NUV_CsMode::matrix_then_table, factors) && fill_inverting_table();
}

template <class T>
bool NUV_CsUtilityMaker<T>::plan_from_gray(std::span<const double> factors,
                                           std::span<const double> row_offsets)
{
    if (source_ == Color::gray)
        return plan_matrix(NUV_CsMode::matrix, factors, row_offsets);
    return plan_matrix(NUV_CsMode::table_then_matrix, factors, row_offsets) &&
           fill_inverting_table();
}

template <class T>
template <class Convert>
bool NUV_CsUtilityMaker<T>::fill_table(Convert&& convert)
{
    constexpr std::uint32_t entries = std::uint32_t{std::numeric_limits<T>::max()} + 1;
    NUV_Scratch<T> values;
    table = make_object<NUV_LutData>(manager());
    if (!table || !values.allocate(manager(), entries))
        return false;
    for (std::uint32_t i = 0; i < entries; ++i)
        values[i] = convert(i);
    table->bits = 8 * sizeof(T);
    table->channels = 1;
    table->entries = entries;
    return table->value(reinterpret_cast<const std::uint8_t*>(values.data()),
                        static_cast<std::uint32_t>(entries * sizeof(T)));
}

// The same whichever pair of colours is inverted.
template <class T>
bool NUV_CsUtilityMaker<T>::fill_inverting_table()
{
    const auto inversion = factory_.between(Color::gray, Color::gray_reverse);
    if (!inversion)
        return false;
    return fill_table([&](std::uint32_t sample) {
        const T in = static_cast<T>(sample);
        T entry{};
        inversion->convert(&in, &entry, 1);
        return entry;
    });
}

template <class T>
template <class Convert>
bool NUV_CsUtilityMaker<T>::fill_grid(Convert&& convert)
{
    mode = NUV_CsMode::grid;
    const auto inputs = static_cast<std::uint16_t>(source_->channels());
    const auto outputs = static_cast<std::uint16_t>(target_->channels());
    if (!grid.allocate(8 * sizeof(T), inputs, outputs, grid_points))
        return false;
    const std::span<T> samples = grid.template samples<T>();
    std::uint32_t point[4] = {};
    for (std::size_t i = 0; i < samples.size(); i += outputs) {
        convert(point, samples.data() + i);
        for (std::size_t axis = inputs; axis-- > 0;) { // the last axis is the fastest
            if (++point[axis] < grid_points)
                break;
            point[axis] = 0;
        }
    }
    return true;
}

template <class T>
bool NUV_CsUtilityMaker<T>::fill_grid_of_samples()
{
    const auto converter = factory_.between(source_, target_);
    if (!converter)
        return false;
    return fill_grid([&](const std::uint32_t* point, T* samples) {
        T in[4];
        for (int axis = 0; axis < 4; ++axis)
            in[axis] = cs_sample<T>(point[axis] * grid_step);
        converter->convert(in, samples, 1);
    });
}

template class NUV_CsUtilityMaker<std::uint8_t>;
template class NUV_CsUtilityMaker<std::uint16_t>;

} // namespace nuv
