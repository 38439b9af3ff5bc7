#include "core/internal/nuv_convertendianqdrl.h"

#include "framework/base/nuv_failure.h"
#include "framework/base/nuv_status.h"
#include "framework/engine/nuv_processengine.h"
#include "framework/engine/nuv_stepblocks.h"
#include "framework/utility/nuv_endian.h"

#include <algorithm>
#include <iterator>
#include <span>

namespace nuv {
namespace {

// A width of run data, with its two byte orders.
struct RunForm {
    const NUV_EncodeType* little_endian;
    const NUV_EncodeType* big_endian;
    std::uint16_t sample_bits;
    std::uint32_t unit_bytes; // of one number
};

[[nodiscard]] std::span<const RunForm> run_forms()
{
    static const RunForm forms[] = {
        {NUV_EncodeType::qd_rle, NUV_EncodeType::qd_rle_be, 1, 4},
        {NUV_EncodeType::qd_rlc, NUV_EncodeType::qd_rlc_be, 1, 2},
        {NUV_EncodeType::qd_rlen, NUV_EncodeType::qd_rlen_be, 32, 4},
    };
    return forms;
}

// The stream is a stream of numbers, whatever they mean.
class NUV_ConvertEndianQDRLEngine final : public NUV_ProcessEngine {
public:
    static constexpr auto initiate_method = "NUV_ConvertEndianQDRLEngine::initiate()";
    using NUV_ProcessEngine::NUV_ProcessEngine;

    [[nodiscard]] bool initiate(const NUV_Header* header, NUV_SrcBuffer* src, NUV_DstBuffer* dst);
    [[nodiscard]] bool execute() override;

private:
    std::uint32_t unit_bytes_ = 0;
};

bool NUV_ConvertEndianQDRLEngine::initiate(const NUV_Header* header, NUV_SrcBuffer* src,
                                           NUV_DstBuffer* dst)
{
    if (!NUV_ProcessEngine::initiate(header, src, dst))
        return false;
    const auto forms = run_forms();
    const auto form = std::find_if(forms.begin(), forms.end(), [&](const RunForm& f) {
        return header->encode_type() == f.big_endian || header->encode_type() == f.little_endian;
    });
    if (form == forms.end() || header->bits() != form->sample_bits || header->channels() != 1 ||
        header->data_type() != NUV_DataType::u_integer)
        return fail(manager(), NUV_ERR_UNSUPPORTED, initiate_method,
                    NUV_Diagnosis().says("run data of %u x %u bits", unsigned{header->channels()},
                                         unsigned{header->bits()}));
    header_.encode_type(form->little_endian);
    unit_bytes_ = form->unit_bytes;
    // Blocks of whole numbers.
    const std::uint32_t bytes = manager().default_block_bytes() / 4 * 4;
    return src->block_bytes(bytes) && dst->block_bytes(bytes);
}

bool NUV_ConvertEndianQDRLEngine::execute()
{
    NUV_OutputBlock out(*dst_buffer_);
    if (!out)
        return false;
    std::uint32_t bytes = 0;
    NUV_InputBlock in(*src_buffer_, out.data(), &bytes);
    if (!in)
        return false;
    if (bytes % unit_bytes_ != 0)
        return fail(manager(), NUV_ERR_BROKEN_DATA, "NUV_ConvertEndianQDRLEngine::execute()",
                    NUV_Diagnosis().says("the run data ends within a number"));
    swap_bytes(out.data(), bytes / unit_bytes_, unit_bytes_);
    return in.release() && out.commit(bytes);
}

} // namespace

NUV_Engine* NUV_ConvertEndianQDRL::engine(NUV_Engine* previous)
{
    if (!accepts_image(previous, "NUV_ConvertEndianQDRL::engine()"))
        return nullptr;
    for (const RunForm& form : run_forms()) {
        if (previous->header()->encode_type() == form.big_endian)
            return append_new<NUV_ConvertEndianQDRLEngine>(*previous);
    }
    return previous;
}

} // namespace nuv
