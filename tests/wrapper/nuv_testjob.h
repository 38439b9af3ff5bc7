#pragma once

#include "tests/support/nuv_test.h"
#include "wrapper/nuv_wrapper.h"

// Jobs from memory to memory, by the public header alone.

using Call = std::function<void(NuvWrapperClass&)>;

inline Bytes operator+(Bytes a, const Bytes& b)
{
    a.insert(a.end(), b.begin(), b.end());
    return a;
}

inline Bytes text(const std::string& characters)
{
    return Bytes(characters.begin(), characters.end());
}

inline Bytes first(const Bytes& bytes, std::size_t count)
{
    return Bytes(bytes.begin(), bytes.begin() + static_cast<long>(count));
}

// Samples of 16 bits, in host order.
inline Bytes words(const std::vector<std::uint16_t>& samples)
{
    Bytes bytes(samples.size() * sizeof(std::uint16_t));
    std::memcpy(bytes.data(), samples.data(), bytes.size());
    return bytes;
}

inline ImageParam raw_image(std::uint32_t width, std::uint32_t height, std::uint16_t channels,
                            std::uint16_t bits, std::int32_t color = 0)
{
    ImageParam param{};
    param.width = width;
    param.height = height;
    param.channels = channels;
    param.bits = bits;
    param.color = color;
    return param;
}

// The calls, one after the other.
template <class... Calls>
Call in_turn(Calls... calls)
{
    return [=](NuvWrapperClass& w) { (calls(w), ...); };
}

inline Call read_raw(ImageParam image)
{
    return [image](NuvWrapperClass& w) {
        ImageParam param = image;
        w.ReadStorage(&param);
    };
}

inline const Call read_any = [](NuvWrapperClass& w) { w.ReadRaster(); };
inline const Call write_raw = [](NuvWrapperClass& w) { w.WriteStorage(nullptr); };

struct JobResult {
    int answer; // of Execute()
    Bytes written;
};

inline JobResult run(const Bytes& source, const Call& calls, std::size_t room = 1 << 16)
{
    Bytes out(room, 0xEE);
    NuvWrapperClass wrapper;
    wrapper.SetSrcMemory(source.data(), static_cast<int>(source.size()));
    wrapper.SetDstMemory(out.data(), static_cast<int>(room));
    calls(wrapper);
    const int answer = wrapper.Execute();
    int size = 0;
    wrapper.GetWrittenSize(&size);
    return {answer, first(out, static_cast<std::size_t>(size))};
}

// What a job writes that runs.
inline Bytes made(const Bytes& source, const Call& calls, std::size_t room = 1 << 16)
{
    const JobResult result = run(source, calls, room);
    EXPECT_EQ(result.answer, 0);
    return result.written;
}

inline int info_of(const Bytes& source, ImageParam& info)
{
    NuvWrapperClass wrapper;
    wrapper.SetSrcMemory(source.data(), static_cast<int>(source.size()));
    return wrapper.GetSrcImgInfo(&info);
}
