#pragma once

#include "framework/engine/nuv_enginecreator.h"
#include "framework/io/nuv_outputstorage.h"

#include <cstdint>

namespace nuv {

// How a JPEG is to be written. Only its derived classes say something.
class NUV_EncodeJPEGAttributes {
public:
    virtual ~NUV_EncodeJPEGAttributes() = default;

protected:
    NUV_EncodeJPEGAttributes() = default;
    NUV_EncodeJPEGAttributes(const NUV_EncodeJPEGAttributes&) = default;
    NUV_EncodeJPEGAttributes& operator=(const NUV_EncodeJPEGAttributes&) = default;
};

// How a baseline JPEG is to be written.
class NUV_WriteJPEGOption : public NUV_EncodeJPEGAttributes {
public:
    static constexpr std::uint32_t best_quality = 100;

    // Quality 0 to 100; larger values count as 100. The sampling is a key of one byte for each
    // component with its horizontal and vertical factor: 0x111111 (4:4:4), 0x211111 (4:2:2),
    // 0x221111 (4:2:0) or 0x411111 (4:1:1); any other counts as 0x111111, and so does every one for
    // colours without luma and chroma. The restart interval is in MCUs; 0 stands for one MCU row,
    // and anything above 65535 for none.
    NUV_WriteJPEGOption(std::uint32_t quality, std::uint32_t sampling,
                        std::uint32_t restart_interval) noexcept;

    virtual void set_quality(std::uint32_t quality) noexcept;
    [[nodiscard]] virtual std::uint32_t quality() const noexcept { return quality_; }
    virtual void set_sampling(std::uint32_t key) noexcept { sampling_ = key; }
    [[nodiscard]] virtual std::uint32_t sampling() const noexcept { return sampling_; }
    [[nodiscard]] std::uint32_t restart_interval() const noexcept { return restart_interval_; }

private:
    std::uint32_t quality_;
    std::uint32_t sampling_;
    std::uint32_t restart_interval_;
};

// How a lossless JPEG is to be written.
class NUV_WriteLosslessJPEGOption : public NUV_EncodeJPEGAttributes {
public:
    // `optimise` builds the Huffman table from the image, which is then held in memory as it comes
    // and written at its end. The restart interval is in pixels, whole lines of
    // them; 0 stands for one line, and anything above 65535 or not below the image's size for none.
    NUV_WriteLosslessJPEGOption(bool optimise, std::uint32_t restart_interval) noexcept
        : optimise_(optimise),
          restart_interval_(restart_interval)
    {}

    [[nodiscard]] bool optimise() const noexcept { return optimise_; }
    [[nodiscard]] std::uint32_t restart_interval() const noexcept { return restart_interval_; }

private:
    bool optimise_;
    std::uint32_t restart_interval_;
};

// Ends a chain with a baseline sequential JPEG stream at the position of a storage. Takes raw
// 8-bit unsigned images without a palette, up to 65535 by 65535 pixels: gray, gray_reverse and
// lstar of one channel; s_rgb and adobe_rgb, which are converted to YCbCr (but for 4:1:1, written
// as RGB); ycbcr, itu_lab, icc_lab and cmy as they come. A chain that breaks off leaves a stream
// with the true height.
class NUV_WriteJPEG final : public NUV_EngineCreator {
public:
    using NUV_EngineCreator::NUV_EngineCreator;

    // Quality 75, 4:2:2.
    [[nodiscard]] NUV_Engine* engine(NUV_Engine* previous, NUV_OutputStorage* storage);
    // `attributes` is a NUV_WriteJPEGOption, else NUV_ERR_ARGUMENT; null counts as none. It is
    // read before the call returns.
    [[nodiscard]] NUV_Engine* engine(NUV_Engine* previous, NUV_OutputStorage* storage,
                                     NUV_EncodeJPEGAttributes* attributes);
};

// Ends a chain with a lossless JPEG stream (Huffman coded, predictor 1, no point transform) at the
// position of a storage. Takes raw 8-bit and 16-bit images, signed or not, of the sizes and colours
// of NUV_WriteJPEG, and converts nothing: a reader gets the bits of the samples. A chain that
// breaks off leaves a stream with the true height.
class NUV_WriteLosslessJPEG final : public NUV_EngineCreator {
public:
    using NUV_EngineCreator::NUV_EngineCreator;

    // `option` is read before the call returns; null stands for no optimising and no restarts.
    // NUV_ERR_ARGUMENT for a null `previous` and for a restart interval of broken lines,
    // NUV_ERR_UNSUPPORTED for any other image.
    [[nodiscard]] NUV_Engine* engine(NUV_Engine* previous, NUV_OutputStorage* storage,
                                     NUV_WriteLosslessJPEGOption* option);
};

} // namespace nuv
