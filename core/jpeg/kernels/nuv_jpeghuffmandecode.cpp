#include "core/jpeg/kernels/nuv_jpegbitreader.h"
#include "core/jpeg/kernels/nuv_jpegcoefficients.h"
#include "core/jpeg/kernels/nuv_jpegforms.h"
#include "core/jpeg/kernels/nuv_jpeghuffman.h"

namespace nuv {
namespace {

template <class Table>
NUV_JPEGResult decode_block(const std::uint8_t* input, std::int32_t size, std::int32_t* position,
                            std::int16_t* block, std::int16_t* previous_dc, std::uint8_t* marker,
                            const Table* dc_table, const Table* ac_table,
                            NUV_JPEGDecodeState* state)
{
    if (input == nullptr || position == nullptr || block == nullptr || previous_dc == nullptr ||
        marker == nullptr || dc_table == nullptr || ac_table == nullptr || state == nullptr)
        return NUV_JPEGResult::null_pointer;
    if (size < 1)
        return NUV_JPEGResult::bad_size;
    if (*position < 0 || *position > size || state->bits > 64)
        return NUV_JPEGResult::bad_parameter;

    NUV_JPEGBitReader reader(input, size, *position, marker, *state);
    std::uint32_t reached = 0;
    const NUV_JPEGResult decoded =
        decode_coefficients(reader, block, *previous_dc, *dc_table, *ac_table, reached);
    reader.store(*position, *state);
    state->coefficients = reached;
    return decoded;
}

NUV_JPEGResult huffman_state_init(NUV_JPEGDecodeState* state)
{
    if (state == nullptr)
        return NUV_JPEGResult::null_pointer;
    *state = {.accumulator = 0, .bits = 0, .spare = 0, .coefficients = 0, .owner = state->owner};
    return NUV_JPEGResult::good;
}

} // namespace

NUV_JPEGResult huffman_decode_block_wide(const std::uint8_t* input, std::int32_t size,
                                         std::int32_t* position, std::int16_t* block,
                                         std::int16_t* previous_dc, std::uint8_t* marker,
                                         const NUV_JPEGWideTable* dc_table,
                                         const NUV_JPEGWideTable* ac_table,
                                         NUV_JPEGDecodeState* state)
{
    return decode_block(input, size, position, block, previous_dc, marker, dc_table, ac_table,
                        state);
}

void set_portable_huffman_decode_forms(NUV_JPEGPrimitives& primitives) noexcept
{
    primitives.huffman_state_init = huffman_state_init;
    primitives.huffman_decode_block = decode_block<NUV_JPEGDecodeTable>;
}

} // namespace nuv
