#include "core/ccitt/nuv_decodeccitt.h"

#include "core/ccitt/source/nuv_decodeccittengine.h"

#include <type_traits>

namespace nuv {
namespace {

// A coding by the option of its creators: the engines of both forms, and of each form the texts of
// a creator alone and for TIFF.
template <class Option>
struct Decoders;

template <>
struct Decoders<NUV_DecodeMHOption> : NUV_MHCoding {
    using Engine = NUV_DecodeMHEngine;
    using RunEngine = NUV_DecodeMHToQDRLEEngine;
    static constexpr const char* methods[2][2] = {
        {"NUV_DecodeMH::engine()", "NUV_DecodeMHForTIFF::engine()"},
        {"NUV_DecodeMHToQDRLE::engine()", "NUV_DecodeMHToQDRLEForTIFF::engine()"}};
};

template <>
struct Decoders<NUV_DecodeMROption> : NUV_MRCoding {
    using Engine = NUV_DecodeMREngine;
    using RunEngine = NUV_DecodeMRToQDRLEEngine;
    static constexpr const char* methods[2][2] = {
        {"NUV_DecodeMR::engine()", "NUV_DecodeMRForTIFF::engine()"},
        {"NUV_DecodeMRToQDRLE::engine()", "NUV_DecodeMRToQDRLEForTIFF::engine()"}};
};

template <>
struct Decoders<NUV_DecodeMMROption> : NUV_MMRCoding {
    using Engine = NUV_DecodeMMREngine;
    using RunEngine = NUV_DecodeMMRToQDRLEEngine;
    static constexpr const char* methods[2][2] = {
        {"NUV_DecodeMMR::engine()", "NUV_DecodeMMRForTIFF::engine()"},
        {"NUV_DecodeMMRToQDRLE::engine()", "NUV_DecodeMMRToQDRLEForTIFF::engine()"}};
};

template <class Option, NUV_CCITTForm form>
using EngineOf =
    std::conditional_t<form == NUV_CCITTForm::runs, typename Decoders<Option>::RunEngine,
                       typename Decoders<Option>::Engine>;

} // namespace

template <class Option, NUV_CCITTForm form>
NUV_DecodeCCITT<Option, form>::NUV_DecodeCCITT(NUV_Manager& manager, Use use,
                                               const Option& option) noexcept
    : NUV_Decode(manager, Decoders<Option>::methods[static_cast<int>(form)][static_cast<int>(use)],
                 form == NUV_CCITTForm::runs ? NUV_EncodeType::qd_rle : NUV_EncodeType::raw),
      option_(option)
{}

template <class Option, NUV_CCITTForm form>
const NUV_EncodeType* NUV_DecodeCCITT<Option, form>::encode_type() const noexcept
{
    return Decoders<Option>::encode_type();
}

template <class Option, NUV_CCITTForm form>
NUV_Engine* NUV_DecodeCCITT<Option, form>::engine_of_strips(
    NUV_Engine* previous, std::uint32_t rows_per_strip, const NUV_PackedNumbers& strip_byte_counts)
{
    rows_per_strip_ = rows_per_strip;
    strip_byte_counts_ = &strip_byte_counts;
    NUV_Engine* const decoder = NUV_Decode::engine(previous);
    rows_per_strip_ = 0;
    strip_byte_counts_ = nullptr; // which are the caller's
    return decoder;
}

template <class Option, NUV_CCITTForm form>
NUV_Engine* NUV_DecodeCCITT<Option, form>::engine_of_strips(NUV_InputStorage* storage,
                                                            const NUV_Header& header,
                                                            std::uint32_t rows_per_strip,
                                                            NUV_PackedNumbers& offsets,
                                                            NUV_PackedNumbers& byte_counts)
{
    return append_reader<EngineOf<Option, form>>(storage, &header, option_, rows_per_strip,
                                                 &offsets, &byte_counts);
}

template <class Option, NUV_CCITTForm form>
NUV_Engine* NUV_DecodeCCITT<Option, form>::append_decoder(NUV_Engine& previous)
{
    return append_new<EngineOf<Option, form>>(previous, option_, rows_per_strip_,
                                              strip_byte_counts_);
}

template class NUV_DecodeCCITT<NUV_DecodeMHOption, NUV_CCITTForm::packed>;
template class NUV_DecodeCCITT<NUV_DecodeMHOption, NUV_CCITTForm::runs>;
template class NUV_DecodeCCITT<NUV_DecodeMROption, NUV_CCITTForm::packed>;
template class NUV_DecodeCCITT<NUV_DecodeMROption, NUV_CCITTForm::runs>;
template class NUV_DecodeCCITT<NUV_DecodeMMROption, NUV_CCITTForm::packed>;
template class NUV_DecodeCCITT<NUV_DecodeMMROption, NUV_CCITTForm::runs>;

} // namespace nuv
