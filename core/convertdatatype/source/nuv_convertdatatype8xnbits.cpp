#include "core/convertdatatype/nuv_convertdatatype.h"
#include "core/convertdatatype/source/nuv_convertsample.h"
#include "framework/engine/nuv_processlinetolineengine.h"

namespace nuv {
namespace {

template <class I, class O>
class NUV_ConvertDataType8xNbitsEngine final : public NUV_ProcessLineToLineEngine {
public:
    static constexpr auto initiate_method = "NUV_ConvertDataType8xNbitsEngine::initiate()";
    using NUV_ProcessLineToLineEngine::NUV_ProcessLineToLineEngine;

    [[nodiscard]] bool initiate(const NUV_Header* header, NUV_SrcBuffer* src, NUV_DstBuffer* dst,
                                const NUV_DataType* type, const NUV_LinearRule& rule);

private:
    [[nodiscard]] bool process_line(const void* in, void* out) override
    {
        const auto* from = static_cast<const I*>(in);
        convert_all([from](std::size_t i) { return from[i]; }, static_cast<O*>(out),
                    samples_per_line_, rule_);
        return true;
    }

    NUV_LinearRule rule_{1, 0};
    std::size_t samples_per_line_ = 0; // width x channels
};

template <class I, class O>
bool NUV_ConvertDataType8xNbitsEngine<I, O>::initiate(const NUV_Header* header, NUV_SrcBuffer* src,
                                                      NUV_DstBuffer* dst, const NUV_DataType* type,
                                                      const NUV_LinearRule& rule)
{
    if (!NUV_ProcessLineToLineEngine::initiate(header, src, dst))
        return false;
    if (!holds_samples_of<I>(*header))
        return fail(manager(), NUV_ERR_UNSUPPORTED, initiate_method);

    header_.data_type(type);
    header_.bits(static_cast<std::uint16_t>(8 * sizeof(O)));
    if (!header_.checked_line_bytes())
        return fail(manager(), NUV_ERR_UNSUPPORTED, initiate_method);
    rule_ = rule;
    samples_per_line_ = std::size_t{header->width()} * header->channels();
    return dst->block_bytes(header_.line_bytes());
}

} // namespace

NUV_Engine* NUV_ConvertDataType8xNbits::engine(NUV_Engine* previous, const NUV_DataType* type,
                                               std::uint16_t bits, double slope, double offset)
{
    constexpr auto method = "NUV_ConvertDataType8xNbits::engine()";

    if (!accepts_image(previous, method))
        return nullptr;
    const NUV_Header& header = *previous->header();
    const NUV_DataType* to = type ? type : header.data_type();
    const NUV_LinearRule rule(slope, offset);
    const auto refuse = [&]() -> NUV_Engine* {
        return fail(manager(), NUV_ERR_UNSUPPORTED, method);
    };
    return visit_sample_type(
        all_samples, header,
        [&]<class I>() -> NUV_Engine* {
            return visit_sample_type(
                all_samples, to, bits,
                [&]<class O>() -> NUV_Engine* {
                    return append_new<NUV_ConvertDataType8xNbitsEngine<I, O>>(*previous, to, rule);
                },
                refuse);
        },
        refuse);
}

} // namespace nuv
