#pragma once

#include "core/jpeg/kernels/nuv_jpegprimitives.h"
#include "core/jpeg/stream/nuv_jpegbytes.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>

namespace nuv {

// Puts bits into entropy-coded data, the most significant first, and then a 0 byte behind each
// 0xFF (T.81, F.1.2.3). It does not look at the end of its output: whoever writes makes sure that
// 2 bytes are free for each 8 bits, held ones included, and 8 more.
//
// Bytes go out as they become whole, without a branch: in coded data nobody can foretell when.
// A 0xFF is rare enough to be looked for afterwards.
class NUV_JPEGBitWriter {
public:
    static constexpr std::uint32_t most_bits = 57; // at once, behind 7 held ones

    NUV_JPEGBitWriter(std::uint8_t* output, const NUV_JPEGEncodeState& state) noexcept
        : start_(output),
          output_(output),
          accumulator_(state.accumulator),
          held_(state.bits)
    {}

    // `count` is 1 to most_bits; no bit of `bits` above these is set.
    void put(std::uint64_t bits, std::uint32_t count) noexcept
    {
        append(bits, count);
        store();
    }

    // put() in two steps, for bits that go out together with those that follow: between two calls
    // of store() come at most most_bits, or none at all.
    void append(std::uint64_t bits, std::uint32_t count) noexcept
    {
        accumulator_ = accumulator_ << count | bits;
        held_ += count;
    }

    void store() noexcept
    {
        store_eight_bytes(output_, accumulator_ << ((64 - held_) & 63U));
        output_ += held_ >> 3;
        held_ &= 7;
    }

    // Writes the held bits, padded with ones to a whole byte.
    void flush() noexcept
    {
        put(0x7F, 7);
        held_ = 0;
    }

    // Ends the writing: stuffs what was written, leaves the bits of an incomplete byte in `state`
    // and returns the end of the output.
    [[nodiscard]] std::uint8_t* finish(NUV_JPEGEncodeState& state) noexcept
    {
        state.accumulator = accumulator_ & ((1U << held_) - 1U);
        state.bits = held_;
        store_eight_bytes(output_, 0); // so that the search below meets nothing old
        for (std::uint8_t* from = start_; from < output_; from += 8) {
            if (has_byte_ff(load_eight_bytes(from))) [[unlikely]]
                return stuff(from, output_);
        }
        return output_;
    }

private:
    // From the end to the front, so that every byte is moved once; without a branch, for a picture
    // with many of them. The 0 in front of a byte that needs none is written over at once.
    [[gnu::noinline]] static std::uint8_t* stuff(std::uint8_t* begin, std::uint8_t* end) noexcept
    {
        std::uint8_t* const new_end = end + std::count(begin, end, std::uint8_t{0xFF});
        for (std::uint8_t* to = new_end; to != end;) {
            const std::uint8_t byte = *--end;
            to[-1] = 0;
            to -= byte == 0xFF ? 1 : 0;
            *--to = byte;
        }
        return new_end;
    }

    std::uint8_t* start_;
    std::uint8_t* output_;
    std::uint64_t accumulator_; // the oldest bit is the highest of the held ones
    std::uint32_t held_;        // bits, 0 to 7 behind store()
};

} // namespace nuv
