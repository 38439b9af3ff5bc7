#include <cmath>
#include <pybind11/stl.h>
#include <utility>

#include "python/source/nuv_bindings.h"
#include "python/source/nuv_buffer.h"
#include "python/source/nuv_errors.h"

namespace nuv_python {

namespace {

[[nodiscard]] nuv_color color_of(int code)
{
    return static_cast<nuv_color>(code);
}

[[nodiscard]] nuv_sample_type type_of(int code)
{
    return static_cast<nuv_sample_type>(code);
}

void bind_geometry(ImageClass& image)
{
    using py::arg;

    image.def(
        "crop",
        [](Image& self, std::uint32_t x, std::uint32_t y, std::uint32_t width,
           std::uint32_t height) {
            return self.with([=](nuv_job* job) { nuv_crop(job, x, y, width, height); });
        },
        arg("x"), arg("y"), arg("width"), arg("height"),
        "A rectangle, counted from the upper left corner in pixels and lines. What reaches over "
        "the right or the lower edge is cut off.");
    image.def(
        "rotate",
        [](Image& self, int degrees) {
            return self.with([=](nuv_job* job) { nuv_rotate(job, degrees); });
        },
        arg("degrees"),
        "Turned clockwise by a multiple of 90 degrees. Holds the whole result while it runs.");
    image.def(
        "flip",
        [](Image& self, int axis) {
            return self.with(
                [=](nuv_job* job) { nuv_flip(job, static_cast<nuv_flip_axis>(axis)); });
        },
        arg("axis") = static_cast<int>(NUV_LEFT_TO_RIGHT),
        "Left and right exchanged, or with Axis.TOP_TO_BOTTOM above and below, which holds the "
        "whole picture.");
    image.def(
        "upright", [](Image& self) { return self.with(nuv_upright); },
        "As the source says that it is to be seen: turned and mirrored by its orientation.");
    image.def(
        "scale",
        [](Image& self, std::uint32_t width, std::uint32_t height, int how) {
            return self.with([=](nuv_job* job) {
                nuv_scale(job, static_cast<nuv_scaling>(how), width, height);
            });
        },
        arg("width"), arg("height"), arg("how") = static_cast<int>(NUV_FINE),
        "To exactly this size, in pixels and lines.");
    image.def(
        "fit",
        [](Image& self, std::uint32_t width, std::uint32_t height, int how, bool enlarge, bool fill,
           bool fast) {
            const unsigned flags = (enlarge ? unsigned{NUV_ENLARGE} : 0U) |
                                   (fill ? unsigned{NUV_FILL} : 0U) |
                                   (fast ? unsigned{NUV_FAST} : 0U);
            return self.with([=](nuv_job* job) {
                nuv_fit(job, static_cast<nuv_scaling>(how), width, height, flags);
            });
        },
        arg("width"), arg("height"), arg("how") = static_cast<int>(NUV_FINE), py::kw_only(),
        arg("enlarge") = false, arg("fill") = false, arg("fast") = false,
        "To the largest size of the same shape that fits into the box. `enlarge` lets smaller "
        "pictures grow, `fill` covers the box and cuts off what stands over on both sides, `fast` "
        "may decode a JPEG at 1/2, 1/4 or 1/8, which gives another result.");
}

void bind_channels(ImageClass& image)
{
    using py::arg;

    image.def(
        "invert", [](Image& self) { return self.with(nuv_invert); },
        "Every bit of every sample turned over.");
    image.def(
        "pick_channels",
        [](Image& self, std::vector<std::uint16_t> channels, int color) {
            if (channels.size() > 65535)
                raise("CallError", "a pixel has up to 65535 channels");
            return self.with([channels = std::move(channels), color](nuv_job* job) {
                nuv_pick_channels(job, channels.data(), static_cast<std::uint16_t>(channels.size()),
                                  color_of(color));
            });
        },
        arg("channels"), arg("color") = static_cast<int>(NUV_COLOR_OTHER),
        "These channels of each pixel, from 0, in any order, also more than once. `color` is what "
        "the result then is.");
    image.def(
        "reverse_channels", [](Image& self) { return self.with(nuv_reverse_channels); },
        "The channels of each pixel in the opposite order, under the same colour.");
    image.def(
        "recolor",
        [](Image& self, int color) {
            return self.with([=](nuv_job* job) { nuv_recolor(job, color_of(color)); });
        },
        arg("color"),
        "To another colour, by calculation. A picture with a palette is first turned into the "
        "colours that its indices stand for.");
}

void bind_samples(ImageClass& image)
{
    using py::arg;

    image.def(
        "convert",
        [](Image& self, std::uint16_t bits, int type, double slope, double offset) {
            return self.with(
                [=](nuv_job* job) { nuv_convert(job, type_of(type), bits, slope, offset); });
        },
        arg("bits"), arg("type") = static_cast<int>(NUV_UNSIGNED), py::kw_only(),
        arg("slope") = 1.0, arg("offset") = 0.0,
        "Samples of another type and width, as sample x slope + offset, rounded and limited. To 1 "
        "bit, `offset` is a threshold: 1 where sample x slope reaches it.");
    image.def(
        "shift",
        [](Image& self, std::uint16_t bits, int shift, int type) {
            return self.with([=](nuv_job* job) { nuv_shift(job, type_of(type), bits, shift); });
        },
        arg("bits"), arg("shift"), arg("type") = static_cast<int>(NUV_UNSIGNED),
        "Samples of another type and width, as sample x 2^shift with shift from -31 to 31, "
        "limited; halves are rounded up.");
    image.def(
        "clamp",
        [](Image& self, std::int64_t minimum, std::int64_t maximum) {
            return self.with([=](nuv_job* job) { nuv_clamp(job, minimum, maximum); });
        },
        arg("minimum"), arg("maximum"),
        "Samples below the minimum raised to it, and those above the maximum lowered.");
    image.def(
        "expand_bits",
        [](Image& self, std::uint16_t bits, std::int32_t zero, std::int32_t one) {
            return self.with([=](nuv_job* job) { nuv_expand_bits(job, bits, zero, one); });
        },
        arg("bits"), arg("zero"), arg("one"),
        "A 1-bit picture to unsigned samples of 8 or 16 bits: `zero` for a 0, `one` for a 1.");
}

// A table of the caller's, copied: it may change or go before the chain runs.
struct Table {
    explicit Table(const py::object& from)
    {
        const Buffer buffer(from, PyBUF_ND | PyBUF_C_CONTIGUOUS | PyBUF_FORMAT);
        bits = buffer.sample_bits();
        const Py_buffer& view = buffer.view();
        if (bits < 8)
            raise("CallError", "a table is of uint8, uint16 or uint32");
        shape.assign(view.shape, view.shape + view.ndim);
        const auto* const begin = static_cast<const char*>(view.buf);
        bytes = std::make_shared<const std::string>(begin, begin + view.len);
    }

