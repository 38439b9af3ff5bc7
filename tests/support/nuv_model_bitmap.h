#pragma once

#include "tests/support/nuv_model_codecs.h"

#include <bit>

namespace nuv::model {

// What a bitmap is and what comes of it, read field by field and pixel by pixel.
class Bitmap : public Status {
public:
    bool is_loaded = false; // the description is there
    bool is_read = false;   // and a chain that delivers the image, as far as the data goes
    std::uint32_t width = 0;
    std::uint32_t height = 0;
    std::uint16_t bits = 0; // of the samples that come out
    std::uint16_t channels = 1;
    int color = 220;               // sRGB, 100 is gray, and 102 gray with 0 as white
    int coding = 0;                // 0 is raw, 300 and 310 run-length coded in 8 and 4 bits
    Bytes palette;                 // red, green, blue
    std::uint64_t table_bytes = 0; // of the colour table as far as pixels can name it
    std::uint64_t pixels_at = 0;
    std::int32_t across = 0; // pixels of a metre
    std::int32_t down = 0;
    bool is_too_large = false; // for samples
    Bytes samples;

    // With a file header or without.
    Bitmap(Bytes stored, bool has_file_header) : stored_(std::move(stored))
    {
        is_loaded = (!has_file_header || load_file_header()) && load_info_header() && is_valid() &&
                    load_palette();
        if (is_loaded)
            describe();
        if (is_loaded && off_bits_ != 0 && off_bits_ < at_)
            is_loaded = fail(NUV_ERR_INVALID_DATA, "NUV_BitmapFileHeader::is_valid()");
        is_read = is_loaded && (off_bits_ <= stored_.size() ||
                                fail(NUV_ERR_BROKEN_DATA, "NUV_ReadBMP::engine()"));
        at_ = off_bits_ != 0 ? off_bits_ : at_;
        is_read = is_read && (coding != 0 ? read_coded() : read_raw());
    }

private:
    static constexpr std::uint64_t most_bytes = 1U << 22; // of samples

    bool fail(NUV_StatusCode new_code, const char* new_text)
    {
        raise(new_code, new_text);
        return false;
    }
    std::uint64_t left() const { return stored_.size() - at_; }
    // Bytes that are missing are zeros.
    std::uint32_t load(std::size_t at, unsigned bytes) const
    {
        std::uint32_t value = 0;
        for (unsigned i = 0; i < bytes && at + i < stored_.size(); ++i)
            value |= std::uint32_t{stored_[at + i]} << (8 * i);
        return value;
    }
    // Of the info header; 0 where it is shorter.
    std::uint32_t field(std::uint32_t offset, unsigned bytes = 4) const
    {
        return offset + bytes > size_ ? 0 : load(info_ + offset, bytes);
    }

