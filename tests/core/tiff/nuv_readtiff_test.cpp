#include "core/tiff/nuv_readtiff.h"

#include "core/readraster/nuv_readraster.h"
#include "framework/io/nuv_bytearrayinputstorage.h"
#include "tests/core/tiff/nuv_tiffmemory.h"
#include "tests/support/nuv_testchain.h"

#include <gtest/gtest.h>

#include <iterator>
#include <random>
#include <string>

namespace nuv {
namespace {

using Bytes = std::vector<std::uint8_t>;

// What a file is, as its tags have it.
struct Form {
    std::uint32_t width = 0;
    std::uint32_t height = 0;
    std::uint32_t rows = 0; // per strip
    int photometric = 0;
    int colors = 1; // samples without extra ones
    int extras = 0;
    int bits = 8;
    int compression = COMPRESSION_NONE;
    int across = 1; // pixels that share chroma
    int down = 1;
    bool planar = false;
    bool big_endian = false;
    bool reversed = false; // bits of bytes

    [[nodiscard]] int samples() const { return colors + extras; }
    [[nodiscard]] bool is_jpeg() const { return compression == COMPRESSION_JPEG; }
    [[nodiscard]] bool has_units() const { return !planar && across * down > 1; }
    [[nodiscard]] std::uint32_t strips() const { return (height + rows - 1) / rows; }
    [[nodiscard]] std::string name() const
    {
        return std::to_string(width) + "x" + std::to_string(height) + " rows " +
               std::to_string(rows) + " photometric " + std::to_string(photometric) + " samples " +
               std::to_string(colors) + "+" + std::to_string(extras) + " bits " +
               std::to_string(bits) + " coding " + std::to_string(compression) + " units " +
               std::to_string(across) + "x" + std::to_string(down) + (planar ? " planar" : "") +
               (big_endian ? " MM" : " II") + (reversed ? " reversed" : "");
    }
};

struct Color {
    int photometric;
    int colors;
};

Form drawn(std::mt19937& random)
{
    constexpr Color colors[] = {{PHOTOMETRIC_MINISWHITE, 1}, {PHOTOMETRIC_MINISBLACK, 1},
                                {PHOTOMETRIC_RGB, 3},        {PHOTOMETRIC_PALETTE, 1},
                                {PHOTOMETRIC_MASK, 1},       {PHOTOMETRIC_SEPARATED, 3},
                                {PHOTOMETRIC_SEPARATED, 4},  {PHOTOMETRIC_YCBCR, 3},
                                {PHOTOMETRIC_CIELAB, 3},     {PHOTOMETRIC_CIELAB, 1}};
    constexpr std::uint32_t widths[] = {1, 7, 8, 9, 33};
    constexpr int depths[] = {1, 4, 8, 16};
    const auto chance = [&random](unsigned in) { return random() % in == 0; };

    Form form;
    const Color color = colors[random() % std::size(colors)];
    form.photometric = color.photometric;
    form.colors = color.colors;
    form.width = widths[random() % std::size(widths)];
    form.height = static_cast<std::uint32_t>(1 + random() % 20);
    form.bits = depths[random() % std::size(depths)];
    form.planar = form.colors > 1 && chance(2);
    form.big_endian = chance(2);
    form.reversed = chance(3);
    // Of three inks and of a lightness alone the samples of a pixel tell, so there can be no more.
    const bool is_counted = (color.photometric == PHOTOMETRIC_SEPARATED && color.colors == 3) ||
                            (color.photometric == PHOTOMETRIC_CIELAB && color.colors == 1);
    if (color.photometric != PHOTOMETRIC_PALETTE && !is_counted && chance(2))
        form.extras = static_cast<int>(1 + random() % 2);
    if (chance(3) && (form.bits <= 8 || !form.big_endian))
        form.compression = COMPRESSION_PACKBITS;
    if (form.photometric == PHOTOMETRIC_YCBCR && form.bits == 8 && form.extras == 0 &&
        form.compression == COMPRESSION_NONE && chance(2)) {
        constexpr int factors[][2] = {{2, 1}, {2, 2}, {4, 1}};
        const auto& drawn_factors = factors[random() % std::size(factors)];
        form.across = drawn_factors[0];
        form.down = drawn_factors[1];
        form.width *= static_cast<std::uint32_t>(form.across);
        form.height *= static_cast<std::uint32_t>(form.down);
    }
    const bool can_be_jpeg = form.photometric != PHOTOMETRIC_PALETTE &&
                             form.photometric != PHOTOMETRIC_MASK && form.extras == 0 &&
                             form.across == 1;
    if (can_be_jpeg && chance(3)) {
        form.compression = COMPRESSION_JPEG;
        form.bits = 8;
        form.planar = false;
        form.reversed = false;
    }
    form.rows = chance(3) ? form.height : static_cast<std::uint32_t>(chance(2) ? 1 : 3);
    const auto unit = static_cast<std::uint32_t>(form.is_jpeg() ? 8 : form.down);
    form.rows = (form.rows + unit - 1) / unit * unit;
    form.rows = std::min(form.rows, form.height);
    return form;
}

// Rows of random bytes as libtiff takes them, those that fill up the lines with them.
class Picture {
public:
    Picture(const Form& form, std::mt19937& random) : form_(form)
    {
        const int planes = form.planar ? form.samples() : 1;
        for (int plane = 0; plane < planes; ++plane) {
            Bytes stored(line_bytes(plane) * lines(plane));
            for (std::uint8_t& byte : stored)
                byte = static_cast<std::uint8_t>(random());
            planes_.push_back(stored);
        }
    }

