#pragma once

#include "tests/support/nuv_test.h"

#include <sys/mman.h>
#include <tiffio.h>
#include <unistd.h>

namespace nuv {

// A coding of pages, as libtiff is told.
struct NUV_FaxForm {
    std::uint32_t compression;
    std::uint32_t options = 0; // of T.4, as the tag has them
    bool with_rtc = false;
};

// A page of packed lines, 1 for black, for libtiff.
struct NUV_FaxPage {
    std::uint32_t width;
    std::uint32_t height;
    std::uint32_t rows; // per strip
    Bytes bits = Bytes(line_bytes() * height);

    [[nodiscard]] std::size_t line_bytes() const { return (std::size_t{width} + 7) / 8; }

    // `mode` tells the order of bytes, "wl" or "wb"; a plane has strips that are read apart.
    [[nodiscard]] Bytes file(const NUV_FaxForm& form, const char* mode, std::uint32_t fill_order,
                             bool is_plane = false) const
    {
        const int memory = memfd_create("page", 0);
        TIFF* tiff = TIFFFdOpen(dup(memory), "page", mode);
        TIFFSetField(tiff, TIFFTAG_IMAGEWIDTH, width);
        TIFFSetField(tiff, TIFFTAG_IMAGELENGTH, height);
        TIFFSetField(tiff, TIFFTAG_BITSPERSAMPLE, 1);
        TIFFSetField(tiff, TIFFTAG_PHOTOMETRIC, PHOTOMETRIC_MINISWHITE);
        TIFFSetField(tiff, TIFFTAG_FILLORDER, fill_order);
        TIFFSetField(tiff, TIFFTAG_ROWSPERSTRIP, rows);
        TIFFSetField(tiff, TIFFTAG_XRESOLUTION, 600.0);
        TIFFSetField(tiff, TIFFTAG_YRESOLUTION, 600.0);
        TIFFSetField(tiff, TIFFTAG_COMPRESSION, form.compression);
        TIFFSetField(tiff, TIFFTAG_PLANARCONFIG, is_plane ? 2 : 1);
        if (form.options != 0)
            TIFFSetField(tiff, TIFFTAG_GROUP3OPTIONS, form.options);
        if (form.with_rtc)
            TIFFSetField(tiff, TIFFTAG_FAXMODE, FAXMODE_CLASSIC);
        Bytes lines = bits;
        for (std::uint32_t y = 0; y < height; ++y)
            TIFFWriteScanline(tiff, &lines[y * line_bytes()], y, 0);
        TIFFClose(tiff);
        Bytes bytes(static_cast<std::size_t>(lseek(memory, 0, SEEK_END)));
        static_cast<void>(!pread(memory, bytes.data(), bytes.size(), 0));
        close(memory);
        return bytes;
    }
};

} // namespace nuv
