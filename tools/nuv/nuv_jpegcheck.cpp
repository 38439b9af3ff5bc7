#include "tools/nuv/nuv_jpegcheck.h"

#include <array>
#include <cstdint>
#include <fstream>
#include <optional>

namespace nuv_tool {

namespace {

// T.81, table B.1
constexpr int marker_prefix = 0xFF;
constexpr int start_of_image = 0xD8;
constexpr int end_of_image = 0xD9;
constexpr int start_of_scan = 0xDA;

// SOF0 to SOF15 are 0xC0 to 0xCF, less DHT, JPG and DAC, which stand between them.
bool is_frame_header(int code)
{
    return code >= 0xC0 && code <= 0xCF && code != 0xC4 && code != 0xC8 && code != 0xCC;
}

struct FrameSize {
    std::uint32_t width;
    std::uint32_t height;
};

// The next `size` bytes of `file`; nothing when it ends before.
template <std::size_t size>
std::optional<std::array<std::uint8_t, size>> take(std::ifstream& file)
{
    std::array<char, size> bytes{};
    if (!file.read(bytes.data(), size))
        return {};
    std::array<std::uint8_t, size> taken{};
    for (std::size_t i = 0; i < size; ++i)
        taken[i] = static_cast<std::uint8_t>(bytes[i]);
    return taken;
}

std::uint32_t be16(std::uint8_t high, std::uint8_t low)
{
    return static_cast<std::uint32_t>(high << 8 | low);
}

// T.81, B.1.1.4 and B.2.2: walks the segments up to the frame header, P, Y, X behind its length.
std::optional<FrameSize> frame_size(std::ifstream& file)
{
    const auto start = take<2>(file);
    if (!start || (*start)[0] != marker_prefix || (*start)[1] != start_of_image)
        return {};
    while (const auto segment = take<4>(file)) {
        const auto& [prefix, code, length_high, length_low] = *segment;
        const std::uint32_t length = be16(length_high, length_low);
        if (prefix != marker_prefix || code == start_of_scan || length < 2)
            return {};
        if (is_frame_header(code)) {
            const auto frame = take<5>(file);
            if (!frame)
                return {};
            return FrameSize{.width = be16((*frame)[3], (*frame)[4]),
                             .height = be16((*frame)[1], (*frame)[2])};
        }
        file.seekg(static_cast<std::streamoff>(length - 2), std::ios::cur);
    }
    return {};
}

bool ends_with_end_marker(std::ifstream& file)
{
    file.clear();
    file.seekg(-2, std::ios::end);
    const auto end = take<2>(file);
    return end && (*end)[0] == marker_prefix && (*end)[1] == end_of_image;
}

} // namespace

Problem check_jpeg(const std::string& path, const ImageParam& picture)
{
    std::ifstream file(path, std::ios::binary);
    const std::optional<FrameSize> frame = frame_size(file);
    if (!frame)
        return "broke off before the first line: the source is damaged or the destination is full";
    if (frame->width != picture.width || frame->height != picture.height)
        return "broke off after " + std::to_string(frame->height) + " of " +
               std::to_string(picture.height) + " lines: the source is damaged";
    if (!ends_with_end_marker(file))
        return "the result has no end: the source is damaged or the destination is full";
    file.close();
    ImageParam written{};
    GetImgInfo(path.c_str(), &written);
    if (written.width != picture.width || written.height != picture.height ||
        written.channels != picture.channels || written.bits != picture.bits)
        return "the result cannot be read back";
    return {};
}

} // namespace nuv_tool
