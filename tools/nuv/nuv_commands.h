#pragma once

#include "tools/nuv/nuv_batch.h"
#include "tools/nuv/nuv_commandline.h"
#include "tools/nuv/nuv_limits.h"
#include "tools/nuv/nuv_problem.h"

#include <cstdint>
#include <span>
#include <string>
#include <vector>

namespace nuv_tool {

// What the program answers to the shell.
enum ExitStatus : int {
    exit_done = 0,
    exit_failed = 1, // at least one picture
    exit_mended = 2, // none failed, but damage was mended
    exit_usage = 64, // the command line; nothing was done
};

// Each command has a request, which add_...() binds to its words on the command line and run_...()
// serves. Those may throw UsageError, and answer an ExitStatus.

struct InfoRequest {
    std::vector<std::string> paths;
    bool json = false;
    bool verify = false;
    std::uint32_t page = 0;
    LimitsRequest limits;
    bool quiet = false;
    bool progress = false;
};

void add_info(Command& program, InfoRequest& request);
[[nodiscard]] int run_info(const InfoRequest& request);

struct ConvertRequest {
    std::vector<std::string> arguments; // source, destination and words; with -o sources and words
    std::string input_raw;              // empty: a stored picture
    bool planar_input = false;
    WritingRequest writing;
};

void add_convert(Command& program, ConvertRequest& request);
[[nodiscard]] int run_convert(const ConvertRequest& request);

struct ThumbnailRequest {
    std::vector<std::string> sources;
    std::string size = "256";
    bool fill = false;
    bool enlarge = false;
    bool fast = false;
    WritingRequest writing;
};

void add_thumbnail(Command& program, ThumbnailRequest& request);
[[nodiscard]] int run_thumbnail(const ThumbnailRequest& request);

struct HelpRequest {
    std::string topic; // empty for the program
};

void add_help(Command& program, HelpRequest& request);
[[nodiscard]] int run_help(const Command& program, const HelpRequest& request);

// For the completion of shells, which call it as `nuv complete WORD...`: prints what the last word,
// which may be empty, can become behind those before it. A line each, with what it stands for
// behind a tab; nothing where names of files are wanted.
[[nodiscard]] int run_complete(const Command& program, std::span<char* const> typed);

// Prints `problem` to stderr, as every line of this program.
void report(const std::string& problem);

} // namespace nuv_tool
