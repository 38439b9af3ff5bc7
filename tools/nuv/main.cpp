// nuv: looks at pictures and converts them.

#include "tools/nuv/nuv_commands.h"
#include "tools/nuv/nuv_output.h"
#include "tools/nuv/nuv_text.h"

#include <CLI/CLI.hpp>

#include <csignal>
#include <exception>

namespace nuv_tool {

namespace {

constexpr const char* examples = R"(Examples:
  nuv info scan.ppm photo.ras
  nuv convert scan.ppm scan.jpg
  nuv convert scan.ppm scan.jpg mirror-x --quality 90 --sampling 444
  nuv convert samples.bin scan.jpg --input-raw 640x480x3x8:rgb
  nuv convert scan.ppm planes.bin --write planar
)";

int run(int count, char** arguments)
{
    CLI::App app{"Look at pictures and convert them", "nuv"};
    app.set_version_flag("--version", NUV_TOOL_VERSION);
    app.require_subcommand(1);
    app.footer(examples);
    InfoRequest info;
    add_info(app, info);
    ConvertRequest conversion;
    add_convert(app, conversion);
    ThumbnailRequest thumbnails;
    add_thumbnail(app, thumbnails);
    try {
        app.parse(count, arguments);
        if (app.got_subcommand("info"))
            return run_info(info);
        if (app.got_subcommand("thumbnail"))
            return run_thumbnail(thumbnails);
        return run_convert(conversion);
    } catch (const CLI::ParseError& error) {
        if (error.get_exit_code() == 0) {
            print_to_stdout(error.get_name() == "CallForVersion" ? app.version() + "\n"
                                                                 : app.help());
            finish_stdout();
            return exit_done;
        }
        throw UsageError(error.what());
    }
}

} // namespace

void report(const std::string& problem)
{
    print_to_stderr("nuv: " + escaped(problem));
}

} // namespace nuv_tool

int main(int count, char** arguments)
{
    // A file that may not grow is then a write that fails, and not the end of the program.
    std::signal(SIGXFSZ, SIG_IGN);
    try {
        return nuv_tool::run(count, arguments);
    } catch (const nuv_tool::UsageError& error) {
        nuv_tool::report(error.what());
        return nuv_tool::exit_usage;
    } catch (const std::exception& error) {
        nuv_tool::report(error.what());
        return nuv_tool::exit_failed;
    }
}
