#include "core/channel/nuv_mergechannel.h"
#include "core/channel/nuv_selectchannel.h"
#include "core/colorspace/nuv_colorspace.h"
#include "core/convertdatatype/nuv_convertdatatype.h"
#include "core/jpeg/nuv_encodejpeg.h"
#include "core/jpeg/nuv_jpeginfo.h"
#include "core/lut/nuv_lut.h"
#include "core/lut/nuv_lutdata.h"
#include "core/mirror/nuv_mirrorx.h"
#include "core/readraster/nuv_readraster.h"
#include "core/rotate/nuv_rotate90.h"
#include "core/scale/nuv_scalecc.h"
#include "core/scale/nuv_scaleli.h"
#include "core/scale/nuv_scalenn.h"
#include "core/scale/nuv_scalepp.h"
#include "core/storage/nuv_readstorage.h"
#include "core/storage/nuv_writestorage.h"
#include "extension/readrasterex/nuv_readrasterex.h"
#include "extension/scalei2varex/nuv_scalei2varexby.h"
#include "framework/base/nuv_failure.h"
#include "framework/base/nuv_held.h"
#include "framework/base/nuv_status.h"
#include "framework/engine/nuv_nop.h"
#include "framework/io/nuv_moveinmoveoutinputstorage.h"
#include "framework/io/nuv_outputstorage.h"
#include "wrapper/nuv_wrapper.h"

#include <array>
#include <cstddef>
#include <cstdint>
#include <limits>
#include <string_view>

using nuv::fail;
using nuv::NUV_ColorType;
using nuv::NUV_EncodeType;
using nuv::NUV_Engine;
using nuv::NUV_FormatInfo;
using nuv::NUV_Header;
using nuv::NUV_Held;
using nuv::NUV_Manager;

