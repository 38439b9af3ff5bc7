#include "core/tiff/nuv_tifftaggetter.h"

namespace nuv {

bool NUV_TIFFNumbersGetter::make_room(QDTIFF_Tag& tag, NUV_PackedNumbers& values)
{
    return values.reserve(tag.count(), std::min<std::uint32_t>(tag.element_size(), 4));
}

std::size_t NUV_TIFFNumbersGetter::copy(QDTIFF_Tag& tag, NUV_PackedNumbers& values)
{
    // They can be many, and a storage is asked for each piece.
    constexpr std::size_t piece_bytes = 16384;
    return take_pieces<std::uint32_t, piece_bytes>(
        directory_, tag, [&](std::span<const std::uint32_t> piece) { values.append(piece); });
}

std::size_t NUV_TIFFAsciiGetter::copy(QDTIFF_Tag& tag, NUV_BasicString<char>& text)
{
    return get_turned<std::uint8_t>(directory_, tag, text.data(),
                                    [](std::uint8_t byte) { return static_cast<char>(byte); });
}

} // namespace nuv
