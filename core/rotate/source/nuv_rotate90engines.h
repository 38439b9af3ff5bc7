#pragma once

#include "core/include/nuv_reversebits_kernels.h"
#include "core/qdrle/nuv_qdrlebuffer.h"
#include "core/rotate/source/nuv_edgelist.h"
#include "core/rotate/source/nuv_rotate90_1_kernels.h"
#include "core/rotate/source/nuv_rotate90_8xn_kernels.h"
#include "core/rotate/source/nuv_rotate90plane.h"
#include "framework/base/nuv_held.h"

#include <cstddef>
#include <cstdint>
#include <span>

namespace nuv {

// Packed bits.
class NUV_Rotate90_1Engine final : public NUV_Rotate90PlaneEngine {
public:
    static constexpr auto initiate_method = "NUV_Rotate90_1Engine::initiate()";
    using NUV_Rotate90PlaneEngine::NUV_Rotate90PlaneEngine;

    bool cleanup() override;
    [[nodiscard]] bool initiate(const NUV_Header* header, NUV_SrcBuffer* src, NUV_DstBuffer* dst,
                                std::int32_t angle, std::uint32_t block);

private:
    using Bands = std::span<const NUV_Rotate90Band>;

    void rotate(Bands bands) override;
    void turn_line(const std::uint8_t* in, std::uint8_t* out) const override
    {
        reverse_bits_(in, out, src_width_);
    }
    // So many that their lines fill cache lines of the output lines: 8 of 64 lines make 64 bytes.
    [[nodiscard]] std::size_t bands_at_once() const override { return most_bands; }
    // The 8 source lines whose bits make the output bytes number `column`, as far as they lie in
    // the bands.
    [[nodiscard]] Rotate90Group group(Bands bands, std::uint32_t column) const;

    std::int32_t angle_ = 0;                 // 90, 180 or 270
    Rotate90Groups rotate_groups_ = nullptr; // for 90 and 270
    ReverseBits reverse_bits_ = nullptr;     // for 180
    NUV_Scratch<std::uint8_t> blank_line_;   // stands for the lines outside the band
};

// Whole bytes or pairs of them. T is unsigned and stands for both integer types of its size.
template <class T>
class NUV_Rotate90_8xNEngine final : public NUV_Rotate90PlaneEngine {
public:
    static constexpr auto initiate_method = "NUV_Rotate90_8xNEngine::initiate()";
    using NUV_Rotate90PlaneEngine::NUV_Rotate90PlaneEngine;

    [[nodiscard]] bool initiate(const NUV_Header* header, NUV_SrcBuffer* src, NUV_DstBuffer* dst,
                                std::int32_t angle, std::uint32_t block);

private:
    void rotate(std::span<const NUV_Rotate90Band> bands) override
    {
        rotate_block_.rotate(bands.front());
    }
    void turn_line(const std::uint8_t* in, std::uint8_t* out) const override
    {
        rotate_block_.turn_line(in, out, src_width_);
    }
    [[nodiscard]] std::size_t bands_at_once() const override { return 1; }

    Rotate90Block rotate_block_;
};

// Runs.
class NUV_Rotate90QDRLEEngine final : public NUV_ProcessEngine {
public:
    static constexpr auto initiate_method = "NUV_Rotate90QDRLEEngine::initiate()";
    explicit NUV_Rotate90QDRLEEngine(NUV_Manager& manager) noexcept
        : NUV_ProcessEngine(manager),
          line_(manager)
    {}

    bool cleanup() override;
    [[nodiscard]] bool execute() override;
    [[nodiscard]] bool initiate(const NUV_Header* header, NUV_SrcBuffer* src, NUV_DstBuffer* dst,
                                std::int32_t angle);

private:
    [[nodiscard]] bool build();

    NUV_Held<NUV_QDRLEBuffer> buffer_;
    NUV_Held<NUV_EdgeList> edges_;  // for 90 and 270
    NUV_Vector<NUV_QDRLERun> line_; // for 180
    std::int32_t angle_ = 0;        // 90, 180 or 270
    std::uint32_t row_ = 0;         // lines written
    bool built_ = false;
};

} // namespace nuv
