#include "tools/nuv/nuv_operations.h"

#include <exception>
#include <string>
#include <utility>

#include "python/source/nuv_arrays.h"
#include "python/source/nuv_bindings.h"
#include "python/source/nuv_errors.h"
#include "python/source/nuv_sources.h"
#include "python/source/nuv_watch.h"
#include "python/source/nuv_words.h"

namespace nuv_python {

namespace {

[[nodiscard]] py::object named(const char* type, std::int32_t code)
{
    return py::module_::import("nuv._types").attr(type)(code);
}

// What a job may be asked for, as Python says it: None for no limit.
struct Limits {
    py::object pixels;
    py::object side;
    py::object memory;
    bool strict;

    [[nodiscard]] nuv_limits limits() const
    {
        nuv_limits limits{};
        limits.size = sizeof(limits);
        nuv_default_limits(&limits);
        limits.pixels = number<std::uint64_t>(pixels, "max_pixels");
        limits.width = limits.height = number<std::uint32_t>(side, "max_side");
        limits.memory_bytes = number<std::uint64_t>(memory, "max_memory");
        limits.strict = strict ? 1 : 0;
        return limits;
    }

private:
    template <class T>
    [[nodiscard]] static T number(const py::object& is, const char* name)
    {
        if (is.is_none())
            return 0;
        const auto value = is.cast<T>();
        if (value == 0)
            throw py::value_error(std::string(name).append(" is above 0, or None for no limit"));
        return value;
    }
};

[[nodiscard]] Image open(const py::object& source, std::uint32_t page, const Limits& limits)
{
    const nuv_limits asked = limits.limits();
    return Image({.source = stored_picture(source, asked.memory_bytes),
                  .limits = asked,
                  .page = page,
                  .operations = {}});
}

[[nodiscard]] nuv_source source_of(nuv_job* job)
{
    nuv_source is{};
    is.size = sizeof(is);
    nuv_source_info(job, &is);
    return is;
}

// Told of a picture that is known and not served, too.
[[nodiscard]] py::object info(const py::object& source, std::uint32_t page, const Limits& limits)
{
    const nuv_limits asked = limits.limits();
    const auto from = stored_picture(source, asked.memory_bytes);
    const nuv::JobHandle job = new_job(asked);
    Watch watch(job.get());
    {
        const Unlocked unlocked;
        nuv_page(job.get(), page);
        from->open(job.get());
    }
    const nuv_source is = source_of(job.get());
    if (is.kind[0] == '\0' || nuv_state(job.get()) == NUV_CANCELLED)
        watch.check(from->name());
    const auto word = [](std::int32_t code) -> py::object {
        switch (code) {
        case 0:
            return py::none();
        case NUV_SAMPLING_444:
            return py::str("444");
        case NUV_SAMPLING_422:
            return py::str("422");
        case NUV_SAMPLING_420:
            return py::str("420");
        case NUV_SAMPLING_411:
            return py::str("411");
        default:
            return py::str("other");
        }
    };
    const auto if_told = [](std::int32_t number, std::int32_t untold) -> py::object {
        return number == untold ? py::object(py::none()) : py::object(py::int_(number));
    };
    return py::module_::import("nuv._types")
        .attr("Info")(is.width, is.height, is.channels, is.bits, named("Color", is.color), is.kind,
                      is.coding, is.x_resolution, is.y_resolution,
                      named("Unit", is.resolution_unit), if_told(is.orientation, 0),
                      word(is.sampling), if_told(is.quality, -1));
}

// As the tool does it: shrunk into the box as it is stored, then turned.
[[nodiscard]] Image thumbnail(const py::object& source, std::uint32_t width,
                              const py::object& height, bool crop, bool enlarge, bool fast,
                              std::uint32_t page, const Limits& limits)
{
    constexpr std::int32_t first_lying = 5; // TIFF 6.0, section 8: 5 to 8 have rows for columns

    const auto lines = height.is_none() ? width : height.cast<std::uint32_t>();
    const unsigned flags = (crop ? unsigned{NUV_FILL} : 0U) |
                           (enlarge ? unsigned{NUV_ENLARGE} : 0U) |
                           (fast ? unsigned{NUV_FAST} : 0U);
    return open(source, page, limits).with([=](nuv_job* job) {
        const bool lies = source_of(job).orientation >= first_lying;
        const nuv_picture is = nuv_tool::look(job);
        if (is.palette_entries != 0)
            nuv_recolor(job, NUV_RGB);
        if (is.bits == 1)
            nuv_expand_bits(job, 8, 0, 255);
        nuv_fit(job, NUV_FINE, lies ? lines : width, lies ? width : lines, flags);
        nuv_upright(job);
    });
}

[[nodiscard]] std::string described(const Image& self)
{
    const nuv_picture& is = self.picture();
    std::string text = "<nuv.Image " + std::to_string(is.width) + " x " +
                       std::to_string(is.height) + ", " + std::to_string(is.channels) + " x " +
                       std::to_string(is.bits) + " bits, " +
                       named("Color", is.color).attr("name").cast<std::string>();
    if (is.palette_entries != 0)
        text += " with a palette";
    if (const std::string name = self.source_name(); !name.empty())
        text += ", from " + py::repr(text_of(name)).cast<std::string>();
    return text + ">";
}

// Type.__new__() would give an object with nothing in it.
void make_by_functions_alone(const py::object& type)
{
    reinterpret_cast<PyTypeObject*>(type.ptr())->tp_new = nullptr;
}

void bind_image(py::module_& module)
{
    ImageClass image(module, "Image",
                     "A chain of operations on a picture. Each operation gives a new Image at "
                     "once; nothing is read until array(), jpeg(), save() or another of the "
                     "results runs the chain, each call once. Images may be used in any thread.");
    image.def_property_readonly(
        "size",
        [](const Image& self) {
            return py::make_tuple(self.picture().width, self.picture().height);
        },
        "Pixels and lines of what leaves the chain.");
    image.def_property_readonly(
        "width", [](const Image& self) { return self.picture().width; }, "Pixels of a line.");
    image.def_property_readonly(
        "height", [](const Image& self) { return self.picture().height; }, "Lines.");
    image.def_property_readonly(
        "channels", [](const Image& self) { return self.picture().channels; },
        "Samples of a pixel.");
    image.def_property_readonly(
        "bits", [](const Image& self) { return self.picture().bits; }, "Of a sample.");
    image.def_property_readonly(
        "color", [](const Image& self) { return named("Color", self.picture().color); },
        "What the channels mean.");
    image.def_property_readonly(
        "sample_type", [](const Image& self) { return named("SampleType", self.picture().type); },
        "Of the samples.");
    image.def_property_readonly(
        "palette_entries", [](const Image& self) { return self.picture().palette_entries; },
        "Not 0 where the samples are indices: see recolor().");
    image.def_property_readonly(
        "first_damaged_line",
        [](const Image& self) -> py::object {
            if (self.first_damaged_line < 0)
                return py::none();
            return py::int_(self.first_damaged_line);
        },
        "Of the source as it is stored, from 0: where the last run has begun to mend it, or None.");
    image.def("close", &Image::close,
              "Lets go of the open file. An image that is used again opens it again.");
    image.def("__enter__", [](const py::object& self) { return self; });
    image.def("__exit__", [](Image& self, const py::args&) { self.close(); });
    image.def("__repr__", described);
    bind_operations(image);
    bind_results(image);
    bind_words(module, image);
    make_by_functions_alone(image);
}

void bind_helpers(py::module_& module)
{
    py::class_<Result> result(module, "Result", py::buffer_protocol(), "Memory of a run.");
    result.def_buffer([](const Result& self) {
        std::size_t bytes = 0;
        const void* const data = self.data(bytes);
        return py::buffer_info(static_cast<unsigned char*>(const_cast<void*>(data)),
                               static_cast<py::ssize_t>(bytes), false);
    });
    make_by_functions_alone(result);
    py::class_<Lines> lines(module, "Lines", "Bands of lines as they come.");
    lines.def("__iter__", [](const py::object& self) { return self; });
    lines.def("__next__", &Lines::next);
    make_by_functions_alone(lines);
}

void bind_functions(py::module_& module)
{
    using py::arg;
    constexpr std::uint64_t default_pixels = std::uint64_t{1} << 28;
    constexpr std::uint32_t default_side = 1U << 20;
    constexpr std::uint64_t default_memory = std::uint64_t{1} << 30;

    module.def(
        "open",
        [](const py::object& source, std::uint32_t page, bool strict, py::object max_pixels,
           py::object max_side, py::object max_memory) {
            return open(
                source, page,
                {std::move(max_pixels), std::move(max_side), std::move(max_memory), strict});
        },
        arg("source"), py::pos_only(), py::kw_only(), arg("page") = 0, arg("strict") = false,
        arg("max_pixels") = default_pixels, arg("max_side") = default_side,
        arg("max_memory") = default_memory, R"(A stored picture, of any kind that is known.

source: a path; an object with a buffer of bytes, which stays as it is until the chain has run; or a
    binary file object, which is read to its end here.
page: of a file with several pictures the one to open, from 0.
strict: damage is an error, DamagedError, and not mended with a DamagedWarning.
max_pixels, max_side, max_memory: in pixels, pixels or lines, and bytes; LimitError beyond. None for
    no limit.)");
    module.def(
        "info",
        [](const py::object& source, std::uint32_t page) {
            const py::object none = py::none();
            return info(source, page, {none, none, py::int_(default_memory), false});
        },
        arg("source"), py::pos_only(), py::kw_only(), arg("page") = 0,
        "What a stored picture is, from its header. Also of one that is known and not served.");
    module.def(
        "thumbnail",
        [](const py::object& source, std::uint32_t width, const py::object& height, bool crop,
           bool enlarge, bool fast, std::uint32_t page, bool strict, py::object max_pixels,
           py::object max_side, py::object max_memory) {
            return thumbnail(
                source, width, height, crop, enlarge, fast, page,
                {std::move(max_pixels), std::move(max_side), std::move(max_memory), strict});
        },
        arg("source"), py::pos_only(), arg("width"), arg("height") = py::none(), py::kw_only(),
        arg("crop") = false, arg("enlarge") = false, arg("fast") = false, arg("page") = 0,
        arg("strict") = false, arg("max_pixels") = default_pixels, arg("max_side") = default_side,
        arg("max_memory") = default_memory,
        R"(A stored picture, upright, and as large as fits into the box; a height of None makes that a square.

crop: covers the box, and cuts off what stands over on both sides.
enlarge: a picture smaller than the box grows into it.
fast: a JPEG may be decoded at 1/2, 1/4 or 1/8 of its size; the result is another one.
The others are as in open().)");
    module.def(
        "from_array",
        [](const py::object& array, const py::object& color) {
            nuv_limits limits{};
            limits.size = sizeof(limits); // the caller has the samples already
            limits.memory_bytes = default_memory;
            return Image(
                {.source = samples(array, color), .limits = limits, .page = 0, .operations = {}});
        },
        arg("array"), py::pos_only(), arg("color") = py::none(),
        R"(Samples that are there: (lines, columns) or (lines, columns, channels) of uint8, uint16, uint32 or
bool, which is 1 bit. They are not copied and stay as they are until the chain has run.

color: what the channels mean; by default gray for one, RGB for three.)");
    module.def(
        "build_info", [] { return nuv_build_info(); },
        "Compiler, forms of the processor in use, versions of the libraries beneath.");
    const std::uint32_t version = nuv_version();
    module.attr("__version__") = std::to_string(version >> 16) + "." +
                                 std::to_string(version >> 8 & 255U) + "." +
                                 std::to_string(version & 255U);
}

} // namespace

} // namespace nuv_python

PYBIND11_MODULE(_nuv, module)
{
    module.doc() = "The part of nuv that is compiled.";
    nuv_python::refuse_at_exit();
    pybind11::register_local_exception_translator([](std::exception_ptr thrown) {
        try {
            std::rethrow_exception(std::move(thrown));
        } catch (const pybind11::cast_error&) {
            PyErr_SetString(PyExc_TypeError, "a value is of another type, or out of its range");
        }
    });
    nuv_python::bind_helpers(module);
    nuv_python::bind_image(module);
    nuv_python::bind_functions(module);
}
