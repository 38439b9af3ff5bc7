#include "api/source/nuv_widening.h"

#include "core/jpeg/nuv_jpeginfo.h"
#include "core/lut/nuv_lut.h"
#include "core/lut/nuv_lutdata.h"
#include "core/pnm/nuv_pnminfo.h"
#include "framework/base/nuv_held.h"

#include <algorithm>

namespace nuv {
namespace {

[[nodiscard]] constexpr std::uint32_t largest_of(std::uint32_t bits) noexcept
{
    return (std::uint32_t{1} << bits) - 1;
}

template <class T>
[[nodiscard]] NUV_Engine* look_up(NUV_Manager& manager, NUV_Engine* previous, std::uint32_t largest)
{
    constexpr std::uint32_t bits = 8 * sizeof(T);
    constexpr std::uint64_t full = largest_of(bits);

    const auto table = make_object<NUV_LutData>(manager);
    NUV_Scratch<T> entries;
    if (!table || !entries.allocate(manager, full + 1))
        return nullptr;
    for (std::uint64_t i = 0; i <= full; ++i) {
        const std::uint64_t twice = 2 * std::min<std::uint64_t>(i, largest) * full + largest;
        entries.data()[i] = static_cast<T>(twice / (2 * std::uint64_t{largest}));
    }
    table->bits = bits;
    table->channels = 1;
    table->entries = full + 1;
    const auto* bytes = reinterpret_cast<const std::uint8_t*>(entries.data());
    return table->value(bytes, sizeof(T) * (full + 1))
               ? NUV_Lut(manager).engine(previous, table.get())
               : nullptr;
}

} // namespace

std::uint32_t largest_stored_sample(const NUV_FormatInfo& info) noexcept
{
    std::uint32_t largest = 0;
    std::uint32_t bits = info.bits();
    if (const auto* anymap = dynamic_cast<const NUV_PNMInfo*>(&info)) {
        largest = anymap->maximum();
    } else if (const auto* jpeg = dynamic_cast<const NUV_JPEGInfo*>(&info)) {
        if (jpeg->is_lossless())
            largest = largest_of(jpeg->precision());
        bits = bits > 8 ? 16 : bits;
    }
    return largest == 0 || bits < 8 || largest == largest_of(bits) ? 0 : largest;
}

NUV_Engine* widen_samples(NUV_Manager& manager, NUV_Engine* previous, std::uint32_t largest)
{
    return previous->header()->bits() == 8 ? look_up<std::uint8_t>(manager, previous, largest)
                                           : look_up<std::uint16_t>(manager, previous, largest);
}

} // namespace nuv
