#include "tools/nuv/nuv_commands.h"
#include "tools/nuv/nuv_infotext.h"
#include "tools/nuv/nuv_inspection.h"
#include "tools/nuv/nuv_output.h"

namespace nuv_tool {

namespace {

// A picture that is known can be told of, though it is not served or too large; all else is a
// failure.
bool has_failed(const Inspection& told, bool is_to_be_verified)
{
    const std::int32_t status = told.failure.status;
    if (status == NUV_OK)
        return false;
    return is_to_be_verified || !told.is_known ||
           (status != NUV_UNSUPPORTED && status != NUV_LIMIT);
}

} // namespace

void add_info(Command& program, InfoRequest& request)
{
    Command command = program.add_command(
        "info", "Tell what pictures are, in a line for each",
        R"(A line has the name, width x height in pixels, channels x bits of a sample, colour,
and the kind of the file with how it is stored.

Exit status: 0; 1 when one is no picture, or with --verify cannot be decoded; 2 when
--verify has found damage in one, and all can be decoded.

Examples:
  nuv info scan.ppm photo.jpg
  nuv info --json photo.jpg
  nuv info --verify photos/*.jpg
  nuv info --page 1 pages.tif
  nuv info - <photo.jpg
)");
    command.add_arguments("FILE", request.paths, /*is_required=*/true,
                          "The pictures; - is the standard input");
    command.add_flag("--json", request.json,
                     "One object of JSON a picture, each on a line of its own");
    command.add_flag("--verify", request.verify, "Decode the pictures, to find damage");
    command.add_option("--page", request.page, "N", "Which picture of a file of several, from 0");
    add_limits(command, request.limits);
    command.add_flag("-q,--quiet", request.quiet, "Tell nothing on standard error but failures");
    command.add_flag("--progress", request.progress, "Tell at once how far the work is");
}

int run_info(const InfoRequest& request)
{
    const InspectionOptions options{.page = request.page,
                                    .verify = request.verify,
                                    .limits = limits_of(request.limits),
                                    .timeout_seconds = request.limits.timeout_seconds};
    ShowProgress shown = request.verify ? ShowProgress::if_long : ShowProgress::never;
    if (request.progress)
        shown = ShowProgress::always;
    int status = exit_done;
    InfoTable table;
    {
        ProgressBar bar(request.quiet ? ShowProgress::never : shown, request.paths.size());
        for (const std::string& path : request.paths) {
            ProgressBar::Picture progress(bar);
            const std::string name = path == "-" ? "standard input" : path;
            const Inspection told = inspect(path, options, progress);
            if (has_failed(told, request.verify)) {
                status = exit_failed;
                report(name + ": " + told.message);
            } else if (told.damaged_line != 0 && request.verify) {
                status = status == exit_done ? exit_mended : status;
                if (!request.quiet)
                    report(name + ": " + told.message);
            }
            if (request.json)
                print_json(path, options, told);
            else if (told.is_known)
                table.add(path, told);
        }
    }
    table.print();
    finish_stdout();
    return status;
}

} // namespace nuv_tool
