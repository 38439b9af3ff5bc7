#include "core/convertdatatype/nuv_convertdatatype.h"

#include "core/convert1to8xnbits/nuv_convert1to8xnbits.h"
#include "core/convertdatatype/source/nuv_convertsample.h"
#include "core/lut/nuv_lut.h"
#include "core/shiftdata/nuv_shiftdata.h"

#include <algorithm>
#include <optional>
#include <utility>

namespace nuv {
namespace {

// What samples are, or are to be.
struct Samples {
    const NUV_DataType* type;
    std::uint16_t bits;
};

[[nodiscard]] bool is_integer(const NUV_DataType* type) noexcept
{
    return type == NUV_DataType::u_integer || type == NUV_DataType::s_integer;
}

[[nodiscard]] bool is_bilevel(const NUV_DataType* type, std::uint32_t bits) noexcept
{
    return type == NUV_DataType::u_integer && bits == 1;
}

[[nodiscard]] bool is_served(const Samples& samples)
{
    return is_bilevel(samples.type, samples.bits) ||
           visit_sample_type(
               all_samples, samples.type, samples.bits, []<class T>() { return true; },
               [] { return false; });
}

// A table pays when the image has more samples than there are values of them.
[[nodiscard]] bool has_more_samples_than_values(const NUV_Header& header) noexcept
{
    const std::uint64_t values = std::uint64_t{1} << header.bits(); // 8 or 16 bits
    const std::uint64_t pixels = std::uint64_t{header.width()} * header.height();
    return pixels > values || pixels * header.channels() > values;
}

[[nodiscard]] bool suits_table(const NUV_Header& header, const Samples& target) noexcept
{
    return (header.bits() == 8 || header.bits() == 16) && is_integer(header.data_type()) &&
           target.bits != 1 && has_more_samples_than_values(header);
}

// The conversion of every value that a sample of `header` can have, from the lowest on.
[[nodiscard]] NUV_Held<NUV_LutData> make_table(NUV_Manager& manager, const NUV_Header& header,
                                               const Samples& target, const NUV_LinearRule& rule)
{
    NUV_Held<NUV_LutData> table = make_object<NUV_LutData>(manager);
    if (!table)
        return {};
    const std::uint32_t entries = std::uint32_t{1} << header.bits();
    const bool is_signed = header.data_type() == NUV_DataType::s_integer;
    const std::int32_t lowest = is_signed ? -static_cast<std::int32_t>(entries / 2) : 0;
    table->bits = target.bits;
    table->channels = 1;
    table->entries = entries;
    table->data_type = target.type;
    table->slope = rule.slope;
    table->offset = rule.offset;
    const auto fill = [&]<class O>() {
        NUV_Scratch<O> values;
        if (!values.allocate(manager, entries))
            return false;
        convert_all([lowest](std::size_t i) { return lowest + static_cast<std::int32_t>(i); },
                    values.data(), entries, rule);
        return table->value(reinterpret_cast<const std::uint8_t*>(values.data()),
                            static_cast<std::uint32_t>(entries * sizeof(O)));
    };
    const bool filled =
        visit_sample_type(all_samples, target.type, target.bits, fill, [] { return false; });
    return filled ? std::move(table) : NUV_Held<NUV_LutData>{};
}

// The number of bits to the left by which samples are multiplied, where that is all.
[[nodiscard]] std::optional<std::int32_t> shift_of(double slope, double offset)
{
    if (!is_about(offset, 0) || !(slope > 0))
        return std::nullopt;
    const double exponent = std::log(slope) / std::log(2.0);
    const double rest = std::fmod(exponent, 1.0);
    if (!is_about(rest, 0) && !is_about(rest, 1) && !is_about(rest, -1))
        return std::nullopt;
    const double whole = std::round(exponent);
    if (whole < -31 || whole > 31)
        return std::nullopt;
    return static_cast<std::int32_t>(whole);
}

// True when shifted samples may lie beyond the target.
[[nodiscard]] bool needs_limit(const NUV_Header& header, const Samples& target,
                               std::int32_t shift) noexcept
{
    const bool from_signed = header.data_type() == NUV_DataType::s_integer;
    const bool to_signed = target.type == NUV_DataType::s_integer;
    const int more_bits = target.bits - header.bits();
    if (from_signed && !to_signed)
        return true;
    // The largest sample rounds up into the sign.
    if (!from_signed && to_signed && more_bits == 0 && shift == -1)
        return true;
    const int room = more_bits + (from_signed ? 1 : 0) - (to_signed || target.bits == 32 ? 1 : 0) -
                     (more_bits < 0 ? 1 : 0);
    return shift > room;
}

} // namespace

NUV_Engine* NUV_ConvertDataType::engine(NUV_Engine* previous, const NUV_DataType* type,
                                        std::uint16_t bits, double slope, double offset)
{
    constexpr auto method = "NUV_ConvertDataType::engine()";

    if (!accepts_image(previous, method))
        return nullptr;
    const NUV_Header& header = *previous->header();
    const Samples target{type ? type : header.data_type(), bits};
    const bool is_same = target.type == header.data_type() && bits == header.bits();
    if (is_same && is_about(slope, 1) && is_about(offset, 0))
        return previous;
    if (!is_served(target) || !is_served({header.data_type(), header.bits()}) ||
        !header.palette().is_empty())
        return fail(manager(), NUV_ERR_UNSUPPORTED, method);

    if (suits_table(header, target)) {
        const auto table = make_table(manager(), header, target, {slope, offset});
        return table ? NUV_Lut(manager()).engine(previous, table.get()) : nullptr;
    }
    if (is_bilevel(header.data_type(), header.bits())) {
        if (bits == 1)
            return NUV_ConvertDataType1bit(manager()).engine(previous, slope, offset);
        const auto unit_slope = unit_of(slope);
        const auto unit_offset = unit_of(offset);
        if (is_integer(target.type) && bits <= 16 && unit_slope && unit_offset) {
            // Below 0 there is nothing in unsigned samples.
            const int least = target.type == NUV_DataType::s_integer ? -2 : 0;
            return NUV_Convert1To8xNBits(manager()).engine(
                previous, target.type, bits, std::max(*unit_slope + *unit_offset, least),
                std::max(*unit_offset, least));
        }
        return NUV_ConvertDataTypeFrom1bit(manager()).engine(previous, target.type, bits, slope,
                                                             offset);
    }
    if (bits == 1)
        return NUV_ConvertDataTypeTo1bit(manager()).engine(previous, slope, offset);
    const auto shift = shift_of(slope, offset);
    if (shift && is_integer(header.data_type()) && is_integer(target.type)) {
        return NUV_ShiftData(manager()).engine(previous, target.type, bits, *shift,
                                               needs_limit(header, target, *shift));
    }
    return NUV_ConvertDataType8xNbits(manager()).engine(previous, target.type, bits, slope, offset);
}

} // namespace nuv
