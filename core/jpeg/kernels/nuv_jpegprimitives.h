#pragma once

#include "framework/base/nuv_cpu.h"

#include <cstddef>
#include <cstdint>

namespace nuv {

// What a primitive answers: 0 when it did its work, a positive value for a warning, a negative one
// when it did not. Arguments are checked before anything is read or written, in the order null
// pointer, size, row step, parameter.
enum class NUV_JPEGResult : std::int32_t {
    good = 0,
    zero_quantiser = 6,  // a warning: done, with an inverse of 65535
    run_past_block = -2, // coefficient index above 63
    bad_parameter = -5,  // out of its range
    bad_size = -6,       // a size below 1, or an output full
    null_pointer = -8,
    bad_row_step = -14, // below 1
    out_of_data = -62,  // the data ended inside a code
    no_code = -63,      // no code matches, or a marker stands here
    bad_huffman = -64,  // inconsistent table, or symbol without code
};

[[nodiscard]] constexpr bool is_good(NUV_JPEGResult result) noexcept
{
    return result == NUV_JPEGResult::good;
}

inline constexpr std::size_t jpeg_block_size = 64; // samples or coefficients in a block

// Huffman codes by symbol, for the encoder. A word is the code in its low 16 bits and the length
// (1 to 16) in its high 16; 0 for a symbol without code.
struct NUV_JPEGEncodeTable {
    std::uint32_t words[256];
};
static_assert(sizeof(NUV_JPEGEncodeTable) == 1024);

// Huffman codes for the decoder. Index 0 of the arrays by length is unused.
struct NUV_JPEGDecodeTable {
    struct Entry {
        std::uint16_t symbol;
        std::uint16_t length; // 0: the code is longer than 8 bits
    };
    static constexpr std::uint16_t no_codes = 0xFFFF;

    std::uint16_t symbols[256];    // in code order
    Entry first_level[256];        // by the next 8 bits
    std::uint16_t smallest[18];    // T.81, F.2.2.3: MINCODE
    std::uint16_t largest[18];     // MAXCODE; no_codes for a length without codes
    std::uint16_t first_index[18]; // VALPTR
};
static_assert(sizeof(NUV_JPEGDecodeTable) == 1644);

struct NUV_JPEGBlockToCode; // core/jpeg/kernels/nuv_jpeghuffman.h

// Bits that are coded but not yet written. Clear it with huffman_encode_state_init.
struct NUV_JPEGEncodeState {
    std::uint64_t accumulator; // the oldest bit is the most significant of the held ones
    std::uint32_t bits;        // held, 0 to 7
    std::uint32_t spare;       // left alone
};

// Bits that are read but not yet used. Clear it with huffman_state_init, at the start of a scan
// and of each restart interval.
struct NUV_JPEGDecodeState {
    std::uint64_t accumulator;  // left justified: the next bit is bit 63
    std::uint32_t bits;         // held, 0 to 64; what lies below them is not defined
    std::uint32_t spare;        // left alone by the decoder
    std::uint32_t coefficients; // reached in the last block, 1 to 64; 0 when it failed
    std::uint32_t owner;        // the caller's, never touched
};
static_assert(sizeof(NUV_JPEGDecodeState) == 24);

// Where a decoder reads. `position` is advanced past the bytes taken into the state; a 0xFF that
// is the last byte stays unread. `marker` is 0 until a marker is met (0xFF and a byte other than
// 0 and 0xFF, behind which `position` then stands); it receives that byte, and nothing is read
// until the caller sets it back to 0.

// The computing primitives of the JPEG coder, in the forms for one processor. All forms give equal
// results. None allocates or keeps anything; a table and a state belong to their caller, blocks
// that share no memory may be worked on by several threads.
//
// A block is 64 values in natural order, row by row. Blocks need no alignment; the forms are
// fastest when they are aligned to 64 bytes. Pixels are 3 bytes each, packed, and `row_step` is
// the distance in bytes from a pixel to the one below it (1 or more). No form reads outside the
// pixels of its area.
struct NUV_JPEGPrimitives {
    static constexpr std::size_t transform_group = 4; // blocks

    // Red, green and blue to Y, Cb and Cr blocks, level-shifted, in -128..127.
    using PixelsToBlocks = NUV_JPEGResult (*)(const std::uint8_t* source, std::int32_t row_step,
                                              std::int16_t* first, std::int16_t* second,
                                              std::int16_t* third);