namespace {

constexpr auto no_memory = static_cast<std::int32_t>(nuv::NUV_ERR_MEMORY);

const NUV_ColorType* color_tag(std::int32_t code) noexcept
{
    switch (code) {
    case ColorType::eGray:
        return NUV_ColorType::gray;
    case ColorType::eGrayReverse:
        return NUV_ColorType::gray_reverse;
    case ColorType::eRGB:
        return NUV_ColorType::s_rgb;
    case ColorType::eYCbCr:
        return NUV_ColorType::ycbcr;
    default:
        return NUV_ColorType::unknown;
    }
}

std::int32_t color_code(const NUV_ColorType* tag) noexcept
{
    if (tag == NUV_ColorType::gray)
        return ColorType::eGray;
    if (tag == NUV_ColorType::gray_reverse)
        return ColorType::eGrayReverse;
    if (tag == NUV_ColorType::s_rgb || tag == NUV_ColorType::adobe_rgb)
        return ColorType::eRGB;
    if (tag == NUV_ColorType::ycbcr)
        return ColorType::eYCbCr;
    return ColorType::eUnknown;
}

const NUV_EncodeType* encode_tag(std::int32_t format) noexcept
{
    if (format == Format::eRaw)
        return NUV_EncodeType::raw;
    if (format == Format::eJPEG || format == Format::eLosslessJPEG)
        return NUV_EncodeType::jpeg;
    return NUV_EncodeType::unknown;
}

std::int32_t format_code(const NUV_EncodeType* tag) noexcept
{
    if (tag == NUV_EncodeType::raw)
        return Format::eRaw;
    if (tag == NUV_EncodeType::jpeg2000)
        return Format::eJPEG2000;
    return Format::eOther;
}

bool is_gray(std::int32_t code) noexcept
{
    return code == ColorType::eGray || code == ColorType::eGrayReverse;
}

// The result of a read: 0 with an engine, else the status without its detail, always negative.
int read_result(NUV_Manager& manager, const NUV_Engine* engine)
{
    if (engine)
        return 0;
    if (!manager.status().has_error())
        fail(manager, nuv::NUV_ERROR, "NUV_ReadRasterEx::engine()");
    return static_cast<std::int32_t>(manager.status().code & 0xFFFF0000);
}

// Where a caller's record describes the pixels of a plane or of the whole image.
void describe(NUV_Header& header, const ImageParam& param, std::uint16_t channels,
              const NUV_ColorType* color, const NUV_EncodeType* encoding)
{
    header.width(param.width);
    header.height(param.height);
    header.bits(param.bits);
    header.channels(channels);
    header.color_type(color);
    header.encode_type(encoding);
}

std::uint32_t sampling_key(std::int32_t code) noexcept
{
    switch (code) {
    case WriteJPEGOption::eSampling444:
        return 0x111111;
    case WriteJPEGOption::eSampling420:
        return 0x221111;
    case WriteJPEGOption::eSampling411:
        return 0x411111;
    default:
        return 0x211111;
    }
}

// The code of a key that has a byte for each component, with its two sampling factors.
std::int32_t sampling_code(std::uint32_t key) noexcept
{
    switch (key) {
    case 0x111111:
        return WriteJPEGOption::eSampling444;
    case 0x211111:
    case 0x121111:
        return WriteJPEGOption::eSampling422;
    case 0x221111:
        return WriteJPEGOption::eSampling420;
    case 0x411111:
    case 0x141111:
        return WriteJPEGOption::eSampling411;
    default:
        return WriteJPEGOption::eSamplingOther;
    }
}

std::int32_t jpeg_format_code(const nuv::NUV_JPEGInfo& jpeg) noexcept
{
    if (jpeg.is_lossless())
        return Format::eLosslessJPEG;
    return jpeg.is_progressive() ? Format::eProgressiveJPEG : Format::eJPEG;
}

// What a caller may know of a stored image.
ImageParam report_of(const NUV_FormatInfo& info)
{
    ImageParam param{};
    param.width = info.width();
    param.height = info.height();
    param.bits = info.bits();
    param.channels = info.channels();
    param.color = color_code(info.color_type());
    param.format = format_code(info.encode_type());
    if (const auto* jpeg = dynamic_cast<const nuv::NUV_JPEGInfo*>(&info)) {
        param.format = jpeg_format_code(*jpeg);
        param.precision = jpeg->precision();
        if (info.color_type() == NUV_ColorType::ycbcr)
            param.sampling = sampling_code(jpeg->sampling());
    }
    param.is_jfif = std::string_view(info.format_name()) == "jfif";
    return param;
}

// Brings a source back to where it stood: a chain that was built on it goes on from there.
class PositionKeeper {
public:
    explicit PositionKeeper(nuv::NUV_InputStorage& storage)
        : storage_(storage),
          position_(storage.position())
    {}
    ~PositionKeeper() { static_cast<void>(storage_.to(position_)); }
    PositionKeeper(const PositionKeeper&) = delete;
    PositionKeeper& operator=(const PositionKeeper&) = delete;

private:
    nuv::NUV_InputStorage& storage_;
    std::int32_t position_;
};

// What an operation drops before it begins a chain anew.
void drop_chain(NUV_Engine*& last_engine, nuv::NUV_Vector<NUV_Engine*>* branches)
{
    if (last_engine)
        last_engine->end();
    last_engine = nullptr;
    if (branches)
        branches->clear();
}

// The planes of a source, each over a place of its own in it. Null after a status.
NUV_Engine* read_planes(NUV_Manager& manager, nuv::NUV_InputStorage* source,
                        const ImageParam& param)
{
    constexpr std::size_t most_planes = 3;
    const std::size_t planes = is_gray(param.color) ? 1 : most_planes;
    NUV_Header header(manager);
    describe(header, param, 1, NUV_ColorType::gray, NUV_EncodeType::raw);

    // A plane without what fills up its lines. None may begin beyond the reach of a storage.
    constexpr std::uint64_t reach = std::numeric_limits<std::int32_t>::max();
    const std::uint64_t samples = std::uint64_t{param.width} * param.height;
    const std::uint64_t last_plane = planes - 1;
    const bool reachable =
        last_plane * param.bits == 0 || samples <= (reach + 1) * 8 / (last_plane * param.bits);
    const std::uint64_t plane_bytes = reachable ? (samples * param.bits) >> 3 : 0;
    if (!source || !reachable || plane_bytes * last_plane > reach)
        return fail(manager, nuv::NUV_ERR_ARGUMENT, "NUV_ReadStorage::engine()");

    std::array<NUV_Engine*, most_planes> engines{};
    for (std::size_t i = 0; i < planes; ++i) {
        // Our hold on the storage ends here; its engine has its own.
        const auto storage =
            nuv::make_initiated<nuv::NUV_MoveInMoveOutInputStorage>(manager, source);
        if (!storage)
            return nullptr;
        const auto begin = static_cast<std::int32_t>(plane_bytes * i);
        engines[i] = nuv::NUV_ReadStorage(manager).engine(storage.get(), &header, begin, 0, 1);
        if (!engines[i])
            return nullptr;
    }
    return nuv::NUV_MergeChannel(manager).engine(
        {engines.data(), planes}, planes == 1 ? NUV_ColorType::gray : NUV_ColorType::s_rgb);
}

} // namespace

