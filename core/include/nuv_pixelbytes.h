#pragma once

#include <cstddef>

namespace nuv {

// Calls visit.operator()<PixelBytes>() with the size where there is a loop for it, else with 0.
template <class Visit>
auto visit_pixel_bytes(std::size_t pixel_bytes, Visit&& visit)
{
    switch (pixel_bytes) {
    case 1:
        return visit.template operator()<1>();
    case 2:
        return visit.template operator()<2>();
    case 3:
        return visit.template operator()<3>();
    case 4:
        return visit.template operator()<4>();
    case 6:
        return visit.template operator()<6>();
    case 8:
        return visit.template operator()<8>();
    default:
        return visit.template operator()<0>();
    }
}

} // namespace nuv
