#pragma once

#include "core/ccitt/nuv_ccittoption.h"
#include "core/include/nuv_decode.h"
#include "framework/base/nuv_tags.h"
#include "framework/containers/nuv_packednumbers.h"

#include <cstdint>
#include <span>

namespace nuv {

class NUV_InputStorage;

// What lines are delivered as: bits or runs.
enum class NUV_CCITTForm { packed, runs };

// Decodes facsimile data; black is 1 in both forms. An image that is coded otherwise than the
// option says, of more than one bit or channel, or wider than a line of runs can be is refused with
// NUV_ERR_UNSUPPORTED; one without lines in silence. Damage ends no image: lines come out white, as
// far as they were understood, or from where reading could be taken up again, with
// NUV_WARN_BROKEN_DATA.
template <class CodingOption, NUV_CCITTForm form>
class NUV_DecodeCCITT : public NUV_Decode {
public:
    using Option = CodingOption;

    explicit NUV_DecodeCCITT(NUV_Manager& manager) noexcept
        : NUV_DecodeCCITT(manager, Use::alone, Option())
    {}

    [[nodiscard]] const NUV_EncodeType* encode_type() const noexcept override;

protected:
    enum class Use { alone, for_tiff };

    NUV_DecodeCCITT(NUV_Manager& manager, Use use, const Option& option) noexcept;

    [[nodiscard]] NUV_Engine* engine_of_strips(NUV_Engine* previous, std::uint32_t rows_per_strip,
                                               const NUV_PackedNumbers& strip_byte_counts);
    [[nodiscard]] NUV_Engine* engine_of_strips(NUV_InputStorage* storage, const NUV_Header& header,
                                               std::uint32_t rows_per_strip,
                                               NUV_PackedNumbers& offsets,
                                               NUV_PackedNumbers& byte_counts);

private:
    [[nodiscard]] NUV_Engine* append_decoder(NUV_Engine& previous) override;

    Option option_;
    std::uint32_t rows_per_strip_ = 0;
    const NUV_PackedNumbers* strip_byte_counts_ = nullptr;
};

// The same for the data of a TIFF image, whose tags are the option. `strip_byte_counts` are those
// of strips that come one behind the other, each of them data that ends; a line that cannot be read
// where a strip of `rows_per_strip` lines may begin is looked for in the next one. 0 and no counts
// stand for data in one piece.
template <class CodingOption, NUV_CCITTForm form>
class NUV_DecodeCCITTForTIFF final : public NUV_DecodeCCITT<CodingOption, form> {
    using Base = NUV_DecodeCCITT<CodingOption, form>;

public:
    NUV_DecodeCCITTForTIFF(NUV_Manager& manager, const CodingOption& option) noexcept
        : Base(manager, Base::Use::for_tiff, option)
    {}

    [[nodiscard]] NUV_Engine* engine(NUV_Engine* previous, std::uint32_t rows_per_strip,
                                     const NUV_PackedNumbers& strip_byte_counts)
    {
        return Base::engine_of_strips(previous, rows_per_strip, strip_byte_counts);
    }
    // The lines of the image with `header` from strips that are data of their own, wherever they
    // are in a storage that nobody else moves meanwhile. The numbers, as many of both, are
    // taken over. What a strip lacks comes as bad lines; the next one begins anew.
    [[nodiscard]] NUV_Engine* engine(NUV_InputStorage* storage, const NUV_Header& header,
                                     std::uint32_t rows_per_strip, NUV_PackedNumbers& offsets,
                                     NUV_PackedNumbers& byte_counts)
    {
        return Base::engine_of_strips(storage, header, rows_per_strip, offsets, byte_counts);
    }
};

// T.4 in one dimension: of lines each behind an EOL, unless the option says otherwise.
using NUV_DecodeMH = NUV_DecodeCCITT<NUV_DecodeMHOption, NUV_CCITTForm::packed>;
using NUV_DecodeMHToQDRLE = NUV_DecodeCCITT<NUV_DecodeMHOption, NUV_CCITTForm::runs>;
using NUV_DecodeMHForTIFF = NUV_DecodeCCITTForTIFF<NUV_DecodeMHOption, NUV_CCITTForm::packed>;
using NUV_DecodeMHToQDRLEForTIFF = NUV_DecodeCCITTForTIFF<NUV_DecodeMHOption, NUV_CCITTForm::runs>;

// T.4 in two: of lines of both kinds, each behind an EOL and a tag.
using NUV_DecodeMR = NUV_DecodeCCITT<NUV_DecodeMROption, NUV_CCITTForm::packed>;
using NUV_DecodeMRToQDRLE = NUV_DecodeCCITT<NUV_DecodeMROption, NUV_CCITTForm::runs>;
using NUV_DecodeMRForTIFF = NUV_DecodeCCITTForTIFF<NUV_DecodeMROption, NUV_CCITTForm::packed>;
using NUV_DecodeMRToQDRLEForTIFF = NUV_DecodeCCITTForTIFF<NUV_DecodeMROption, NUV_CCITTForm::runs>;

// T.6: of two-dimensional lines with nothing between them.
using NUV_DecodeMMR = NUV_DecodeCCITT<NUV_DecodeMMROption, NUV_CCITTForm::packed>;
using NUV_DecodeMMRToQDRLE = NUV_DecodeCCITT<NUV_DecodeMMROption, NUV_CCITTForm::runs>;
using NUV_DecodeMMRForTIFF = NUV_DecodeCCITTForTIFF<NUV_DecodeMMROption, NUV_CCITTForm::packed>;
using NUV_DecodeMMRToQDRLEForTIFF =
    NUV_DecodeCCITTForTIFF<NUV_DecodeMMROption, NUV_CCITTForm::runs>;

} // namespace nuv
