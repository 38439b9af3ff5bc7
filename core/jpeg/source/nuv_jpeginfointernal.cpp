#include "core/jpeg/source/nuv_jpeginfointernal.h"

#include "core/jpeg/source/nuv_jpegregiststatus.h"
#include "core/jpeg/source/nuv_jpegstorageaccess.h"
#include "core/jpeg/stream/nuv_jpegstandardtables.h"
#include "framework/base/nuv_status.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdio>
#include <numeric>

namespace nuv {
namespace {

struct ColorRow {
    NUV_JPEGColor code;
    const NUV_ColorType* const* color;
};

constexpr ColorRow colors[] = {
    {NUV_JPEGColor::s_rgb, &NUV_ColorType::s_rgb},
    {NUV_JPEGColor::ycbcr, &NUV_ColorType::ycbcr},
    {NUV_JPEGColor::itu_lab, &NUV_ColorType::itu_lab},
    {NUV_JPEGColor::gray, &NUV_ColorType::gray},
    {NUV_JPEGColor::gray_reverse, &NUV_ColorType::gray_reverse},
    {NUV_JPEGColor::lstar, &NUV_ColorType::lstar},
    {NUV_JPEGColor::cmyk, &NUV_ColorType::cmyk},
    {NUV_JPEGColor::cmy, &NUV_ColorType::cmy},
    {NUV_JPEGColor::icc_lab, &NUV_ColorType::icc_lab},
};

constexpr std::string_view jfif_begin("JFIF\0", 5);
constexpr std::string_view exif_begin("Exif");
constexpr std::string_view g3fax_begin("G3FAX\0", 6);
constexpr std::string_view adobe_begin("Adobe");

constexpr std::uint8_t app1 = jpeg_marker_app0 + 1;
constexpr std::uint8_t app14 = jpeg_marker_app0 + 14;

bool is_open(const NUV_InputStorage* storage)
{
    return storage && !storage->is_closed();
}

} // namespace

const NUV_JPEGMarker* find_jpeg_marker(const NUV_JPEGMarkerList& list, std::uint8_t id,
                                       std::size_t least_bytes, std::string_view begin) noexcept
{
    for (const NUV_JPEGMarker& marker : list.items()) {
        if (marker.id == id && marker.payload.size() >= std::max(least_bytes, begin.size()) &&
            std::equal(begin.begin(), begin.end(), marker.payload.begin()))
            return &marker;
    }
    return nullptr;
}

NUV_JPEGColor jpeg_color_of(const NUV_ColorType* color) noexcept
{
    for (const ColorRow& row : colors) {
        if (*row.color == color)
            return row.code;
    }
    return NUV_JPEGColor::not_set;
}

const NUV_ColorType* color_of_jpeg(NUV_JPEGColor color) noexcept
{
    for (const ColorRow& row : colors) {
        if (row.code == color)
            return *row.color;
    }
    return NUV_ColorType::unknown;
}

bool NUV_JPEGTableInfoInternal::initiate(NUV_InputStorage* storage)
{
    constexpr auto method = "NUV_JPEGTableInfoInternal::initiate()";

    if (!is_open(storage))
        return fail(manager(), NUV_ERR_ARGUMENT, method);
    if (!manager().depend(this, storage))
        return false;
    NUV_JPEGCode code =
        decoder_.open(jpeg_allocator_of(manager()), jpeg_source_of(storage), manager().cpu());
    if (is_good(code))
        code = decoder_.read_tables();
    const NUV_Diagnosis why = jpeg_header_trouble(code, decoder_.header());
    if (code == NUV_JPEGCode::no_jpeg)
        return fail(manager(), NUV_ERR_BROKEN_DATA, method,
                    NUV_Diagnosis().says("the JPEG tables are no JPEG stream"));
    if (code == NUV_JPEGCode::io)
        code = NUV_JPEGCode::read_failed;
    else if (code == NUV_JPEGCode::read_failed)
        code = NUV_JPEGCode::bad_marker;
    NUV_Diagnosis told;
    return nuv_jpegregiststatus(manager(), code, method,
                                told.says("the JPEG tables: %.90s", why.text));
}

bool NUV_JPEGTableInfoInternal::cleanup()
{
    decoder_.close();
    return true;
}

bool NUV_JPEGInfoInternal::initiate(NUV_InputStorage* storage, const NUV_ColorType* color,
                                    const NUV_JPEGTableInfoInternal* tables,
                                    std::uint32_t restart_rows)
{
    if (!is_open(storage))
        return fail(manager(), NUV_ERR_ARGUMENT, "NUV_JPEGInfoInternal::initiate()");
    if (!manager().depend(this, storage))
        return false;
    decoder_.set_output_color(jpeg_color_of(color));
    decoder_.set_restart_rows(restart_rows);
    NUV_JPEGCode code =
        decoder_.open(jpeg_allocator_of(manager()), jpeg_source_of(storage), manager().cpu());
    if (is_good(code))
        code = decoder_.read_header(tables ? &tables->tables() : nullptr);
    // Strips are many: a header without trouble costs no text.
    return is_good(code) ||
           raise(code, "get_jpeginfo()", jpeg_header_trouble(code, decoder_.header()));
}

bool NUV_JPEGInfoInternal::finish()
{
    decoder_.close();
    return true;
}

bool NUV_JPEGInfoInternal::cleanup()
{
    return finish();
}

// Writers multiply the table of annex K by 2 - quality / 50, or below 50 by 50 / quality.
std::int32_t NUV_JPEGInfoInternal::quality_estimate() const noexcept
{
    const NUV_JPEGHeader& header = decoder_.header();
    const std::size_t destination = frame().component[0].quantiser;
    if (is_lossless() || destination >= NUV_JPEGStoredTables::destinations ||
        !header.tables().quantisers[destination].defined)
        return -1;
    const auto sum = [](const auto& table) {
        return std::accumulate(table.begin(), table.end(), 0);
    };
    const int stored = sum(header.tables().quantisers[destination].values);
    const double factor = static_cast<double>(stored) / sum(jpeg_standard_luminance_quantisers);
    if (stored <= 64) // ones, the least there can be
        return 100;
    return static_cast<std::int32_t>(std::lround(factor <= 1 ? 100 - 50 * factor : 50 / factor));
}

bool NUV_JPEGInfoInternal::has_jfif() const noexcept
{
    constexpr std::size_t least_bytes = 5;
    return find_jpeg_marker(decoder_.header().markers(), jpeg_marker_app0, least_bytes,
                            jfif_begin) != nullptr;
}

bool NUV_JPEGInfoInternal::has_exif() const noexcept
{
    constexpr std::size_t least_bytes = 6;
    return find_jpeg_marker(decoder_.header().markers(), app1, least_bytes, exif_begin) != nullptr;
}

bool NUV_JPEGInfoInternal::has_g3fax() const noexcept
{
    constexpr std::size_t least_bytes = 10;
    return find_jpeg_marker(decoder_.header().markers(), app1, least_bytes, g3fax_begin) != nullptr;
}

bool NUV_JPEGInfoInternal::has_adobe() const noexcept
{
    constexpr std::size_t least_bytes = 12;
    return find_jpeg_marker(decoder_.header().markers(), app14, least_bytes, adobe_begin) !=
           nullptr;
}

NUV_JPEGCode NUV_JPEGInfoInternal::start_decode(std::uint32_t scale, NUV_JPEGScanTables* tables)
{
    decoder_.set_tables(tables);
    decoder_.set_scale(scale);
    decoder_.set_mends(manager().mends());
    return decoder_.start_decode();
}

NUV_JPEGCode NUV_JPEGInfoInternal::read_line(void* line, bool in_planes)
{
    return decoder_.read_line(static_cast<std::uint8_t*>(line), in_planes);
}

std::optional<std::uint32_t> NUV_JPEGInfoInternal::take_left_over()
{
    return decoder_.take_left_over();
}

NUV_Diagnosis NUV_JPEGInfoInternal::not_served() const noexcept
{
    return jpeg_not_served(decoder_.header());
}

NUV_Diagnosis NUV_JPEGInfoInternal::not_started(NUV_JPEGCode code) const noexcept
{
    NUV_Diagnosis why;
    if (code == NUV_JPEGCode::unsupported)
        return not_served();
    if (code == NUV_JPEGCode::bad_segment)
        return why.says("a table that its scan needs is missing or has no meaning");
    if (code == NUV_JPEGCode::read_failed)
        return why.says("%u x %u pixels, which is more than its data can hold",
                        unsigned{frame().width}, unsigned{frame().height});
    return why.says("a form that its scan cannot have here");
}

bool NUV_JPEGInfoInternal::raise(NUV_JPEGCode code, const char* name, const NUV_Diagnosis& why,
                                 NUV_Here here)
{
    if (is_good(code))
        return true;
    std::array<char, 64> method{};
    std::snprintf(method.data(), method.size(), "NUV_JPEGInfoInternal::%s", name);
    if (code == NUV_JPEGCode::io)
        code = NUV_JPEGCode::read_failed;
    return nuv_jpegregiststatus(manager(), code, method.data(), why, here);
}

} // namespace nuv
