#include "core/sunras/nuv_readsunras.h"

#include "core/channel/nuv_reversechannel.h"
#include "core/include/nuv_readlineengine.h"
#include "framework/base/nuv_failure.h"
#include "framework/base/nuv_status.h"
#include "framework/io/nuv_checkedstream.h"

namespace nuv {
namespace {

// Lines are stored as they are in memory, padded to an even number of bytes.
class NUV_ReadSunrasEngine final : public NUV_ReadLineEngine {
public:
    static constexpr auto initiate_method = "NUV_ReadSunrasEngine::initiate()";
    using NUV_ReadLineEngine::NUV_ReadLineEngine;

    [[nodiscard]] bool initiate(NUV_InputStorage* storage, const NUV_Header* header,
                                NUV_DstBuffer* dst);

private:
    [[nodiscard]] std::uint64_t least_line_bytes() const override
    {
        return std::uint64_t{line_bytes_} + pad_bytes_;
    }
    [[nodiscard]] bool has_fixed_length() const override { return true; }
    [[nodiscard]] bool read_line(std::uint8_t* out) override;

    std::uint32_t pad_bytes_ = 0; // behind each line, 0 or 1
};

bool NUV_ReadSunrasEngine::initiate(NUV_InputStorage* storage, const NUV_Header* header,
                                    NUV_DstBuffer* dst)
{
    if (!NUV_ReadLineEngine::initiate(storage, header, dst))
        return false;
    pad_bytes_ = line_bytes_ & 1;
    return true;
}

bool NUV_ReadSunrasEngine::read_line(std::uint8_t* out)
{
    const auto pad = static_cast<std::int32_t>(pad_bytes_);
    const bool complete = out && read_up_to(*storage_, out, line_bytes_) == line_bytes_ &&
                          (pad == 0 || storage_->ignore(pad) == pad);
    if (!complete)
        return fail(manager(), NUV_ERR_BROKEN_DATA, "NUV_ReadSunrasEngine::execute()",
                    ends_early());
    return true;
}

} // namespace

NUV_Engine* NUV_ReadSunras::engine(NUV_InputStorage* storage)
{
    NUV_SunrasInfo info(manager());
    if (!info.load(storage))
        return fail(manager(), NUV_ERR_FORMAT, "NUV_ReadSunras::engine()");
    return engine(storage, &info);
}

NUV_Engine* NUV_ReadSunras::engine(NUV_InputStorage* storage, const NUV_SunrasInfo* info)
{
    constexpr auto method = "NUV_ReadSunras::engine()";

    if (!info || !info->loaded() || !info->is_valid())
        return fail(manager(), NUV_ERR_ARGUMENT, method, NUV_FormatInfo::why_refused(info));
    if (info->type() == NUV_SunrasInfo::byte_encoded_type)
        return fail(manager(), NUV_ERR_UNSUPPORTED, method,
                    NUV_Diagnosis().says("byte-encoded pixels (type 2)"));
    NUV_Engine* lines = append_reader<NUV_ReadSunrasEngine>(storage, info);
    if (!lines || info->type() == NUV_SunrasInfo::rgb_type)
        return lines;
    return NUV_ReverseChannel(manager()).engine(lines);
}

} // namespace nuv
