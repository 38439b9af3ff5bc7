#include "core/readraster/source/nuv_formatlist.h"

#include "core/bmp/nuv_bmpinfo.h"
#include "core/bmp/nuv_readbmp.h"
#include "core/decodetoraw/nuv_decodetoraw.h"
#include "core/exifjpeg/nuv_exifjpeginfo.h"
#include "core/exifjpeg/nuv_readexifjpeg.h"
#include "core/exiftiff/nuv_exiftiffinfo.h"
#include "core/exiftiff/nuv_readexiftiff.h"
#include "core/internal/nuv_internalinfo.h"
#include "core/internal/nuv_readinternal.h"
#include "core/jfif/nuv_jfifinfo.h"
#include "core/jfif/nuv_readjfif.h"
#include "core/jpeg/nuv_jpeginfo.h"
#include "core/jpeg/nuv_readjpeg.h"
#include "core/jpegadobe/nuv_jpegadobeinfo.h"
#include "core/jpegadobe/nuv_readjpegadobe.h"
#include "core/png/nuv_pnginfo.h"
#include "core/png/nuv_readpng.h"
#include "core/pnm/nuv_pnminfo.h"
#include "core/pnm/nuv_readpnm.h"
#include "core/sunras/nuv_readsunras.h"
#include "core/sunras/nuv_sunrasinfo.h"

namespace nuv {
namespace {

// The library's own format carries any coding, which its reader leaves as it is.
class ReadInternalToRaw {
public:
    explicit ReadInternalToRaw(NUV_Manager& manager) noexcept : manager_(manager) {}

    [[nodiscard]] NUV_Engine* engine(NUV_InputStorage* storage, const NUV_InternalInfo* info)
    {
        NUV_Engine* data = NUV_ReadInternal(manager_).engine(storage, info);
        return data ? NUV_DecodeToRaw(manager_).engine(data) : nullptr;
    }

private:
    NUV_Manager& manager_;
};

} // namespace

std::span<const NUV_FormatRow> single_image_formats() noexcept
{
    static constexpr NUV_FormatRow rows[] = {
        format_row<NUV_SunrasInfo, NUV_ReadSunras>(),
        format_row<NUV_BMPInfo, NUV_ReadBMP>(),
        format_row<NUV_JPEGAdobeInfo, NUV_ReadJPEGAdobe, NUV_JPEGInfo::full_scale>(),
        format_row<NUV_JFIFInfo, NUV_ReadJFIF, NUV_JPEGInfo::full_scale>(),
        format_row<NUV_ExifJPEGInfo, NUV_ReadExifJPEG, NUV_JPEGInfo::full_scale>(),
        format_row<NUV_JPEGInfo, NUV_ReadJPEG, NUV_JPEGInfo::full_scale>(),
        format_row<NUV_InternalInfo, ReadInternalToRaw>(),
        format_row<NUV_PNGInfo, NUV_ReadPNG>(),
        format_row<NUV_PNMInfo, NUV_ReadPNM>(),
        format_row<NUV_ExifTIFFInfo, NUV_ReadExifTIFF>(),
    };
    return rows;
}

} // namespace nuv