    [[nodiscard]] std::size_t line_bytes(int plane) const
    {
        const std::size_t across = static_cast<std::size_t>(form_.across);
        if (form_.has_units())
            return form_.width / across * (across * static_cast<std::size_t>(form_.down) + 2);
        const std::size_t samples = form_.planar ? 1 : static_cast<std::size_t>(form_.samples());
        const std::size_t width = plane > 0 ? form_.width / across : form_.width;
        return (samples * static_cast<std::size_t>(form_.bits) * width + 7) / 8;
    }
    // Stored lines, of units where there are units.
    [[nodiscard]] std::uint32_t lines(int plane) const { return rows_of(plane, form_.height); }
    [[nodiscard]] std::uint32_t rows_of(int plane, std::uint32_t rows) const
    {
        const bool divided = form_.has_units() || plane > 0;
        return divided ? rows / static_cast<std::uint32_t>(form_.down) : rows;
    }

    [[nodiscard]] Bytes write() const
    {
        NUV_TIFFMemory memory;
        TIFF* tiff = memory.open(form_.big_endian ? "wb" : "wl");
        set_tags(tiff);
        for (std::size_t plane = 0; plane < planes_.size(); ++plane) {
            const auto number = static_cast<int>(plane);
            const std::size_t line = line_bytes(number);
            for (std::uint32_t i = 0; i < form_.strips(); ++i) {
                const std::uint32_t first = rows_of(number, i * form_.rows);
                const std::uint32_t rows =
                    std::min(rows_of(number, form_.rows), lines(number) - first);
                Bytes strip(planes_[plane].begin() + std::ptrdiff_t(first * line),
                            planes_[plane].begin() + std::ptrdiff_t((first + rows) * line));
                const auto at = static_cast<std::uint32_t>(plane * form_.strips() + i);
                EXPECT_GE(TIFFWriteEncodedStrip(tiff, at, strip.data(),
                                                static_cast<tmsize_t>(strip.size())),
                          0);
            }
        }
        TIFFClose(tiff);
        return memory.bytes;
    }

