#include "tools/nuv/nuv_commands.h"
#include "tools/nuv/nuv_operations.h"
#include "tools/nuv/nuv_outputfile.h"
#include "tools/nuv/nuv_source.h"

#include <CLI/CLI.hpp>

#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <map>
#include <system_error>
#include <vector>

namespace nuv_tool {

namespace {

// The numbers that --sampling is given.
const std::map<std::string, int> samplings{
    {"444", WriteJPEGOption::eSampling444},
    {"422", WriteJPEGOption::eSampling422},
    {"420", WriteJPEGOption::eSampling420},
    {"411", WriteJPEGOption::eSampling411},
};

Problem refuse_streams(const ConvertRequest& request)
{
    if (request.source == "-" || request.destination == "-")
        return "'-' cannot stand for a stream: pictures are read and written with seeks, so name "
               "files";
    return {};
}

Problem choose_kind(const ConvertRequest& request, const OutputKind*& kind)
{
    if (!request.write.empty()) {
        kind = output_kind(request.write);
        if (kind == nullptr)
            return "--write " + request.write + ": not one of " + output_kind_names();
    } else {
        kind = &output_kind_of_path(request.destination);
    }
    const OutputSettings& settings = request.settings;
    if (kind->name != "jpeg" && (settings.quality || settings.sampling))
        return "--quality and --sampling serve JPEG files alone";
    if (kind->name != "lossless" && settings.optimise)
        return "--optimise serves lossless JPEG files alone";
    return {};
}

// A file that is shorter than its description would be found out at the end; now is better.
Problem check_raw_size(const std::string& path, std::optional<std::uint64_t> needed)
{
    std::error_code error;
    const std::uintmax_t size = std::filesystem::file_size(path, error);
    if (error)
        return path + ": " + error.message();
    if (!needed || size < *needed)
        return path + ": has " + std::to_string(size) + " bytes, fewer than --input-raw describes";
    return {};
}

// --input-raw: samples, interleaved or plane by plane.
Problem read_raw(const ConvertRequest& request, NuvWrapperClass& job, ImageParam& picture)
{
    if (Problem problem = parse_raw_picture(request.input_raw, picture))
        return "--input-raw " + *problem;
    if (Problem problem = check_source(request.source))
        return problem;
    const auto needed = request.planar_input ? planar_bytes(picture) : interleaved_bytes(picture);
    if (Problem problem = check_raw_size(request.source, needed))
        return problem;
    if (request.planar_input) {
        if (picture.channels != 1 && picture.channels != 3)
            return "--planar-input serves pictures of 1 and 3 channels";
        job.SetSrcFile(request.source.c_str());
        job.ReadStoragePlanar(&picture);
        return {};
    }
    // The library would rather read a stored picture than believe a description.
    ImageParam stored{};
    if (GetImgInfo(request.source.c_str(), &stored) == 0 && stored.width != 0)
        return request.source + ": is a stored picture, not the samples that --input-raw describes";
    job.SetSrcFile(request.source.c_str());
    job.ReadStorage(&picture);
    return {};
}

// Extra samples of a pixel are described but not delivered, and only reading tells how many there
// are: eight pixels of the picture, in bytes.
void find_delivered_channels(const std::string& path, ImageParam& picture)
{
    constexpr std::size_t most_bytes = std::size_t{8} * 65535 * 4;
    std::vector<unsigned char> pixel(most_bytes);
    NuvWrapperClass trial;
    trial.SetSrcFile(path.c_str());
    trial.SetDstMemory(pixel.data(), static_cast<int>(pixel.size()));
    trial.ReadRaster();
    trial.ScaleNN(8, 1); // whole bytes of any sample
    trial.WriteStorage(nullptr);
    trial.Execute();
    int written = 0;
    if (trial.GetWrittenSize(&written) == 0 && written > 0 && written % picture.bits == 0)
        picture.channels = static_cast<std::uint16_t>(written / picture.bits);
}

Problem read_stored(const ConvertRequest& request, NuvWrapperClass& job, ImageParam& picture)
{
    if (request.planar_input)
        return "--planar-input needs --input-raw";
    if (Problem problem = describe_source(request.source, picture))
        return problem;
    job.SetSrcFile(request.source.c_str());
    if (const int result = job.ReadRaster(); result != 0)
        return request.source + ": " + std::string{reading_problem(result, /*is_known=*/true)};
    // Samples of 2 to 7 bits come as 8, those of 9 to 15 as 16.
    if (picture.bits > 1 && picture.bits < 16)
        picture.bits = picture.bits > 8 ? 16 : 8;
    if (picture.color == ColorType::eUnknown && picture.channels > 1)
        find_delivered_channels(request.source, picture);
    return {};
}

// Builds and runs the job. `picture` becomes what the result has to be.
Problem run(const ConvertRequest& request, const OutputKind& kind,
            const std::vector<Operation>& operations, const std::string& path, ImageParam& picture)
{
    NuvWrapperClass job;
    const auto read = request.input_raw.empty() ? read_stored : read_raw;
    if (Problem problem = read(request, job, picture))
        return problem;
    for (const Operation& operation : operations) {
        if (Problem problem = operation.append(job, picture))
            return request.source + ": " + *problem;
    }
    job.SetDstFile(path.c_str());
    if (Problem problem = kind.append(job, picture, request.settings))
        return request.destination + ": " + *problem;
    if (job.Execute() != 0)
        return request.source + ": cannot be converted: the library does not serve this picture "
                                "this way, or memory ran out";
    return {};
}

// The destination has its new content only when nothing is returned.
Problem convert(const ConvertRequest& request)
{
    if (Problem problem = refuse_streams(request))
        return problem;
    const OutputKind* kind = nullptr;
    if (Problem problem = choose_kind(request, kind))
        return problem;
    std::vector<Operation> operations;
    if (Problem problem = parse_operations(request.operations, operations))
        return problem;
    if (Problem problem = check_source(request.source))
        return problem;
    OutputFile output;
    if (Problem problem = output.create(request.destination))
        return problem;
    ImageParam picture{};
    if (Problem problem = run(request, *kind, operations, output.path(), picture))
        return problem;
    if (Problem problem = kind->check(output.path(), picture))
        return request.source + ": " + *problem;
    return output.keep();
}

} // namespace

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
    command.footer("Operations:\n" + operations_help());
}

int run_convert(const ConvertRequest& request)
{
    const Problem problem = convert(request);
    if (problem)
        report(*problem);
    return problem ? exit_failed : exit_done;
}

} // namespace nuv_tool
