// nuv_libjpeg_samples JPEG FILE: writes the component samples of a JPEG line by line, as nuv does.
// It is the peer of `nuv convert x.jpg x.raw`: djpeg has no switch for leaving the colours alone.

#include <cstddef>
#include <cstdio> // for jpeglib.h, which does not include it
#include <jpeglib.h>
#include <vector>

namespace {

// With all switched off that is left to taste: no interpolation of chroma, no smoothing, and the
// transform whose samples are the same everywhere.
bool decode(std::FILE* in, std::FILE* out)
{
    jpeg_decompress_struct coder{};
    jpeg_error_mgr errors{}; // it ends the program on an error
    coder.err = jpeg_std_error(&errors);
    jpeg_create_decompress(&coder);
    jpeg_stdio_src(&coder, in);
    jpeg_read_header(&coder, TRUE);
    coder.out_color_space = coder.jpeg_color_space;
    coder.do_fancy_upsampling = FALSE;
    coder.do_block_smoothing = FALSE;
    coder.dct_method = JDCT_ISLOW;
    jpeg_start_decompress(&coder);
    std::vector<JSAMPLE> line(std::size_t{coder.output_width} *
                              static_cast<unsigned>(coder.output_components));
    bool ok = true;
    while (ok && coder.output_scanline < coder.output_height) {
        JSAMPLE* row = line.data();
        jpeg_read_scanlines(&coder, &row, 1);
        ok = std::fwrite(line.data(), 1, line.size(), out) == line.size();
    }
    jpeg_destroy_decompress(&coder);
    return ok;
}

} // namespace

int main(int count, char** words)
{
    std::FILE* in = count == 3 ? std::fopen(words[1], "rb") : nullptr;
    std::FILE* out = in != nullptr ? std::fopen(words[2], "wb") : nullptr;
    if (out == nullptr) {
        std::fputs("usage: nuv_libjpeg_samples JPEG FILE\n", stderr);
        return 1;
    }
    const bool ok = decode(in, out);
    return std::fclose(out) == 0 && ok ? 0 : 1;
}
