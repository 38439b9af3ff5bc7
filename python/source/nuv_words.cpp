#include "python/source/nuv_words.h"

#include "tools/nuv/nuv_names.h"
#include "tools/nuv/nuv_operations.h"

#include <memory>
#include <pybind11/stl.h>
#include <sstream>
#include <stdexcept>
#include <string_view>
#include <utility>
#include <vector>

#include "python/source/nuv_errors.h"
#include "python/source/nuv_lock.h"
#include "python/source/nuv_sources.h"

namespace nuv_python {

namespace {

using Words = std::vector<std::string>;
using Operations = std::vector<nuv_tool::Operation>;

// One text, parted at white space, or any sequence of words.
[[nodiscard]] Words words_of(const py::object& from)
{
    Words words;
    if (!py::isinstance<py::str>(from)) {
        for (const py::handle word : from)
            words.push_back(path_of(word)); // it may name a file
        return words;
    }
    std::istringstream text(path_of(from));
    for (std::string word; text >> word;)
        words.push_back(word);
    return words;
}

// The tool speaks of its options, which are arguments here.
[[nodiscard]] std::string without_dashes(std::string text)
{
    constexpr std::string_view form = "--write";
    for (std::size_t at = text.find(form); at != std::string::npos; at = text.find(form, at))
        text.replace(at, form.size(), "format");
    for (std::size_t at = text.find("--"); at != std::string::npos; at = text.find("--", at))
        text.erase(at, 2);
    return text;
}

[[nodiscard]] Operations operations_of(const py::object& from)
{
    const Words words = words_of(from);
    try {
        const Unlocked unlocked; // a word may name a file
        return nuv_tool::parse_operations(words);
    } catch (const std::runtime_error& error) { // of the words, or of that file
        raise("CallError", error.what());
    }
}

[[nodiscard]] Image apply(Image& self, const py::object& words)
{
    const auto operations = std::make_shared<const Operations>(operations_of(words));
    return self.with([operations, source = self.source_name()](nuv_job* job) {
        for (const nuv_tool::Operation& operation : *operations) {
            if (nuv_state(job) != NUV_OK)
                return;
            if (const nuv_tool::Problem problem = operation.append(job))
                raise("UnsupportedError", nuv_tool::quoted(operation.word) + ": " + *problem,
                      source);
        }
    });
}

} // namespace

OutputSettings output_settings(std::optional<int> quality,
                               const std::optional<std::string>& sampling, bool optimise)
{
    OutputSettings settings{.quality = quality, .sampling = {}, .optimise = optimise};
    if (quality && (*quality < 0 || *quality > 100))
        raise("CallError", "quality is 0 to 100");
    if (sampling) {
        settings.sampling = nuv_tool::find_sampling(*sampling);
        if (!settings.sampling)
            raise("CallError", "sampling is \"444\", \"422\", \"420\" or \"411\"");
    }
    return settings;
}

Form form_of(const std::string& format, const std::string& path, const OutputSettings& settings)
{
    const nuv_tool::OutputKind* kind = nullptr;
    try {
        kind = &nuv_tool::choose_output(format, path, settings);
    } catch (const nuv_tool::UsageError& error) {
        raise("CallError", without_dashes(error.what()));
    }
    return [kind, settings](nuv_job* job) {
        if (const nuv_tool::Problem problem = kind->append(job, settings))
            raise("UnsupportedError", *problem);
    };
}

void bind_words(py::module_& module, ImageClass& image)
{
    using py::arg;

    image.def("apply", apply, arg("words"),
              "The words of the tool, as \"auto-orient max=1600\" or a sequence of them, in their "
              "order; `nuv help words` tells them all. CallError for what is none.");
    module.def(
        "check_words", [](const py::object& words) { static_cast<void>(operations_of(words)); },
        arg("words"), "CallError for what Image.apply() would not understand.");
    module.def(
        "check_output",
        [](const py::object& path, const std::string& format, std::optional<int> quality,
           const std::optional<std::string>& sampling, bool optimise) {
            static_cast<void>(
                form_of(format, path_of(path), output_settings(quality, sampling, optimise)));
        },
        arg("path"), py::kw_only(), arg("format") = "", arg("quality") = py::none(),
        arg("sampling") = py::none(), arg("optimise") = false,
        "CallError for what Image.save() would not write, whatever the picture.");
}

} // namespace nuv_python
