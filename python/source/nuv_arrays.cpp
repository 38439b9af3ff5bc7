#include "python/source/nuv_arrays.h"

#include "tools/nuv/nuv_operations.h"

#include <algorithm>
#include <utility>

#include "python/source/nuv_errors.h"
#include "python/source/nuv_watch.h"

namespace nuv_python {

namespace {

[[nodiscard]] py::dtype type_of(const nuv_picture& is)
{
    if (is.bits == 1)
        return py::dtype("?");
    const char kind = is.type == NUV_REAL ? 'f' : is.type == NUV_SIGNED ? 'i' : 'u';
    return py::dtype(kind + std::to_string(is.bits / 8));
}

using Axes = std::vector<py::ssize_t>;

[[nodiscard]] Axes shape_of(const Layout& layout, std::uint32_t lines, bool planar)
{
    const py::ssize_t rows = lines;
    const py::ssize_t columns = layout.columns;
    const py::ssize_t channels = layout.channels;
    if (channels == 1)
        return {rows, columns};
    return planar ? Axes{channels, rows, columns} : Axes{rows, columns, channels};
}

} // namespace

Layout layout_of(const nuv_picture& is)
{
    Layout layout{.type = type_of(is),
                  .lines = is.height,
                  .columns = is.width,
                  .channels = is.channels,
                  .line_bytes = 0};
    layout.line_bytes =
        std::size_t{is.width} * is.channels * static_cast<std::size_t>(layout.type.itemsize());
    return layout;
}

void to_bytes(nuv_job* job)
{
    if (nuv_tool::look(job).bits == 1)
        nuv_expand_bits(job, 8, 0, 1);
}

py::array array(Image& image, bool planar, const py::object& progress)
{
    const Layout layout = layout_of(image.picture());
    auto result = run_to_memory(
        image, to_bytes, [planar](nuv_job* job) { nuv_as_samples(job, planar ? 1 : 0); }, progress);
    std::size_t bytes = 0;
    const void* const data = result->data(bytes);
    const py::object owner = py::cast(std::move(result));
    return py::array(layout.type, shape_of(layout, layout.lines, planar), data, owner);
}

Lines::Lines(py::object image, std::uint32_t lines)
    : image_(std::move(image)),
      job_(image_.cast<Image&>().take_job()),
      layout_(layout_of(image_.cast<Image&>().picture())),
      lines_(std::min(lines, layout_.lines))
{
    to_bytes(job_.get());
    check(job_.get(), image_.cast<Image&>().source_name());
}

py::array Lines::next()
{
    if (is_reading_)
        throw py::value_error("another thread is reading a band");
    nuv::JobHandle job = std::move(job_); // nobody else has it while the lock is free
    if (!job)
        throw py::stop_iteration();
    auto& image = image_.cast<Image&>();
    py::array band(layout_.type, shape_of(layout_, lines_, false));
    void* const into = band.mutable_data();
    std::uint32_t got = 0;
    {
        Watch watch(job.get());
        is_reading_ = true;
        {
            const Unlocked unlocked;
            nuv_read_lines(job.get(), into, layout_.line_bytes, lines_, &got);
        }
        is_reading_ = false;
        image.first_damaged_line = nuv_first_damaged_line(job.get());
        watch.check(image.source_name());
    }
    if (got == 0) {
        warn_of_damage(job.get(), image.source_name());
        throw py::stop_iteration();
    }
    job_ = std::move(job);
    return got == lines_ ? band : py::array(band[py::slice(0, got, 1)]);
}

} // namespace nuv_python
