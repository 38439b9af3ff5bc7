#include "core/readraster/nuv_readraster.h"

#include "core/readraster/source/nuv_formatlist.h"
#include "core/tiff/nuv_readtiff.h"
#include "core/tiff/nuv_tiffinfo.h"
#include "framework/base/nuv_failure.h"
#include "framework/base/nuv_held.h"

namespace nuv {

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
    NUV_JPEGReadHeader known;
    for (const NUV_FormatRow& format : single_image_formats()) {
        begin_probe();
        const NUV_ReadAttempt attempt = format.read(manager(), storage, known);
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
    NUV_JPEGReadHeader known;
    for (const NUV_FormatRow& format : single_image_formats()) {
        begin_probe();
        if (NUV_FormatInfo* info = format.load_info(manager(), storage, known))
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
    entry_ = NUV_Report(manager());
    kept_ = entry_;
}

// Each probe starts from the status that stood before the search: a reader cannot be built upon
// the error of a probe that only found out that the data is not its own.
void NUV_ReadRaster::begin_probe()
{
    manager().reset();
    entry_.raise_again(manager());
}

// Adds what a refusing probe has raised to what is kept, by the rule of the error handler.
void NUV_ReadRaster::keep_refusal()
{
    const NUV_Report raised(manager());
    manager().reset();
    kept_.raise_again(manager());
    raised.raise_again(manager());
    kept_ = NUV_Report(manager());
}

// The format is known, so what its reader says counts, and not what other probes said.
void NUV_ReadRaster::keep_reader_failure()
{
    kept_ = NUV_Report(manager());
    is_over_ = true;
}

void NUV_ReadRaster::end_search(const char* method)
{
    manager().reset();
    kept_.raise_again(manager());
    fail(manager(), NUV_ERR_UNSUPPORTED, method, nothing_seen());
}

// A probe that has seen its signature tells what is wrong behind it. Here none has.
NUV_Diagnosis NUV_ReadRaster::nothing_seen() const
{
    NUV_Diagnosis why;
    why.because(NUV_Cause::unknown_kind).at_byte(start_);
    std::uint8_t first[4] = {};
    const bool there = storage_->to(start_);
    const std::int32_t got = there ? storage_->read(first, sizeof(first)) : 0;
    static_cast<void>(storage_->to(start_));
    if (got == std::int32_t{sizeof(first)})
        return why.says("it starts with %02x %02x %02x %02x", first[0], first[1], first[2],
                        first[3]);
    return got == 0 ? why.says("it is empty") : why.says("it has only %d bytes", int{got});
}

} // namespace nuv
