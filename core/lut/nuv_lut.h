#pragma once

#include "core/lut/nuv_lutdata.h"
#include "framework/base/nuv_header.h"
#include "framework/base/nuv_held.h"
#include "framework/engine/nuv_enginecreator.h"

#include <cstdint>

namespace nuv {

// Replaces every sample by its entry in a table. Raw images of 8 and 16 bit integers without a
// palette, any number of channels; bits and data type of the result are those of the table. The
// table has an entry for every value of a sample, from the lowest on, and as many channels as the
// image or one for all. It is copied, and may go once the engine stands.
//
// `target`, unless null, becomes the colour of the result, and must allow the image's channels.
//
// NUV_ERR_ARGUMENT for nulls and for a table that does not fit the image, NUV_ERR_UNSUPPORTED for
// other images.

// Images of unsigned samples.
class NUV_LutU8xNbits final : public NUV_EngineCreator {
public:
    using NUV_EngineCreator::NUV_EngineCreator;

    [[nodiscard]] NUV_Engine* engine(NUV_Engine* previous, const NUV_LutData* table,
                                     const NUV_ColorType* target = nullptr);
};

// Images of signed samples: the entry of 0 is in the middle of the table.
class NUV_LutS8xNbits final : public NUV_EngineCreator {
public:
    using NUV_EngineCreator::NUV_EngineCreator;

    [[nodiscard]] NUV_Engine* engine(NUV_Engine* previous, const NUV_LutData* table,
                                     const NUV_ColorType* target = nullptr);
};

// Either of the two.
class NUV_Lut final : public NUV_EngineCreator {
public:
    using NUV_EngineCreator::NUV_EngineCreator;

    [[nodiscard]] NUV_Engine* engine(NUV_Engine* previous, const NUV_LutData* table,
                                     const NUV_ColorType* target = nullptr);
};

// A caller's table of `entries` unsigned entries of `bits` bits a channel, widened with zeros to
// the whole range of the samples of `header`, one table for each of its channels. The bytes stand
// from the first entry on; for signed samples in the middle of the range, where the source byte of
// byte i is i less the offset in entries. That is exact for entries of one byte. Exactly
// bits / 8 * channels * entries bytes of `table` can be read, and none beyond.
//
// Empty after NUV_ERR_ARGUMENT (a null, bits other than 8, 16 and 32, a table beyond 32-bit sizes),
// NUV_ERR_UNSUPPORTED (samples of other than 8 and 16 bits) or NUV_ERR_MEMORY.
[[nodiscard]] NUV_Held<NUV_LutData> expand_lut(NUV_Manager& manager, const NUV_Header* header,
                                               const std::uint8_t* table, std::uint32_t entries,
                                               std::uint16_t bits);

} // namespace nuv
