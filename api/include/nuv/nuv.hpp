// nuv from C++20: header only, over nuv.h, so that no C++ type crosses the border of the library.
//
//     auto jpeg = nuv::Job::open("photo.jpg").fit(nuv::Scaling::fine, 256, 256).jpeg().to_memory();
//     if (!jpeg)
//         std::cerr << jpeg.error().message << '\n';
//
// What a call does, takes and refuses stands in nuv.h.
#pragma once

#include <nuv/nuv.h>

#include <array>
#include <concepts>
#include <cstddef>
#include <cstdint>
#include <exception>
#include <filesystem>
#include <functional>
#include <iterator>
#include <memory>
#include <span>
#include <string>
#include <utility>
#include <variant>
#include <vector>
#include <version>
#if defined(__cpp_lib_expected) && __cpp_lib_expected >= 202202L
#    include <expected>
#endif

namespace nuv {

// Why there is no value.
struct Error {
    nuv_status status;
    std::string message; // a sentence
};

#if defined(__cpp_lib_expected) && __cpp_lib_expected >= 202202L
template <class T>
using Result = std::expected<T, Error>;
using BadResultAccess = std::bad_expected_access<Error>;
[[nodiscard]] inline std::unexpected<Error> failure(Error error)
{
    return std::unexpected<Error>(std::move(error));
}
#else
// What value() throws in the place of a value.
class BadResultAccess : public std::exception {
public:
    explicit BadResultAccess(Error error) : error_(std::move(error)) {}
    [[nodiscard]] const char* what() const noexcept override { return error_.message.c_str(); }
    [[nodiscard]] const Error& error() const noexcept { return error_; }

private:
    Error error_;
};

// A value, or the error in its place: what std::expected does, for compilers that lack it.
template <class T>
class [[nodiscard]] Result {
public:
    using value_type = T;
    using error_type = Error;

    Result(T value) : held_(std::in_place_index<0>, std::move(value)) {}
    Result(Error error) : held_(std::in_place_index<1>, std::move(error)) {}

    [[nodiscard]] bool has_value() const noexcept { return held_.index() == 0; }
    [[nodiscard]] explicit operator bool() const noexcept { return has_value(); }
    // Throws BadResultAccess without one.
    [[nodiscard]] T& value() & { return checked(), **this; }
    [[nodiscard]] const T& value() const& { return checked(), **this; }
    [[nodiscard]] T&& value() && { return checked(), *std::move(*this); }
    [[nodiscard]] T value_or(T other) const& { return has_value() ? **this : std::move(other); }
    [[nodiscard]] T value_or(T other) &&
    {
        return has_value() ? *std::move(*this) : std::move(other);
    }
    // There must be one.
    [[nodiscard]] T& operator*() & noexcept { return *std::get_if<0>(&held_); }
    [[nodiscard]] const T& operator*() const& noexcept { return *std::get_if<0>(&held_); }
    [[nodiscard]] T&& operator*() && noexcept { return std::move(*std::get_if<0>(&held_)); }
    [[nodiscard]] T* operator->() noexcept { return std::get_if<0>(&held_); }
    [[nodiscard]] const T* operator->() const noexcept { return std::get_if<0>(&held_); }
    [[nodiscard]] const Error& error() const { return std::get<1>(held_); }

    // `then(value)`, which answers a Result, or the error that is there.
    template <class Then>
    [[nodiscard]] auto and_then(Then then) && -> std::invoke_result_t<Then, T&&>
    {
        if (has_value())
            return std::invoke(std::move(then), std::get<0>(std::move(held_)));
        return std::get<1>(std::move(held_));
    }

private:
    void checked() const
    {
        if (!has_value())
            throw BadResultAccess(error());
    }

