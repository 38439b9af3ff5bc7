#pragma once

#include "core/jpeg/stream/nuv_jpeginput.h"
#include "core/jpeg/stream/nuv_jpegoutput.h"
#include "framework/base/nuv_manager.h"
#include "framework/io/nuv_inputstorage.h"
#include "framework/io/nuv_outputstorage.h"

namespace nuv {

// The coder's view of a manager and of a storage, both of which must outlive the coder.
[[nodiscard]] NUV_JPEGAllocator jpeg_allocator_of(NUV_Manager& manager) noexcept;
[[nodiscard]] NUV_JPEGSource jpeg_source_of(NUV_InputStorage* storage) noexcept;
[[nodiscard]] NUV_JPEGOutput jpeg_output_to(NUV_OutputStorage* storage) noexcept;

} // namespace nuv
