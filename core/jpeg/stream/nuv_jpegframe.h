#pragma once

#include <array>
#include <cstddef>
#include <cstdint>

namespace nuv {

// Where the coder's memory comes from; `owner` is handed to both calls.
struct NUV_JPEGAllocator {
    void* owner = nullptr;
    void* (*allocate)(void* owner, std::size_t bytes) = nullptr; // null when there is none
    void (*deallocate)(void* owner, void* memory) = nullptr;     // null is allowed

    [[nodiscard]] void* take(std::size_t bytes) const { return allocate(owner, bytes); }
    void give_back(void* memory) const { deallocate(owner, memory); }
};

// Second bytes of markers (T.81, table B.1).
inline constexpr std::uint8_t jpeg_marker_tem = 0x01;
inline constexpr std::uint8_t jpeg_marker_sof0 = 0xC0; // baseline sequential
inline constexpr std::uint8_t jpeg_marker_sof1 = 0xC1; // extended sequential
inline constexpr std::uint8_t jpeg_marker_sof2 = 0xC2; // progressive
inline constexpr std::uint8_t jpeg_marker_sof3 = 0xC3; // lossless
inline constexpr std::uint8_t jpeg_marker_dht = 0xC4;
inline constexpr std::uint8_t jpeg_marker_jpg = 0xC8;
inline constexpr std::uint8_t jpeg_marker_dac = 0xCC;
inline constexpr std::uint8_t jpeg_marker_sof15 = 0xCF;
inline constexpr std::uint8_t jpeg_marker_rst0 = 0xD0; // to RST7, 0xD7
inline constexpr std::uint8_t jpeg_marker_rst7 = 0xD7;
inline constexpr std::uint8_t jpeg_marker_soi = 0xD8;
inline constexpr std::uint8_t jpeg_marker_eoi = 0xD9;
inline constexpr std::uint8_t jpeg_marker_sos = 0xDA;
inline constexpr std::uint8_t jpeg_marker_dqt = 0xDB;
inline constexpr std::uint8_t jpeg_marker_dnl = 0xDC;
inline constexpr std::uint8_t jpeg_marker_dri = 0xDD;
inline constexpr std::uint8_t jpeg_marker_dhp = 0xDE;
inline constexpr std::uint8_t jpeg_marker_exp = 0xDF;
inline constexpr std::uint8_t jpeg_marker_app0 = 0xE0; // to APP15, 0xEF
inline constexpr std::uint8_t jpeg_marker_jpg0 = 0xF0; // to JPG13, 0xFD
inline constexpr std::uint8_t jpeg_marker_com = 0xFE;

// A segment holds its own length in 16 bits.
inline constexpr std::size_t jpeg_largest_payload = 65533; // bytes
inline constexpr std::uint32_t jpeg_largest_side = 65535;  // pixels
inline constexpr std::size_t jpeg_most_components = 4;

// A sampling key: for each component a byte with its horizontal and vertical factor in the two
// halves, the first component in the highest.
inline constexpr std::uint32_t jpeg_sampling_444 = 0x111111;
inline constexpr std::uint32_t jpeg_sampling_422 = 0x211111;
inline constexpr std::uint32_t jpeg_sampling_420 = 0x221111;
inline constexpr std::uint32_t jpeg_sampling_411 = 0x411111;

// One component of a frame and of its scan (T.81, B.2.2 and B.2.3).
struct NUV_JPEGComponent {
    std::uint8_t id = 0;
    std::uint8_t horizontal = 1; // H, blocks across in an MCU
    std::uint8_t vertical = 1;   // V, blocks down in an MCU
    std::uint8_t quantiser = 0;  // Tq
    std::uint8_t dc_table = 0;   // Td
    std::uint8_t ac_table = 0;   // Ta
    std::int16_t previous_dc = 0;
};

// What the headers of a stream say, for writing and for reading.
struct NUV_JPEGFrame {
    std::uint8_t start_marker = 0; // of the SOF segment
    std::uint8_t precision = 0;    // bits of a sample
    std::uint16_t width = 0;       // pixels
    std::uint16_t height = 0;      // lines
    std::size_t components = 0;    // in use of the array below
    std::array<NUV_JPEGComponent, jpeg_most_components> component;
    std::uint32_t restart_interval = 0; // MCUs; 0 for none

    // Factors beyond the first component of a key are those of its lower bytes.
    void set_sampling(std::uint32_t key) noexcept
    {
        for (std::size_t i = components; i-- > 0; key >>= 8) {
            component[i].horizontal = key >> 4 & 15U;
            component[i].vertical = key & 15U;
        }
    }
};

// The factors of all components as one number, a byte for each; 0x111111 for one component, and
// for any number other than 3 and 4.
[[nodiscard]] inline std::uint32_t jpeg_sampling_key(const NUV_JPEGFrame& frame) noexcept
{
    if (frame.components != 3 && frame.components != 4)
        return jpeg_sampling_444;
    std::uint32_t key = 0;
    for (std::size_t i = 0; i < frame.components; ++i) {
        const NUV_JPEGComponent& component = frame.component[i];
        key = key << 8 | static_cast<std::uint32_t>(component.horizontal << 4 | component.vertical);
    }
    return key;
}

} // namespace nuv
