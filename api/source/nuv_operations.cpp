#include "core/channel/nuv_mergechannel.h"
#include "core/channel/nuv_reversechannel.h"
#include "core/channel/nuv_selectchannel.h"
#include "core/colormatrix/nuv_colormatrix.h"
#include "core/colormatrix/nuv_matrix.h"
#include "core/colorspace/nuv_colorspace.h"
#include "core/convert1to8xnbits/nuv_convert1to8xnbits.h"
#include "core/convertdatatype/nuv_convertdatatype.h"
#include "core/crop/nuv_crop.h"
#include "core/dlut/nuv_dlut.h"
#include "core/dlut/nuv_dlutdata.h"
#include "core/limitpixelvalue/nuv_limitpixelvalue.h"
#include "core/lut/nuv_lut.h"
#include "core/lut/nuv_lutdata.h"
#include "core/mirror/nuv_mirrorx.h"
#include "core/mirror/nuv_mirrory.h"
#include "core/operation/nuv_not.h"
#include "core/rotate/nuv_rotate90.h"
#include "core/shiftdata/nuv_shiftdata.h"
#include "framework/base/nuv_failure.h"

#include <algorithm>
#include <cmath>
#include <cstring>
#include <span>

#include "api/source/nuv_codes.h"
#include "api/source/nuv_job.h"
#include "api/source/nuv_palette.h"

namespace {

using nuv::NUV_ColorType;
using nuv::NUV_DataType;
using nuv::NUV_Engine;
using nuv::NUV_Manager;

// One operation: `make(manager, previous)` is its creator's call.
template <class Make>
[[nodiscard]] nuv_status operate(nuv_job* job, const char* name, Make make) noexcept
{
    return nuv::guarded(job, [&](nuv_job& it) {
        if (it.must_be(JobStage::opened, name))
            static_cast<void>(it.append(name, make(*it.manager, it.last)));
    });
}

// The same with an argument that is refused where it is not `good`.
template <class Make>
[[nodiscard]] nuv_status operate_if(bool good, nuv_job* job, const char* name, Make make) noexcept
{
    return nuv::guarded(job, [&](nuv_job& it) {
        if (!it.must_be(JobStage::opened, name))
            return;
        if (!good)
            it.refuse(NUV_BAD_CALL, "%s(): an argument is missing or has no meaning.", name);
        else
            static_cast<void>(it.append(name, make(*it.manager, it.last)));
    });
}

[[nodiscard]] bool are_finite(std::span<const double> numbers) noexcept
{
    return std::all_of(numbers.begin(), numbers.end(), [](double it) { return std::isfinite(it); });
}

// Where channels lie side by side in their order, they are cut out; else each is taken for itself.
[[nodiscard]] NUV_Engine* pick(NUV_Manager& manager, NUV_Engine* previous,
                               std::span<const std::uint16_t> channels, const NUV_ColorType* color)
{
    bool in_order = true;
    for (std::size_t i = 1; i < channels.size(); ++i)
        in_order = in_order && channels[i] == channels[0] + i;
    if (in_order) {
        return nuv::NUV_SelectChannel(manager).engine(
            previous, channels[0], static_cast<std::uint32_t>(channels.size()), color);
    }
    auto branches = previous->branch(static_cast<std::uint32_t>(channels.size()));
    if (branches.size() != channels.size())
        return nullptr;
    for (std::size_t i = 0; i < channels.size(); ++i) {
        branches[i] = nuv::NUV_SelectChannel(manager).engine(branches[i], channels[i],
                                                             NUV_ColorType::unknown);
        if (!branches[i])
            return nullptr;
    }
    return nuv::NUV_MergeChannel(manager).engine(branches.items(), color);
}

[[nodiscard]] NUV_Engine* look_up(NUV_Manager& manager, NUV_Engine* previous, const void* table,
                                  std::uint32_t entries, std::uint16_t channels, std::uint16_t bits)
{
    constexpr auto method = "NUV_Lut::engine()";

    const nuv::NUV_Header& header = *previous->header();
    const std::uint32_t range = header.bits() > 16 ? 0 : std::uint32_t{1} << header.bits();
    if (entries == 0 || entries > range || (channels != 1 && channels != header.channels()))
        return nuv::fail(manager, nuv::NUV_ERR_ARGUMENT, method);
    const std::size_t given_bytes = std::size_t{entries} * (bits / 8U);
    const std::size_t range_bytes = std::size_t{range} * (bits / 8U);
    nuv::NUV_Scratch<std::uint8_t> whole;
    if (!whole.allocate(manager, range_bytes * channels))
        return nullptr;
    std::memset(whole.data(), 0, whole.size());
    for (std::size_t i = 0; i < channels; ++i) {
        std::memcpy(whole.data() + i * range_bytes,
                    static_cast<const std::uint8_t*>(table) + i * given_bytes, given_bytes);
    }
    const auto data = nuv::make_object<nuv::NUV_LutData>(manager);
    if (!data)
        return nullptr;
    data->bits = bits;
    data->channels = channels;
    data->entries = range;
    if (!data->value(whole.data(), static_cast<std::uint32_t>(whole.size())))
        return nullptr;
    return nuv::NUV_Lut(manager).engine(previous, data.get());
}

[[nodiscard]] NUV_Engine* interpolate(NUV_Manager& manager, NUV_Engine* previous, const void* table,
                                      std::uint32_t points, std::uint16_t outputs,
                                      const NUV_ColorType* color)
{
    const nuv::NUV_Header& header = *previous->header();
    nuv::NUV_DLutData data(manager);
    if (!data.allocate(header.bits(), header.channels(), outputs, points))
        return nullptr;
    const std::span<std::uint8_t> bytes = data.samples<std::uint8_t>();
    std::memcpy(bytes.data(), table, bytes.size());
    return nuv::NUV_DLutTetrahedron(manager).engine(previous, &data, color);
}

} // namespace