    bool load_file_header()
    {
        if (left() >= 2 && load(0, 2) != 0x4D42)
            return false;
        if (left() < 14)
            return fail(NUV_ERR_BROKEN_DATA, "NUV_BitmapFileHeader::read()");
        off_bits_ = load(10, 4);
        at_ = 14;
        return true;
    }
    bool load_info_header()
    {
        info_ = at_;
        size_ = load(at_, 4);
        if (left() >= 4 && !any_of(size_, 12, 40, 52, 56, 60, 96, 108, 112, 120, 124))
            return false;
        const bool is_short = size_ == 12;
        const auto number = [&](std::uint32_t offset) -> std::int64_t {
            return is_short ? static_cast<std::int16_t>(field(offset, 2))
                            : static_cast<std::int32_t>(field(offset));
        };
        columns_ = number(4);
        lines_ = number(is_short ? 6 : 8);
        depth_ = field(is_short ? 10 : 14, 2);
        compression_ = is_short ? 0 : field(16);
        at_ += size_;
        at_ += size_ == 40 && compression_ == 3 && any_of(depth_, 16, 32) ? 12 : 0;
        for (std::size_t i = 0; i < 3 && info_ + 52 <= at_; ++i)
            masks_[i] = load(info_ + 40 + 4 * i, 4);
        return std::max(info_ + 4, at_) <= stored_.size() ||
               fail(NUV_ERR_BROKEN_DATA, "NUV_BitmapInfoHeader::read()");
    }
    bool is_valid()
    {
        constexpr auto method = "NUV_BitmapInfoHeader::is_valid()";
        bool good = columns_ > 0 && lines_ != 0 && any_of(depth_, 1, 4, 8, 16, 24, 32) &&
                    (compression_ < 3 || (compression_ == 3 && any_of(depth_, 16, 32)));
        std::uint32_t seen = 0;
        for (const std::uint64_t mask : masks_) { // a run with one more at its end is one bit
            good = good && (compression_ != 3 ||
                            ((mask & seen) == 0 && std::popcount(mask + (mask & (0 - mask))) < 2));
            seen |= static_cast<std::uint32_t>(mask);
        }
        if (!good)
            return fail(NUV_ERR_INVALID_DATA, method);
        if (!any_of(field(56), 0, 0x73524742, 0x57696E20, 0x4C494E4B, 0x4D424544))
            fail(NUV_WARN_BROKEN_DATA, method);
        return true;
    }
    bool load_palette()
    {
        const std::uint32_t entry_bytes = size_ == 12 ? 3 : 4;
        const std::uint64_t used = field(32, 2);
        const std::uint64_t limit = std::uint64_t{1} << std::min(depth_, 24U);
        const std::uint64_t all = depth_ > 8 ? 0 : limit;
        const std::uint64_t count = used != 0 && used < limit ? used : all;
        if (left() < std::max(used, count) * entry_bytes)
            return fail(NUV_ERR_BROKEN_DATA, "NUV_DIBInfo::read_palette()");
        for (std::size_t i = 0; i < count * 3 && depth_ <= 8; ++i)
            palette.push_back(stored_[at_ + i / 3 * entry_bytes + 2 - i % 3]);
        table_bytes = count * entry_bytes;
        const std::uint64_t named = field(32) != 0 ? field(32) : all;
        pixels_at = at_ + (info_ == 0 ? std::max(used, count) : named) * entry_bytes;
        pixels_at = off_bits_ != 0 ? off_bits_ : pixels_at;
        at_ += std::max(used, count) * entry_bytes;
        return true;
    }
    void describe()
    {
        width = static_cast<std::uint32_t>(columns_);
        height = static_cast<std::uint32_t>(std::abs(lines_));
        channels = depth_ > 8 ? 3 : 1;
        bits = depth_ == 1 ? 1 : compression_ == 3 ? mask_depth() : 8;
        coding = compression_ == 1 ? 300 : compression_ == 2 ? 310 : 0;
        const bool is_dark_first = palette == Bytes{0, 0, 0, 255, 255, 255};
        if (depth_ == 1 && (is_dark_first || palette == Bytes{255, 255, 255, 0, 0, 0})) {
            color = is_dark_first ? 100 : 102;
            palette.clear();
        }
        across = static_cast<std::int32_t>(field(24));
        down = static_cast<std::int32_t>(field(28));
        const std::uint64_t profile = field(116);
        if (any_of(field(56), 0x4C494E4B, 0x4D424544) && profile != 0 &&
            field(112) + profile > stored_.size())
            fail(NUV_WARN_BROKEN_DATA, "NUV_DIBInfo::read_profile()");
    }
    // One position runs over all three masks.
    std::uint16_t mask_depth() const
    {
        unsigned at = 0;
        unsigned longest = 0;
        for (const std::uint32_t mask : masks_) {
            while (at < depth_ && (mask >> at & 1) == 0)
                ++at;
            const unsigned first = at;
            while (first < depth_ && at < 32 && (mask >> at & 1) == 1)
                ++at;
            longest = std::max(longest, at - first);
        }
        return longest <= 8 ? 8 : longest <= 16 ? 16 : 32;
    }

