#include "core/exifjpeg/nuv_exifjpeginfo.h"

#include "core/exif/nuv_exifinfobase.h"
#include "framework/base/nuv_failure.h"
#include "framework/base/nuv_held.h"
#include "framework/base/nuv_status.h"
#include "framework/io/nuv_bytearrayinputstorage.h"

#include <algorithm>
#include <cstddef>
#include <string_view>

namespace nuv {

bool NUV_ExifJPEGTagInfo::load_internal(NUV_InputStorage* storage)
{
    if (!storage || storage->is_closed())
        return fail(manager(), NUV_ERR_ARGUMENT, "NUV_ExifJPEGTagInfo::load()");
    reset_attributes();
    return NUV_JPEGInfo::load_internal(storage) && load_exif();
}

bool NUV_ExifJPEGTagInfo::load_exif()
{
    if (!is_conforming())
        return false;
    const auto structure = exif_structure();
    if (!structure)
        return false;
    // Reads the bytes of the marker list, which stays behind it. There is none over no bytes.
    NUV_Held<NUV_ByteArrayInputStorage> storage;
    if (!structure->empty()) {
        storage = make_initiated<NUV_ByteArrayInputStorage>(manager(), structure->data(),
                                                            structure->data() + structure->size());
        if (!storage)
            return false;
    }
    NUV_ExifInfoBase read(manager());
    if (!read.load_attributes(storage.get()))
        return false;
    swap_attributes(read);
    resolution_ = ifd0.resolution();
    return true;
}

// Exif 2.2, 4.7.2: the identifier is "Exif", a zero, and a byte for padding.
std::optional<std::span<const std::uint8_t>> NUV_ExifJPEGTagInfo::exif_structure() const noexcept
{
    constexpr std::string_view identifier("Exif");
    constexpr std::size_t identifier_bytes = 6;
    constexpr std::uint8_t app1 = 0xE1;

    for (std::size_t i = 0; i < segment_count(); ++i) {
        const NUV_JPEGSegment candidate = segment(i);
        const auto payload = candidate.payload;
        if (candidate.marker == app1 && payload.size() >= identifier_bytes &&
            std::equal(identifier.begin(), identifier.end(), payload.begin()))
            return payload.subspan(identifier_bytes);
    }
    return std::nullopt;
}

bool NUV_ExifJPEGInfo::is_conforming() const noexcept
{
    constexpr std::uint32_t samplings[] = {0x211111, 0x221111, 0x111111, 0x121111};

    return color_type() == NUV_ColorType::ycbcr && channels() == 3 && bits() == 8 &&
           !is_progressive() && std::ranges::find(samplings, sampling()) != std::end(samplings);
}

} // namespace nuv
