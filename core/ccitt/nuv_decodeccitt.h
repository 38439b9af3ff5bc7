#pragma once

#include "core/ccitt/nuv_ccittoption.h"
#include "core/include/nuv_decode.h"
#include "framework/base/nuv_tags.h"

#include <cstdint>
#include <span>

namespace nuv {

// Decode facsimile data to raw lines or, those named so, to runs; black is 1 in both. The codings
// are T.4 one-dimensional (MH) and two-dimensional (MR), and T.6 (MMR). An image that is coded
// otherwise, of more than one bit or channel, or wider than a line of runs can be is refused with
// NUV_ERR_UNSUPPORTED; one without lines in silence. Damage ends no image: lines come out white, as
// far as they were understood, or from where reading could be taken up again, with
// NUV_WARN_BROKEN_DATA.

// What the creators have in common.
template <class CodingOption>
class NUV_DecodeCCITT : public NUV_Decode {
public:
    using Option = CodingOption;

    [[nodiscard]] const NUV_EncodeType* encode_type() const noexcept override { return coding_; }

protected:
    NUV_DecodeCCITT(NUV_Manager& manager, const char* method, const NUV_EncodeType* coding,
                    const NUV_EncodeType* delivers, const Option& option) noexcept
        : NUV_Decode(manager, method, delivers),
          option_(option),
          coding_(coding)
    {}

    [[nodiscard]] NUV_Engine* engine_of_strips(NUV_Engine* previous, std::uint32_t rows_per_strip,
                                               std::span<const std::uint32_t> strip_byte_counts)
    {
        rows_per_strip_ = rows_per_strip;
        strip_byte_counts_ = strip_byte_counts;
        NUV_Engine* const decoder = NUV_Decode::engine(previous);
        rows_per_strip_ = 0;
        strip_byte_counts_ = {}; // which are the caller's
        return decoder;
    }
    template <class E>
    [[nodiscard]] NUV_Engine* append_coded(NUV_Engine& previous)
    {
        return append_new<E>(previous, option_, rows_per_strip_, strip_byte_counts_);
    }

private:
    Option option_;
    const NUV_EncodeType* coding_;
    std::uint32_t rows_per_strip_ = 0;
    std::span<const std::uint32_t> strip_byte_counts_;
};

// Of one-dimensional lines, each behind an EOL.
class NUV_DecodeMH : public NUV_DecodeCCITT<NUV_DecodeMHOption> {
public:
    explicit NUV_DecodeMH(NUV_Manager& manager) noexcept
        : NUV_DecodeMH(manager, "NUV_DecodeMH::engine()", Option())
    {}

protected:
    NUV_DecodeMH(NUV_Manager& manager, const char* method, const Option& option) noexcept
        : NUV_DecodeCCITT(manager, method, NUV_EncodeType::mh, NUV_EncodeType::raw, option)
    {}

private:
    [[nodiscard]] NUV_Engine* append_decoder(NUV_Engine& previous) override;
};

// Of lines of both kinds, each behind an EOL and a tag.
class NUV_DecodeMR : public NUV_DecodeCCITT<NUV_DecodeMROption> {
public:
    explicit NUV_DecodeMR(NUV_Manager& manager) noexcept
        : NUV_DecodeMR(manager, "NUV_DecodeMR::engine()", Option())
    {}

protected:
    NUV_DecodeMR(NUV_Manager& manager, const char* method, const Option& option) noexcept
        : NUV_DecodeCCITT(manager, method, NUV_EncodeType::mr, NUV_EncodeType::raw, option)
    {}

private:
    [[nodiscard]] NUV_Engine* append_decoder(NUV_Engine& previous) override;
};

// Of two-dimensional lines with nothing between them.
class NUV_DecodeMMR : public NUV_DecodeCCITT<NUV_DecodeMMROption> {
public:
    explicit NUV_DecodeMMR(NUV_Manager& manager) noexcept
        : NUV_DecodeMMR(manager, "NUV_DecodeMMR::engine()", Option())
    {}

protected:
    NUV_DecodeMMR(NUV_Manager& manager, const char* method, const Option& option) noexcept
        : NUV_DecodeCCITT(manager, method, NUV_EncodeType::mmr, NUV_EncodeType::raw, option)
    {}

private:
    [[nodiscard]] NUV_Engine* append_decoder(NUV_Engine& previous) override;
};

class NUV_DecodeMHToQDRLE : public NUV_DecodeCCITT<NUV_DecodeMHOption> {
public:
    explicit NUV_DecodeMHToQDRLE(NUV_Manager& manager) noexcept
        : NUV_DecodeMHToQDRLE(manager, "NUV_DecodeMHToQDRLE::engine()", Option())
    {}

protected:
    NUV_DecodeMHToQDRLE(NUV_Manager& manager, const char* method, const Option& option) noexcept
        : NUV_DecodeCCITT(manager, method, NUV_EncodeType::mh, NUV_EncodeType::qd_rle, option)
    {}

private:
    [[nodiscard]] NUV_Engine* append_decoder(NUV_Engine& previous) override;
};

class NUV_DecodeMRToQDRLE : public NUV_DecodeCCITT<NUV_DecodeMROption> {
public:
    explicit NUV_DecodeMRToQDRLE(NUV_Manager& manager) noexcept
        : NUV_DecodeMRToQDRLE(manager, "NUV_DecodeMRToQDRLE::engine()", Option())
    {}

protected:
    NUV_DecodeMRToQDRLE(NUV_Manager& manager, const char* method, const Option& option) noexcept
        : NUV_DecodeCCITT(manager, method, NUV_EncodeType::mr, NUV_EncodeType::qd_rle, option)
    {}

private:
    [[nodiscard]] NUV_Engine* append_decoder(NUV_Engine& previous) override;
};

class NUV_DecodeMMRToQDRLE : public NUV_DecodeCCITT<NUV_DecodeMMROption> {
public:
    explicit NUV_DecodeMMRToQDRLE(NUV_Manager& manager) noexcept
        : NUV_DecodeMMRToQDRLE(manager, "NUV_DecodeMMRToQDRLE::engine()", Option())
    {}

protected:
    NUV_DecodeMMRToQDRLE(NUV_Manager& manager, const char* method, const Option& option) noexcept
        : NUV_DecodeCCITT(manager, method, NUV_EncodeType::mmr, NUV_EncodeType::qd_rle, option)
    {}

private:
    [[nodiscard]] NUV_Engine* append_decoder(NUV_Engine& previous) override;
};

// The same for the data of a TIFF image, whose tags are the option. `strip_byte_counts` are those
// of strips that come one behind the other, each of them data that ends; a line that cannot be read
// where a strip of `rows_per_strip` lines may begin is looked for in the next one. 0 and no counts
// stand for data in one piece.
template <class Creator>
class NUV_DecodeForTIFF : public Creator {
public:
    NUV_DecodeForTIFF(NUV_Manager& manager, const char* method,
                      const typename Creator::Option& option) noexcept
        : Creator(manager, method, option)
    {}