    // 8 by 8 pixels: one block each.
    PixelsToBlocks convert_rgb_ycc_444;
    // 16 by 8 pixels: `first` is two Y blocks, one behind the other, left and right; the chroma of
    // a cell of 2 by 1 pixels comes from the sum of its pixels.
    PixelsToBlocks convert_rgb_ycc_422;
    // 16 by 16 pixels: `first` is four Y blocks, upper left, upper right, lower left, lower right;
    // a cell is 2 by 2 pixels.
    PixelsToBlocks convert_rgb_ycc_420;

    // The same areas and blocks, for pixels that need no colour change: the value less 128, and
    // the floor of a cell's mean less 128.
    PixelsToBlocks split_444;
    PixelsToBlocks split_422;
    PixelsToBlocks split_420;

    // Forward DCT of a sample block (-128..127) in place at the scale of T.81, A.3.3, then each
    // coefficient times table[i] / 32768, to nearest with ties to even. `table` is in natural
    // order, from quant_forward_init.
    NUV_JPEGResult (*fdct_quant)(std::int16_t* block, const std::uint16_t* table);

    // Codes one block (T.81, F.1.2) into output[*position] and up to `size`, and sets
    // *previous_dc to its DC value. With `flush` set the block and the tables are not looked at
    // (but must not be null): the held bits are written, padded with ones, and the state is empty
    // afterwards. NUV_JPEGResult::bad_size when the output is full (512 bytes free are always
    // enough), NUV_JPEGResult::bad_huffman for a symbol that has no code; what was coded is then
    // incomplete.
    NUV_JPEGResult (*huffman_encode_block)(const std::int16_t* block, std::uint8_t* output,
                                           std::int32_t size, std::int32_t* position,
                                           std::int16_t* previous_dc,
                                           const NUV_JPEGEncodeTable* dc_table,
                                           const NUV_JPEGEncodeTable* ac_table,
                                           NUV_JPEGEncodeState* state, bool flush);

    // *size = sizeof(NUV_JPEGEncodeTable), in bytes.
    NUV_JPEGResult (*huffman_encode_spec_size)(std::int32_t* size);
    // Codes of T.81, Annex C. `bits` is 16 counts, bits[0] of the codes of 1 bit; `values` holds
    // as many symbols as these say. NUV_JPEGResult::bad_huffman for more than 256 codes, for more
    // codes than their lengths allow, and for a code of 16 ones.
    NUV_JPEGResult (*huffman_encode_spec_init)(const std::uint8_t* bits, const std::uint8_t* values,
                                               NUV_JPEGEncodeTable* table);
    NUV_JPEGResult (*huffman_encode_state_init)(NUV_JPEGEncodeState* state);

    // `raw` is 64 quantisers in zig-zag order, as DQT carries them; `table` their inverses, 32768
    // divided by each and rounded, in natural order. 1 gives 32768. 0 gives 65535 and, when all is
    // done, the warning NUV_JPEGResult::zero_quantiser.
    NUV_JPEGResult (*quant_forward_init)(const std::uint8_t* raw, std::uint16_t* table);

    // Dequantises (saturating) and transforms back, T.81, A.3.3. All in natural order; the output
    // block, which may be the coefficient block, gets samples without the level shift: the caller
    // adds 128 and clamps.
    NUV_JPEGResult (*idct_dequant)(const std::int16_t* coefficients, std::int16_t* output,
                                   const std::int16_t* table);

    // *size = sizeof(NUV_JPEGDecodeTable), in bytes.
    NUV_JPEGResult (*huffman_decode_spec_size)(std::int32_t* size);
    // As huffman_encode_spec_init. A table without any code is legal; so are unused codes.
    NUV_JPEGResult (*huffman_decode_spec_init)(const std::uint8_t* bits, const std::uint8_t* values,
                                               NUV_JPEGDecodeTable* table);
    // *size = sizeof(NUV_JPEGDecodeState), in bytes.
    NUV_JPEGResult (*huffman_state_size)(std::int32_t* size);
    // Clears the first 20 bytes: all but `owner`.
    NUV_JPEGResult (*huffman_state_init)(NUV_JPEGDecodeState* state);

