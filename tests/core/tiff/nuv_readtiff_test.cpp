#include "core/tiff/nuv_readtiff.h"

#include "core/readraster/nuv_readraster.h"
#include "framework/io/nuv_bytearrayinputstorage.h"
#include "tests/core/tiff/nuv_tiffmemory.h"
#include "tests/support/nuv_testchain.h"

#include <gtest/gtest.h>

#include <iterator>
#include <random>

namespace nuv {
namespace {

using Bytes = std::vector<std::uint8_t>;

// What a file is, as its tags have it.
struct Form {
    std::uint32_t width = 0, height = 0;
    std::uint32_t rows = 0; // per strip
    unsigned photometric = 0;
    unsigned colors = 1; // samples without extra ones
    unsigned extras = 0;
    unsigned bits = 8;
    unsigned compression = COMPRESSION_NONE;
    unsigned across = 1, down = 1; // pixels that share chroma
    bool planar = false, big_endian = false;
    bool reversed = false; // bits of bytes

    [[nodiscard]] unsigned samples() const { return colors + extras; }
    [[nodiscard]] bool is_jpeg() const { return compression == COMPRESSION_JPEG; }
    [[nodiscard]] bool has_units() const { return !planar && across * down > 1; }
    [[nodiscard]] std::uint32_t strips() const { return (height + rows - 1) / rows; }
};

Form drawn(std::mt19937& random)
{
    // clang-format off
    constexpr unsigned colors[][2] = {
        {PHOTOMETRIC_MINISWHITE, 1}, {PHOTOMETRIC_MINISBLACK, 1}, {PHOTOMETRIC_RGB, 3}, {PHOTOMETRIC_PALETTE, 1}, {PHOTOMETRIC_MASK, 1},
        {PHOTOMETRIC_SEPARATED, 3}, {PHOTOMETRIC_SEPARATED, 4}, {PHOTOMETRIC_YCBCR, 3}, {PHOTOMETRIC_CIELAB, 3}, {PHOTOMETRIC_CIELAB, 1}};
    // clang-format on
    constexpr std::uint32_t widths[] = {1, 7, 8, 9, 33};
    constexpr unsigned depths[] = {1, 4, 8, 16};
    const auto one_of = [&random](const auto& values) -> const auto&
    {
        return values[random() % std::size(values)];
    };
    const auto chance = [&random](unsigned in) { return random() % in == 0; };

    Form form{.width = one_of(widths), .height = static_cast<std::uint32_t>(1 + random() % 20)};
    const auto& color = one_of(colors);
    const unsigned photometric = form.photometric = color[0];
    form.colors = color[1];
    form.bits = one_of(depths);
    form.planar = form.colors > 1 && chance(2);
    form.big_endian = chance(2);
    form.reversed = chance(3);
    // Of three inks and of a lightness alone the samples of a pixel tell, so there can be no more.
    const bool is_counted = (photometric == PHOTOMETRIC_SEPARATED && form.colors == 3) ||
                            (photometric == PHOTOMETRIC_CIELAB && form.colors == 1);
    if (photometric != PHOTOMETRIC_PALETTE && !is_counted && chance(2))
        form.extras = static_cast<unsigned>(1 + random() % 2);
    if (chance(3) && (form.bits <= 8 || !form.big_endian))
        form.compression = COMPRESSION_PACKBITS;
    if (photometric == PHOTOMETRIC_YCBCR && form.bits == 8 && form.extras == 0 &&
        form.compression == COMPRESSION_NONE && chance(2)) {
        constexpr unsigned factors[][2] = {{2, 1}, {2, 2}, {4, 1}};
        const auto& drawn_factors = one_of(factors);
        form.width *= form.across = drawn_factors[0];
        form.height *= form.down = drawn_factors[1];
    }
    if (photometric != PHOTOMETRIC_PALETTE && photometric != PHOTOMETRIC_MASK && form.extras == 0 &&
        form.across == 1 && chance(3)) {
        form.compression = COMPRESSION_JPEG;
        form.bits = 8;
        form.planar = form.reversed = false;
    }
    form.rows = chance(3) ? form.height : chance(2) ? 1 : 3;
    const unsigned unit = form.is_jpeg() ? 8 : form.down;
    form.rows = std::min((form.rows + unit - 1) / unit * unit, form.height);
    return form;
}

// Rows of random bytes as libtiff takes them, those that fill up the lines with them.
class Picture {
public:
    Picture(const Form& form, std::mt19937& random) : form_(form)
    {
        for (unsigned plane = 0; plane < (form.planar ? form.samples() : 1); ++plane) {
            planes_.emplace_back(line_bytes(plane) * rows_of(plane, form.height));
            for (std::uint8_t& byte : planes_.back())
                byte = static_cast<std::uint8_t>(random());
        }
    }

