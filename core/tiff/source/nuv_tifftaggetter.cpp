#include "core/tiff/nuv_tifftaggetter.h"

namespace nuv {

std::size_t NUV_TIFFAsciiGetter::copy(QDTIFF_Tag& tag, NUV_BasicString<char>& text)
{
    return get_turned<std::uint8_t>(directory_, tag, std::span(text.data(), text.size()),
                                    [](std::uint8_t byte) { return static_cast<char>(byte); });
}

} // namespace nuv
