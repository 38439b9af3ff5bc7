#include "core/jpeg/source/nuv_jpegstorageaccess.h"

namespace nuv {

NUV_JPEGAllocator jpeg_allocator_of(NUV_Manager& manager) noexcept
{
    return {
        .owner = &manager,
        .allocate =
            [](void* owner, std::size_t bytes) {
                return static_cast<NUV_Manager*>(owner)->allocate(bytes);
            },
        .deallocate = [](void* owner,
                         void* memory) { static_cast<NUV_Manager*>(owner)->deallocate(memory); },
    };
}

NUV_JPEGSource jpeg_source_of(NUV_InputStorage* storage) noexcept
{
    return {
        .storage = storage,
        .read =
            [](void* from, std::uint8_t* into, std::int32_t count) {
                return static_cast<NUV_InputStorage*>(from)->read(into, count);
            },
        .to =
            [](void* from, std::int32_t position) {
                return static_cast<NUV_InputStorage*>(from)->to(position);
            },
        .position = [](void* from) { return static_cast<NUV_InputStorage*>(from)->position(); },
        .size = [](void* from) { return static_cast<NUV_InputStorage*>(from)->size(); },
    };
}

NUV_JPEGOutput jpeg_output_to(NUV_OutputStorage* storage) noexcept
{
    return {
        .storage = storage,
        .write =
            [](void* to, const std::uint8_t* bytes, std::int32_t count) {
                return static_cast<NUV_OutputStorage*>(to)->write(bytes, count) == count;
            },
        .to =
            [](void* to, std::int32_t position) {
                auto* const seekable = static_cast<NUV_OutputStorage*>(to);
                return seekable->to(position) && seekable->position() == position;
            },
        .position = [](void* to) { return static_cast<NUV_OutputStorage*>(to)->position(); },
    };
}

} // namespace nuv
