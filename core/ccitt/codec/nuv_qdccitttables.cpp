#include "core/ccitt/codec/nuv_qdccitttables.h"

#include "core/ccitt/codec/nuv_qdccittfasttables.h"

#include <algorithm>

namespace nuv {
namespace {

using Words = std::string_view;

// clang-format off

// T.4, table 2: terminating codes for 0 to 63 pixels.
constexpr std::array<Words, 64> white_terminating = {
    "00110101", "000111",   "0111",     "1000",     "1011",     "1100",     "1110",     "1111",
    "10011",    "10100",    "00111",    "01000",    "001000",   "000011",   "110100",   "110101",
    "101010",   "101011",   "0100111",  "0001100",  "0001000",  "0010111",  "0000011",  "0000100",
    "0101000",  "0101011",  "0010011",  "0100100",  "0011000",  "00000010", "00000011", "00011010",
    "00011011", "00010010", "00010011", "00010100", "00010101", "00010110", "00010111", "00101000",
    "00101001", "00101010", "00101011", "00101100", "00101101", "00000100", "00000101", "00001010",
    "00001011", "01010010", "01010011", "01010100", "01010101", "00100100", "00100101", "01011000",
    "01011001", "01011010", "01011011", "01001010", "01001011", "00110010", "00110011", "00110100",
};

constexpr std::array<Words, 64> black_terminating = {
    "0000110111",   "010",          "11",           "10",
    "011",          "0011",         "0010",         "00011",
    "000101",       "000100",       "0000100",      "0000101",
    "0000111",      "00000100",     "00000111",     "000011000",
    "0000010111",   "0000011000",   "0000001000",   "00001100111",
    "00001101000",  "00001101100",  "00000110111",  "00000101000",
    "00000010111",  "00000011000",  "000011001010", "000011001011",
    "000011001100", "000011001101", "000001101000", "000001101001",
    "000001101010", "000001101011", "000011010010", "000011010011",
    "000011010100", "000011010101", "000011010110", "000011010111",
    "000001101100", "000001101101", "000011011010", "000011011011",
    "000001010100", "000001010101", "000001010110", "000001010111",
    "000001100100", "000001100101", "000001010010", "000001010011",
    "000000100100", "000000110111", "000000111000", "000000100111",
    "000000101000", "000001011000", "000001011001", "000000101011",
    "000000101100", "000001011010", "000001100110", "000001100111",
};

// T.4, table 3a: make-up codes for 64, 128, ... 1728 pixels.
constexpr std::array<Words, 27> white_make_up = {
    "11011",     "10010",     "010111",    "0110111",   "00110110",  "00110111",  "01100100",
    "01100101",  "01101000",  "01100111",  "011001100", "011001101", "011010010", "011010011",
    "011010100", "011010101", "011010110", "011010111", "011011000", "011011001", "011011010",
    "011011011", "010011000", "010011001", "010011010", "011000",    "010011011",
};

constexpr std::array<Words, 27> black_make_up = {
    "0000001111",    "000011001000",  "000011001001",  "000001011011",  "000000110011",
    "000000110100",  "000000110101",  "0000001101100", "0000001101101", "0000001001010",
    "0000001001011", "0000001001100", "0000001001101", "0000001110010", "0000001110011",
    "0000001110100", "0000001110101", "0000001110110", "0000001110111", "0000001010010",
    "0000001010011", "0000001010100", "0000001010101", "0000001011010", "0000001011011",
    "0000001100100", "0000001100101",
};

// T.4, table 3b: make-up codes of both colours, for 1792, 1856, ... 2560 pixels.
constexpr std::array<Words, 13> extended_make_up = {
    "00000001000",  "00000001100",  "00000001101",  "000000010010", "000000010011", "000000010100",
    "000000010101", "000000010110", "000000010111", "000000011100", "000000011101", "000000011110",
    "000000011111",
};

// T.4, 4.1.2
constexpr Words end_of_line = "000000000001";

// T.6, table 1
constexpr std::array<QDHuffmanCode, 9> modes = {{
    {-3, "0000010"}, {-2, "000010"}, {-1, "010"},
    { 0, "1"},
    { 1, "011"},     { 2, "000011"}, { 3, "0000011"},
    {QDMRModeTable::horizontal, "001"},
    {QDMRModeTable::pass, "0001"},
}};

// clang-format on

constexpr auto run_codes(const std::array<Words, 64>& terminating,
                         const std::array<Words, 27>& make_up)
{
    std::array<QDHuffmanCode, 64 + 27 + 13 + 1> codes = {};
    std::size_t count = 0;
    std::int16_t run = 0;
    const auto append = [&](const auto& words, int step) {
        for (const Words word : words) {
            codes[count++] = {run, word};
            run = static_cast<std::int16_t>(run + step);
        }
    };
    append(terminating, 1);
    append(make_up, 64);
    append(extended_make_up, 64);
    codes[count] = {huffman_eol, end_of_line};
    return codes;
}

} // namespace

constexpr QDHuffmanLUT4Decoder<QDMHWhiteTable::bits> QDMHWhiteTable::lookup(
    run_codes(white_terminating, white_make_up));
constexpr QDHuffmanLUT4Decoder<QDMHBlackTable::bits> QDMHBlackTable::lookup(
    run_codes(black_terminating, black_make_up));
constexpr QDHuffmanLUT4Decoder<QDMRModeTable::bits> QDMRModeTable::lookup(modes);

constexpr QDCCITTPairLookup QDCCITTFastTables::white_black(QDMHWhiteTable::lookup,
                                                           QDMHBlackTable::lookup);
constexpr QDCCITTPairLookup QDCCITTFastTables::black_white(QDMHBlackTable::lookup,
                                                           QDMHWhiteTable::lookup);
constexpr QDCCITTModeLookup QDCCITTFastTables::modes(QDMRModeTable::lookup);
constexpr QDCCITTRunLookup<QDMHWhiteTable::bits> QDCCITTFastTables::white(QDMHWhiteTable::lookup);
constexpr QDCCITTRunLookup<QDMHBlackTable::bits> QDCCITTFastTables::black(QDMHBlackTable::lookup);

static_assert(QDMHWhiteTable::lookup.is_prefix_free());
static_assert(QDMHBlackTable::lookup.is_prefix_free());
static_assert(QDMRModeTable::lookup.is_prefix_free());
static_assert(run_codes(white_terminating, white_make_up)[64 + 27 + 13 - 1].value == 2560);

} // namespace nuv
