#include "core/jpeg/kernels/nuv_jpegbitreader.h"
#include "core/jpeg/kernels/nuv_jpegcoefficients.h"
#include "core/jpeg/kernels/nuv_jpegforms.h"
#include "core/jpeg/kernels/nuv_jpeghuffman.h"

namespace nuv {
namespace {

NUV_JPEGResult huffman_decode_block(const std::uint8_t* input, std::int32_t size,
                                    std::int32_t* position, std::int16_t* block,
                                    std::int16_t* previous_dc, std::uint8_t* marker,
                                    const NUV_JPEGDecodeTable* dc_table,
                                    const NUV_JPEGDecodeTable* ac_table, NUV_JPEGDecodeState* state)
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

void set_portable_huffman_decode_forms(NUV_JPEGPrimitives& primitives) noexcept
{
    primitives.huffman_state_init = huffman_state_init;
    primitives.huffman_decode_block = huffman_decode_block;
}

} // namespace nuv
