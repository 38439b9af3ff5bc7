#include <algorithm>
#include <array>
#include <string_view>
#include <utility>

#include "python/source/nuv_arrays.h"
#include "python/source/nuv_bindings.h"
#include "python/source/nuv_errors.h"
#include "python/source/nuv_sources.h"

namespace nuv_python {

namespace {

[[nodiscard]] py::bytes bytes_of(Image& image, const Form& form, const py::object& progress)
{
    const auto result = run_to_memory(image, {}, form, progress);
    std::size_t bytes = 0;
    const void* const data = result->data(bytes);
    return py::bytes(static_cast<const char*>(data), bytes);
}

[[nodiscard]] Form lossless_form(bool optimise)
{
    return [=](nuv_job* job) { nuv_as_lossless_jpeg(job, optimise ? 1 : 0); };
}

[[nodiscard]] Form samples_form(bool planar)
{
    return [=](nuv_job* job) { nuv_as_samples(job, planar ? 1 : 0); };
}

// What save() may be told of a form; each counts for its own form alone.
struct Settings {
    int quality;
    std::string sampling;
    bool optimise;
    bool planar;
};

[[nodiscard]] Form form_named(std::string_view name, const Settings& settings)
{
    if (name == "jpeg")
        return jpeg_form(settings.quality, settings.sampling);
    if (name == "lossless")
        return lossless_form(settings.optimise);
    if (name == "anymap")
        return nuv_as_anymap;
    if (name == "samples")
        return samples_form(settings.planar);
    throw py::value_error("a format is \"jpeg\", \"lossless\", \"anymap\" or \"samples\"");
}

// What the end of a path asks for; "" where it says nothing.
[[nodiscard]] std::string format_of(const std::string& path)
{
    struct Row {
        std::string_view suffix;
        std::string_view format;
    };
    static constexpr Row rows[] = {
        {".jpg", "jpeg"},   {".jpeg", "jpeg"},  {".jpe", "jpeg"},   {".pbm", "anymap"},
        {".pgm", "anymap"}, {".ppm", "anymap"}, {".pnm", "anymap"}, {".raw", "samples"},
    };
    std::string suffix = path.substr(std::min(path.rfind('.'), path.size()));
    std::transform(suffix.begin(), suffix.end(), suffix.begin(), [](char letter) {
        return letter >= 'A' && letter <= 'Z' ? static_cast<char>(letter - 'A' + 'a') : letter;
    });
    for (const Row& row : rows) {
        if (row.suffix == suffix)
            return std::string(row.format);
    }
    return {};
}

void save(Image& self, const py::object& to, std::string format, int quality,
          const std::string& sampling, bool optimise, bool planar, const py::object& progress)
{
    const bool is_stream = py::hasattr(to, "write");
    const std::string path = is_stream ? std::string() : path_of(to);
    if (format.empty())
        format = format_of(path);
    if (format.empty())
        throw py::value_error("the name does not tell a format that is written: say format=");
    const Form form = form_named(format, {quality, sampling, optimise, planar});
    if (is_stream)
        run_to_stream(self, form, to, progress);
    else
        run_to_file(self, form, path, progress);
}

// For a notebook: a small JPEG of what leaves the chain, by a job of its own. None where that
// cannot be shown.
[[nodiscard]] py::object preview(const Image& self)
{
    constexpr std::uint32_t box = 480;

    const nuv_picture& is = self.picture();
    if (is.type != NUV_UNSIGNED || is.bits > 16)
        return py::none();
    Image shown(self.chain());
    const bool is_gray = is.channels == 1 && is.palette_entries == 0;
    const auto small = [=](nuv_job* job) {
        nuv_recolor(job, is_gray ? NUV_GRAY : NUV_RGB);
        if (is.bits == 1)
            nuv_expand_bits(job, 8, 0, 255);
        if (is.bits == 16)
            nuv_convert(job, NUV_UNSIGNED, 8, 255.0 / 65535, 0);
        nuv_fit(job, NUV_FINE, box, box, NUV_FAST);
    };
    std::unique_ptr<Result> result;
    try {
        result = run_to_memory(shown, small, jpeg_form(80, "422"), py::none());
    } catch (py::error_already_set& error) {
        if (!error.matches(py::module_::import("nuv._types").attr("UnsupportedError")))
            throw;
        return py::none();
    }
    std::size_t bytes = 0;
    const void* const data = result->data(bytes);
    return py::bytes(static_cast<const char*>(data), bytes);
}

// The samples as they are, bits in bytes, without any library for arrays.
[[nodiscard]] py::object samples_of(Image& self, bool planar, const py::object& progress)
{
    const py::object owner = py::cast(run_to_memory(self, {}, samples_form(planar), progress));
    return py::reinterpret_steal<py::object>(PyMemoryView_FromObject(owner.ptr()));
}

[[nodiscard]] py::object as_array(Image& self, const py::object& dtype, const py::object& copy)
{
    if (py::isinstance<py::bool_>(copy) && !copy.cast<bool>())
        throw py::value_error("the samples of an image are made by the call, so this is a copy");
    py::object made = array(self, false, py::none());
    return dtype.is_none() ? made : made.attr("astype")(dtype, py::arg("copy") = false);
}

} // namespace

std::function<void(nuv_job*)> jpeg_form(int quality, const std::string& sampling)
{
    struct Row {
        std::string_view name;
        nuv_sampling code;
    };
    static constexpr Row rows[] = {
        {"444", NUV_SAMPLING_444},
        {"422", NUV_SAMPLING_422},
        {"420", NUV_SAMPLING_420},
        {"411", NUV_SAMPLING_411},
    };
    for (const Row& row : rows) {
        if (row.name == sampling)
            return [=](nuv_job* job) { nuv_as_jpeg(job, quality, row.code); };
    }
    throw py::value_error("a sampling is \"444\", \"422\", \"420\" or \"411\"");
}

void bind_results(ImageClass& image)
{
    using py::arg;

    image.def("array", array, py::kw_only(), arg("planar") = false, arg("progress") = py::none(),
              "Runs the chain. A numpy array (lines, columns) or (lines, columns, channels), with "
              "`planar` (channels, lines, columns): a view of the result, which lives as long as "
              "it. Bits come as bool.");
    image.def("__array__", as_array, arg("dtype") = py::none(), arg("copy") = py::none());
    image.def("samples", samples_of, py::kw_only(), arg("planar") = false,
              arg("progress") = py::none(),
              "Runs the chain. Its samples without a gap, in a memoryview of bytes that keeps "
              "them; lines of bits begin on a byte.");
    image.def(
        "jpeg",
        [](Image& self, int quality, const std::string& sampling, const py::object& progress) {
            return bytes_of(self, jpeg_form(quality, sampling), progress);
        },
        arg("quality") = 75, arg("sampling") = "422", py::kw_only(), arg("progress") = py::none(),
        "Runs the chain into a baseline JPEG: quality 0 to 100, colour stored as \"444\", \"422\", "
        "\"420\" or \"411\" says.");
    image.def(
        "lossless",
        [](Image& self, bool optimise, const py::object& progress) {
            return bytes_of(self, lossless_form(optimise), progress);
        },
        py::kw_only(), arg("optimise") = false, arg("progress") = py::none(),
        "Runs the chain into a lossless JPEG of 8 or 16 bits. `optimise` makes it smaller, and "
        "holds the whole picture.");
    image.def(
        "anymap",
        [](Image& self, const py::object& progress) {
            return bytes_of(self, nuv_as_anymap, progress);
        },
        py::kw_only(), arg("progress") = py::none(),
        "Runs the chain into a binary anymap: P4, P5 or P6.");
    image.def("save", save, arg("to"), py::kw_only(), arg("format") = "", arg("quality") = 75,
              arg("sampling") = "422", arg("optimise") = false, arg("planar") = false,
              arg("progress") = py::none(),
              "Runs the chain into a file, which takes the place of the path when it is whole, or "
              "into the write() of a binary file object. `format` is \"jpeg\", \"lossless\", "
              "\"anymap\" or \"samples\", and by default what the path ends in.");
    image.def(
        "lines",
        [](Image& self, std::uint32_t rows) {
            if (rows == 0)
                throw py::value_error("a band has at least one line");
            return Lines(self, rows);
        },
        arg("rows") = 64,
        "Runs the chain as far as it is asked: an iterator over bands of so many lines, each an "
        "array of its own, so that no more of the picture is held.");
    image.def("_repr_jpeg_", preview);
}

} // namespace nuv_python
