#include "core/tiff/source/nuv_tiffjpegstrips.h"

#include "core/jpeg/nuv_decodejpeg.h"
#include "core/jpeg/nuv_readjpeg.h"
#include "core/tiff/source/nuv_mirroredinputstorage.h"
#include "core/tiff/source/nuv_tiffstrips.h"
#include "framework/base/nuv_failure.h"
#include "framework/base/nuv_status.h"
#include "framework/io/nuv_bytearrayinputstorage.h"
#include "framework/io/nuv_inputstoragebound.h"
#include "framework/io/nuv_moveinmoveoutinputstorage.h"

namespace nuv {
namespace {

using Compression = NUV_TIFFAttributes::Compression;

// The strips of an image, each of them shown by the same bound. Others may move the storage.
class JPEGStrips final : public NUV_JPEGStreams {
public:
    explicit JPEGStrips(NUV_Manager& manager) noexcept : NUV_JPEGStreams(manager), places_(manager)
    {}
    bool cleanup() override { return true; }

    [[nodiscard]] bool initiate(NUV_InputStorage* storage, const NUV_TIFFInfo& info,
                                const NUV_TIFFStrips& strips);

    [[nodiscard]] std::size_t size() const noexcept override { return places_.size(); }
    [[nodiscard]] NUV_InputStorage* open(std::size_t index) override;
    [[nodiscard]] bool accepts(NUV_JPEGInfo& jpeg, std::size_t index) override;

private:
    struct Place {
        std::uint32_t offset;
        std::uint32_t bytes; // 0: to the end of the storage
    };

    NUV_Vector<Place> places_;
    std::uint16_t channels_ = 0;
    std::uint16_t bits_ = 0;
    const NUV_ColorType* color_ = nullptr; // which the strips cannot tell; null where they can
    bool may_be_reversed_ = false;         // the bits of the bytes
    NUV_Held<NUV_MoveInMoveOutInputStorage> own_;
    NUV_Held<NUV_InputStorageBound> strip_;
    NUV_Held<NUV_MirroredInputStorage> mirrored_; // over that
};

bool JPEGStrips::initiate(NUV_InputStorage* storage, const NUV_TIFFInfo& info,
                          const NUV_TIFFStrips& strips)
{
    if (!places_.reserve(strips.size()))
        return false;
    for (std::size_t i = 0; i < strips.size(); ++i) {
        const NUV_TIFFStrip strip = strips[i];
        static_cast<void>(places_.push_back({strip.offset, strip.bytes}));
    }
    channels_ = info.channels();
    bits_ = info.bits();
    // That of a palette comes behind the joined strips.
    if (info.compression == Compression::jpeg && info.palette().is_empty())
        color_ = info.color_type();
    may_be_reversed_ = info.fill_order == NUV_TIFFAttributes::FillOrder::low_bit_first;
    own_ = make_initiated<NUV_MoveInMoveOutInputStorage>(manager(), storage, 0);
    if (own_)
        strip_ = make_initiated<NUV_InputStorageBound>(manager(), own_.get(), 0, 0);
    if (strip_ && may_be_reversed_)
        mirrored_ = make_initiated<NUV_MirroredInputStorage>(manager(), strip_.get());
    return strip_ && (mirrored_ || !may_be_reversed_);
}

NUV_InputStorage* JPEGStrips::open(std::size_t index)
{
    const Place place = places_[index];
    if (!check_tiff_begin(manager(), *own_, place.offset, index, size()))
        return nullptr;
    const auto [begin, end] = tiff_range(*own_, {.offset = place.offset, .bytes = place.bytes});
    if (!own_->to(begin) || !strip_->set_remain(begin, end))
        return nullptr;
    // Most writers store JPEG strips plainly, whatever the tag says.
    if (may_be_reversed_ && !begins_as_jpeg(*strip_))
        return mirrored_.get();
    return strip_.get();
}

bool JPEGStrips::accepts(NUV_JPEGInfo& jpeg, std::size_t index)
{
    if (jpeg.channels() != channels_ || jpeg.bits() != bits_)
        return fail(manager(), NUV_ERR_INVALID_DATA, "NUV_ReadTIFF::engine()",
                    NUV_Diagnosis().says("strip %zu of %zu has %u x %u bits, the directory %u x %u",
                                         index + 1, size(), unsigned{jpeg.channels()},
                                         unsigned{jpeg.bits()}, unsigned{channels_},
                                         unsigned{bits_}));
    if (color_)
        jpeg.color_type(color_);
    return true;
}

// TIFF Technical Note 2: what the strips have in common.
bool load_tables(const NUV_TIFFInfo& info, NUV_JPEGTableInfo& tables)
{
    if (info.compression != Compression::jpeg || info.jpeg_tables.empty())
        return true;
    const auto bytes = make_initiated<NUV_ByteArrayInputStorage>(
        info.manager(), info.jpeg_tables.data(),
        static_cast<std::int32_t>(info.jpeg_tables.size()));
    return bytes && tables.load(bytes.get());
}

// Old-style streams that are cut into strips begin anew with each of them, and may not say so.
std::uint32_t restart_rows(const NUV_TIFFInfo& info) noexcept
{
    const std::uint64_t end =
        std::uint64_t{info.jpeg_interchange_format} + info.jpeg_interchange_format_length;
    return info.compression == Compression::old_jpeg && end < info.strip_offsets[0]
               ? info.rows_per_strip
               : 0;
}

} // namespace

NUV_Engine* read_tiff_jpeg_strips(NUV_Manager& manager, NUV_InputStorage* storage,
                                  const NUV_TIFFInfo& info)
{
    const NUV_TIFFStrips strips(info);
    if (!strips.check_count(manager))
        return nullptr;
    NUV_JPEGTableInfo tables(manager);
    if (!load_tables(info, tables))
        return nullptr;
    const auto streams = make_initiated<JPEGStrips>(manager, storage, info, strips);
    const NUV_DecodeJPEGOption option(tables, restart_rows(info), NUV_JPEGInfo::full_scale);
    return streams ? NUV_ReadJPEG(manager).engine(streams.get(), option) : nullptr;
}

} // namespace nuv
