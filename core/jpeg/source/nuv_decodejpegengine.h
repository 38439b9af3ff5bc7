#pragma once

#include "core/include/nuv_planarlines.h"
#include "core/jpeg/nuv_decodejpeg.h"
#include "core/jpeg/nuv_jpeginfo.h"
#include "core/jpeg/nuv_readjpeg.h"
#include "core/jpeg/source/nuv_jpeginfointernal.h"
#include "framework/containers/nuv_vector.h"
#include "framework/engine/nuv_readengine.h"

#include <cstdint>
#include <optional>

namespace nuv {

// Delivers the lines of a JPEG stream, or of several, one a step.
class NUV_DecodeJPEGEngine final : public NUV_ReadEngine, public NUV_PlanarLines {
public:
    static constexpr auto initiate_method = "NUV_DecodeJPEGEngine::initiate()";
    explicit NUV_DecodeJPEGEngine(NUV_Manager& manager) noexcept
        : NUV_ReadEngine(manager),
          heights_(manager)
    {}

    // `header` is what `info` says, but for lossless samples of 9 to 15 bits, which it calls 16.
    // `scale` is in 256ths: 256, 128, 64 or 32. NUV_ERR_ARGUMENT without an info that is loaded.
    [[nodiscard]] bool initiate(NUV_InputStorage* storage, const NUV_Header* header,
                                NUV_DstBuffer* dst, const NUV_JPEGInfo* info, std::int32_t scale);
    // Streams, whose headers tell of the image: there is no decoder but for the one that is being
    // read.
    [[nodiscard]] bool initiate(const NUV_Header* header, NUV_DstBuffer* dst,
                                NUV_JPEGStreams* streams, const NUV_DecodeJPEGOption* option);
    bool cleanup() override;
    [[nodiscard]] bool execute() override;
    [[nodiscard]] bool delivers_what_it_writes() const override { return true; }
    [[nodiscard]] NUV_Vector<NUV_Engine*> branch(std::uint32_t count) override;
    void allow_planes() override { may_give_planes_ = true; }
    [[nodiscard]] bool is_in_planes() const override { return is_in_planes_; }

private:
    [[nodiscard]] bool is_supported(const NUV_JPEGInfo& info, std::int32_t scale) const;
    [[nodiscard]] bool start();
    [[nodiscard]] bool look_at_stream(std::size_t index, NUV_DstBuffer* dst);
    [[nodiscard]] bool begin_stream();
    [[nodiscard]] NUV_Diagnosis at_line(std::uint32_t line) const noexcept;
    [[nodiscard]] NUV_JPEGInfoInternal& internal() const noexcept
    {
        return static_cast<NUV_JPEGInfoInternal&>(*reference_.get());
    }

    NUV_JPEGReference reference_;
    NUV_JPEGStreams* streams_ = nullptr; // these six are for several
    std::optional<NUV_DecodeJPEGOption> option_;
    NUV_Vector<std::uint16_t> heights_; // of each, in lines
    std::size_t stream_ = 0;            // the next one
    std::uint32_t stream_begin_ = 0;    // in lines, of the one at hand
    std::uint32_t stream_end_ = 0;
    NUV_JPEGScanTables tables_;
    std::uint32_t divisor_ = 1; // of the size
    std::uint32_t line_ = 0;
    std::uint32_t line_bytes_ = 0;
    bool may_give_planes_ = false;
    bool is_in_planes_ = false;
};

} // namespace nuv