    std::variant<T, Error> held_;
};
[[nodiscard]] inline Error failure(Error error)
{
    return error;
}
#endif

using Picture = nuv_picture;
using Source = nuv_source;

enum class Color {
    other = NUV_COLOR_OTHER,
    gray = NUV_GRAY,
    gray_reverse = NUV_GRAY_REVERSE,
    lstar = NUV_LSTAR,
    rgb = NUV_RGB,
    adobe_rgb = NUV_ADOBE_RGB,
    hsl = NUV_HSL,
    cmy = NUV_CMY,
    xyz = NUV_XYZ,
    icc_lab = NUV_ICC_LAB,
    itu_lab = NUV_ITU_LAB,
    ycbcr = NUV_YCBCR,
    cmyk = NUV_CMYK,
};
enum class SampleType {
    unsigned_integer = NUV_UNSIGNED,
    signed_integer = NUV_SIGNED,
    real = NUV_REAL
};
enum class Scaling {
    nearest = NUV_NEAREST,
    linear = NUV_LINEAR,
    cubic = NUV_CUBIC,
    area = NUV_AREA,
    fine = NUV_FINE,
};
enum class Axis { left_to_right = NUV_LEFT_TO_RIGHT, top_to_bottom = NUV_TOP_TO_BOTTOM };
enum class Sampling {
    standard = NUV_SAMPLING_DEFAULT,
    s444 = NUV_SAMPLING_444,
    s422 = NUV_SAMPLING_422,
    s420 = NUV_SAMPLING_420,
    s411 = NUV_SAMPLING_411,
};

struct Rect {
    std::uint32_t x;
    std::uint32_t y;
    std::uint32_t width;
    std::uint32_t height;
};
struct Fit {
    bool enlarge = false;
    bool fill = false;
    bool fast = false;
};
struct Jpeg {
    int quality = -1; // the library's default
    Sampling sampling = Sampling::standard;
};

// Those of nuv_new(NULL), until they are changed.
struct Limits : nuv_limits {
    Limits() noexcept : nuv_limits{}
    {
        size = sizeof(nuv_limits);
        nuv_default_limits(this);
    }
};

// Lines done, and lines in all; false cancels.
using Progress = std::function<bool(std::uint32_t done, std::uint32_t lines)>;

struct JobEnd {
    void operator()(nuv_job* job) const noexcept { nuv_free(job); }
};
using JobHandle = std::unique_ptr<nuv_job, JobEnd>;

// A result in memory, which it owns.
class Bytes {
public:
    explicit Bytes(JobHandle job) noexcept : job_(std::move(job)) {}

    [[nodiscard]] std::span<const std::byte> span() const noexcept
    {
        std::size_t bytes = 0;
        const void* const data = nuv_result(job_.get(), &bytes);
        return {static_cast<const std::byte*>(data), bytes};
    }
    [[nodiscard]] const std::byte* data() const noexcept { return span().data(); }
    [[nodiscard]] std::size_t size() const noexcept { return span().size(); }
    // -1 when nothing of the source had to be mended.
    [[nodiscard]] std::int64_t first_damaged_line() const noexcept
    {
        return nuv_first_damaged_line(job_.get());
    }

private:
    JobHandle job_;
};

// Some lines of a picture.
struct Band {
    std::uint32_t first_line = 0;
    std::uint32_t lines = 0;
    std::size_t line_bytes = 0;
    std::span<const std::byte> bytes; // valid until the next band

    [[nodiscard]] std::span<const std::byte> line(std::uint32_t number) const
    {
        return bytes.subspan(number * line_bytes, line_bytes);
    }
};

// The bands of a job from its first line to its last, for one loop. A failure ends them, and
// stands in the job.
class Bands {
public:
    Bands(nuv_job* job, std::uint32_t lines) : job_(job), lines_(lines == 0 ? 1 : lines)
    {
        nuv_picture is{};
        is.size = sizeof(is);
        if (nuv_look(job, &is) != NUV_OK)
            return;
        band_.line_bytes =
            static_cast<std::size_t>((std::uint64_t{is.width} * is.channels * is.bits + 7) / 8);
        memory_.resize(band_.line_bytes * lines_);
    }

    class Iterator {
    public:
        using value_type = Band;
        using difference_type = std::ptrdiff_t;
        using iterator_concept = std::input_iterator_tag;

