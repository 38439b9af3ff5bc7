// nuv_leptonica_turn TIFF FILE: turns a bilevel page by 90 degrees, halves it by nearest pixels and
// writes its bits. It is the peer of `nuv convert x.tif x.raw rotate=90 nearest=50%`.

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <leptonica/allheaders.h>
#include <vector>

namespace {

// Leptonica's words have their first pixel in the top bit, whatever the host's order.
bool write_bits(PIX* page, std::FILE* out)
{
    const auto lines = static_cast<std::size_t>(pixGetHeight(page));
    const auto words = static_cast<std::size_t>(pixGetWpl(page));
    std::vector<std::uint8_t> line((static_cast<std::size_t>(pixGetWidth(page)) + 7) / 8);
    for (std::size_t y = 0; y < lines; ++y) {
        const std::uint32_t* const from = pixGetData(page) + y * words;
        for (std::size_t i = 0; i < line.size(); ++i)
            line[i] = static_cast<std::uint8_t>(from[i / 4] >> (24 - 8 * (i % 4)));
        if (std::fwrite(line.data(), 1, line.size(), out) != line.size())
            return false;
    }
    return true;
}

bool turn(const char* from, std::FILE* out)
{
    PIX* page = pixRead(from);
    PIX* turned = page != nullptr ? pixRotateOrth(page, 1) : nullptr;
    PIX* half = turned != nullptr ? pixScaleBinary(turned, 0.5F, 0.5F) : nullptr;
    const bool ok = half != nullptr && write_bits(half, out);
    pixDestroy(&half);
    pixDestroy(&turned);
    pixDestroy(&page);
    return ok;
}

} // namespace

int main(int count, char** words)
{
    std::FILE* out = count == 3 ? std::fopen(words[2], "wb") : nullptr;
    if (out == nullptr) {
        std::fputs("usage: nuv_leptonica_turn TIFF FILE\n", stderr);
        return 1;
    }
    const bool ok = turn(words[1], out);
    return std::fclose(out) == 0 && ok ? 0 : 1;
}
