#include "core/crop/nuv_crop.h"
#include "core/mirror/nuv_mirrorx.h"
#include "core/mirror/nuv_mirrory.h"
#include "core/qdrle/nuv_decodeqdrle.h"
#include "core/rotate/nuv_rotate90.h"
#include "framework/engine/nuv_nop.h"
#include "tests/core/chains/nuv_operationrows.h"

namespace nuv {
namespace {

using Image = NUV_ModelImage;

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

// A stretch of an axis: inside, or reaching beyond the image or beyond all numbers.
struct Stretch {
    std::uint32_t start, length, inside;

    Stretch(std::uint32_t size, std::mt19937& random)
        : start(static_cast<std::uint32_t>(random() % 3 == 0 ? 0 : random() % size)),
          length(static_cast<std::uint32_t>(random() % 9 == 0 ? 0xFFFFFFFF : 1 + random() % size)),
          inside(std::min(length, size - start))
    {}
};

Image cut(const Image& in, std::uint32_t x0, std::uint32_t y0, std::uint32_t w, std::uint32_t h)
{
    return in.with(w, h, in.channels,
                   [&](auto x, auto y, auto c) { return in.at(x0 + x, y0 + y, c); });
}

NUV_DrawnOperation crop(const Image& in, std::mt19937& random)
{
    const Stretch x(in.width, random);
    const Stretch y(in.height, random);
    return {appending<NUV_Crop>(x.start, y.start, x.length, y.length),
            cut(in, x.start, y.start, x.inside, y.inside)};
}

NUV_DrawnOperation crop_lines(const Image& in, std::mt19937& random)
{
    const Stretch y(in.height, random);
    return {appending<NUV_CropHeight>(y.start, y.length), cut(in, 0, y.start, in.width, y.inside)};
}

NUV_DrawnOperation crop_columns(const Image& in, std::mt19937& random)
{
    const Stretch x(in.width, random);
    return {appending<NUV_CropWidth>(x.start, x.length), cut(in, x.start, 0, x.inside, in.height)};
}

NUV_DrawnOperation crop_columns_by_form(const Image& in, std::mt19937& random)
{
    const Stretch x(in.width, random);
    const bool is_on_byte = x.start * in.channels % 8 == 0;
    return {in.bits > 1  ? appending<NUV_CropWidth8xNBits>(x.start, x.length)
            : is_on_byte ? appending<NUV_CropWidth1BitBS>(x.start, x.length)
                         : appending<NUV_CropWidth1BitIS>(x.start, x.length),
            cut(in, x.start, 0, x.inside, in.height)};
}

// Clockwise.
Image turned(const Image& in, int quarters)
{
    const std::uint32_t right = in.width - 1;
    const std::uint32_t bottom = in.height - 1;
    const bool exchanges = quarters % 2 != 0;
    return in.with(exchanges ? in.height : in.width, exchanges ? in.width : in.height, in.channels,
                   [&](auto x, auto y, auto c) {
                       const std::uint32_t across[] = {x, y, right - x, right - y};
                       const std::uint32_t down[] = {y, bottom - x, bottom - y, x};
                       return in.at(across[quarters & 3], down[quarters & 3], c);
                   });
}

NUV_DrawnOperation rotate(const Image& in, std::mt19937& random)
{
    const int quarters = static_cast<int>(random() % 16) - 8;
    return {appending<NUV_Rotate90>(quarters * 90), turned(in, quarters)};
}

// Bands of any height; of bits, of whole bytes in the result or all at once.
template <class Creator>
NUV_DrawnOperation rotate_in_bands(const Image& in, std::mt19937& random)
{
    const int quarters = static_cast<int>(1 + random() % 3);
    std::uint32_t block = static_cast<std::uint32_t>(1 + random() % 70);
    if (in.bits == 1)
        block = block < 20 ? in.height : 8 * (1 + block % 5);
    return {appending<Creator>(quarters * 90, block), turned(in, quarters)};
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
        return fill_header(header, description) && chain.append<NUV_RewriteHeader>(&header);
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
    const auto is_of_bits = [](const Image& in) { return has_raw_pixels(in) && in.bits == 1; };
    return {
        {"mirror_x", "NUV_MirrorX::engine()", has_raw_pixels, mirror_x},
        {"mirror_y", "NUV_MirrorY::engine()", is_raw, mirror_y},
        {"crop", "NUV_Crop::engine()", any_image, crop},
        {"crop_lines", "NUV_CropHeight::engine()", is_raw, crop_lines},
        {"crop_columns", "NUV_CropWidth::engine()", is_raw, crop_columns},
        {"crop_columns_by_form", "", is_raw, crop_columns_by_form},
        {"rotate", "NUV_Rotate90::engine()", has_pixels, rotate},
        {"rotate_bits_in_bands", "NUV_Rotate90_1::engine()", is_of_bits,
         rotate_in_bands<NUV_Rotate90_1>},
        {"rotate_bytes_in_bands", "NUV_Rotate90_8xN::engine()", has_levels,
         rotate_in_bands<NUV_Rotate90_8xN>},
        {"decode_runs", "NUV_DecodeQDRLE::engine()", any_image, decode_runs},
        {"bytes_as_another_image", "", has_levels, bytes_as_another_image},
        {"one_of_two_branches", "", any_image, one_of_two_branches},
    };
}

} // namespace nuv
