#include "core/channel/nuv_mergechannel.h"
#include "core/jpeg/nuv_jpeginfo.h"
#include "core/readraster/nuv_readraster.h"
#include "core/storage/nuv_readstorage.h"
#include "extension/readrasterex/nuv_readrasterex.h"
#include "framework/base/nuv_failure.h"
#include "framework/base/nuv_held.h"
#include "framework/base/nuv_status.h"
#include "framework/engine/nuv_nop.h"
#include "framework/io/nuv_moveinmoveoutinputstorage.h"
#include "wrapper/nuv_wrapper.h"
#include "wrapper/source/nuv_wrapper_codes.h"

#include <array>
#include <cstddef>
#include <cstdint>
#include <limits>
#include <string_view>

using nuv::color_code;
using nuv::color_tag;
using nuv::fail;
using nuv::is_gray;
using nuv::NUV_ColorType;
using nuv::NUV_EncodeType;
using nuv::NUV_Engine;
using nuv::NUV_FormatInfo;
using nuv::NUV_Header;
using nuv::NUV_Held;
using nuv::NUV_Manager;

namespace {

constexpr auto no_memory = static_cast<std::int32_t>(nuv::NUV_ERR_MEMORY);

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

// What a caller may know of a stored image.
ImageParam report_of(const NUV_FormatInfo& info)
{
    ImageParam param{};
    param.width = info.width();
    param.height = info.height();
    param.bits = info.bits();
    param.channels = info.channels();
    param.color = color_code(info.color_type());
    param.format = nuv::format_code(info.encode_type());
    if (const auto* jpeg = dynamic_cast<const nuv::NUV_JPEGInfo*>(&info)) {
        param.format = nuv::format_code(*jpeg);
        param.precision = jpeg->precision();
        if (info.color_type() == NUV_ColorType::ycbcr)
            param.sampling = nuv::sampling_code(jpeg->sampling());
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
    describe(header, *param, param->channels, color_tag(param->color),
             nuv::encode_tag(param->format));
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
