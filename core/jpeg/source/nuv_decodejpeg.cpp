#include "core/jpeg/nuv_decodejpeg.h"

#include "core/jpeg/nuv_readjpeg.h"
#include "core/storage/nuv_dstengineinputstorage.h"
#include "framework/base/nuv_failure.h"
#include "framework/base/nuv_held.h"
#include "framework/base/nuv_status.h"

namespace nuv {

namespace {

constexpr auto method = "NUV_DecodeJPEG::engine()";

} // namespace

NUV_DecodeJPEG::NUV_DecodeJPEG(NUV_Manager& manager) noexcept : NUV_Decode(manager, method) {}

NUV_Engine* NUV_DecodeJPEG::engine(NUV_Engine* previous, const NUV_DecodeJPEGOption* option)
{
    option_ = option;
    NUV_Engine* decoder = engine(previous);
    option_ = nullptr;
    return decoder;
}

NUV_Engine* NUV_DecodeJPEG::append_decoder(NUV_Engine& previous)
{
    if (previous.header()->encode_type() != encode_type())
        return fail(manager(), NUV_ERR_UNSUPPORTED, method);

    // The decoder has a hold of its own on the storage.
    const auto stream = make_initiated<NUV_DstEngineInputStorage>(manager(), &previous);
    if (!stream)
        return nullptr;
    NUV_JPEGInfo info(manager());
    const bool loaded =
        info.load(stream.get(), NUV_ColorType::unknown, option_ ? &option_->tables() : nullptr,
                  option_ ? option_->restart_rows() : 0);
    if (!loaded)
        return fail(manager(), NUV_ERR_FORMAT, method);
    return NUV_ReadJPEG(manager()).engine(stream.get(), &info,
                                          option_ ? option_->scale() : NUV_JPEGInfo::full_scale);
}

} // namespace nuv