int NuvWrapperClass::GetSrcImgInfo(ImageParam* param)
{
    if (!param || !src_storage)
        return -1;
    try {
        const PositionKeeper keeper(*src_storage);
        src_storage->to_begin();
        const NUV_Held<NUV_FormatInfo> info(
            nuv::NUV_ReadRasterEx(*manager).format_info(src_storage, 0));
        if (!info)
            return -1;
        *param = report_of(*info);
        return 0;
    } catch (...) {
        return -1;
    }
}

int GetImgInfo(const char* path, ImageParam* param)
{
    try {
        NuvWrapperClass wrapper;
        wrapper.SetSrcFile(path);
        wrapper.GetSrcImgInfo(param);
        return 0;
    } catch (...) {
        return -1;
    }
}

int NuvWrapperClass::ReadRaster()
{
    drop_chain(last_engine, branches);
    if (!manager)
        return no_memory;
    if (!src_storage)
        return 0;
    src_storage->to_begin();
    last_engine = nuv::NUV_ReadRasterEx(*manager).engine(src_storage, 0);
    return read_result(*manager, last_engine);
}

int NuvWrapperClass::ReadRaster(ImageParam* param)
{
    if (!manager)
        return no_memory;
    drop_chain(last_engine, branches);
    if (!param) {
        fail(*manager, nuv::NUV_ERR_ARGUMENT, "NUV_ReadRasterEx::engine()");
        return read_result(*manager, nullptr);
    }
    if (!src_storage)
        return ReadRaster();

    src_storage->to_begin();
    const NUV_Held<NUV_FormatInfo> info(
        nuv::NUV_ReadRasterEx(*manager).format_info(src_storage, 0));
    if (!info)
        return read_result(*manager, nullptr);
    ReadRaster();
    if (std::string_view(info->format_name()) == "jfif") {
        param->color = ColorType::eYCbCr;
        return 0;
    }
    const NUV_Header* header = last_engine ? last_engine->header() : nullptr;
    if (!header)
        return read_result(*manager, nullptr);

    const bool one = header->channels() == 1 && is_gray(param->color);
    const bool three = header->channels() == 3 &&
                       (param->color == ColorType::eRGB || param->color == ColorType::eYCbCr);
    if (!one && !three)
        return 0;
    NUV_Header rewritten(*manager);
    const bool copied = rewritten.copy(*header);
    rewritten.color_type(color_tag(param->color));
    last_engine =
        copied ? nuv::NUV_RewriteHeader(*manager).engine(last_engine, &rewritten) : nullptr;
    return read_result(*manager, last_engine);
}

int NuvWrapperClass::ReadStorage(ImageParam* param)
{
    drop_chain(last_engine, branches);
    if (!manager || !src_storage)
        return 0;
    src_storage->to_begin();
    last_engine = nuv::NUV_ReadRaster(*manager).engine(src_storage, 0);
    if (last_engine)
        return 0;

    // Not a file that is known: what the search said does not count.
    manager->reset();
    src_storage->to_begin();
    if (!param) {
        fail(*manager, nuv::NUV_ERR_ARGUMENT, "NUV_ReadStorage::engine()");
        return 0;
    }
    NUV_Header header(*manager);
    describe(header, *param, param->channels, color_tag(param->color), encode_tag(param->format));
    last_engine = nuv::NUV_ReadStorage(*manager).engine(src_storage, &header, 0, 0, 1);
    return 0;
}

int NuvWrapperClass::ReadStoragePlanar(ImageParam* param)
{
    drop_chain(last_engine, branches);
    if (!manager)
        return 0;
    if (src_storage)
        src_storage->to_begin();
    if (!param) {
        fail(*manager, nuv::NUV_ERR_ARGUMENT, "NUV_ReadStorage::engine()");
        return 0;
    }
    last_engine = read_planes(*manager, src_storage, *param);
    return 0;
}

int NuvWrapperClass::MirrorX()
{
    if (manager)
        last_engine = nuv::NUV_MirrorX(*manager).engine(last_engine);
    return 0;
}

int NuvWrapperClass::Rotate90(int angle)
{
    if (manager)
        last_engine = nuv::NUV_Rotate90(*manager).engine(last_engine, angle);
    return 0;
}

int NuvWrapperClass::ScaleNN(unsigned width, unsigned height)
{
    if (manager)
        last_engine = nuv::NUV_ScaleNN(*manager).engine(last_engine, width, height);
    return 0;
}

int NuvWrapperClass::ScaleLI(unsigned width, unsigned height)
{
    if (manager)
        last_engine = nuv::NUV_ScaleLI(*manager).engine(last_engine, width, height);
    return 0;
}

int NuvWrapperClass::ScaleCC(unsigned width, unsigned height)
{
    if (manager)
        last_engine = nuv::NUV_ScaleCC(*manager).engine(last_engine, width, height);
    return 0;
}

