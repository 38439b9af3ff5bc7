// Any sequence of calls on one wrapper: each byte of the input is a call or one of its numbers.

#include "wrapper/nuv_wrapper.h"

#include <array>
#include <cstddef>
#include <cstdint>

namespace {

// What the calls take their numbers from; zeros behind the end.
class Numbers {
public:
    Numbers(const std::uint8_t* data, std::size_t size) : data_(data), left_(size) {}

    [[nodiscard]] bool empty() const { return left_ == 0; }
    std::uint8_t byte()
    {
        if (left_ == 0)
            return 0;
        --left_;
        return *data_++;
    }
    // Mostly small, with the ends of the range among them.
    std::uint32_t size()
    {
        const std::uint32_t low = byte();
        return low < 0xF0 ? low : low << 24 | 0x00FFFFFFU;
    }

private:
    const std::uint8_t* data_;
    std::size_t left_;
};

ImageParam image(Numbers& numbers)
{
    constexpr std::int32_t colors[] = {0, 0x10, 0x11, 0x100, 0x1000, -1};
    constexpr std::uint16_t depths[] = {1, 2, 4, 8, 16, 32, 64, 3, 65535};
    ImageParam param{};
    param.width = numbers.size();
    param.height = numbers.size();
    param.channels = static_cast<std::uint16_t>(numbers.size());
    param.bits = depths[numbers.byte() % std::size(depths)];
    param.color = colors[numbers.byte() % std::size(colors)];
    param.format = numbers.byte() % 8;
    return param;
}

void call(NuvWrapperClass& job, Numbers& numbers)
{
    static std::array<unsigned char, 1 << 16> out;
    static std::array<unsigned char, 1 << 12> in;
    switch (numbers.byte() % 12) {
    case 0: {
        const std::size_t bytes = numbers.size() % in.size();
        for (std::size_t i = 0; i < bytes; ++i)
            in[i] = numbers.byte();
        job.SetSrcMemory(in.data(), static_cast<int>(bytes));
        break;
    }
    case 1:
        job.SetDstMemory(out.data(), static_cast<int>(numbers.size() % out.size()));
        break;
    case 2: {
        ImageParam param{};
        job.GetSrcImgInfo(&param);
        break;
    }
    case 3:
        job.ReadRaster();
        break;
    case 4: {
        ImageParam param = image(numbers);
        job.ReadRaster(&param);
        break;
    }
    case 5: {
        ImageParam param = image(numbers);
        job.ReadStorage(&param);
        break;
    }
    case 6: {
        ImageParam param = image(numbers);
        job.ReadStoragePlanar(&param);
        break;
    }
    case 7:
        job.MirrorX();
        break;
    case 8: {
        WriteJPEGOption option{numbers.byte(), 0x1000 + numbers.byte() % 18};
        job.WriteJPEG(&option);
        break;
    }
    case 9:
        job.WriteStorage(nullptr);
        break;
    case 10:
        job.WriteStoragePlanar(nullptr);
        break;
    default:
        job.Execute();
        break;
    }
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    NuvWrapperClass job;
    for (Numbers numbers(data, size); !numbers.empty();)
        call(job, numbers);
    return 0;
}
