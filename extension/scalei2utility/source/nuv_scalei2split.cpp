#include "extension/scalei2utility/nuv_scalei2split.h"

#include <bit>
#include <cmath>

namespace nuv {
namespace {

// An integer as high x 2^bits + low, of which low has a sign.
struct NUV_SplitInteger {
    std::int32_t high;
    std::int32_t low;
};

[[nodiscard]] constexpr NUV_SplitInteger split_integer(std::int64_t value, int bits) noexcept
{
    const std::int64_t high = (value + (std::int64_t{1} << (bits - 1))) >> bits;
    return {static_cast<std::int32_t>(high),
            static_cast<std::int32_t>(value - high * (std::int64_t{1} << bits))};
}

constexpr int row_bits = 28;
constexpr int row_low_bits = 14;
constexpr int middle_bits = 13;
constexpr int line_bits = 30;
constexpr int half_bits = 16;

[[nodiscard]] constexpr double power_of_two(int exponent) noexcept
{
    return exponent < 0 ? 1 / power_of_two(-exponent)
                        : static_cast<double>(std::int64_t{1} << exponent);
}

// The parts of the weights of a pixel or line of results, and what they come to.
struct NUV_SplitSum {
    NUV_SplitInteger parts[scale_i2_most_taps];
    double magnitude = 0;
    double lost = 0; // magnitudes of what is rounded off, added up
    std::int64_t high = 0;
    std::int64_t low = 0;
    bool fits = true;
};

[[nodiscard]] NUV_SplitSum split_sum(const double* weights, int bits, int low_bits) noexcept
{
    constexpr std::int64_t most_high = 65000; // so that with samples they make less than 2^31
    NUV_SplitSum split{};
    double sum = 0;
    for (std::size_t i = 0; i < scale_i2_most_taps; ++i) {
        const double weight = weights[i];
        if (!(std::abs(weight) < 1.99)) {
            split.fits = false;
            return split;
        }
        const std::int64_t units = std::llround(weight * power_of_two(bits));
        const NUV_SplitInteger parts = split_integer(units, low_bits);
        split.parts[i] = parts;
        split.magnitude += std::abs(weight);
        split.lost += std::abs(weight - static_cast<double>(units) * power_of_two(-bits));
        split.high += std::abs(parts.high);
        split.low += std::abs(parts.low);
        sum += weight;
    }
    split.fits = split.high <= most_high && std::abs(sum - 1) < power_of_two(-40);
    return split;
}

[[nodiscard]] constexpr std::uint32_t half_pair(std::int32_t lower, std::int32_t upper) noexcept
{
    return static_cast<std::uint16_t>(lower) |
           static_cast<std::uint32_t>(static_cast<std::uint16_t>(upper)) << half_bits;
}

#if NUV_X86
template <int Pairs, int Channels>
[[nodiscard]] FilterSplitRow choose_row_form(const NUV_Cpu& cpu, bool is_wide) noexcept
{
    if (!cpu.has_avx512vbmi)
        return filter_split_row_avx2<Pairs, Channels>;
    return is_wide ? filter_split_row_avx512<Pairs, Channels, true>
                   : filter_split_row_avx512<Pairs, Channels, false>;
}

[[nodiscard]] FilterSplitRow choose_filter_split_row(const NUV_Cpu& cpu, std::uint32_t taps,
                                                     std::uint32_t channels, bool is_wide) noexcept
{
    const auto of_pairs = [&]<int Pairs>() {
        switch (channels) {
        case 1:
            return choose_row_form<Pairs, 1>(cpu, is_wide);
        case 3:
            return choose_row_form<Pairs, 3>(cpu, is_wide);
        default:
            return choose_row_form<Pairs, 4>(cpu, is_wide);
        }
    };
    switch ((taps + 1) / 2) {
    case 2:
        return of_pairs.operator()<2>();
    case 3:
        return of_pairs.operator()<3>();
    default:
        return of_pairs.operator()<4>();
    }
}

[[nodiscard]] CombineSplitMiddles choose_combine_split_middles(const NUV_Cpu& cpu) noexcept
{
    return cpu.has_avx512vbmi ? combine_split_middles_avx512 : combine_split_middles_avx2;
}
#else
[[nodiscard]] FilterSplitRow choose_filter_split_row(const NUV_Cpu&, std::uint32_t, std::uint32_t,
                                                     bool) noexcept
{
    return nullptr;
}

[[nodiscard]] CombineSplitMiddles choose_combine_split_middles(const NUV_Cpu&) noexcept
{
    return nullptr;
}
#endif

} // namespace

bool NUV_ScaleI2SplitFilter::initiate(
    NUV_Manager& manager, const NUV_ScaleI2RowFilter<NUV_ScaleI2FloatArithmetic>& row,
    const NUV_ScaleI2LineFilter<NUV_ScaleI2FloatArithmetic>& column)
{
    row_ = &row;
    column_ = &column;
    is_by_pixels_ = !manager.cpu().has_avx512vbmi;
    if (!set_groups(manager) || !doubts_.allocate(manager, line_samples() / split_step_samples))
        return false;
    filter_ = choose_filter_split_row(manager.cpu(), row.taps(), row.channels(), is_wide_);
    combine_ = choose_combine_split_middles(manager.cpu());
    return true;
}

std::size_t NUV_ScaleI2SplitFilter::line_samples() const noexcept
{
    return (column_->samples_per_line() + split_step_samples - 1) / split_step_samples *
           split_step_samples;
}

// Those of all pixels whose taps are inside the line. That is never the last one, over which a form
// may spill.
bool NUV_ScaleI2SplitFilter::set_groups(NUV_Manager& manager)
{
    const std::int64_t* firsts = row_->axis().firsts();
    const std::int64_t last = std::int64_t{row_->source_width()} - row_->taps();
    std::size_t begin = 0;
    std::size_t end = row_->destination_width() - 1;
    while (begin < end && firsts[begin] < 0)
        ++begin;
    while (end > begin && firsts[end - 1] > last)
        --end;
    fits_ = end - begin >= split_group_pixels;
    for (std::size_t k = 0; fits_ && k < row_->destination_width(); ++k) {
        const bool is_of_group = k >= begin && k < end; // of which set_pixel() tells
        fits_ = is_of_group || split_sum(row_->axis().weights(k), row_bits, row_low_bits).fits;
    }
    if (!fits_)
        return true;
    const std::size_t count = (end - begin + split_group_pixels - 1) / split_group_pixels;
    if (!groups_.allocate(manager, count, sizeof(NUV_ScaleI2SplitGroup)))
        return false;
    const std::span groups(groups_.as<NUV_ScaleI2SplitGroup>(), count);
    table_ = {firsts, groups, begin, end, row_->taps()};
    const auto reach = [&](std::size_t from, std::size_t to) {
        return firsts[to] + row_->taps() - firsts[from];
    };
    for (std::size_t i = 0; i < count; ++i) {
        const std::size_t k = table_.first_pixel(i);
        is_wide_ =
            is_wide_ || reach(k, k + split_group_pixels - 1) > std::int64_t{split_window_pixels};
        const std::size_t part = table_.first_pixel(i / split_part_groups * split_part_groups);
        fits_ = fits_ && reach(part, k + split_group_pixels - 1) <= std::int64_t{split_part_pixels};
    }
    for (std::size_t i = 0; fits_ && i < count; ++i)
        fits_ = set_group(table_.first_pixel(i), groups[i]);
    return true;
}

bool NUV_ScaleI2SplitFilter::set_group(std::size_t first, NUV_ScaleI2SplitGroup& group)
{
    bool fits = true;
    for (std::size_t i = 0; fits && i < split_group_pixels; ++i)
        fits = set_pixel(first + i, i, group);
    return fits;
}

bool NUV_ScaleI2SplitFilter::set_pixel(std::size_t k, std::size_t place,
                                       NUV_ScaleI2SplitGroup& group)
{
    const NUV_ScaleI2Axis<double>& axis = row_->axis();
    const NUV_SplitSum split = split_sum(axis.weights(k), row_bits, row_low_bits);
    constexpr std::int64_t most_low = 65535;
    constexpr std::size_t half_group = split_group_pixels / 2;
    const std::size_t in_window = is_wide_ ? place % half_group : place;
    const std::int64_t at = axis.first(k) - axis.first(k - in_window);
    if (!split.fits || split.low > most_low ||
        at + row_->taps() > std::int64_t{split_window_pixels})
        return false;
    off_ = std::max(off_, split.lost * 32768 + power_of_two(-1 - middle_bits));
    for (std::size_t i = 0; i < 4; ++i)
        group.order[4 * place + i] =
            static_cast<std::uint8_t>(2 * static_cast<std::size_t>(at) + i);
    for (std::size_t pair = 0; pair < most_tap_pairs; ++pair) {
        const NUV_SplitInteger& first = split.parts[2 * pair];
        const NUV_SplitInteger& second = split.parts[2 * pair + 1];
        const std::size_t to =
            is_by_pixels_ ? place * most_tap_pairs + pair : pair * split_group_pixels + place;
        group.high[to] = half_pair(first.high, second.high);
        group.low[to] = half_pair(first.low, second.low);
    }
    return true;
}

bool NUV_ScaleI2SplitFilter::set_line(std::size_t k, NUV_ScaleI2SplitLine& line) const
{
    const NUV_SplitSum split = split_sum(column_->axis().weights(k), line_bits, half_bits);
    const double most_middle = row_->axis().most_weight() * 32768 + 1;
    const double most_high = most_middle * power_of_two(middle_bits - half_bits) + 1;
    const double most_sum =
        static_cast<double>(split.high) * 32768 + static_cast<double>(split.low) * most_high;
    const double off =
        split.magnitude * off_ + split.lost * most_middle +
        static_cast<double>(split.low) * power_of_two(half_bits - 1 - line_bits - middle_bits) +
        power_of_two(-20); // double precision, and sums of weights
    const double doubt = std::ceil(off * power_of_two(split_line_bits));
    if (!split.fits || most_sum >= 2147483647.0 - 65536 || doubt > most_split_doubt)
        return false;
    line.doubt = static_cast<std::int32_t>(doubt);
    for (std::size_t i = 0; i < scale_i2_most_taps; ++i) {
        line.high[i] = half_pair(0, split.parts[i].high);
        line.low[i] = half_pair(split.parts[i].high, split.parts[i].low);
    }
    return true;
}

void NUV_ScaleI2SplitFilter::filter(const std::uint16_t* line, std::int32_t* out) const
{
    for (std::size_t k = 0; k < table_.begin; ++k)
        filter_end(line, k, out);
    filter_(line, table_, out);
    for (std::size_t k = table_.end; k < row_->destination_width(); ++k)
        filter_end(line, k, out);
}

void NUV_ScaleI2SplitFilter::filter_end(const std::uint16_t* line, std::size_t k,
                                        std::int32_t* out) const
{
    constexpr std::size_t most_channels = 4;
    const std::uint32_t channels = row_->channels();
    double samples[most_channels];
    filter_end_pixel<NUV_ScaleI2FloatArithmetic>(line, row_->axis().first(k),
                                                 row_->axis().weights(k), samples, row_->taps(),
                                                 channels, row_->source_width());
    for (std::size_t c = 0; c < channels; ++c) {
        const double middle = (samples[c] - 32768) * power_of_two(middle_bits);
        out[k * channels + c] = split_middle(static_cast<std::int32_t>(std::lround(middle)));
    }
}

std::size_t NUV_ScaleI2SplitFilter::combine(std::size_t k, const std::int32_t* const* middles,
                                            std::uint16_t* out) const
{
    NUV_ScaleI2SplitLine line{};
    if (!set_line(k, line))
        return column_->samples_per_line();
    combine_(middles, column_->taps(), line, out, column_->samples_per_line(), column_->maximum(),
             doubts_.data());
    std::size_t count = 0;
    for (const std::uint32_t doubt : doubts_.items())
        count += static_cast<std::size_t>(std::popcount(doubt));
    return count;
}

void NUV_ScaleI2SplitFilter::make_again(std::size_t k, const std::uint16_t* const* lines,
                                        std::uint16_t* out) const
{
    for (std::size_t step = 0; step < doubts_.size(); ++step) {
        for (std::uint32_t doubt = doubts_[step]; doubt != 0; doubt &= doubt - 1) {
            const auto bit = static_cast<std::size_t>(std::countr_zero(doubt));
            make_sample_again(k, step * split_step_samples + bit, lines, out);
        }
    }
}

// In the order of the taps both ways, as everywhere.
void NUV_ScaleI2SplitFilter::make_sample_again(std::size_t k, std::size_t sample,
                                               const std::uint16_t* const* lines,
                                               std::uint16_t* out) const
{
    const std::size_t channels = row_->channels();
    const std::size_t pixel = sample / channels;
    const double* weights = row_->axis().weights(pixel);
    const double* line_weights = column_->axis().weights(k);
    std::size_t places[scale_i2_most_taps];
    for (std::uint32_t i = 0; i < row_->taps(); ++i) {
        const std::int64_t x = std::clamp<std::int64_t>(row_->axis().first(pixel) + i, 0,
                                                        std::int64_t{row_->source_width()} - 1);
        places[i] = static_cast<std::size_t>(x) * channels + sample % channels;
    }
    double sum = 0;
    for (std::size_t i = 0; i < column_->taps(); ++i) {
        double middle = 0;
        for (std::size_t j = 0; j < row_->taps(); ++j)
            middle += static_cast<double>(lines[i][places[j]]) * weights[j];
        sum += middle * line_weights[i];
    }
    out[sample] = settle_sample(sum, column_->maximum());
}

} // namespace nuv
