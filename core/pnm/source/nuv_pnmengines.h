#pragma once

#include "core/include/nuv_readlineengine.h"
#include "core/pnm/source/nuv_bytereader.h"

#include <cstddef>
#include <cstdint>

namespace nuv {

// P4, P5, P6: lines as they are in memory, but for the order of the bytes of deep samples.
class NUV_ReadPNMBinaryEngine final : public NUV_ReadLineEngine {
public:
    static constexpr auto initiate_method = "NUV_ReadPNMBinaryEngine::initiate()";
    using NUV_ReadLineEngine::NUV_ReadLineEngine;

    [[nodiscard]] bool initiate(NUV_InputStorage* storage, const NUV_Header* header,
                                NUV_DstBuffer* dst);

private:
    [[nodiscard]] std::uint64_t least_line_bytes() const override { return line_bytes_; }
    // Words are turned round.
    [[nodiscard]] bool is_line_stored() const override { return header_.bits() != 16; }
    [[nodiscard]] bool has_fixed_length() const override { return true; }
    [[nodiscard]] bool read_line(std::uint8_t* out) override;
};

// P1: a number for each pixel, of which "1" to "9" at its first or second place count as set.
class NUV_ReadPBMAsciiEngine final : public NUV_ReadLineEngine {
public:
    static constexpr auto initiate_method = "NUV_ReadPBMAsciiEngine::initiate()";
    using NUV_ReadLineEngine::NUV_ReadLineEngine;

    [[nodiscard]] bool initiate(NUV_InputStorage* storage, const NUV_Header* header,
                                NUV_DstBuffer* dst);

private:
    [[nodiscard]] std::uint64_t least_line_bytes() const override;
    [[nodiscard]] bool read_line(std::uint8_t* out) override;
    // The next `count` pixels, 1 to 8, into `byte` from the top bit down.
    [[nodiscard]] bool read_byte(std::uint8_t& byte, std::uint32_t count);
    // Sets `mask` in `byte` if the next pixel is set.
    [[nodiscard]] bool read_value(std::uint8_t& byte, unsigned mask);

    NUV_ByteReader stream_;
    std::uint32_t full_bytes_ = 0; // bytes of a line whose eight bits are all pixels
    std::uint32_t rest_bits_ = 0;  // pixels behind those, 0 to 7
    bool separated_ = true;        // a number may begin
};

// P2, P3: a number for each sample.
class NUV_ReadPPMAsciiEngine final : public NUV_ReadLineEngine {
public:
    static constexpr auto initiate_method = "NUV_ReadPPMAsciiEngine::initiate()";
    using NUV_ReadLineEngine::NUV_ReadLineEngine;

    [[nodiscard]] bool initiate(NUV_InputStorage* storage, const NUV_Header* header,
                                NUV_DstBuffer* dst);

private:
    [[nodiscard]] std::uint64_t least_line_bytes() const override;
    [[nodiscard]] bool read_line(std::uint8_t* out) override;
    // One line of samples T. With null they are read and dropped.
    template <class T>
    [[nodiscard]] bool read_value(T* line);
    [[nodiscard]] bool get_usual_value(std::uint32_t& value);
    [[nodiscard]] bool skip_whitespace();
    [[nodiscard]] bool get_value(std::uint32_t& value);

    NUV_ByteReader stream_;
    std::uint64_t samples_per_line_ = 0;
    std::uint32_t sample_bytes_ = 0; // 1 or 2
};

} // namespace nuv
