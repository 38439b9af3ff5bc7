#pragma once

#include "core/ccitt/codec/nuv_qdccittbitreader.h"
#include "core/ccitt/codec/nuv_qdhuffmanlut4decoder.h"

#include <cstdint>

namespace nuv {

// The code that a decoder read last. Where nothing matched: all bits that it looked at, which it
// has not taken then, and length 0.
struct QDHuffmanLastCode {
    std::uint32_t bits = 0;
    std::uint32_t length = 0;
};

// Takes codes out of a stream.
template <std::uint32_t Bits>
class QDHuffmanDecoder {
public:
    using Lookup = QDHuffmanLUT4Decoder<Bits>;

    // `end_value` stands for no data, `bad_value` for data that ends inside a code.
    QDHuffmanDecoder(QDCCITTBitReader& bits, const Lookup& lookup, std::int32_t end_value,
                     std::int32_t bad_value) noexcept
        : bits_(bits),
          lookup_(lookup),
          end_value_(end_value),
          bad_value_(bad_value)
    {}

    // The value of the next code; huffman_undefined where none begins.
    [[nodiscard]] std::int32_t decode()
    {
        const std::uint32_t there = bits_.available(Bits);
        last_ = {};
        if (there == 0)
            return end_value_;
        const std::uint32_t pattern = bits_.peek(there);
        const auto entry = lookup_[std::size_t{pattern} << (Bits - there)];
        if (entry.length == 0 || entry.length > there) {
            last_.bits = pattern;
            return entry.length == 0 ? std::int32_t{huffman_undefined} : bad_value_;
        }
        last_ = {.bits = bits_.peek(entry.length), .length = entry.length};
        bits_.take(entry.length);
        return entry.value;
    }

    [[nodiscard]] const QDHuffmanLastCode& last_code() const noexcept { return last_; }

private:
    QDCCITTBitReader& bits_;
    const Lookup& lookup_;
    std::int32_t end_value_;
    std::int32_t bad_value_;
    QDHuffmanLastCode last_;
};

// Takes runs of one colour out of a stream.
template <std::uint32_t Bits>
class QDMHRunDecoder : public QDHuffmanDecoder<Bits> {
public:
    static constexpr std::int32_t end_value = -1; // also for data that ends inside a code

    QDMHRunDecoder(QDCCITTBitReader& bits,
                   const typename QDHuffmanDecoder<Bits>::Lookup& lookup) noexcept
        : QDHuffmanDecoder<Bits>(bits, lookup, end_value, end_value)
    {}

    // The pixels of the next run: its make-up codes and its terminating code (T.4, 4.1.1). Negative
    // where none can be read. Make-up codes before such a place may hide it: the sum is as it is.
    [[nodiscard]] std::int32_t decode_run()
    {
        constexpr std::int32_t longest_terminating = 63;
        constexpr std::int32_t most = 0x3FFFFFFF; // far above any line; the codes go on to be taken
        std::int32_t total = 0;
        std::int32_t value = 0;
        do {
            value = QDHuffmanDecoder<Bits>::decode();
            total = total + value < most ? total + value : most;
        } while (value > longest_terminating);
        return total;
    }
};

} // namespace nuv