int NuvWrapperClass::ScalePP(unsigned width, unsigned height)
{
    if (manager)
        last_engine = nuv::NUV_ScalePP(*manager).engine(last_engine, width, height);
    return 0;
}

int NuvWrapperClass::ScaleI2VAREx(unsigned width, unsigned height)
{
    if (manager)
        last_engine = nuv::NUV_ScaleI2VARExBy<nuv::NUV_FixedReal>(*manager).engine(last_engine,
                                                                                   width, height);
    return 0;
}

int NuvWrapperClass::LUT(LutParam* param)
{
    if (!manager)
        return 0;
    const NUV_Header* header = last_engine ? last_engine->header() : nullptr;
    NUV_Held<nuv::NUV_LutData> table;
    if (param)
        table = nuv::expand_lut(*manager, header, param->table, param->entries, param->bits);
    else
        fail(*manager, nuv::NUV_ERR_ARGUMENT, "NUV_Lut::engine()");
    NUV_Engine* engine = nullptr;
    if (table && lut_objects && lut_objects->push_back(table.get())) {
        const nuv::NUV_LutData* kept = table.release(); // until the run is over
        engine = nuv::NUV_Lut(*manager).engine(last_engine, kept);
    }
    last_engine = engine;
    return 0;
}

int NuvWrapperClass::ConvertDataType(ConvertDataParam* param)
{
    if (!manager)
        return 0;
    if (!param) {
        fail(*manager, nuv::NUV_ERR_ARGUMENT, "NUV_ConvertDataType::engine()");
        last_engine = nullptr;
        return 0;
    }
    last_engine = nuv::NUV_ConvertDataType(*manager).engine(
        last_engine, nuv::NUV_DataType::u_integer, param->bits, param->slope, param->offset);
    return 0;
}

int NuvWrapperClass::ColorSpace(ColorType::eColorType color)
{
    if (manager)
        last_engine = nuv::NUV_ColorSpace(*manager).engine(last_engine, color_tag(color));
    return 0;
}

int NuvWrapperClass::WriteJPEG(WriteJPEGOption* option)
{
    constexpr std::uint32_t default_quality = 75;

    if (!manager)
        return 0;
    if (dst_storage)
        dst_storage->to_begin();
    nuv::NUV_WriteJPEGOption settings(
        option ? static_cast<std::uint32_t>(option->quality) : default_quality,
        option ? sampling_key(option->sampling) : sampling_key(WriteJPEGOption::eSampling422), 0);
    last_engine = nuv::NUV_WriteJPEG(*manager).engine(last_engine, dst_storage, &settings);
    return 0;
}

int NuvWrapperClass::WriteLosslessJPEG(WriteLosslessJPEGOption* option)
{
    constexpr std::uint32_t no_restarts = 0xFFFFFFFF;

    if (!manager)
        return 0;
    if (dst_storage)
        dst_storage->to_begin();
    nuv::NUV_WriteLosslessJPEGOption settings(option && option->optimise != 0, no_restarts);
    last_engine = nuv::NUV_WriteLosslessJPEG(*manager).engine(last_engine, dst_storage, &settings);
    return 0;
}

int NuvWrapperClass::WriteStorage(WriteStorageOption*)
{
    if (!manager)
        return 0;
    if (dst_storage)
        dst_storage->to_begin();
    last_engine = nuv::NUV_WriteStorage(*manager).engine(last_engine, dst_storage, 0, 0, 0, 1);
    return 0;
}

int NuvWrapperClass::WriteStoragePlanar(WriteStorageOption*)
{
    if (!manager)
        return 0;
    if (dst_storage)
        dst_storage->to_begin();
    if (!branches) { // no place for what would run
        last_engine = nullptr;
        return 0;
    }
    branches->clear();
    const NUV_Header* header = last_engine ? last_engine->header() : nullptr;
    if (!header) {
        fail(*manager, nuv::NUV_ERR_ARGUMENT, "NUV_WriteStorage::engine()");
        return 0;
    }
    auto planes = last_engine->branch(header->channels());
    branches->swap(planes);
    bool any = false;
    for (std::size_t i = 0; i < branches->size(); ++i) {
        NUV_Engine*& branch = (*branches)[i];
        branch = nuv::NUV_SelectChannel(*manager).engine(branch, static_cast<std::uint32_t>(i),
                                                         NUV_ColorType::gray);
        branch = nuv::NUV_WriteStorage(*manager).engine(branch, dst_storage, 0, 0, 0, 1);
        any = any || branch;
    }
    if (!any) { // There is nothing to run, as behind any other write that failed.
        branches->clear();
        last_engine = nullptr;
    }
    return 0;
}
