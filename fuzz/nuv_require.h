#pragma once

#include <cstdio>
#include <cstdlib>

namespace nuv {

// Ends the program where something is not as it has to be.
inline void require(bool is_so, const char* complaint)
{
    if (is_so)
        return;
    std::fprintf(stderr, "%s\n", complaint);
    std::abort();
}

} // namespace nuv
