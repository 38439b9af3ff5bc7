#include "core/tiff/nuv_readtiffcode.h"

#include "core/tiff/source/nuv_tiffstrips.h"
#include "framework/base/nuv_failure.h"
#include "framework/base/nuv_status.h"

namespace nuv {
namespace {

constexpr auto engine_method = "NUV_ReadTIFFCode::engine()";

} // namespace

NUV_Vector<NUV_Engine*> NUV_ReadTIFFCode::engine(NUV_InputStorage* storage, std::uint32_t page)
{
    NUV_TIFFInfo info(manager());
    if (info.load(storage, page))
        return engine(storage, &info);
    fail(manager(), NUV_ERR_FORMAT, engine_method);
    return NUV_Vector<NUV_Engine*>(manager());
}

NUV_Vector<NUV_Engine*> NUV_ReadTIFFCode::engine(NUV_InputStorage* storage,
                                                 const NUV_TIFFInfo* info, Palettes palettes)
{
    if (!info || !info->loaded() || !info->is_valid() || !storage || storage->is_closed())
        fail(manager(), NUV_ERR_ARGUMENT, engine_method);
    else if (!check_src_condition(*info))
        fail(manager(), NUV_ERR_UNSUPPORTED, engine_method);
    else
        return create_engine(storage, *info, palettes);
    return NUV_Vector<NUV_Engine*>(manager());
}

bool NUV_ReadTIFFCode::check_src_condition(const NUV_TIFFInfo& info)
{
    const bool is_laid_out = check_tiff_layout(
        manager(), info,
        "NUV_ReadTIFFCode::check_src_condition()- plane-order but samples-per-pixel == 1.",
        "NUV_ReadTIFFCode::check_src_condition() - SubIFD(child images) is not supported. In this "
        "cace, you can get only primary image.");
    return is_laid_out && info.channels() == info.samples_per_pixel;
}

NUV_Vector<NUV_Engine*> NUV_ReadTIFFCode::create_engine(NUV_InputStorage* storage,
                                                        const NUV_TIFFInfo& info, Palettes palettes)
{
    NUV_Vector<NUV_Engine*> engines(manager());
    const NUV_TIFFStrips strips(info);
    const bool keeps_palette = palettes == Palettes::kept;
    const std::uint64_t palette_bytes = keeps_palette ? info.palette().stored_bytes() : 0;
    if (!strips.check_count(manager()))
        return engines;
    if (strips.size() * palette_bytes > most_palette_bytes) {
        fail(manager(), NUV_ERR_UNSUPPORTED, engine_method);
        return engines;
    }
    NUV_Header header(manager());
    bool good = describe_tiff_strip(header, info, keeps_palette) && engines.reserve(strips.size());
    for (std::size_t i = 0; good && i < strips.size(); ++i) {
        const NUV_TIFFStrip strip = strips[i];
        header.width(strip.width);
        header.height(strip.height);
        const auto bytes = open_tiff_strip(manager(), storage, strips, i);
        NUV_Engine* engine =
            bytes ? read_tiff_bytes(manager(), bytes.get(), header, info) : nullptr;
        good = engine && engines.push_back(engine);
    }
    if (!good)
        end_engines(engines);
    return engines;
}

} // namespace nuv