    bool read_coded()
    {
        if (depth_ != 4 && depth_ != 8)
            return fail(NUV_ERR_UNSUPPORTED, "NUV_DecodeWinRLEEngine::initiate()");
        is_too_large = std::uint64_t{width} * height > most_bytes;
        if (is_too_large)
            return true;
        const auto data = std::span<const std::uint8_t>(stored_).subspan(at_);
        const Decoded out = (coding == 300 ? win_rle<8> : win_rle<4>)(data, width, height);
        if (out.broken || out.warned)
            fail(out.broken ? NUV_ERR_BROKEN_DATA : NUV_WARN_BROKEN_DATA,
                 "NUV_DecodeWinRLEEngine::execute()");
        for (std::size_t i = 0; i < out.bytes.size() && (lines_ < 2 || !out.broken); ++i)
            samples.push_back(
                out.bytes[lines_ < 2 ? i : i % width + width * (height - 1 - i / width)]);
        return true;
    }
    bool read_raw()
    {
        const std::uint64_t line_bytes = (std::uint64_t{width} * depth_ + 7) / 8;
        const std::uint64_t stored_bytes = (line_bytes + 3) / 4 * 4;
        const std::uint64_t out_bytes = (std::uint64_t{width} * channels * bits + 7) / 8;
        if (std::max(stored_bytes, out_bytes) > 0x7FFFFFFF)
            return fail(NUV_ERR_UNSUPPORTED, "NUV_ReadDIBRawEngine::initiate()");
        is_too_large = out_bytes * height > most_bytes;
        for (std::uint64_t i = 0; i < height && !is_too_large; ++i) {
            const std::uint64_t at = at_ + stored_bytes * (lines_ > 0 ? height - 1 - i : i);
            if (at + line_bytes > stored_.size())
                fail(NUV_WARN_BROKEN_DATA, "NUV_ReadDIBRawEngine::execute() - can't read");
            else if (at + stored_bytes > stored_.size())
                fail(NUV_WARN_BROKEN_DATA, "NUV_ReadDIBRawEngine::execute() - can't skip");
            for (std::uint32_t x = 0; x < width; ++x)
                put_pixel(at, x);
        }
        return true;
    }
    void put_pixel(std::uint64_t line, std::uint32_t x)
    {
        const std::uint32_t pixel = load(line + std::uint64_t{x} * depth_ / 8, (depth_ + 7) / 8);
        if (depth_ == 1 && x % 8 == 0)
            samples.push_back(0);
        if (depth_ == 1)
            samples.back() = static_cast<std::uint8_t>(samples.back() | (pixel & 128U >> x % 8));
        if (depth_ == 4)
            put(x % 2 == 0 ? pixel >> 4 : pixel & 15);
        if (depth_ == 8)
            put(pixel);
        for (unsigned i = 0; i < 3 && depth_ > 8; ++i) {
            const auto shift = static_cast<unsigned>(std::countr_zero(masks_[i]));
            if (compression_ == 3)
                put(shift < depth_ ? (pixel & masks_[i]) >> shift : 0);
            else
                put(depth_ == 16 ? (pixel >> (10 - 5 * i) & 31) << 3 : pixel >> (16 - 8 * i));
        }
    }
    // The low bytes of a sample.
    void put(std::uint32_t sample)
    {
        for (unsigned byte = 0; byte < bits / 8U; ++byte)
            samples.push_back(static_cast<std::uint8_t>(sample >> 8 * byte));
    }

    Bytes stored_;
    std::size_t at_ = 0;
    std::uint32_t off_bits_ = 0;
    std::size_t info_ = 0;
    std::uint32_t size_ = 0; // of the info header
    std::int64_t columns_ = 0;
    std::int64_t lines_ = 0; // from the bottom where positive
    std::uint32_t depth_ = 0;
    std::uint32_t compression_ = 0;
    std::uint32_t masks_[3] = {};
};

} // namespace nuv::model
