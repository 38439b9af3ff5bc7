#include "core/tiff/source/nuv_tiffjpegstrips.h"

#include "core/jpeg/nuv_decodejpeg.h"
#include "core/jpeg/nuv_readjpeg.h"
#include "core/tiff/source/nuv_tiffstrips.h"
#include "framework/base/nuv_failure.h"
#include "framework/base/nuv_status.h"
#include "framework/io/nuv_bytearrayinputstorage.h"

namespace nuv {
namespace {

using Compression = NUV_TIFFAttributes::Compression;

// Builds the engines, all with the same tables.
class JPEGStrips {
public:
    JPEGStrips(NUV_Manager& manager, const NUV_TIFFInfo& info) noexcept
        : manager_(manager),
          info_(info),
          tables_(manager)
    {}

    [[nodiscard]] bool load_tables();
    [[nodiscard]] NUV_Engine* read(NUV_InputStorage* storage, const NUV_TIFFStrips& strips,
                                   std::size_t index);

private:
    [[nodiscard]] std::uint32_t restart_rows() const noexcept;

    NUV_Manager& manager_;
    const NUV_TIFFInfo& info_;
    NUV_JPEGTableInfo tables_;
};

// TIFF Technical Note 2: what the strips have in common.
bool JPEGStrips::load_tables()
{
    if (info_.compression != Compression::jpeg || info_.jpeg_tables.empty())
        return true;
    const auto bytes = make_initiated<NUV_ByteArrayInputStorage>(
        manager_, info_.jpeg_tables.data(), static_cast<std::int32_t>(info_.jpeg_tables.size()));
    return bytes && tables_.load(bytes.get());
}

// Old-style streams that are cut into strips begin anew with each of them, and may not say so.
std::uint32_t JPEGStrips::restart_rows() const noexcept
{
    const std::uint64_t end =
        std::uint64_t{info_.jpeg_interchange_format} + info_.jpeg_interchange_format_length;
    return info_.compression == Compression::old_jpeg && end < info_.strip_offsets[0]
               ? info_.rows_per_strip
               : 0;
}

NUV_Engine* JPEGStrips::read(NUV_InputStorage* storage, const NUV_TIFFStrips& strips,
                             std::size_t index)
{
    const auto stored = open_tiff_strip(manager_, storage, strips, index);
    NUV_Held<NUV_InputStorage> mirrored;
    NUV_InputStorage* const stream =
        stored ? turn_tiff_bits(manager_, stored.get(), info_, mirrored) : nullptr;
    if (!stream)
        return nullptr;
    NUV_JPEGInfo jpeg(manager_);
    const NUV_DecodeJPEGOption option(tables_, restart_rows(), NUV_JPEGInfo::full_scale);
    if (!jpeg.load(stream, NUV_ColorType::unknown, &tables_, option.restart_rows()))
        return fail(manager_, NUV_ERR_FORMAT, "NUV_DecodeJPEG::engine()");
    if (jpeg.channels() != info_.channels() || jpeg.bits() != info_.bits())
        return fail(manager_, NUV_ERR_INVALID_DATA, "NUV_ReadTIFF::engine()",
                    NUV_Diagnosis().says("strip %zu of %zu has %u x %u bits, the directory %u x %u",
                                         index + 1, strips.size(), unsigned{jpeg.channels()},
                                         unsigned{jpeg.bits()}, unsigned{info_.channels()},
                                         unsigned{info_.bits()}));
    // A strip cannot tell its colour itself; that of a palette comes behind the joined strips.
    if (info_.compression == Compression::jpeg && info_.palette().is_empty())
        jpeg.color_type(info_.color_type());
    return NUV_ReadJPEG(manager_).engine(stream, &jpeg, option);
}

} // namespace

bool read_tiff_jpeg_strips(NUV_Manager& manager, NUV_InputStorage* storage,
                           const NUV_TIFFInfo& info, NUV_Vector<NUV_Engine*>& engines)
{
    const NUV_TIFFStrips strips(info);
    if (!strips.check_count(manager))
        return false;
    JPEGStrips jpeg(manager, info);
    if (!jpeg.load_tables())
        return false;
    for (std::size_t i = 0; i < strips.size(); ++i) {
        NUV_Engine* engine = jpeg.read(storage, strips, i);
        if (!engine || !engines.push_back(engine))
            return false;
    }
    return true;
}

} // namespace nuv