    // What is to come out: whole pixels, 4 bits as 8, chroma on each pixel, no extra samples.
    [[nodiscard]] Bytes samples(const Bytes& file) const
    {
        return form_.is_jpeg() ? decoded(file) : spread();
    }

private:
    void set_tags(TIFF* tiff) const
    {
        TIFFSetField(tiff, TIFFTAG_IMAGEWIDTH, form_.width);
        TIFFSetField(tiff, TIFFTAG_IMAGELENGTH, form_.height);
        TIFFSetField(tiff, TIFFTAG_BITSPERSAMPLE, form_.bits);
        TIFFSetField(tiff, TIFFTAG_SAMPLESPERPIXEL, form_.samples());
        TIFFSetField(tiff, TIFFTAG_ROWSPERSTRIP, form_.rows);
        TIFFSetField(tiff, TIFFTAG_COMPRESSION, form_.compression);
        TIFFSetField(tiff, TIFFTAG_PHOTOMETRIC, form_.photometric);
        TIFFSetField(tiff, TIFFTAG_PLANARCONFIG,
                     form_.planar ? PLANARCONFIG_SEPARATE : PLANARCONFIG_CONTIG);
        TIFFSetField(tiff, TIFFTAG_XRESOLUTION, 300.0);
        TIFFSetField(tiff, TIFFTAG_YRESOLUTION, 300.0);
        if (form_.reversed)
            TIFFSetField(tiff, TIFFTAG_FILLORDER, FILLORDER_LSB2MSB);
        if (form_.photometric == PHOTOMETRIC_YCBCR)
            TIFFSetField(tiff, TIFFTAG_YCBCRSUBSAMPLING, form_.across, form_.down);
        if (form_.is_jpeg() && form_.photometric == PHOTOMETRIC_YCBCR)
            TIFFSetField(tiff, TIFFTAG_JPEGCOLORMODE, JPEGCOLORMODE_RGB);
        const std::vector<std::uint16_t> extra(static_cast<std::size_t>(form_.extras), 0);
        if (form_.extras > 0)
            TIFFSetField(tiff, TIFFTAG_EXTRASAMPLES, form_.extras, extra.data());
        std::vector<std::uint16_t> map(std::size_t{3} << form_.bits, 0x1234);
        if (form_.photometric == PHOTOMETRIC_PALETTE)
            TIFFSetField(tiff, TIFFTAG_COLORMAP, map.data(), map.data(), map.data());
    }

    [[nodiscard]] unsigned stored_sample(std::uint32_t x, std::uint32_t y, int sample) const
    {
        const int plane = form_.planar ? sample : 0;
        const Bytes& bytes = planes_[static_cast<std::size_t>(plane)];
        const auto across = static_cast<std::uint32_t>(form_.across);
        const auto down = static_cast<std::uint32_t>(form_.down);
        if (form_.has_units()) {
            const std::size_t unit = std::size_t{y / down} * line_bytes(0) +
                                     std::size_t{x / across} * (across * down + 2);
            return sample == 0 ? bytes[unit + y % down * across + x % across]
                               : bytes[unit + across * down + static_cast<unsigned>(sample) - 1];
        }
        if (form_.planar && sample > 0) {
            x /= across;
            y /= down;
        }
        const std::size_t line = std::size_t{y} * line_bytes(plane);
        const std::size_t index = form_.planar
                                      ? x
                                      : std::size_t{x} * static_cast<std::size_t>(form_.samples()) +
                                            static_cast<std::size_t>(sample);
        switch (form_.bits) {
        case 1:
            return bytes[line + index / 8] >> (7 - index % 8) & 1U;
        case 4:
            return bytes[line + index / 2] >> (index % 2 == 0 ? 4 : 0) & 15U;
        case 8:
            return bytes[line + index];
        default:
            std::uint16_t value = 0;
            std::memcpy(&value, bytes.data() + line + 2 * index, sizeof(value));
            return value;
        }
    }

    [[nodiscard]] Bytes spread() const
    {
        const bool is_lab = form_.photometric == PHOTOMETRIC_CIELAB && form_.samples() == 3;
        const bool is_palette = form_.photometric == PHOTOMETRIC_PALETTE;
        Bytes out;
        for (std::uint32_t y = 0; y < form_.height; ++y) {
            unsigned packed = 1; // above the bits that are there
            for (std::uint32_t x = 0; x < form_.width; ++x) {
                for (int sample = 0; sample < form_.colors; ++sample) {
                    unsigned value = stored_sample(x, y, sample);
                    if (form_.bits == 4 && !is_palette)
                        value *= 17;
                    if (is_lab && sample > 0 && form_.bits > 1)
                        value += form_.bits == 16 ? 0x8000 : 0x80;
                    if (form_.bits > 1)
                        out.push_back(static_cast<std::uint8_t>(value));
                    if (form_.bits == 16)
                        out.push_back(static_cast<std::uint8_t>(value >> 8));
                    if (form_.bits == 1)
                        packed = packed << 1 | value;
                    if (packed > 255) {
                        out.push_back(static_cast<std::uint8_t>(packed));
                        packed = 1;
                    }
                }
            }
            if (packed > 1) { // what stands behind the pixels is the stored bits or 0
                while (packed < 256)
                    packed <<= 1;
                out.push_back(static_cast<std::uint8_t>(packed));
            }
        }
        return out;
    }

