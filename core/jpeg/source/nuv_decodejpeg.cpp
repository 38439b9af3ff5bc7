#include "core/jpeg/nuv_decodejpeg.h"

#include "core/jpeg/nuv_readjpeg.h"
#include "core/storage/nuv_dstengineinputstorage.h"
#include "framework/base/nuv_failure.h"
#include "framework/base/nuv_held.h"
#include "framework/base/nuv_status.h"

namespace nuv {

NUV_Engine* NUV_DecodeJPEG::engine(NUV_Engine* previous)
{
    return engine(previous, nullptr);
}

NUV_Engine* NUV_DecodeJPEG::engine(NUV_Engine* previous, const NUV_DecodeJPEGOption* option)
{
    constexpr auto method = "NUV_DecodeJPEG::engine()";

    const NUV_Header* header = previous ? previous->header() : nullptr;
    if (!header)
        return fail(manager(), NUV_ERR_ARGUMENT, method);
    if (header->is_raw())
        return previous;
    if (header->encode_type() != NUV_EncodeType::jpeg)
        return fail(manager(), NUV_ERR_UNSUPPORTED, method);

    // The decoder has a hold of its own on the storage.
    const auto stream = make_initiated<NUV_DstEngineInputStorage>(manager(), previous);
    if (!stream)
        return nullptr;
    NUV_JPEGInfo info(manager());
    const bool loaded =
        info.load(stream.get(), NUV_ColorType::unknown, option ? &option->tables() : nullptr,
                  option ? option->restart_rows() : 0);
    if (!loaded)
        return fail(manager(), NUV_ERR_FORMAT, method);
    return NUV_ReadJPEG(manager()).engine(stream.get(), &info,
                                          option ? option->scale() : NUV_JPEGInfo::full_scale);
}

} // namespace nuv
