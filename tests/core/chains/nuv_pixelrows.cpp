#include "core/channel/nuv_reversechannel.h"
#include "core/channel/nuv_selectchannel.h"
#include "tests/core/chains/nuv_operationrows.h"

namespace nuv {
namespace {

using Image = NUV_ModelImage;

bool is_without_color(const Image& in)
{
    return in.is_raw() && in.color_type == NUV_ColorType::none;
}

NUV_DrawnOperation reverse_channels(const Image& in, std::mt19937&)
{
    return {appending<NUV_ReverseChannel>(),
            in.with(in.width, in.height, in.channels,
                    [&](auto x, auto y, auto c) { return in.at(x, y, in.channels - 1 - c); })};
}

NUV_DrawnOperation select_channels(const Image& in, std::mt19937& random)
{
    const auto first = static_cast<std::uint32_t>(random() % in.channels);
    const auto count = static_cast<std::uint32_t>(1 + random() % (in.channels - first));
    return {appending<NUV_SelectChannel>(first, count, NUV_ColorType::none),
            in.with(in.width, in.height, count,
                    [&](auto x, auto y, auto c) { return in.at(x, y, first + c); })};
}

} // namespace

std::vector<NUV_OperationRow> pixel_rows()
{
    return {
        {"reverse_channels", "NUV_ReverseChannel::engine()", is_without_color, reverse_channels},
        {"select_channels", "", is_without_color, select_channels},
    };
}

} // namespace nuv