    [[nodiscard]] Bytes decoded(const Bytes& file) const
    {
        NUV_TIFFMemory memory;
        memory.bytes = file;
        TIFF* tiff = memory.open("r");
        TIFFSetField(tiff, TIFFTAG_JPEGCOLORMODE, JPEGCOLORMODE_RAW);
        Picture picture(*this);
        const std::size_t strip = line_bytes(0) * form_.rows;
        for (std::uint32_t i = 0; i < form_.strips(); ++i) {
            const std::size_t size =
                std::min(strip, picture.planes_[0].size() - std::size_t{i} * strip);
            EXPECT_GT(TIFFReadEncodedStrip(tiff, i, picture.planes_[0].data() + i * strip,
                                           static_cast<tmsize_t>(size)),
                      0);
        }
        TIFFClose(tiff);
        return picture.spread();
    }

    Form form_;
    std::vector<Bytes> planes_;
};

// The bits behind the pixels of a line of 1 bit are anything.
Bytes without_pads(Bytes bytes, const Form& form)
{
    const std::size_t bits = std::size_t{form.width} * static_cast<unsigned>(form.colors);
    if (form.bits != 1 || bits % 8 == 0)
        return bytes;
    const std::size_t line = (bits + 7) / 8;
    for (std::size_t i = line; i <= bytes.size(); i += line)
        bytes[i - 1] &= static_cast<std::uint8_t>(0xFF << (8 - bits % 8));
    return bytes;
}

struct Read {
    Bytes bytes;
    NUV_StatusCode code = NUV_STATUS_OK;
    std::string method;
};

Read read(const Bytes& file)
{
    NUV_TestChain chain;
    const auto storage = make_initiated<NUV_ByteArrayInputStorage>(
        chain.manager(), file.data(), static_cast<std::int32_t>(file.size()));
    chain.last(NUV_ReadRaster(chain.manager()).engine(storage.get(), 0));
    Read out;
    out.bytes = chain.run_bytes();
    out.code = chain.status().code;
    out.method = chain.status().method;
    return out;
}

TEST(ReadTIFF, GivesTheSamplesThatLibtiffWrote)
{
    std::mt19937 random(1);
    for (int i = 0; i < 1500; ++i) {
        const Form form = drawn(random);
        SCOPED_TRACE(form.name());
        const Picture picture(form, random);
        const Bytes file = picture.write();
        const Read got = read(file);
        ASSERT_EQ(got.code, NUV_STATUS_OK) << got.method;
        ASSERT_EQ(without_pads(got.bytes, form), without_pads(picture.samples(file), form));
    }
}

TEST(ReadTIFF, StandsAnyByteAndAnyCut)
{
    std::mt19937 random(2);
    for (int i = 0; i < 40; ++i) {
        const Form form = drawn(random);
        const Bytes file = Picture(form, random).write();
        if (file.size() > 700)
            continue;
        const std::size_t whole = read(file).bytes.size();
        for (std::size_t at = random() % 3; at < file.size(); at += 3) {
            Bytes changed = file;
            changed[at] = static_cast<std::uint8_t>(changed[at] + (random() % 2 != 0 ? 1 : 0xFF));
            static_cast<void>(read(changed));
            changed = file;
            changed.resize(at);
            if (at > 0) {
                EXPECT_LE(read(changed).bytes.size(), whole);
            }
        }
    }
}

TEST(ReadTIFF, IsCleanAtEveryAllocation)
{
    std::mt19937 random(3);
    for (int i = 0; i < 12; ++i) {
        const Bytes file = Picture(drawn(random), random).write();
        expect_clean_at_every_allocation([&](NUV_TestChain& chain) {
            const auto storage = make_initiated<NUV_ByteArrayInputStorage>(
                chain.manager(), file.data(), static_cast<std::int32_t>(file.size()));
            if (storage)
                chain.last(NUV_ReadRaster(chain.manager()).engine(storage.get(), 0));
            static_cast<void>(chain.run_bytes());
        });
    }
}

} // namespace
} // namespace nuv
