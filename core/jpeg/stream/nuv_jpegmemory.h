#pragma once

#include "core/jpeg/stream/nuv_jpegframe.h"
#include "framework/base/nuv_memory.h"

namespace nuv {

// Work memory of the coder, from the allocator that it was given.
template <class T>
using NUV_JPEGMemory = NUV_Memory<T, NUV_JPEGAllocator>;

} // namespace nuv