nuv_status nuv_crop(nuv_job* job, uint32_t x, uint32_t y, uint32_t width, uint32_t height)
{
    return operate(job, "nuv_crop", [=](NUV_Manager& manager, NUV_Engine* previous) {
        return nuv::NUV_Crop(manager).engine(previous, x, y, width, height);
    });
}

nuv_status nuv_rotate(nuv_job* job, int degrees)
{
    return operate(job, "nuv_rotate", [=](NUV_Manager& manager, NUV_Engine* previous) {
        return nuv::NUV_Rotate90(manager).engine(previous, degrees);
    });
}

nuv_status nuv_flip(nuv_job* job, nuv_flip_axis axis)
{
    const bool good = axis == NUV_LEFT_TO_RIGHT || axis == NUV_TOP_TO_BOTTOM;
    return operate_if(good, job, "nuv_flip", [=](NUV_Manager& manager, NUV_Engine* previous) {
        return axis == NUV_LEFT_TO_RIGHT ? nuv::NUV_MirrorX(manager).engine(previous)
                                         : nuv::NUV_MirrorY(manager).engine(previous);
    });
}

// TIFF 6.0, section 8: where the first line and the first column of the source lie in the picture.
nuv_status nuv_upright(nuv_job* job)
{
    struct Turn {
        int degrees;
        bool is_mirrored; // behind the turn
    };
    static constexpr Turn turns[] = {
        {0, false}, {0, false},  {0, true},   {180, false}, {180, true},
        {90, true}, {90, false}, {270, true}, {270, false},
    };
    return operate(job, "nuv_upright", [=](NUV_Manager& manager, NUV_Engine* previous) {
        job->is_turned = true;
        const Turn& turn = turns[job->facts.orientation];
        NUV_Engine* const turned = nuv::NUV_Rotate90(manager).engine(previous, turn.degrees);
        return turned && turn.is_mirrored ? nuv::NUV_MirrorX(manager).engine(turned) : turned;
    });
}

nuv_status nuv_invert(nuv_job* job)
{
    return operate(job, "nuv_invert", [](NUV_Manager& manager, NUV_Engine* previous) {
        return nuv::NUV_Not(manager).engine(previous);
    });
}

nuv_status nuv_pick_channels(nuv_job* job, const uint16_t* channels, uint16_t count,
                             nuv_color color)
{
    const NUV_ColorType* const tag = nuv::color_tag_of(color);
    const bool good = channels && count != 0 && tag && tag->valid_channels(count);
    return operate_if(good, job, "nuv_pick_channels",
                      [=](NUV_Manager& manager, NUV_Engine* previous) {
                          return pick(manager, previous, {channels, count}, tag);
                      });
}

