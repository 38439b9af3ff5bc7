#include <optional>
#include <pybind11/stl.h>
#include <string>
#include <string_view>
#include <utility>

#include "python/source/nuv_arrays.h"
#include "python/source/nuv_bindings.h"
#include "python/source/nuv_errors.h"
#include "python/source/nuv_sources.h"
#include "python/source/nuv_words.h"

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

void save(Image& self, const py::object& to, const std::string& format, std::optional<int> quality,
          const std::optional<std::string>& sampling, bool optimise, const py::object& progress)
{
    const bool is_stream = py::hasattr(to, "write");
    const std::string path = is_stream ? std::string("-") : path_of(to);
    const Form form = form_of(format, path, output_settings(quality, sampling, optimise));
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
    image.def("save", save, arg("to"), py::kw_only(), arg("format") = "",
              arg("quality") = py::none(), arg("sampling") = py::none(), arg("optimise") = false,
              arg("progress") = py::none(),
              "Runs the chain into a file, which takes the place of the path when it is whole, or "
              "into the write() of a binary file object. `format` is \"jpeg\", \"lossless\", "
              "\"anymap\", \"raw\" for samples alone or \"planar\" for one channel behind the "
              "other, and by default what the path ends in, as the tool has it.");
    image.def(
        "lines",
        [](const py::object& self, std::uint32_t rows) {
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
