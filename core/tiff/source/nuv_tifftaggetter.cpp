#include "core/tiff/nuv_tifftaggetter.h"

namespace nuv {

bool NUV_TIFFNumbersGetter::make_room(QDTIFF_Tag& tag, NUV_PackedNumbers& values)
{
    return values.reserve(tag.count(), std::min<std::uint32_t>(tag.element_size(), 4));
}

std::size_t NUV_TIFFNumbersGetter::copy(QDTIFF_Tag& tag, NUV_PackedNumbers& values)
{
    const auto get = [&](auto numbers) { return tag.get(directory_.values(), numbers, 0); };
    switch (values.bytes_each()) {
    case 1:
        return get(values.fill<std::uint8_t>(tag.count()));
    case 2:
        return get(values.fill<std::uint16_t>(tag.count()));
    default:
        return get(values.fill<std::uint32_t>(tag.count()));
    }
}

std::size_t NUV_TIFFAsciiGetter::copy(QDTIFF_Tag& tag, NUV_BasicString<char>& text)
{
    return get_turned<std::uint8_t>(directory_, tag, std::span(text.data(), text.size()),
                                    [](std::uint8_t byte) { return static_cast<char>(byte); });
}

} // namespace nuv
