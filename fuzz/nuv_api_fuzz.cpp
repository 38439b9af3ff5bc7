// Any sequence of calls on one job of the plain interface: the first bytes of the input are its
// limits, and each one behind them is a call or one of its numbers. Every function of
// api/libnuvc.symbols has its entry here, which the build checks.

#include <algorithm>
#include <iterator>
#include <memory>
#include <tuple>
#include <vector>

#include "api/include/nuv/nuv.h"
#include "fuzz/nuv_numbers.h"
#include "fuzz/nuv_require.h"

namespace {

using nuv::NUV_Numbers;
using nuv::require;

constexpr int most_calls = 64;
constexpr std::uint32_t most_side = 64; // of samples of the caller
constexpr std::size_t most_stride = std::size_t{1} << 12;
constexpr std::uint32_t most_channels = 6;

// What arguments are taken from: what there is, and what there is not.
constexpr auto no_color = static_cast<nuv_color>(0x3FFF);
constexpr auto no_sampling = static_cast<nuv_sampling>(0x1FFF);
// clang-format off
constexpr std::uint16_t depths[] = {8, 1, 16, 32, 64, 2, 3, 0, 65535};
constexpr nuv_color colors[] = {NUV_COLOR_OTHER, NUV_GRAY, NUV_GRAY_REVERSE, NUV_LSTAR, NUV_RGB, NUV_XYZ, NUV_YCBCR, NUV_CMYK, no_color};
constexpr nuv_sampling samplings[] = {NUV_SAMPLING_DEFAULT, NUV_SAMPLING_444, NUV_SAMPLING_422, NUV_SAMPLING_420, NUV_SAMPLING_411, NUV_SAMPLING_OTHER, no_sampling};
constexpr double factors[] = {1, -1, 0.5, 257, 1 / 257.0, 0, 1e300, -1e-300};
constexpr std::uint32_t entries[] = {256, 65536, 0, 1, 99, 65537};
constexpr const char* paths[] = {nullptr, "", "/dev/null", "no/such/folder/file"};
// clang-format on

// What the functions of the caller are given.
struct NUV_Job {
    nuv_job* job;
    NUV_Numbers& numbers;
    std::vector<std::uint8_t> source = {};
    std::size_t read = 0;
    std::uint64_t line_bytes = 0;  // once lines are read
    std::uint64_t given_bytes = 0; // of a line of the caller's function
    std::uint32_t calls_left = 0;  // until a function of the caller wants no more; 0 for never

