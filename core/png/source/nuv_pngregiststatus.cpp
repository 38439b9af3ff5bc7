#include "core/png/source/nuv_pngregiststatus.h"

#include "framework/base/nuv_failure.h"

namespace nuv {
namespace {

struct PNGMessage {
    std::string_view text;
    NUV_StatusCode code;
};

// libpng has no codes but its texts. Those of 1.2 stand beside those of 1.6, which names the chunk
// in front of what is wrong with it, and tells only "Invalid IHDR data" where 1.2 told the field.
// clang-format off
constexpr PNGMessage messages[] = {
    {"Not a PNG file", NUV_STATUS_OK},
    {"PNG file corrupted by ASCII conversion", NUV_ERR_BROKEN_DATA},
    {"Missing IHDR before IDAT", NUV_ERR_BROKEN_DATA},
    {"IDAT: Missing IHDR before IDAT", NUV_ERR_BROKEN_DATA},
    {"Missing PLTE before IDAT", NUV_ERR_BROKEN_DATA},
    {"IDAT: Missing PLTE before IDAT", NUV_ERR_BROKEN_DATA},
    {"too many length or distance symbols", NUV_ERR_BROKEN_DATA},
    {"IDAT: too many length or distance symbols", NUV_ERR_BROKEN_DATA},
    {"incorrect header check", NUV_ERR_BROKEN_DATA},
    {"IDAT: incorrect header check", NUV_ERR_BROKEN_DATA},
    {"incorrect data check", NUV_ERR_BROKEN_DATA},
    {"IDAT: incorrect data check", NUV_ERR_BROKEN_DATA},
    {"Not enough image data", NUV_ERR_BROKEN_DATA},
    {"IHDR: CRC error", NUV_ERR_BROKEN_DATA},
    {"PLTE: CRC error", NUV_ERR_BROKEN_DATA},
    {"IDAT: CRC error", NUV_ERR_BROKEN_DATA},
    {"IEND: CRC error", NUV_ERR_BROKEN_DATA},
    {png_read_error, NUV_ERR_BROKEN_DATA},
    {"Image width or height is zero in IHDR", NUV_ERR_INVALID_DATA},
    {"Unknown interlace method in IHDR", NUV_ERR_INVALID_DATA},
    {"Unknown compression method in IHDR", NUV_ERR_INVALID_DATA},
    {"Invalid IHDR data", NUV_ERR_INVALID_DATA},
    {"Invalid bit depth in IHDR", NUV_ERR_INVALID_DATA},
    {"Invalid color type in IHDR", NUV_ERR_INVALID_DATA},
    {"Invalid color type/bit depth combination in IHDR", NUV_ERR_INVALID_DATA},
    {"Write error: nuv_write_callback()", NUV_ERR_IO},
};
// clang-format on

} // namespace

NUV_StatusCode png_status_of(std::string_view message) noexcept
{
    for (const PNGMessage& known : messages) {
        if (known.text == message)
            return known.code;
    }
    return NUV_ERROR;
}

void nuv_pngregiststatus(NUV_Manager& manager, const char* message, const char* method,
                         NUV_Diagnosis why)
{
    const NUV_StatusCode code = png_status_of(message);
    if (code == NUV_STATUS_OK)
        return;
    if (code == NUV_ERROR && why.cause == NUV_Cause::none) // of what libpng has no other for
        why.because(NUV_Cause::damaged);
    if (why.text[0] == '\0')
        why.says("%s", std::string_view(message) == png_read_error ? "it ends early" : message);
    fail(manager, code, method, why);
}

} // namespace nuv