    [[nodiscard]] NUV_Engine* engine(NUV_Engine* previous, std::uint32_t rows_per_strip,
                                     std::span<const std::uint32_t> strip_byte_counts)
    {
        return Creator::engine_of_strips(previous, rows_per_strip, strip_byte_counts);
    }
};

class NUV_DecodeMHForTIFF final : public NUV_DecodeForTIFF<NUV_DecodeMH> {
public:
    NUV_DecodeMHForTIFF(NUV_Manager& manager, const Option& option) noexcept
        : NUV_DecodeForTIFF(manager, "NUV_DecodeMHForTIFF::engine()", option)
    {}
};

class NUV_DecodeMRForTIFF final : public NUV_DecodeForTIFF<NUV_DecodeMR> {
public:
    NUV_DecodeMRForTIFF(NUV_Manager& manager, const Option& option) noexcept
        : NUV_DecodeForTIFF(manager, "NUV_DecodeMRForTIFF::engine()", option)
    {}
};

class NUV_DecodeMMRForTIFF final : public NUV_DecodeForTIFF<NUV_DecodeMMR> {
public:
    NUV_DecodeMMRForTIFF(NUV_Manager& manager, const Option& option) noexcept
        : NUV_DecodeForTIFF(manager, "NUV_DecodeMMRForTIFF::engine()", option)
    {}
};

class NUV_DecodeMHToQDRLEForTIFF final : public NUV_DecodeForTIFF<NUV_DecodeMHToQDRLE> {
public:
    NUV_DecodeMHToQDRLEForTIFF(NUV_Manager& manager, const Option& option) noexcept
        : NUV_DecodeForTIFF(manager, "NUV_DecodeMHToQDRLEForTIFF::engine()", option)
    {}
};

class NUV_DecodeMRToQDRLEForTIFF final : public NUV_DecodeForTIFF<NUV_DecodeMRToQDRLE> {
public:
    NUV_DecodeMRToQDRLEForTIFF(NUV_Manager& manager, const Option& option) noexcept
        : NUV_DecodeForTIFF(manager, "NUV_DecodeMRToQDRLEForTIFF::engine()", option)
    {}
};

class NUV_DecodeMMRToQDRLEForTIFF final : public NUV_DecodeForTIFF<NUV_DecodeMMRToQDRLE> {
public:
    NUV_DecodeMMRToQDRLEForTIFF(NUV_Manager& manager, const Option& option) noexcept
        : NUV_DecodeForTIFF(manager, "NUV_DecodeMMRToQDRLEForTIFF::engine()", option)
    {}
};

} // namespace nuv