    [[nodiscard]] Bytes write() const
    {
        NUV_TIFFMemory memory;
        TIFF* tiff = memory.open(form_.big_endian ? "wb" : "wl");
        set_tags(tiff);
        for (unsigned plane = 0; plane < planes_.size(); ++plane) {
            for (std::uint32_t i = 0; i < form_.strips(); ++i) {
                const std::uint32_t end = std::min((i + 1) * form_.rows, form_.height);
                const auto at = [&](std::uint32_t row) {
                    return planes_[plane].begin() +
                           std::ptrdiff_t(line_bytes(plane) * rows_of(plane, row));
                };
                Bytes strip(at(i * form_.rows), at(end));
                EXPECT_GE(TIFFWriteEncodedStrip(tiff, plane * form_.strips() + i, strip.data(),
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
    [[nodiscard]] std::size_t line_bytes(unsigned plane) const
    {
        if (form_.has_units())
            return std::size_t{form_.width / form_.across} * (form_.across * form_.down + 2);
        const unsigned samples = form_.planar ? 1 : form_.samples();
        const std::uint32_t width = plane > 0 ? form_.width / form_.across : form_.width;
        return (std::size_t{samples} * form_.bits * width + 7) / 8;
    }
    // Stored lines, of units where there are units.
    [[nodiscard]] std::uint32_t rows_of(unsigned plane, std::uint32_t rows) const
    {
        return form_.has_units() || plane > 0 ? rows / form_.down : rows;
    }

    void set_tags(TIFF* tiff) const
    {
        TIFFSetField(tiff, TIFFTAG_IMAGEWIDTH, form_.width);
        TIFFSetField(tiff, TIFFTAG_IMAGELENGTH, form_.height);
        TIFFSetField(tiff, TIFFTAG_BITSPERSAMPLE, form_.bits);
        TIFFSetField(tiff, TIFFTAG_SAMPLESPERPIXEL, form_.samples());
        TIFFSetField(tiff, TIFFTAG_ROWSPERSTRIP, form_.rows);
        TIFFSetField(tiff, TIFFTAG_COMPRESSION, form_.compression);
        TIFFSetField(tiff, TIFFTAG_PHOTOMETRIC, form_.photometric);
        TIFFSetField(tiff, TIFFTAG_PLANARCONFIG, form_.planar ? 2 : 1);
        TIFFSetField(tiff, TIFFTAG_XRESOLUTION, 300.0);
        TIFFSetField(tiff, TIFFTAG_YRESOLUTION, 300.0);
        if (form_.reversed)
            TIFFSetField(tiff, TIFFTAG_FILLORDER, FILLORDER_LSB2MSB);
        if (form_.photometric == PHOTOMETRIC_YCBCR)
            TIFFSetField(tiff, TIFFTAG_YCBCRSUBSAMPLING, form_.across, form_.down);
        if (form_.is_jpeg() && form_.photometric == PHOTOMETRIC_YCBCR)
            TIFFSetField(tiff, TIFFTAG_JPEGCOLORMODE, JPEGCOLORMODE_RGB);
        const std::vector<std::uint16_t> extra(form_.extras);
        if (form_.extras > 0)
            TIFFSetField(tiff, TIFFTAG_EXTRASAMPLES, form_.extras, extra.data());
        std::vector<std::uint16_t> map(std::size_t{3} << form_.bits, 0x1234);
        if (form_.photometric == PHOTOMETRIC_PALETTE)
            TIFFSetField(tiff, TIFFTAG_COLORMAP, map.data(), map.data(), map.data());
    }

    [[nodiscard]] unsigned stored_sample(std::uint32_t x, std::uint32_t y, unsigned sample) const
    {
        const unsigned plane = form_.planar ? sample : 0;
        const Bytes& bytes = planes_[plane];
        const std::uint32_t across = form_.across;
        const std::uint32_t down = form_.down;
        if (form_.has_units()) {
            const std::size_t unit =
                y / down * line_bytes(0) + std::size_t{x / across} * (across * down + 2);
            return sample == 0 ? bytes[unit + y % down * across + x % across]
                               : bytes[unit + across * down + sample - 1];
        }
        const std::size_t line = (plane > 0 ? y / down : y) * line_bytes(plane);
        const std::size_t index = !form_.planar ? x * form_.samples() + sample
                                  : plane > 0   ? x / across
                                                : x;
        if (form_.bits == 16) {
            std::uint16_t value = 0;
            std::memcpy(&value, bytes.data() + line + 2 * index, sizeof(value));
            return value;
        }
        const std::size_t end = (index + 1) * form_.bits; // in bits, the high ones first
        const unsigned byte = bytes[line + (end - 1) / 8];
        return byte >> (8 - (end - 1) % 8 - 1) & ((1U << form_.bits) - 1);
    }

    [[nodiscard]] Bytes spread() const
    {
        const bool is_lab = form_.photometric == PHOTOMETRIC_CIELAB && form_.samples() == 3;
        const bool is_palette = form_.photometric == PHOTOMETRIC_PALETTE;
        Bytes out;
        for (std::uint32_t y = 0; y < form_.height; ++y) {
            unsigned packed = 1; // above the bits that are there
            for (std::uint32_t x = 0; x < form_.width; ++x) {
                for (unsigned sample = 0; sample < form_.colors; ++sample) {
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
            while (packed > 1 && packed < 256) // behind the pixels are the stored bits or 0
                packed <<= 1;
            if (packed > 1)
                out.push_back(static_cast<std::uint8_t>(packed));
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
        Bytes& samples = picture.planes_[0];
        const std::size_t strip = line_bytes(0) * form_.rows;
        for (std::uint32_t i = 0; i < form_.strips(); ++i) {
            const std::size_t size = std::min(strip, samples.size() - i * strip);
            EXPECT_GT(TIFFReadEncodedStrip(tiff, i, samples.data() + i * strip,
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
    const std::size_t bits = std::size_t{form.width} * form.colors;
    if (form.bits != 1 || bits % 8 == 0)
        return bytes;
    const std::size_t line = (bits + 7) / 8;
    for (std::size_t i = line; i <= bytes.size(); i += line)
        bytes[i - 1] &= static_cast<std::uint8_t>(0xFF << (8 - bits % 8));
    return bytes;
}

Bytes read(NUV_TestChain& chain, const Bytes& file)
{
    const auto storage = make_initiated<NUV_ByteArrayInputStorage>(
        chain.manager(), file.data(), static_cast<std::int32_t>(file.size()));
    if (storage)
        chain.last(NUV_ReadRaster(chain.manager()).engine(storage.get(), 0));
    return chain.run_bytes();
}

TEST(ReadTIFF, GivesTheSamplesThatLibtiffWrote)
{
    std::mt19937 random(1);
    for (int i = 0; i < 1500; ++i) {
        SCOPED_TRACE(i);
        const Form form = drawn(random);
        const Picture picture(form, random);
        const Bytes file = picture.write();
        NUV_TestChain chain;
        const Bytes got = read(chain, file);
        ASSERT_EQ(chain.status().code, NUV_STATUS_OK) << chain.status().method;
        ASSERT_EQ(without_pads(got, form), without_pads(picture.samples(file), form));
    }
}

TEST(ReadTIFF, StandsAnyByteAndAnyCut)
{
    std::mt19937 random(2);
    const auto size_of = [](const Bytes& file) {
        NUV_TestChain chain;
        return read(chain, file).size();
    };
    for (int i = 0; i < 40; ++i) {
        const Bytes file = Picture(drawn(random), random).write();
        const std::size_t whole = size_of(file);
        for (std::size_t at = 1 + random() % 3; at < file.size() && file.size() < 700; at += 3) {
            Bytes changed = file;
            changed[at] = static_cast<std::uint8_t>(changed[at] + (random() % 2 != 0 ? 1 : 0xFF));
            static_cast<void>(size_of(changed));
            EXPECT_LE(size_of({file.begin(), file.begin() + std::ptrdiff_t(at)}), whole);
        }
    }
}

TEST(ReadTIFF, IsCleanAtEveryAllocation)
{
    std::mt19937 random(3);
    for (int i = 0; i < 12; ++i) {
        const Bytes file = Picture(drawn(random), random).write();
        expect_clean_at_every_allocation(
            [&](NUV_TestChain& chain) { static_cast<void>(read(chain, file)); });
    }
}

// A strip is looked at when the chain is built and read when its lines are wanted.
TEST(ReadTIFF, EndsAtAStripThatHasGrownSince)
{
    std::mt19937 random(4);
    const Form form = {.width = 16,
                       .height = 16,
                       .rows = 8,
                       .photometric = PHOTOMETRIC_MINISBLACK,
                       .compression = COMPRESSION_JPEG};
    Bytes file = Picture(form, random).write();
    NUV_TestChain chain;
    const auto storage = make_initiated<NUV_ByteArrayInputStorage>(
        chain.manager(), file.data(), static_cast<std::int32_t>(file.size()));
    chain.last(NUV_ReadRaster(chain.manager()).engine(storage.get(), 0));
    constexpr std::uint8_t frame[] = {0xFF, 0xC0};
    const auto first = std::search(file.begin(), file.end(), std::begin(frame), std::end(frame));
    const auto second = std::search(first + 1, file.end(), std::begin(frame), std::end(frame));
    ASSERT_NE(second, file.end());
    second[7] = 0x0F; // of the width, which becomes 4000 pixels
    second[8] = 0xA0;
    EXPECT_EQ(chain.run_bytes().size(), 16U * 8);
    EXPECT_EQ(chain.status().code, NUV_ERR_BROKEN_DATA);
}

} // namespace
} // namespace nuv
