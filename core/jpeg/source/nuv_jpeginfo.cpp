#include "core/jpeg/nuv_jpeginfo.h"

#include "core/jpeg/source/nuv_jpeginfointernal.h"
#include "framework/base/nuv_failure.h"
#include "framework/base/nuv_held.h"
#include "framework/base/nuv_status.h"

#include <utility>

namespace nuv {

NUV_JPEGTableInfo::~NUV_JPEGTableInfo() = default;

bool NUV_JPEGTableInfo::load(NUV_InputStorage* storage)
{
    internal_.reset();
    auto loaded = make_initiated<NUV_JPEGTableInfoInternal>(manager(), storage);
    if (!loaded)
        return false;
    internal_ = NUV_JPEGReference(loaded.release());
    return true;
}

const NUV_JPEGTableInfoInternal* NUV_JPEGTableInfo::internal() const noexcept
{
    return static_cast<const NUV_JPEGTableInfoInternal*>(internal_.get());
}

NUV_JPEGInfo::NUV_JPEGInfo(NUV_Manager& manager) noexcept : NUV_FormatInfo(manager) {}

NUV_JPEGInfo::~NUV_JPEGInfo() = default;

const NUV_JPEGInfoInternal* NUV_JPEGInfo::internal() const noexcept
{
    return static_cast<const NUV_JPEGInfoInternal*>(header_.internal.get());
}

bool NUV_JPEGInfo::load_internal(NUV_InputStorage* storage)
{
    return load_stream(storage, NUV_ColorType::unknown, nullptr, 0);
}

bool NUV_JPEGInfo::load(NUV_InputStorage* storage, const NUV_ColorType* color,
                        const NUV_JPEGTableInfo* tables, std::uint32_t restart_rows)
{
    if (!storage || storage->is_closed()) {
        unload();
        return load_stream(storage, color, tables, restart_rows);
    }
    return load_by(storage, [&](NUV_InputStorage* open) {
        return load_stream(open, color, tables, restart_rows);
    });
}

bool NUV_JPEGInfo::load_stream(NUV_InputStorage* storage, const NUV_ColorType* color,
                               const NUV_JPEGTableInfo* tables, std::uint32_t restart_rows)
{
    constexpr auto method = "NUV_JPEGInfo::load()";

    const NUV_JPEGReadHeader known = std::exchange(known_, {});
    header_ = {};
    if (!storage || storage->is_closed())
        return fail(manager(), NUV_ERR_ARGUMENT, method);
    const std::int32_t start = storage->position();
    const NUV_JPEGTableInfoInternal* given = tables ? tables->internal() : nullptr;
    const bool is_told_more = color != NUV_ColorType::unknown || given || restart_rows != 0;
    if (known.internal && known.begin == start && !is_told_more && storage->to(known.end)) {
        header_ = known;
    } else if (auto loaded = make_initiated<NUV_JPEGInfoInternal>(manager(), storage, color, given,
                                                                  restart_rows)) {
        header_ = {NUV_JPEGReference(loaded.release()), start, storage->position()};
    }
    bool good = header_.internal && update();
    if (good && width() == 0)
        good = fail(manager(), NUV_ERR_INVALID_DATA, method,
                    NUV_Diagnosis().says("the frame has no width"));
    if (!good)
        static_cast<void>(storage->to(start));
    return good;
}

bool NUV_JPEGInfo::update()
{
    const NUV_JPEGFrame& frame = internal()->frame();
    width(frame.width);
    height(frame.height);
    channels(static_cast<std::uint16_t>(frame.components));
    bits(frame.precision);
    data_type(NUV_DataType::u_integer);
    encode_type(NUV_EncodeType::jpeg);
    is_jfif_ = internal()->has_jfif();
    is_exif_ = internal()->has_exif();
    is_g3fax_ = internal()->has_g3fax();
    is_adobe_ = internal()->has_adobe();
    return update_color();
}

bool NUV_JPEGInfo::update_color()
{
    const NUV_JPEGColor code = internal()->color_code();
    if (code != NUV_JPEGColor::not_set) {
        color_type(color_of_jpeg(code));
        return true;
    }
    switch (channels()) {
    case 1:
        color_type(NUV_ColorType::gray);
        return true;
    case 3:
        color_type(is_lossless() ? NUV_ColorType::s_rgb : NUV_ColorType::ycbcr);
        return true;
    case 4:
        color_type(NUV_ColorType::cmyk);
        return true;
    default:
        return fail(manager(), NUV_ERR_INVALID_DATA, "NUV_JPEGInfo::update()",
                    channels() == 0
                        ? NUV_Diagnosis().says("the header ends without a frame")
                        : NUV_Diagnosis().says("a frame of %u components", unsigned{channels()}));
    }
}

std::uint8_t NUV_JPEGInfo::frame_marker() const noexcept
{
    return header_.internal ? internal()->frame().start_marker : std::uint8_t{0};
}

bool NUV_JPEGInfo::is_progressive() const noexcept
{
    return header_.internal && internal()->is_progressive();
}

bool NUV_JPEGInfo::is_lossless() const noexcept
{
    return header_.internal && internal()->is_lossless();
}

std::uint16_t NUV_JPEGInfo::precision() const noexcept
{
    return header_.internal ? internal()->frame().precision : std::uint16_t{0};
}

std::uint32_t NUV_JPEGInfo::sampling() const noexcept
{
    return header_.internal ? internal()->sampling() : 0;
}

std::int32_t NUV_JPEGInfo::quality_estimate() const noexcept
{
    return header_.internal ? internal()->quality_estimate() : -1;
}

std::uint32_t NUV_JPEGInfo::color_code() const noexcept
{
    const auto code = header_.internal ? internal()->color_code() : NUV_JPEGColor::not_set;
    return static_cast<std::uint32_t>(code);
}

NUV_Diagnosis NUV_JPEGInfo::not_served() const noexcept
{
    return header_.internal ? internal()->not_served() : NUV_Diagnosis();
}

std::size_t NUV_JPEGInfo::segment_count() const noexcept
{
    return header_.internal ? internal()->marker_count() : 0;
}

NUV_JPEGSegment NUV_JPEGInfo::segment(std::size_t index) const noexcept
{
    if (index >= segment_count())
        return {};
    const NUV_JPEGMarker& marker = internal()->marker(index);
    return {marker.id, marker.payload};
}

} // namespace nuv