        Iterator() = default;
        explicit Iterator(Bands& bands) : bands_(&bands) { bands_->advance(); }
        [[nodiscard]] const Band& operator*() const noexcept { return bands_->band_; }
        [[nodiscard]] const Band* operator->() const noexcept { return &bands_->band_; }
        Iterator& operator++()
        {
            bands_->advance();
            return *this;
        }
        void operator++(int) { bands_->advance(); }
        [[nodiscard]] bool operator==(std::default_sentinel_t) const noexcept
        {
            return bands_->band_.lines == 0;
        }

    private:
        Bands* bands_ = nullptr;
    };

    [[nodiscard]] Iterator begin() { return Iterator(*this); }
    [[nodiscard]] std::default_sentinel_t end() const noexcept { return {}; }

private:
    void advance()
    {
        band_.first_line += band_.lines;
        band_.lines = 0;
        if (!memory_.empty())
            nuv_read_lines(job_, memory_.data(), 0, lines_, &band_.lines);
        band_.bytes = std::span(memory_).first(band_.lines * band_.line_bytes);
    }

    nuv_job* job_;
    std::uint32_t lines_;
    std::vector<std::byte> memory_;
    Band band_;
};

// A job moves and does not copy. Operations answer the job itself; the first failure stays, and
// comes out at the end.
class [[nodiscard]] Job {
public:
    explicit Job(const Limits& limits = {}) noexcept : job_(nuv_new(&limits)) {}

    static Job open(const std::filesystem::path& path, const Limits& limits = {},
                    std::uint32_t page = 0)
    {
        Job job(limits);
        nuv_page(job.get(), page);
        nuv_open_file(job.get(), path.string().c_str());
        return job;
    }
    // A stored picture in memory, which stays the caller's and outlives the job.
    static Job open(std::span<const std::byte> bytes, const Limits& limits = {},
                    std::uint32_t page = 0)
    {
        Job job(limits);
        nuv_page(job.get(), page);
        nuv_open_memory(job.get(), bytes.data(), bytes.size());
        return job;
    }
    // Samples, which stay the caller's and outlive the job. `stride` in bytes, 0 for no gaps.
    static Job samples(const void* data, Picture is, std::size_t stride = 0,
                       const Limits& limits = {})
    {
        Job job(limits);
        is.size = sizeof(is);
        nuv_open_samples(job.get(), data, stride, &is);
        return job;
    }

    // Samples in a file of nothing else: line behind line, or channel behind channel.
    static Job samples_file(const std::filesystem::path& path, Picture is, bool planar = false,
                            const Limits& limits = {})
    {
        Job job(limits);
        is.size = sizeof(is);
        nuv_open_samples_file(job.get(), path.string().c_str(), &is, planar);
        return job;
    }

    Job& crop(Rect r) { return nuv_crop(get(), r.x, r.y, r.width, r.height), *this; }
    Job& rotate(int degrees) { return nuv_rotate(get(), degrees), *this; }
    Job& flip(Axis axis) { return nuv_flip(get(), static_cast<nuv_flip_axis>(axis)), *this; }
    Job& upright() { return nuv_upright(get()), *this; }
    Job& scale(Scaling how, std::uint32_t width, std::uint32_t height)
    {
        return nuv_scale(get(), static_cast<nuv_scaling>(how), width, height), *this;
    }
    Job& fit(Scaling how, std::uint32_t width, std::uint32_t height, Fit flags = {})
    {
        const unsigned added = (flags.enlarge ? unsigned{NUV_ENLARGE} : 0U) |
                               (flags.fill ? unsigned{NUV_FILL} : 0U) |
                               (flags.fast ? unsigned{NUV_FAST} : 0U);
        return nuv_fit(get(), static_cast<nuv_scaling>(how), width, height, added), *this;
    }
    Job& invert() { return nuv_invert(get()), *this; }
    Job& reverse_channels() { return nuv_reverse_channels(get()), *this; }
    Job& pick_channels(std::span<const std::uint16_t> channels, Color color)
    {
        return nuv_pick_channels(get(), channels.data(),
                                 static_cast<std::uint16_t>(channels.size()),
                                 static_cast<nuv_color>(color)),
               *this;
    }
    // One table of up to 256 or 65536 entries for all channels.
    template <class T>
    requires std::same_as<T, std::uint8_t> || std::same_as<T, std::uint16_t> ||
        std::same_as<T, std::uint32_t>
            Job& table(std::span<const T> entries)
    {
        return nuv_table(get(), entries.data(), static_cast<std::uint32_t>(entries.size()), 1,
                         8 * sizeof(T)),
               *this;
    }
    Job& color(Color color) { return nuv_recolor(get(), static_cast<nuv_color>(color)), *this; }
    Job& convert(SampleType type, std::uint16_t bits, double slope = 1, double offset = 0)
    {
        return nuv_convert(get(), static_cast<nuv_sample_type>(type), bits, slope, offset), *this;
    }
    Job& shift(SampleType type, std::uint16_t bits, int shift)
    {
        return nuv_shift(get(), static_cast<nuv_sample_type>(type), bits, shift), *this;
    }
    Job& clamp(std::int64_t minimum, std::int64_t maximum)
    {
        return nuv_clamp(get(), minimum, maximum), *this;
    }
    Job& expand_bits(std::uint16_t bits, std::int32_t zero, std::int32_t one)
    {
        return nuv_expand_bits(get(), bits, zero, one), *this;
    }