    // Decodes one block (T.81, F.2.2), dequantising nothing. The block is cleared first.
    // NUV_JPEGResult::out_of_data when the input ends inside the block, NUV_JPEGResult::no_code
    // when it has no code here or a marker stands in the block, NUV_JPEGResult::run_past_block. Any
    // of these leaves the block partly filled and the state, the position and *previous_dc
    // somewhere inside the block: a caller that gets more input puts back its copies of them and
    // repeats the call.
    NUV_JPEGResult (*huffman_decode_block)(const std::uint8_t* input, std::int32_t size,
                                           std::int32_t* position, std::int16_t* block,
                                           std::int16_t* previous_dc, std::uint8_t* marker,
                                           const NUV_JPEGDecodeTable* dc_table,
                                           const NUV_JPEGDecodeTable* ac_table,
                                           NUV_JPEGDecodeState* state);

    // Decodes `columns` differences (T.81, H.2) of each of 1 to 4 components, one component after
    // the other in each column, into rows[component][column]. tables[component] is its table.
    // Errors as huffman_decode_block, and NUV_JPEGResult::no_code for a category above 16.
    NUV_JPEGResult (*lossless_decode_rows)(const std::uint8_t* input, std::int32_t size,
                                           std::int32_t* position, std::uint16_t* const* rows,
                                           std::int32_t columns, std::int32_t components,
                                           std::uint8_t* marker,
                                           const NUV_JPEGDecodeTable* const* tables,
                                           NUV_JPEGDecodeState* state);

    // The lossless predictions (T.81, H.1.2.1). Samples and differences are modulo 65536. The
    // precision is 2 to 16 bits, the point transform 0 to precision - 1, the predictor 1 to 7;
    // else NUV_JPEGResult::bad_parameter. Input and output may be the same row in the two that
    // decode and must not overlap in the two that take differences.
    //
    // First line of a restart interval: from half the range, then from the left.
    NUV_JPEGResult (*lossless_first_row)(const std::uint16_t* differences, std::uint16_t* output,
                                         std::int32_t columns, std::int32_t precision,
                                         std::int32_t point_transform);
    // Any other line, `previous` being the one above: the first sample always from above.
    NUV_JPEGResult (*lossless_other_rows)(const std::uint16_t* differences,
                                          const std::uint16_t* previous, std::uint16_t* output,
                                          std::int32_t columns, std::int32_t predictor);
    NUV_JPEGResult (*lossless_diff_first_row)(const std::uint16_t* samples,
                                              std::uint16_t* differences, std::int32_t columns,
                                              std::int32_t precision, std::int32_t point_transform);
    NUV_JPEGResult (*lossless_diff_other_rows)(const std::uint16_t* samples,
                                               const std::uint16_t* previous,
                                               std::uint16_t* differences, std::int32_t columns,
                                               std::int32_t predictor);

    // T.81, K.2: the best table of codes of at most 16 bits for the frequencies of 256 symbols
    // (word 256 is not looked at). `bits` gets 16 counts, `values` up to 256 symbols. Without any
    // frequency all counts are 0. The sum of the frequencies must be below 2^63.
    NUV_JPEGResult (*huffman_optimal_table)(const std::uint64_t* frequencies, std::uint8_t* bits,
                                            std::uint8_t* values);
    // *size = bytes of the frequencies that huffman_optimal_table takes: 257 words of 8 bytes.
    NUV_JPEGResult (*huffman_size)(std::int32_t* size);

    // fdct_quant for `count` blocks of samples, one behind the other, out of place; of samples
    // beyond -128..127 the coefficients are not defined. masks[i] tells in bit k whether
    // coefficient k of block i, in zig-zag order, is not zero. Blocks and masks are read and
    // written up to the next whole number of transform_group.
    void (*transform_blocks)(const std::int16_t* samples, std::size_t count,
                             const std::uint16_t* table, std::int16_t* coefficients,
                             std::uint64_t* masks);

    // Codes the blocks as huffman_encode_block does, all in one go, and returns the end of the
    // output, of which 512 bytes a block are free. Null for a symbol that has no code; what was
    // coded is then incomplete.
    std::uint8_t* (*huffman_encode_blocks)(const NUV_JPEGBlockToCode* blocks, std::size_t count,
                                           std::uint8_t* output, NUV_JPEGEncodeState* state);
};

// The forms that `cpu` runs fastest; pick them once per coder. The tables live as long as the
// program.
[[nodiscard]] const NUV_JPEGPrimitives& jpeg_primitives(const NUV_Cpu& cpu) noexcept;

} // namespace nuv