    std::uint16_t bits = 0;
    std::vector<Py_ssize_t> shape;
    std::shared_ptr<const std::string> bytes;
};

[[nodiscard]] Image look_up(Image& self, const py::object& entries)
{
    const Table table(entries);
    const auto axes = table.shape.size();
    if (axes != 1 && axes != 2)
        raise("CallError", "a table has the shape (entries,) or (channels, entries)");
    const Py_ssize_t count = table.shape.back();
    const Py_ssize_t channels = axes == 2 ? table.shape.front() : 1;
    if (count > 65536 || channels > 65535)
        raise("CallError", "a table has up to 65536 entries for a channel");
    return self.with([=](nuv_job* job) {
        nuv_table(job, table.bytes->data(), static_cast<std::uint32_t>(count),
                  static_cast<std::uint16_t>(channels), table.bits);
    });
}

[[nodiscard]] Image interpolate(Image& self, const py::object& grid, int color)
{
    const Table table(grid);
    const nuv_picture& is = self.picture();
    bool good = table.bits == is.bits && table.shape.size() == is.channels + std::size_t{1} &&
                table.shape.back() <= 65535;
    for (std::size_t axis = 1; good && axis < is.channels; ++axis)
        good = table.shape[axis] == table.shape[0];
    if (!good)
        raise("CallError", "a table of colours has an axis of points for each channel, all of "
                           "them equal, then one of outputs, and the picture's type");
    return self.with([=](nuv_job* job) {
        nuv_color_table(job, table.bytes->data(), static_cast<std::uint32_t>(table.shape.front()),
                        static_cast<std::uint16_t>(table.shape.back()), color_of(color));
    });
}

[[nodiscard]] Image multiply(Image& self, const std::vector<std::vector<double>>& rows,
                             std::vector<double> offsets, int color)
{
    std::vector<double> factors;
    for (const auto& row : rows) {
        if (row.size() != self.picture().channels)
            raise("CallError", "a row of the matrix has a factor for each channel");
        factors.insert(factors.end(), row.begin(), row.end());
    }
    if (rows.size() > 65535 || (!offsets.empty() && offsets.size() != rows.size()))
        raise("CallError", "there are as many offsets as rows, or none");
    return self.with([factors = std::move(factors), offsets = std::move(offsets),
                      count = static_cast<std::uint16_t>(rows.size()), color](nuv_job* job) {
        nuv_matrix(job, factors.data(), count, offsets.empty() ? nullptr : offsets.data(),
                   color_of(color));
    });
}

void bind_tables(ImageClass& image)
{
    using py::arg;

    image.def("table", look_up, arg("entries"),
              "Each sample becomes the entry of its value, or 0 behind the last one: (entries,) "
              "for all channels or (channels, entries), of uint8, uint16 or uint32.");
    image.def("color_table", interpolate, arg("grid"), arg("color"),
              "Each pixel becomes what a table says over all its channels at once, interpolated "
              "between its points: of the shape (points, ..., points, outputs), with an axis of "
              "points for each of 1 to 4 channels, and of the picture's type.");
    image.def("matrix", multiply, arg("rows"), arg("offsets") = std::vector<double>(),
              arg("color") = static_cast<int>(NUV_COLOR_OTHER),
              "Each pixel multiplied by a matrix of a row for each new channel, and `offsets`, in "
              "units of the sample, added. Rounded and limited.");
}

} // namespace

void bind_operations(ImageClass& image)
{
    bind_geometry(image);
    bind_channels(image);
    bind_samples(image);
    bind_tables(image);
}

} // namespace nuv_python