    bool is_enough() { return calls_left > 0 && --calls_left == 0; }
};

// Mostly of its true size, and of any other with room behind it, as of a later version.
template <class T>
T& record(NUV_Numbers& numbers)
{
    static struct {
        T record;
        std::byte behind[256];
    } room;
    room = {};
    room.record.size = numbers.byte() < 0xFC ? sizeof(T) : numbers.byte();
    return room.record;
}

// Arguments. Some are small, with the ends of the range among them.

std::uint32_t size(NUV_Job& it)
{
    const std::uint32_t low = it.numbers.byte();
    return low < 0xF0 ? low : low << 24 | 0x00FFFFFFU;
}

template <class T>
T byte(NUV_Job& it)
{
    return static_cast<T>(it.numbers.byte());
}

template <class T, std::uint32_t end>
T below(NUV_Job& it)
{
    return static_cast<T>((end > 256 ? it.numbers.word() : it.numbers.byte()) % end);
}

int whole(NUV_Job& it)
{
    return (static_cast<int>(it.numbers.byte()) - 128) * 15;
}

template <auto& values>
auto one_of(NUV_Job& it)
{
    return values[it.numbers.byte() % std::size(values)];
}

// As large as any call may read that says no more than this target does.
const void* memory(NUV_Job&)
{
    static std::vector<std::uint8_t> bytes;
    for (std::size_t i = 0; bytes.size() < std::size_t{most_channels} * 65537 * 4; ++i)
        bytes.push_back(static_cast<std::uint8_t>(i * 37 >> i % 5));
    return bytes.data();
}

const std::uint16_t* channels(NUV_Job& it)
{
    static std::uint16_t picked[8];
    std::generate(std::begin(picked), std::end(picked),
                  [&] { return below<std::uint16_t, 5>(it); });
    return picked;
}

const double* matrix(NUV_Job& it)
{
    static double numbers[most_channels * most_channels];
    std::generate(std::begin(numbers), std::end(numbers), [&] { return one_of<factors>(it); });
    return numbers;
}

const nuv_picture* picture(NUV_Job& it)
{
    nuv_picture& is = record<nuv_picture>(it.numbers);
    is.width = below<std::uint32_t, most_side + 1>(it);
    is.height = below<std::uint32_t, most_side + 1>(it);
    is.channels = below<std::uint16_t, most_channels>(it);
    is.bits = one_of<depths>(it);
    is.color = one_of<colors>(it);
    is.type = byte<std::int32_t>(it) % 8 == 0 ? 1 : 0;
    return &is;
}

const void* const* planes(NUV_Job& it)
{
    static const void* all[most_channels];
    std::fill(std::begin(all), std::end(all), memory(it));
    all[0] = it.numbers.byte() == 0 ? nullptr : all[1];
    return all;
}

template <class T>
T* told(NUV_Job& it)
{
    return &record<T>(it.numbers);
}

// Functions of the caller.

int progress(void* user, std::uint32_t done, std::uint32_t lines)
{
    require(done <= lines, "more lines than there are");
    return static_cast<int>(static_cast<NUV_Job*>(user)->is_enough());
}

int write(void* user, const void*, std::size_t)
{
    return static_cast<int>(static_cast<NUV_Job*>(user)->is_enough());
}

ptrdiff_t read_more(void* user, void* into, std::size_t bytes)
{
    auto& it = *static_cast<NUV_Job*>(user);
    if (it.is_enough())
        return -1;
    const std::size_t got = std::min({bytes, it.source.size() - it.read, std::size_t{99}});
    std::copy_n(it.source.data() + it.read, got, static_cast<std::uint8_t*>(into));
    it.read += got;
    return static_cast<ptrdiff_t>(got);
}

int give_line(void* user, std::uint32_t line, void* into)
{
    auto& it = *static_cast<NUV_Job*>(user);
    std::fill_n(static_cast<std::uint8_t*>(into), it.given_bytes, static_cast<std::uint8_t>(line));
    return static_cast<int>(it.is_enough());
}

// Calls.

// A function behind its arguments, which are made from left to right.
template <auto function, auto... arguments>
void call(NUV_Job& it)
{
    std::apply([&](auto... made) { function(it.job, made...); }, std::tuple{arguments(it)...});
}

template <bool is_stream>
void open_bytes(NUV_Job& it)
{
    if (!it.source.empty())
        return; // which a job may hold
    it.source.resize(below<std::size_t, 1 << 12>(it));
    std::generate(it.source.begin(), it.source.end(), [&] { return byte<std::uint8_t>(it); });
    it.calls_left = it.numbers.byte();
    if (is_stream)
        nuv_open_stream(it.job, read_more, &it);
    else
        nuv_open_memory(it.job, it.source.data(), it.source.size());
}

void open_lines(NUV_Job& it)
{
    if (it.given_bytes != 0)
        return; // which the source of a job may ask for
    const nuv_picture& is = *picture(it);
    it.given_bytes = (std::uint64_t{is.channels} * is.bits * is.width + 7) / 8;
    nuv_open_lines(it.job, give_line, &it, &is);
}

void multiply(NUV_Job& it)
{
    nuv_picture& is = *told<nuv_picture>(it);
    if (nuv_look(it.job, &is) == NUV_OK && is.channels <= most_channels)
        call<nuv_matrix, matrix, below<std::uint16_t, most_channels + 1>, matrix, one_of<colors>>(
            it);
}

// Nothing may stand between two of these, not even a look.
void read_lines(NUV_Job& it)
{
    nuv_picture& is = *told<nuv_picture>(it);
    if (it.line_bytes == 0 && nuv_look(it.job, &is) == NUV_OK)
        it.line_bytes = (std::uint64_t{is.channels} * is.bits * is.width + 7) / 8;
    if (it.line_bytes == 0 || it.line_bytes > most_stride)
        return;
    const std::uint32_t lines = it.numbers.byte();
    const auto into = std::make_unique_for_overwrite<std::uint8_t[]>(it.line_bytes * lines);
    const std::size_t stride = it.numbers.byte() % 2 * (it.line_bytes - 1); // 0, or too little
    std::uint32_t got = 0;
    nuv_read_lines(it.job, into.get(), stride, lines, &got);
    require(got <= lines, "more lines than were asked for");
}

// A file that there is, or could be, is left alone.
void run_to_file(NUV_Job& it)
{
    nuv_run_to_file(it.job, it.numbers.byte() % 2 == 0 ? "" : "no/such/folder/file", progress, &it);
}

void run_to_memory(NUV_Job& it)
{
    const bool is_done = nuv_run_to_memory(it.job, progress, &it) == NUV_OK;
    std::size_t bytes = 0;
    require((nuv_result(it.job, &bytes) != nullptr) == is_done && (bytes > 0) == is_done,
            "a result without a run, or a run without one");
}

using Call = void (*)(NUV_Job& it);

// clang-format off
constexpr Call calls[] = {
    open_bytes<false>,
    open_bytes<true>,
    open_lines,
    call<nuv_open_samples, memory, below<std::size_t, most_stride>, picture>,
    call<nuv_open_planes, planes, below<std::size_t, most_stride>, picture>,
    call<nuv_open_file, one_of<paths>>,
    call<nuv_open_samples_file, one_of<paths>, picture, byte<int>>,
    call<nuv_page, size>,
    call<nuv_look, told<nuv_picture>>,
    call<nuv_source_info, told<nuv_source>>,
    call<nuv_why, told<nuv_failure>>,
    call<nuv_crop, size, size, size, size>,
    call<nuv_rotate, whole>,
    call<nuv_flip, below<nuv_flip_axis, 2>>,
    call<nuv_upright>,
    call<nuv_scale, below<nuv_scaling, 6>, below<std::uint32_t, 700>, below<std::uint32_t, 700>>,
    call<nuv_fit, below<nuv_scaling, 6>, below<std::uint32_t, 700>, below<std::uint32_t, 700>, below<unsigned, 9>>,
    call<nuv_invert>,
    call<nuv_pick_channels, channels, below<std::uint16_t, 9>, one_of<colors>>,
    call<nuv_reverse_channels>,
    call<nuv_table, memory, one_of<entries>, below<std::uint16_t, most_channels + 1>, one_of<depths>>,
    call<nuv_color_table, memory, below<std::uint32_t, 12>, below<std::uint16_t, most_channels + 1>, one_of<colors>>,
    multiply,
    call<nuv_recolor, one_of<colors>>,
    call<nuv_convert, below<nuv_sample_type, 4>, one_of<depths>, one_of<factors>, one_of<factors>>,
    call<nuv_shift, below<nuv_sample_type, 4>, one_of<depths>, whole>,
    call<nuv_clamp, whole, size>,
    call<nuv_expand_bits, one_of<depths>, whole, whole>,
    call<nuv_as_jpeg, whole, one_of<samplings>>,
    call<nuv_as_lossless_jpeg, byte<int>>,
    call<nuv_as_anymap>,
    call<nuv_as_samples, byte<int>>,
    run_to_file,
    run_to_memory,
    [](NUV_Job& it) { nuv_run_to_stream(it.job, write, progress, &it); },
    read_lines,
    [](NUV_Job& it) { nuv_cancel_when(it.job, [](void* user) { return static_cast<int>(static_cast<NUV_Job*>(user)->is_enough()); }, &it); },
    [](NUV_Job&) { require(nuv_version() == NUV_VERSION && *nuv_build_info() != '\0', "version"); },
};
// clang-format on

nuv_job* made(NUV_Numbers& numbers)
{
    auto& limits = record<nuv_limits>(numbers);
    if (nuv_default_limits(&limits) != NUV_OK)
        return nuv_new(&limits);
    limits.pixels = std::uint64_t{1} << (6 + numbers.byte() % 12);
    limits.memory_bytes = std::uint64_t{1} << (16 + numbers.byte() % 11);
    limits.strict = static_cast<std::int32_t>(numbers.byte() % 2);
    return nuv_new(&limits);
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    NUV_Numbers numbers(data, size);
    NUV_Job it{made(numbers), numbers};
    nuv_status first = nuv_state(it.job);
    for (int i = 0; i < most_calls && !numbers.empty(); ++i) {
        calls[numbers.byte() % std::size(calls)](it);
        const nuv_status now = nuv_state(it.job);
        require(first == NUV_OK || now == first, "the first failure is gone");
        require(now == NUV_OK || *nuv_message(it.job) != '\0', "a failure without a sentence");
        require(nuv_first_damaged_line(it.job) >= -1, "no line");
        require(nuv_scaling_steps(it.job) != nullptr, "no steps");
        first = now;
    }
    require(nuv_memory_peak(it.job) <= std::uint64_t{1} << 26, "more memory than is allowed");
    nuv_free(it.job);
    return 0;
}
