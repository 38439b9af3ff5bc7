#include "framework/io/nuv_memoryblockvector.h"

#include "framework/io/nuv_streamposition.h"

#include <algorithm>
#include <cstddef>
#include <cstring>

namespace nuv {

NUV_MemoryBlockVector::~NUV_MemoryBlockVector()
{
    for (unsigned char* block : items())
        manager().deallocate(block);
}

bool NUV_MemoryBlockVector::add_block()
{
    void* memory = manager().allocate(static_cast<std::size_t>(block_bytes_));
    if (!memory)
        return false;
    if (push_back(static_cast<unsigned char*>(memory)))
        return true;
    manager().deallocate(memory);
    return false;
}

std::int32_t NUV_MemoryBlockVector::read(std::int32_t position, void* into,
                                         std::int32_t bytes) const noexcept
{
    const std::int32_t count = std::min(bytes, content_bytes_ - position);
    auto* to = static_cast<unsigned char*>(into);
    std::int32_t done = 0;
    while (done < count) {
        const auto block = static_cast<std::size_t>((position + done) / block_bytes_);
        const std::int32_t offset = (position + done) % block_bytes_;
        const std::int32_t piece = std::min(count - done, block_bytes_ - offset);
        std::memcpy(to + done, (*this)[block] + offset, static_cast<std::size_t>(piece));
        done += piece;
    }
    return done;
}

std::int32_t NUV_MemoryBlockVector::write(std::int32_t position, const void* from,
                                          std::int32_t bytes)
{
    const std::int32_t count = std::min(bytes, last_stream_position - position);
    const auto* next = static_cast<const unsigned char*>(from);
    std::int32_t done = 0;
    while (done < count) {
        const auto block = static_cast<std::size_t>((position + done) / block_bytes_);
        const std::int32_t offset = (position + done) % block_bytes_;
        const std::int32_t piece = std::min(count - done, block_bytes_ - offset);
        if (block == size() && !add_block())
            break;
        unsigned char* to = (*this)[block] + offset;
        if (next)
            std::memcpy(to, next + done, static_cast<std::size_t>(piece));
        else
            std::memset(to, 0, static_cast<std::size_t>(piece));
        done += piece;
    }
    content_bytes_ = std::max(content_bytes_, position + done);
    return done;
}

} // namespace nuv
