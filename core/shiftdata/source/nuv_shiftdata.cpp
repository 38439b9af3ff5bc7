#include "core/shiftdata/nuv_shiftdata.h"

#include "core/shiftdata/source/nuv_shiftdata_kernels.h"
#include "framework/engine/nuv_processlinetolineengine.h"

#include <cstdlib>

namespace nuv {
namespace {

constexpr std::int32_t most_shift = 31;

template <WideIntegerSample I, WideIntegerSample O, bool Limit>
class NUV_ShiftDataEngine final : public NUV_ProcessLineToLineEngine {
public:
    static constexpr auto initiate_method =
        Limit ? "NUV_ShiftDataWLEngine::initiate()" : "NUV_ShiftDataNLEngine::initiate()";
    using NUV_ProcessLineToLineEngine::NUV_ProcessLineToLineEngine;

    [[nodiscard]] bool initiate(const NUV_Header* header, NUV_SrcBuffer* src, NUV_DstBuffer* dst,
                                const NUV_DataType* type, std::int32_t shift);

private:
    [[nodiscard]] bool process_line(const void* in, void* out) override
    {
        shift_row_(static_cast<const I*>(in), static_cast<O*>(out), samples_per_line_, shift_);
        return true;
    }

    ShiftRow<I, O> shift_row_ = nullptr;
    std::size_t samples_per_line_ = 0; // width x channels
    unsigned shift_ = 0;               // bits, in the direction of shift_row_
};

template <class I, class O>
using NUV_ShiftDataNLEngine = NUV_ShiftDataEngine<I, O, false>;
template <class I, class O>
using NUV_ShiftDataWLEngine = NUV_ShiftDataEngine<I, O, true>;

template <WideIntegerSample I, WideIntegerSample O, bool Limit>
bool NUV_ShiftDataEngine<I, O, Limit>::initiate(const NUV_Header* header, NUV_SrcBuffer* src,
                                                NUV_DstBuffer* dst, const NUV_DataType* type,
                                                std::int32_t shift)
{
    if (!NUV_ProcessLineToLineEngine::initiate(header, src, dst))
        return false;
    if (!holds_samples_of<I>(*header))
        return fail(manager(), NUV_ERR_UNSUPPORTED, initiate_method);

    header_.data_type(type);
    header_.bits(static_cast<std::uint16_t>(8 * sizeof(O)));
    if (!header_.checked_line_bytes())
        return fail(manager(), NUV_ERR_UNSUPPORTED, initiate_method);
    samples_per_line_ = std::size_t{header->width()} * header->channels();
    shift_ = static_cast<unsigned>(std::abs(shift));
    shift_row_ = choose_shift_row<I, O, Limit>(shift);
    return dst->block_bytes(header_.line_bytes());
}

// What both creators refuse, or pass on, before they need an engine.
enum class Verdict { append, pass_on, bad_argument };

[[nodiscard]] Verdict judge(const NUV_Engine* previous, const NUV_DataType* type,
                            std::uint16_t bits, std::int32_t shift)
{
    if (!has_image(previous) || !type || shift < -most_shift || shift > most_shift)
        return Verdict::bad_argument;
    const NUV_Header& header = *previous->header();
    const bool is_same = type == header.data_type() && bits == header.bits();
    return is_same && shift == 0 ? Verdict::pass_on : Verdict::append;
}

// Calls append.operator()<I, O>() for the pair that is meant, otherwise() when there is none.
template <class Append, class Otherwise>
NUV_Engine* visit_pair(const NUV_Header& header, const NUV_DataType* type, std::uint16_t bits,
                       Append&& append, Otherwise&& otherwise)
{
    return visit_sample_type(
        wide_integer_samples, header,
        [&]<class I>() -> NUV_Engine* {
            return visit_sample_type(
                wide_integer_samples, type, bits,
                [&]<class O>() -> NUV_Engine* { return append.template operator()<I, O>(); },
                otherwise);
        },
        otherwise);
}

} // namespace

NUV_Engine* NUV_ShiftDataNL::engine(NUV_Engine* previous, const NUV_DataType* type,
                                    std::uint16_t bits, std::int32_t shift)
{
    constexpr auto method = "NUV_ShiftDataNL::engine()";

    const Verdict verdict = judge(previous, type, bits, shift);
    if (verdict == Verdict::bad_argument)
        return fail(manager(), NUV_ERR_ARGUMENT, method);
    if (verdict == Verdict::pass_on)
        return previous;
    return visit_pair(
        *previous->header(), type, bits,
        [&]<class I, class O>() -> NUV_Engine* {
            return append_new<NUV_ShiftDataNLEngine<I, O>>(*previous, type, shift);
        },
        [&]() -> NUV_Engine* { return fail(manager(), NUV_ERR_UNSUPPORTED, method); });
}

NUV_Engine* NUV_ShiftDataWL::engine(NUV_Engine* previous, const NUV_DataType* type,
                                    std::uint16_t bits, std::int32_t shift)
{
    constexpr auto method = "NUV_ShiftDataWL::engine()";

    const Verdict verdict = judge(previous, type, bits, shift);
    if (verdict == Verdict::bad_argument)
        return fail(manager(), NUV_ERR_ARGUMENT, method);
    if (verdict == Verdict::pass_on)
        return previous;
    return visit_pair(
        *previous->header(), type, bits,
        [&]<class I, class O>() -> NUV_Engine* {
            return append_new<NUV_ShiftDataWLEngine<I, O>>(*previous, type, shift);
        },
        [&]() -> NUV_Engine* { return fail(manager(), NUV_ERR_UNSUPPORTED, method); });
}

NUV_Engine* NUV_ShiftData::engine(NUV_Engine* previous, const NUV_DataType* type,
                                  std::uint16_t bits, std::int32_t shift, bool limit)
{
    return limit ? NUV_ShiftDataWL(manager()).engine(previous, type, bits, shift)
                 : NUV_ShiftDataNL(manager()).engine(previous, type, bits, shift);
}

} // namespace nuv
