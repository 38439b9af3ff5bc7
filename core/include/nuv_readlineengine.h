#pragma once

#include "framework/base/nuv_diagnosis.h"
#include "framework/engine/nuv_readengine.h"

#include <cstdint>

namespace nuv {

// Takes an image from a storage one raw line a step, from the place where the storage stands at
// initiate(). A line that cannot be read ends the image; the lines before it stand.
class NUV_ReadLineEngine : public NUV_ReadEngine {
public:
    using NUV_ReadEngine::NUV_ReadEngine;

    [[nodiscard]] bool execute() final;

    // Blocks of one line.
    [[nodiscard]] bool initiate(NUV_InputStorage* storage, const NUV_Header* header,
                                NUV_DstBuffer* dst);

protected:
    // The fewest bytes in which a line can be stored.
    [[nodiscard]] virtual std::uint64_t least_line_bytes() const = 0;
    // Reads the next line, line_bytes_ bytes. False after a status. `out` is null when the storage
    // is too short for even one line: then this reads as far as it gets, for the status alone, so
    // that no memory is taken on the word of a header.
    [[nodiscard]] virtual bool read_line(std::uint8_t* out) = 0;

    // Whether a line is the bytes that are stored, as they stand: then it need not be read where
    // the storage has it in memory.
    [[nodiscard]] virtual bool is_line_stored() const { return false; }

    // Whether every line takes least_line_bytes(): then one that nobody looks at is not read where
    // the storage can go past it.
    [[nodiscard]] virtual bool has_fixed_length() const { return false; }

    // Why a line did not come.
    [[nodiscard]] NUV_Diagnosis ends_early() const;

    std::uint32_t line_bytes_ = 0;

private:
    [[nodiscard]] bool can_be_there() const;
    [[nodiscard]] const std::uint8_t* where_standing();
    [[nodiscard]] bool deliver_standing();

    std::uint32_t line_ = 0;
    std::int32_t position_ = 0;              // of what is read next; others may move the storage
    const std::uint8_t* standing_ = nullptr; // the next line, delivered where the storage has it
};

} // namespace nuv
