#pragma once

#include "core/include/nuv_decode.h"
#include "core/jpeg/nuv_jpeginfo.h"

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
class NUV_DecodeJPEG final : public NUV_Decode {
public:
    explicit NUV_DecodeJPEG(NUV_Manager& manager) noexcept;

    // NUV_ERR_ARGUMENT without a previous engine or its header, NUV_ERR_UNSUPPORTED for another
    // coding, NUV_ERR_FORMAT when the data is no JPEG stream; the others are those of NUV_ReadJPEG.
    using NUV_Decode::engine;
    // `option` may be null; it is read before the call returns.
    [[nodiscard]] NUV_Engine* engine(NUV_Engine* previous, const NUV_DecodeJPEGOption* option);

    [[nodiscard]] const NUV_EncodeType* encode_type() const noexcept override
    {
        return NUV_EncodeType::jpeg;
    }

private:
    [[nodiscard]] NUV_Engine* append_decoder(NUV_Engine& previous) override;

    const NUV_DecodeJPEGOption* option_ = nullptr; // of the call that is under way
};

} // namespace nuv
