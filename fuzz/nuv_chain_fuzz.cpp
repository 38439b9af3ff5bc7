// Any sequence of calls on one wrapper: each byte of the input is a call or one of its numbers.
// Every member of the exported class has its entry here, which the build checks.

#include "wrapper/nuv_wrapper.h"

#include <array>
#include <cstddef>
#include <cstdint>
#include <iterator>

#include "fuzz/nuv_numbers.h"

namespace {

using nuv::NUV_Numbers;

// Mostly small, with the ends of the range among them.
std::uint32_t size(NUV_Numbers& numbers)
{
    const std::uint32_t low = numbers.byte();
    return low < 0xF0 ? low : low << 24 | 0x00FFFFFFU;
}

// What is scaled to has to be allocated, so it is no more than that.
template <int (NuvWrapperClass::*scale)(unsigned, unsigned)>
void scaled(NuvWrapperClass& job, NUV_Numbers& numbers)
{
    const unsigned width = numbers.word() % 700;
    (job.*scale)(width, numbers.word() % 700);
}

constexpr std::int32_t colors[] = {0, 0x10, 0x11, 0x100, 0x1000, -1};
constexpr std::uint16_t depths[] = {1, 2, 4, 8, 16, 32, 64, 3, 65535};
constexpr double factors[] = {1, -1, 0.5, 257, 1 / 257.0, 0, 1e300, -1e-300};
constexpr const char* paths[] = {nullptr, "", "/dev/null", "no/such/folder/file"};

template <class T, std::size_t count>
T one_of(const T (&values)[count], NUV_Numbers& numbers)
{
    return values[numbers.byte() % count];
}

ImageParam image(NUV_Numbers& numbers)
{
    ImageParam param{};
    param.width = size(numbers);
    param.height = size(numbers);
    param.channels = static_cast<std::uint16_t>(size(numbers));
    param.bits = one_of(depths, numbers);
    param.color = one_of(colors, numbers);
    param.format = static_cast<std::int32_t>(numbers.byte() % 8);
    return param;
}

// Null as often as not, which every record may be.
template <class T>
T* or_null(T& record, NUV_Numbers& numbers)
{
    return numbers.byte() % 2 == 0 ? &record : nullptr;
}

template <int (NuvWrapperClass::*read)(ImageParam*)>
void with_image(NuvWrapperClass& job, NUV_Numbers& numbers)
{
    ImageParam param = image(numbers);
    (job.*read)(or_null(param, numbers));
}

template <int (NuvWrapperClass::*call)()>
void alone(NuvWrapperClass& job, NUV_Numbers&)
{
    (job.*call)();
}

using Call = void (*)(NuvWrapperClass& job, NUV_Numbers& numbers);

constexpr Call calls[] = {
    [](NuvWrapperClass& job, NUV_Numbers& numbers) {
        static std::array<unsigned char, 1 << 12> in;
        const std::size_t bytes = size(numbers) % in.size();
        for (std::size_t i = 0; i < bytes; ++i)
            in[i] = static_cast<unsigned char>(numbers.byte());
        job.SetSrcMemory(in.data(), static_cast<int>(bytes));
    },
    [](NuvWrapperClass& job, NUV_Numbers& numbers) {
        static std::array<unsigned char, 1 << 16> out;
        job.SetDstMemory(out.data(), static_cast<int>(size(numbers) % out.size()));
    },
    [](NuvWrapperClass& job, NUV_Numbers& numbers) {
        ImageParam param{};
        job.GetSrcImgInfo(or_null(param, numbers));
    },
    alone<&NuvWrapperClass::ReadRaster>,
    with_image<&NuvWrapperClass::ReadRaster>,
    with_image<&NuvWrapperClass::ReadStorage>,
    with_image<&NuvWrapperClass::ReadStoragePlanar>,
    alone<&NuvWrapperClass::MirrorX>,
    [](NuvWrapperClass& job, NUV_Numbers& numbers) {
        WriteJPEGOption option{static_cast<std::int32_t>(numbers.byte()),
                               static_cast<std::int32_t>(0x1000 + numbers.byte() % 18)};
        job.WriteJPEG(or_null(option, numbers));
    },
    [](NuvWrapperClass& job, NUV_Numbers&) { job.WriteStorage(nullptr); },
    [](NuvWrapperClass& job, NUV_Numbers&) { job.WriteStoragePlanar(nullptr); },
    alone<&NuvWrapperClass::Execute>,
    [](NuvWrapperClass& job, NUV_Numbers& numbers) { job.SetSrcFile(one_of(paths, numbers)); },
    [](NuvWrapperClass& job, NUV_Numbers& numbers) { job.SetDstFile(one_of(paths, numbers)); },
    [](NuvWrapperClass& job, NUV_Numbers& numbers) {
        int bytes = 0;
        job.GetWrittenSize(or_null(bytes, numbers));
    },
    [](NuvWrapperClass& job, NUV_Numbers& numbers) {
        job.Rotate90((static_cast<int>(numbers.byte()) - 128) * 45);
    },
    scaled<&NuvWrapperClass::ScaleNN>,
    scaled<&NuvWrapperClass::ScaleLI>,
    scaled<&NuvWrapperClass::ScaleCC>,
    scaled<&NuvWrapperClass::ScalePP>,
    scaled<&NuvWrapperClass::ScaleI2VAREx>,
    [](NuvWrapperClass& job, NUV_Numbers& numbers) {
        static std::array<unsigned char, 1 << 18> table; // 4 bytes for each of 2^16 entries
        LutParam param{table.data(), numbers.word(), one_of(depths, numbers), 0};
        const std::uint32_t seed = numbers.byte();
        for (std::size_t i = 0; i < table.size(); ++i)
            table[i] = static_cast<unsigned char>(i * seed);
        job.LUT(or_null(param, numbers));
    },
    [](NuvWrapperClass& job, NUV_Numbers& numbers) {
        ConvertDataParam param{};
        param.slope = one_of(factors, numbers);
        param.offset = one_of(factors, numbers);
        param.bits = one_of(depths, numbers);
        job.ConvertDataType(or_null(param, numbers));
    },
    [](NuvWrapperClass& job, NUV_Numbers& numbers) {
        job.ColorSpace(static_cast<ColorType::eColorType>(one_of(colors, numbers) & 0x1111));
    },
    [](NuvWrapperClass& job, NUV_Numbers& numbers) {
        WriteLosslessJPEGOption option{static_cast<std::uint8_t>(numbers.byte() % 2)};
        job.WriteLosslessJPEG(or_null(option, numbers));
    },
};

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    NuvWrapperClass job;
    for (NUV_Numbers numbers(data, size); !numbers.empty();)
        calls[numbers.byte() % std::size(calls)](job, numbers);
    return 0;
}
