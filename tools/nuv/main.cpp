// nuv: looks at pictures and converts them. Everything it does with a picture goes through the
// public interface of the library.

#include "tools/nuv/nuv_commands.h"
#include "tools/nuv/nuv_operations.h"

#include <CLI/CLI.hpp>

#include <csignal>
#include <cstdio>
#include <exception>
#include <map>

namespace nuv_tool {

namespace {

constexpr const char* examples = R"(Examples:
  nuv info scan.ppm photo.ras
  nuv convert scan.ppm scan.jpg
  nuv convert scan.ppm scan.jpg mirror-x --quality 90 --sampling 444
  nuv convert samples.bin scan.jpg --input-raw 640x480x3x8:rgb
  nuv convert scan.ppm planes.bin --write planar
)";

// The numbers that --sampling is given.
const std::map<std::string, int> samplings{
    {"444", WriteJPEGOption::eSampling444},
    {"422", WriteJPEGOption::eSampling422},
    {"420", WriteJPEGOption::eSampling420},
    {"411", WriteJPEGOption::eSampling411},
};

void add_convert(CLI::App& app, ConvertRequest& request)
{
    CLI::App& command = *app.add_subcommand("convert", "Convert a picture");
    command.add_option("SRC", request.source, "The picture to read")->required();
    command.add_option("DST", request.destination, "The file to write")->required();
    command.add_option("OPERATION", request.operations, "What to do to it, in this order");
    command
        .add_option("--write", request.write,
                    "What to write; by default by the ending of DST: .jpg, .jpeg, .ljpg, else raw")
        ->option_text(output_kind_names());
    command.add_option("--quality", request.settings.quality, "Quality of a JPEG, by default 75")
        ->check(CLI::Range(0, 100))
        ->option_text("0-100");
    command
        .add_option_function<std::string>(
            "--sampling",
            [&request](const std::string& name) { request.settings.sampling = samplings.at(name); },
            "Sampling of a JPEG, by default 422")
        ->check(CLI::IsMember(samplings))
        ->option_text("444|422|420|411");
    command.add_flag("--optimise", request.settings.optimise,
                     "Make the Huffman table of a lossless JPEG for the picture");
    command
        .add_option("--input-raw", request.input_raw,
                    "SRC holds raw samples: lines start on bytes, samples of 16 bits are in host "
                    "order")
        ->option_text("WxHxCxBITS[:gray|gray-reverse|rgb|ycbcr]");
    command.add_flag("--planar-input", request.planar_input,
                     "The raw samples stand plane by plane");
    command.footer("Operations:\n" + operations_help() + "\n" + examples);
}

int run(int count, char** arguments)
{
    CLI::App app{"Look at pictures and convert them", "nuv"};
    app.set_version_flag("--version", NUV_TOOL_VERSION);
    app.require_subcommand(1);
    app.footer(examples);
    std::vector<std::string> paths;
    CLI::App& info = *app.add_subcommand("info", "Show what pictures are, one line for each");
    info.add_option("FILE", paths, "The pictures")->required();
    ConvertRequest request;
    add_convert(app, request);
    try {
        app.parse(count, arguments);
    } catch (const CLI::ParseError& error) {
        if (error.get_exit_code() == 0)
            return app.exit(error); // --help and --version
        report(error.what());
        return 1;
    }
    if (info.parsed())
        return show_info(paths) ? 0 : 1;
    const Problem problem = convert(request);
    if (problem)
        report(*problem);
    return problem ? 1 : 0;
}

} // namespace

void report(const std::string& problem)
{
    std::fprintf(stderr, "nuv: %s\n", problem.c_str());
}

} // namespace nuv_tool

int main(int count, char** arguments)
{
    // A file that may not grow is then a write that fails, and not the end of the program.
    std::signal(SIGXFSZ, SIG_IGN);
    try {
        return nuv_tool::run(count, arguments);
    } catch (const std::exception& error) {
        nuv_tool::report(error.what());
        return 1;
    }
}
