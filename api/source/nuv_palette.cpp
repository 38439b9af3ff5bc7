#include "api/source/nuv_palette.h"

#include "core/channel/nuv_mergechannel.h"
#include "core/convert1to8xnbits/nuv_convert1to8xnbits.h"
#include "core/lut/nuv_lut.h"
#include "core/lut/nuv_lutdata.h"
#include "framework/base/nuv_failure.h"
#include "framework/base/nuv_held.h"
#include "framework/engine/nuv_nop.h"

#include <algorithm>
#include <cstring>

namespace nuv {
namespace {

// The same samples without the palette, one bit as eight.
[[nodiscard]] NUV_Engine* as_numbers(NUV_Manager& manager, NUV_Engine* previous)
{
    NUV_Header header(manager);
    if (!header.copy(*previous->header()) ||
        !header.palette().copy(NUV_Header::NUV_Palette(manager)))
        return nullptr;
    header.color_type(NUV_ColorType::unknown);
    NUV_Engine* plain = NUV_RewriteHeader(manager).engine(previous, &header);
    if (!plain || header.bits() != 1)
        return plain;
    return NUV_Convert1To8xNBits(manager).engine(plain, NUV_DataType::u_integer, 8, 1, 0);
}

// Channel `channel` of the entries as a table over all values of an index.
[[nodiscard]] NUV_Engine* look_up(NUV_Manager& manager, NUV_Engine* indices,
                                  const NUV_Header::NUV_Palette& palette, std::uint32_t channel,
                                  const NUV_ColorType* color)
{
    const std::uint32_t values = std::uint32_t{1} << indices->header()->bits();
    const std::size_t sample_bytes = palette.bits / 8U;
    NUV_Scratch<std::uint8_t> table;
    if (!table.allocate(manager, values * sample_bytes))
        return nullptr;
    for (std::uint32_t i = 0; i < values; ++i) {
        const std::size_t entry = std::min(i, palette.entries - 1);
        std::memcpy(table.data() + i * sample_bytes,
                    palette.value() + (entry * palette.channels + channel) * sample_bytes,
                    sample_bytes);
    }
    const auto data = make_object<NUV_LutData>(manager);
    if (!data)
        return nullptr;
    data->bits = palette.bits;
    data->channels = 1;
    data->entries = values;
    if (!data->value(table.data(), static_cast<std::uint32_t>(table.size())))
        return nullptr;
    return NUV_Lut(manager).engine(indices, data.get(), color);
}

} // namespace

NUV_Engine* expand_palette(NUV_Manager& manager, NUV_Engine* previous)
{
    const NUV_Header& header = *previous->header();
    if (header.palette().is_empty())
        return previous;
    if (!header.palette().is_valid() || header.channels() != 1 || header.bits() > 16)
        return fail(manager, NUV_ERR_UNSUPPORTED, "expand_palette()");
    NUV_Header described(manager); // the engine that has it may end
    if (!described.copy(header))
        return nullptr;
    const NUV_Header::NUV_Palette& palette = described.palette();
    NUV_Engine* indices = as_numbers(manager, previous);
    if (!indices)
        return nullptr;
    if (palette.channels == 1)
        return look_up(manager, indices, palette, 0, described.color_type());
    auto branches = indices->branch(palette.channels);
    if (branches.size() != palette.channels)
        return nullptr;
    for (std::uint32_t i = 0; i < palette.channels; ++i) {
        branches[i] = look_up(manager, branches[i], palette, i, NUV_ColorType::unknown);
        if (!branches[i])
            return nullptr;
    }
    return NUV_MergeChannel(manager).engine(branches.items(), described.color_type());
}

} // namespace nuv