nuv_status nuv_reverse_channels(nuv_job* job)
{
    return operate(job, "nuv_reverse_channels", [](NUV_Manager& manager, NUV_Engine* previous) {
        return nuv::NUV_ReverseChannel(manager).engine(previous);
    });
}

nuv_status nuv_table(nuv_job* job, const void* table, uint32_t entries, uint16_t channels,
                     uint16_t bits)
{
    const bool good = table && (bits == 8 || bits == 16 || bits == 32);
    return operate_if(good, job, "nuv_table", [=](NUV_Manager& manager, NUV_Engine* previous) {
        return look_up(manager, previous, table, entries, channels, bits);
    });
}

nuv_status nuv_color_table(nuv_job* job, const void* table, uint32_t points, uint16_t outputs,
                           nuv_color color)
{
    const NUV_ColorType* const tag = nuv::color_tag_of(color);
    return operate_if(table && tag, job, "nuv_color_table",
                      [=](NUV_Manager& manager, NUV_Engine* previous) {
                          return interpolate(manager, previous, table, points, outputs, tag);
                      });
}

nuv_status nuv_matrix(nuv_job* job, const double* matrix, uint16_t rows, const double* offsets,
                      nuv_color color)
{
    const NUV_ColorType* const tag = nuv::color_tag_of(color);
    const bool good = matrix && rows != 0 && tag;
    return operate_if(
        good, job, "nuv_matrix", [=](NUV_Manager& manager, NUV_Engine* previous) -> NUV_Engine* {
            const std::uint32_t columns = previous->header()->channels();
            const std::span<const double> given(matrix, std::size_t{rows} * columns);
            const std::span<const double> added(offsets, offsets ? rows : 0U);
            if (!are_finite(given) || !are_finite(added))
                return nuv::fail(manager, nuv::NUV_ERR_ARGUMENT, "NUV_ColorMatrix::engine()");
            nuv::NUV_Matrix factors(manager);
            if (!factors.value(rows, columns, given))
                return nullptr;
            return nuv::NUV_ColorMatrix(manager).engine(previous, &factors, added, tag, false);
        });
}

nuv_status nuv_recolor(nuv_job* job, nuv_color color)
{
    const NUV_ColorType* const tag = nuv::color_tag_of(color);
    return operate_if(tag != nullptr, job, "nuv_recolor",
                      [=](NUV_Manager& manager, NUV_Engine* previous) {
                          NUV_Engine* plain = nuv::expand_palette(manager, previous);
                          return plain ? nuv::NUV_ColorSpace(manager).engine(plain, tag) : nullptr;
                      });
}

nuv_status nuv_convert(nuv_job* job, nuv_sample_type type, uint16_t bits, double slope,
                       double offset)
{
    const NUV_DataType* const tag = nuv::data_tag_of(type);
    const bool good = tag && std::isfinite(slope) && std::isfinite(offset);
    return operate_if(good, job, "nuv_convert", [=](NUV_Manager& manager, NUV_Engine* previous) {
        return nuv::NUV_ConvertDataType(manager).engine(previous, tag, bits, slope, offset);
    });
}

nuv_status nuv_shift(nuv_job* job, nuv_sample_type type, uint16_t bits, int shift)
{
    const NUV_DataType* const tag = nuv::data_tag_of(type);
    return operate_if(tag != nullptr, job, "nuv_shift",
                      [=](NUV_Manager& manager, NUV_Engine* previous) {
                          return nuv::NUV_ShiftDataWL(manager).engine(previous, tag, bits, shift);
                      });
}

nuv_status nuv_clamp(nuv_job* job, int64_t minimum, int64_t maximum)
{
    return operate(job, "nuv_clamp", [=](NUV_Manager& manager, NUV_Engine* previous) {
        return nuv::NUV_LimitPixelValue(manager).engine(previous, std::int64_t{maximum},
                                                        std::int64_t{minimum});
    });
}

nuv_status nuv_expand_bits(nuv_job* job, uint16_t bits, int32_t zero, int32_t one)
{
    return operate(job, "nuv_expand_bits", [=](NUV_Manager& manager, NUV_Engine* previous) {
        return nuv::NUV_Convert1To8xNBits(manager).engine(previous, NUV_DataType::u_integer, bits,
                                                          one, zero);
    });
}
