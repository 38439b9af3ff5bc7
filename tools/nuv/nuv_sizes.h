#pragma once

#include <cstdint>
#include <optional>
#include <string_view>

namespace nuv_tool {

// Pixels across and down.
struct Extent {
    std::uint32_t width = 0;
    std::uint32_t height = 0;
};

// How large a picture is to become, as "800x600", "800x", "x600", "50%", "256" or "800x600^".
struct Size {
    std::uint32_t width = 0;  // 0 for the one that follows from the other
    std::uint32_t height = 0; // as well
    double percent = 0;       // of both sides, where it is not 0
    enum class Shape {
        exact,  // a side that is given is as given
        inside, // the largest of the picture's own shape inside the box
        cover,  // the smallest of the picture's own shape that covers it
    } shape = Shape::exact;
};

// Nothing for a text that is none of these, or tells of a side without pixels.
[[nodiscard]] std::optional<Size> size_of(std::string_view text);

// "256" and "256x192", a box of two sides.
[[nodiscard]] std::optional<Extent> box_of(std::string_view text);

// What `from` becomes; nothing when a side could not be counted.
[[nodiscard]] std::optional<Extent> scaled(Extent from, const Size& size);

} // namespace nuv_tool
