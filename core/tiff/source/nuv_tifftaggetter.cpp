#include "core/tiff/nuv_tifftaggetter.h"

namespace nuv {

std::size_t NUV_TIFFAsciiGetter::copy(QDTIFF_Tag& tag, NUV_BasicString<char>& text)
{
    NUV_Vector<std::uint8_t> read(manager());
    if (!read.resize(text.size()))
        return 0;
    const std::size_t count = tag.get(directory_.values(), read.items());
    for (std::size_t i = 0; i < count; ++i)
        text[i] = static_cast<char>(read[i]);
    return count;
}

} // namespace nuv
