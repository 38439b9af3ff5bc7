#pragma once

#include "core/jpeg/nuv_jpeginfo.h"
#include "framework/engine/nuv_enginecreator.h"

#include <cstdint>

namespace nuv {

// What a decoder is told beyond its data. Only the derived classes say something.
class NUV_DecodeOption {
public:
    virtual ~NUV_DecodeOption() = default;

protected:
    NUV_DecodeOption() = default;
    NUV_DecodeOption(const NUV_DecodeOption&) = default;
    NUV_DecodeOption& operator=(const NUV_DecodeOption&) = delete;
};

// How a JPEG stream that is part of something else is to be decoded.
class NUV_DecodeJPEGOption final : public NUV_DecodeOption {
public:
    // The tables that the stream lacks, none when they are not loaded; the lines after which its
    // scans begin anew without saying so, 0 for never; the size in 256ths, as in NUV_ReadJPEG.
    NUV_DecodeJPEGOption(const NUV_JPEGTableInfo& tables, std::uint32_t restart_rows,
                         std::int32_t scale) noexcept
        : tables_(tables),
          restart_rows_(restart_rows),
          scale_(scale)
    {}

    [[nodiscard]] const NUV_JPEGTableInfo& tables() const noexcept { return tables_; }
    [[nodiscard]] std::uint32_t restart_rows() const noexcept { return restart_rows_; }
    [[nodiscard]] std::int32_t scale() const noexcept { return scale_; }

private:
    NUV_JPEGTableInfo tables_;
    std::uint32_t restart_rows_;
    std::int32_t scale_;
};

// Decodes the JPEG stream that an engine delivers. A raw image is passed on as it is.
class NUV_DecodeJPEG final : public NUV_EngineCreator {
public:
    using NUV_EngineCreator::NUV_EngineCreator;

    // NUV_ERR_ARGUMENT without a previous engine or its header, NUV_ERR_UNSUPPORTED for another
    // coding, NUV_ERR_FORMAT when the data is no JPEG stream; the others are those of NUV_ReadJPEG.
    [[nodiscard]] NUV_Engine* engine(NUV_Engine* previous);
    // `option` may be null; it is read before the call returns.
    [[nodiscard]] NUV_Engine* engine(NUV_Engine* previous, const NUV_DecodeJPEGOption* option);
};

} // namespace nuv
