#include "core/readraster/nuv_readraster.h"

#include "core/readraster/source/nuv_formatlist.h"
#include "core/tiff/nuv_readtiff.h"
#include "core/tiff/nuv_tiffinfo.h"
#include "framework/base/nuv_failure.h"
#include "framework/base/nuv_held.h"

namespace nuv {
namespace {

void raise_again(NUV_Manager& manager, const NUV_Status& status)
{
    manager.raise(status.code, status.method, status.file, status.line);
}

} // namespace

NUV_ReadRaster::NUV_ReadRaster(NUV_Manager& manager) noexcept
    : NUV_EngineCreator(manager),
      entry_(manager),
      kept_(manager)
{}

NUV_Engine* NUV_ReadRaster::engine(NUV_InputStorage* storage, std::uint32_t page)
{
    constexpr auto method = "NUV_ReadRaster::engine()";

    if (!storage || storage->is_closed())
        return fail(manager(), NUV_ERR_ARGUMENT, method);
    begin_search(storage);
    if (page == 0) {
        if (NUV_Engine* found = engine_single_image(storage))
            return found;
    }
    if (!is_over_) {
        if (NUV_Engine* found = engine_tiff(storage, page))
            return found;
    }
    end_search(method);
    return nullptr;
}

NUV_FormatInfo* NUV_ReadRaster::format_info(NUV_InputStorage* storage, std::uint32_t page)
{
    constexpr auto method = "NUV_ReadRaster::format_info()";

    if (!storage || storage->is_closed())
        return fail(manager(), NUV_ERR_ARGUMENT, method);
    begin_search(storage);
    if (page == 0) {
        if (NUV_FormatInfo* found = format_info_single_image(storage))
            return found;
    }
    if (NUV_FormatInfo* found = format_info_tiff(storage, page))
        return found;
    end_search(method);
    return nullptr;
}

NUV_Engine* NUV_ReadRaster::engine_single_image(NUV_InputStorage* storage)
{
    for (const NUV_FormatRow& format : single_image_formats()) {
        begin_probe();
        const NUV_ReadAttempt attempt = format.read(manager(), storage);
        if (attempt.engine)
            return attempt.engine;
        if (attempt.accepted) {
            keep_reader_failure();
            return nullptr;
        }
        keep_refusal();
    }
    return nullptr;
}

NUV_FormatInfo* NUV_ReadRaster::format_info_single_image(NUV_InputStorage* storage)
{
    for (const NUV_FormatRow& format : single_image_formats()) {
        begin_probe();
        if (NUV_FormatInfo* info = format.load_info(manager(), storage))
            return info;
        keep_refusal();
    }
    return nullptr;
}

// The format with several images to a file is tried behind all others, and alone for a page above
// 0.
NUV_Engine* NUV_ReadRaster::engine_tiff(NUV_InputStorage* storage, std::uint32_t page)
{
    begin_probe();
    NUV_TIFFInfo info(manager());
    if (!info.load(storage, page)) {
        keep_refusal();
        return nullptr;
    }
    NUV_Engine* engine = NUV_ReadTIFF(manager()).engine(storage, &info, /*to_qdrle=*/false);
    if (!engine)
        keep_reader_failure();
    return engine;
}

NUV_FormatInfo* NUV_ReadRaster::format_info_tiff(NUV_InputStorage* storage, std::uint32_t page)
{
    begin_probe();
    NUV_Held<NUV_TIFFInfo> info = make_object<NUV_TIFFInfo>(manager());
    if (info && info->load(storage, page))
        return info.release();
    keep_refusal();
    return nullptr;
}

void NUV_ReadRaster::begin_search(NUV_InputStorage* storage)
{
    storage_ = storage;
    start_ = storage->position();
    is_over_ = false;
    entry_ = manager().status();
    kept_ = entry_;
}

// Each probe starts from the status that stood before the search: a reader cannot be built upon
// the error of a probe that only found out that the data is not its own.
void NUV_ReadRaster::begin_probe()
{
    manager().reset();
    raise_again(manager(), entry_);
}

// Adds what a refusing probe has raised to what is kept, by the rule of the error handler.
void NUV_ReadRaster::keep_refusal()
{
    const NUV_Status raised = manager().status();
    manager().reset();
    raise_again(manager(), kept_);
    raise_again(manager(), raised);
    kept_ = manager().status();
}

// The format is known, so what its reader says counts, and not what other probes said.
void NUV_ReadRaster::keep_reader_failure()
{
    kept_ = manager().status();
    is_over_ = true;
    static_cast<void>(storage_->to(start_));
}

void NUV_ReadRaster::end_search(const char* method)
{
    manager().reset();
    raise_again(manager(), kept_);
    fail(manager(), NUV_ERR_UNSUPPORTED, method);
}

} // namespace nuv
