#pragma once

#include "wrapper/nuv_wrapper.h"

#include <cstddef>
#include <cstdint>
#include <vector>

namespace nuv {

// Small files may describe large images; what is larger than this is only begun.
inline constexpr std::size_t fuzz_room = std::size_t{1} << 22;

// A job from these bytes, which `build` puts together, to memory.
template <class Build>
void run_job(const std::uint8_t* data, std::size_t size, Build build)
{
    static std::vector<unsigned char> out(fuzz_room);
    NuvWrapperClass job;
    job.SetSrcMemory(data, static_cast<int>(size));
    job.SetDstMemory(out.data(), static_cast<int>(fuzz_room));
    build(job);
    job.Execute();
}

// Looks at a stored image and reads it whole. What it says it is.
inline ImageParam read_whole(const std::uint8_t* data, std::size_t size)
{
    ImageParam info{};
    run_job(data, size, [&](NuvWrapperClass& job) {
        // The coefficients of a JPEG picture stand whole in memory, and have to be cleared.
        job.GetSrcImgInfo(&info);
        if (info.format == Format::eRaw || std::uint64_t{info.width} * info.height <= fuzz_room)
            job.ReadRaster();
        job.WriteStorage(nullptr);
    });
    return info;
}

} // namespace nuv
