#pragma once

#include "core/jpeg/encode/nuv_jpegencoder.h"
#include "core/jpeg/nuv_encodejpeg.h"
#include "framework/base/nuv_held.h"
#include "framework/engine/nuv_writeengine.h"
#include "framework/io/nuv_bufferedoutput.h"

#include <cstdint>

namespace nuv {

// Pushes lines through the JPEG coder into a storage. The creators call one of the overloads of
// initiate that name what to write.
class NUV_WriteJPEGEngine : public NUV_WriteEngine {
public:
    static constexpr auto initiate_method = "NUV_WriteJPEGEngine::initiate()";
    using NUV_WriteEngine::NUV_WriteEngine;

    // Closes a stream that is not complete, with the number of lines that it got.
    bool cleanup() override;
    [[nodiscard]] bool execute() override;

    // Lossless.
    [[nodiscard]] virtual bool initiate(const NUV_Header* header, NUV_SrcBuffer* src,
                                        NUV_OutputStorage* storage,
                                        const NUV_WriteLosslessJPEGOption* option);
    // Baseline.
    [[nodiscard]] virtual bool initiate(const NUV_Header* header, NUV_SrcBuffer* src,
                                        NUV_OutputStorage* storage,
                                        const NUV_EncodeJPEGAttributes* attributes);

protected:
    // What all forms share: takes source and storage, refuses images that no form writes, and
    // creates the coder.
    [[nodiscard]] virtual bool initiate(const NUV_Header* header, NUV_SrcBuffer* src,
                                        NUV_OutputStorage* storage);
    // Where a derived class adds its segments to the stream, by coder().add_marker, before the
    // header is written.
    [[nodiscard]] virtual bool write_tables(const NUV_Header& header,
                                            const NUV_EncodeJPEGAttributes& attributes);
    // Raises what `code` stands for under "NUV_WriteJPEGEngine::initiate()".
    bool accept(NUV_JPEGCode code);
    // Reads lines of this image from now on.
    [[nodiscard]] bool read_lines_of(const NUV_Header& header);

    [[nodiscard]] NUV_JPEGEncoder& coder() noexcept { return coder_; }

private:
    [[nodiscard]] bool wrap(NUV_OutputStorage*& storage);
    bool release_storage();

    NUV_JPEGEncoder coder_;
    NUV_Held<NUV_BufferedOutput> buffered_; // in front of a storage that is slow to write to
    std::uint32_t height_ = 0;              // lines
    std::uint32_t lines_done_ = 0;
};

} // namespace nuv