    Job& jpeg(Jpeg settings = {})
    {
        return nuv_as_jpeg(get(), settings.quality, static_cast<nuv_sampling>(settings.sampling)),
               *this;
    }
    Job& lossless_jpeg(bool optimise = false)
    {
        return nuv_as_lossless_jpeg(get(), optimise), *this;
    }
    Job& anymap() { return nuv_as_anymap(get()), *this; }
    Job& raw(bool planar = false) { return nuv_as_samples(get(), planar), *this; }

    // Zeros behind a failure.
    [[nodiscard]] Picture picture() const
    {
        Picture is{};
        is.size = sizeof(is);
        nuv_look(get(), &is);
        return is;
    }
    [[nodiscard]] Source source() const
    {
        Source is{};
        is.size = sizeof(is);
        nuv_source_info(get(), &is);
        return is;
    }

    // Runs the job, which is empty afterwards.
    [[nodiscard]] Result<Bytes> to_memory(const Progress& progress = {})
    {
        const auto status = nuv_run_to_memory(get(), function(progress), user(progress));
        if (status != NUV_OK)
            return failure(error());
        return Bytes(std::move(job_));
    }
    // The first line that was mended, or -1.
    [[nodiscard]] Result<std::int64_t> to_file(const std::filesystem::path& path,
                                               const Progress& progress = {})
    {
        const auto status =
            nuv_run_to_file(get(), path.string().c_str(), function(progress), user(progress));
        if (status != NUV_OK)
            return failure(error());
        return nuv_first_damaged_line(get());
    }
    // In place of a form and a run: the lines of the chain as samples, up to `lines` at a time.
    [[nodiscard]] Bands lines(std::uint32_t lines = 16) { return Bands(get(), lines); }

    [[nodiscard]] explicit operator bool() const noexcept { return nuv_state(get()) == NUV_OK; }
    [[nodiscard]] Error error() const { return {nuv_state(get()), nuv_message(get())}; }
    [[nodiscard]] nuv_failure why() const
    {
        nuv_failure told{};
        told.size = sizeof(told);
        nuv_why(get(), &told);
        return told;
    }
    // For calls that have no name here.
    [[nodiscard]] nuv_job* get() const noexcept { return job_.get(); }

private:
    // A caller's exception must not cross the library: it counts as a wish to cancel.
    [[nodiscard]] static nuv_progress function(const Progress& progress) noexcept
    {
        if (!progress)
            return nullptr;
        return [](void* user, std::uint32_t done, std::uint32_t lines) -> int {
            try {
                return (*static_cast<const Progress*>(user))(done, lines) ? 0 : 1;
            } catch (...) {
                return 1;
            }
        };
    }
    [[nodiscard]] static void* user(const Progress& progress) noexcept
    {
        return const_cast<Progress*>(&progress);
    }

    JobHandle job_;
};

} // namespace nuv
