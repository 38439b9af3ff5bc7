#include "core/crop/nuv_crop.h"
#include "core/mirror/nuv_mirrorx.h"
#include "core/mirror/nuv_mirrory.h"
#include "core/qdrle/nuv_decodeqdrle.h"
#include "core/rotate/nuv_rotate90.h"
#include "framework/engine/nuv_nop.h"
#include "tests/core/chains/nuv_operationrows.h"

#include <algorithm>

namespace nuv {
namespace {

using Image = NUV_ModelImage;

bool any_image(const Image&)
{
    return true;
}

bool is_raw(const Image& in)
{
    return in.is_raw();
}

// Of bits, pixels of one alone are turned.
bool is_turned(const Image& in)
{
    return in.bits > 1 || in.channels == 1;
}

NUV_DrawnOperation mirror_x(const Image& in, std::mt19937&)
{
    return {appending<NUV_MirrorX>(),
            in.with(in.width, in.height, in.channels,
                    [&](auto x, auto y, auto c) { return in.at(in.width - 1 - x, y, c); })};
}

NUV_DrawnOperation mirror_y(const Image& in, std::mt19937&)
{
    return {appending<NUV_MirrorY>(),
            in.with(in.width, in.height, in.channels,
                    [&](auto x, auto y, auto c) { return in.at(x, in.height - 1 - y, c); })};
}

// Rectangles inside, and such that reach beyond the image or beyond all numbers.
NUV_DrawnOperation crop(const Image& in, std::mt19937& random)
{
    const auto start = [&](std::uint32_t size) {
        return static_cast<std::uint32_t>(random() % 3 == 0 ? 0 : random() % size);
    };
    const auto length = [&](std::uint32_t size) {
        return static_cast<std::uint32_t>(random() % 9 == 0 ? 0xFFFFFFFF : 1 + random() % size);
    };
    const std::uint32_t x0 = start(in.width);
    const std::uint32_t y0 = start(in.height);
    const std::uint32_t w = length(in.width);
    const std::uint32_t h = length(in.height);
    return {appending<NUV_Crop>(x0, y0, w, h),
            in.with(std::min(w, in.width - x0), std::min(h, in.height - y0), in.channels,
                    [&](auto x, auto y, auto c) { return in.at(x0 + x, y0 + y, c); })};
}

// Clockwise, by any multiple of a quarter turn.
NUV_DrawnOperation rotate(const Image& in, std::mt19937& random)
{
    const int quarters = static_cast<int>(random() % 16) - 8;
    const std::uint32_t right = in.width - 1;
    const std::uint32_t bottom = in.height - 1;
    const auto turned = [&](auto x, auto y, auto c) {
        switch (quarters & 3) {
        case 1:
            return in.at(y, bottom - x, c);
        case 2:
            return in.at(right - x, bottom - y, c);
        case 3:
            return in.at(right - y, x, c);
        default:
            return in.at(x, y, c);
        }
    };
    const bool exchanges = quarters % 2 != 0;
    return {appending<NUV_Rotate90>(quarters * 90),
            in.with(exchanges ? in.height : in.width, exchanges ? in.width : in.height, in.channels,
                    turned)};
}

NUV_DrawnOperation decode_runs(const Image& in, std::mt19937&)
{
    Image out = in;
    out.encode_type = NUV_EncodeType::raw;
    return {appending<NUV_DecodeQDRLE>(), out};
}

// The same samples, one channel, and as many lines as there were columns: blocks of another size.
NUV_DrawnOperation bytes_as_another_image(const Image& in, std::mt19937&)
{
    Image out = in;
    out.width = in.height * in.channels;
    out.height = in.width;
    out.channels = 1;
    out.color_type = NUV_ColorType::none;
    const auto append = [description = out.description()](NUV_TestChain& chain) {
        if (!chain.last())
            return false;
        NUV_Header header(chain.manager());
        if (!header.copy(chain.header()))
            return false;
        header.width(description.width);
        header.height(description.height);
        header.channels(description.channels);
        header.color_type(description.color_type);
        return chain.append<NUV_RewriteHeader>(&header);
    };
    return {append, out};
}

NUV_DrawnOperation one_of_two_branches(const Image& in, std::mt19937&)
{
    const auto append = [](NUV_TestChain& chain) {
        if (!chain.last())
            return false;
        auto branches = chain.last()->branch(2);
        chain.last(branches.empty() ? nullptr : branches[1]);
        return chain.last() != nullptr;
    };
    return {append, in};
}

} // namespace

std::vector<NUV_OperationRow> geometry_rows()
{
    const auto has_levels = [](const Image& in) { return in.bits > 1; };
    return {
        {"mirror_x", "NUV_MirrorX::engine()",
         [](const Image& in) { return in.is_raw() && is_turned(in); }, mirror_x},
        {"mirror_y", "NUV_MirrorY::engine()", is_raw, mirror_y},
        {"crop", "NUV_Crop::engine()", any_image, crop},
        {"rotate", "NUV_Rotate90::engine()", is_turned, rotate},
        {"decode_runs", "NUV_DecodeQDRLE::engine()", any_image, decode_runs},
        {"bytes_as_another_image", "", has_levels, bytes_as_another_image},
        {"one_of_two_branches", "", any_image, one_of_two_branches},
    };
}

} // namespace nuv
