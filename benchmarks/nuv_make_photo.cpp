// nuv_make_photo WIDTH HEIGHT FILE: writes a photograph-like picture as a binary PPM.

#include <cstdint>
#include <cstdlib>
#include <fstream>
#include <iostream>

#include "benchmarks/nuv_photolike.h"

int main(int count, char** words)
{
    constexpr unsigned long largest_side = 65535;
    const unsigned long width = count == 4 ? std::strtoul(words[1], nullptr, 10) : 0;
    const unsigned long height = count == 4 ? std::strtoul(words[2], nullptr, 10) : 0;
    if (width == 0 || height == 0 || width > largest_side || height > largest_side) {
        std::cerr << "usage: nuv_make_photo WIDTH HEIGHT FILE\n";
        return 1;
    }
    const nuv::NUV_PhotoLike photo(static_cast<std::uint32_t>(width),
                                   static_cast<std::uint32_t>(height));
    std::ofstream file(words[3], std::ios::binary);
    file << "P6\n" << width << " " << height << "\n255\n";
    file.write(reinterpret_cast<const char*>(photo.pixels().data()),
               static_cast<std::streamsize>(photo.pixels().size()));
    file.close();
    return file ? 0 : 1;
}
