#include "tools/nuv/nuv_batch.h"

#include "tools/nuv/nuv_commands.h"
#include "tools/nuv/nuv_names.h"
#include "tools/nuv/nuv_signals.h"
#include "tools/nuv/nuv_streams.h"

#include <algorithm>
#include <array>
#include <atomic>
#include <filesystem>
#include <map>
#include <new>
#include <stdexcept>
#include <system_error>
#include <thread>
#include <unistd.h>

namespace nuv_tool {

namespace {

namespace fs = std::filesystem;

std::string expanded(const std::string& pattern, const fs::path& source, std::size_t number)
{
    std::string path;
    for (std::size_t i = 0; i < pattern.size(); ++i) {
        if (pattern[i] != '%') {
            path += pattern[i];
            continue;
        }
        const char letter = ++i < pattern.size() ? pattern[i] : '\0';
        if (letter == 's')
            path += source == "-" ? "stdin" : source.stem().string();
        else if (letter == 'd')
            path += source.has_parent_path() ? source.parent_path().string() : ".";
        else if (letter == 'n')
            path += std::to_string(number);
        else if (letter == '%')
            path += '%';
        else
            throw UsageError("-o " + quoted(pattern) + ": % is followed by s, d, n or %");
    }
    return path;
}

// The same for all names of a file.
std::string identity(const std::string& path)
{
    std::error_code error;
    const fs::path whole = fs::weakly_canonical(fs::absolute(path, error), error);
    return error ? path : whole.string();
}

// As /dev/null, to which anything may be written behind anything.
bool is_device(const std::string& path)
{
    std::error_code error;
    return fs::is_character_file(path, error);
}

void refuse_collisions(const std::vector<Errand>& errands)
{
    std::map<std::string, const Errand*> sources;
    for (const Errand& errand : errands)
        sources.emplace(identity(errand.source), &errand);
    std::map<std::string, const Errand*> taken;
    for (const Errand& errand : errands) {
        if (is_device(errand.destination))
            continue;
        const std::string destination = identity(errand.destination);
        const auto [other, is_first] = taken.emplace(destination, &errand);
        if (!is_first)
            throw UsageError(errand.destination + ": would be written from " +
                             other->second->source + " and again from " + errand.source +
                             "; nothing was done (%n in -o is the number of each)");
        const auto source = sources.find(destination);
        if (source != sources.end() && source->second->source != errand.source)
            throw UsageError(errand.destination + ": would be written from " + errand.source +
                             ", but is itself a source; nothing was done");
    }
}

// Once for all, before anything is read.
void refuse_missing_folders(const std::vector<Errand>& errands)
{
    for (const Errand& errand : errands) {
        const fs::path folder = fs::path(errand.destination).parent_path();
        std::error_code error;
        if (!folder.empty() && !fs::is_directory(folder, error))
            throw std::runtime_error(folder.string() +
                                     ": there is no such folder to write to; nothing was done");
    }
}

void refuse_streams(const Errand& errand, const WritingRequest& request)
{
    if (names_standard_output(errand.destination))
        throw UsageError(errand.destination + ": the name of standard output is -");
    std::error_code error;
    if (errand.destination.ends_with('/') || fs::is_directory(errand.destination, error))
        throw UsageError(errand.destination +
                         ": is a folder; name the file in it that is to be written");
    if (errand.destination.empty() || errand.source.empty())
        throw UsageError("a name of a file is empty");
    if (errand.destination == "-" && isatty(STDOUT_FILENO) != 0 && !request.force)
        throw UsageError("standard output is a terminal, which shows no picture");
}

// A word or two for a number of pictures.
std::string count_of(std::size_t count, const char* what)
{
    return std::to_string(count) + " " + what;
}

class Batch {
public:
    Batch(const Recipe& recipe, const std::vector<Errand>& errands, const WritingRequest& request)
        : recipe_(recipe),
          errands_(errands),
          request_(request),
          bar_(shown(request), errands.size())
    {}

    void run()
    {
        const std::size_t most = std::min<std::size_t>(request_.threads, errands_.size());
        std::vector<std::thread> others;
        others.reserve(most);
        try {
            for (std::size_t i = 1; i < most; ++i)
                others.emplace_back([this] { work(); });
        } catch (const std::exception&) { // no thread, or no memory for one
            // Those that there are do the work.
        }
        work();
        for (std::thread& other : others)
            other.join();
    }

    [[nodiscard]] std::size_t count(Outcome outcome) const
    {
        return counts_[static_cast<std::size_t>(outcome)];
    }

private:
    [[nodiscard]] static ShowProgress shown(const WritingRequest& request)
    {
        if (request.quiet)
            return ShowProgress::never;
        return request.progress ? ShowProgress::always : ShowProgress::if_long;
    }

    void work()
    {
        for (std::size_t i = next_++; i < errands_.size() && !is_signalled(); i = next_++) {
            ProgressBar::Picture picture(bar_);
            Outcome outcome = Outcome::failed;
            try {
                outcome = convert(recipe_, errands_[i], !request_.quiet, picture);
            } catch (const std::bad_alloc&) { // of the containers
                report(errands_[i].source + ": " + no_memory_message);
            } catch (const std::exception& error) {
                report(errands_[i].source + ": " + error.what());
            }
            ++counts_[static_cast<std::size_t>(outcome)];
        }
    }

    const Recipe& recipe_;
    const std::vector<Errand>& errands_;
    const WritingRequest& request_;
    ProgressBar bar_;
    std::atomic<std::size_t> next_ = 0;
    std::array<std::atomic<std::size_t>, 3> counts_{}; // of each Outcome
};

// What is written, whatever is done before.
void add_form(Command& command, WritingRequest& request)
{
    command.add_option("--write", request.write, output_kind_names(),
                       "What to write; by default by the ending of the destination: " +
                           output_endings());
    command.add_option("--quality", request.settings.quality, "0-100",
                       "Quality of a JPEG, by default 75", {.least = 0, .most = 100});
    command.add_option(
        "--sampling",
        [&request](const std::string& name) {
            request.settings.sampling = find_sampling(name);
            if (!request.settings.sampling)
                throw UsageError("--sampling " + name + ": not one of 444, 422, 420, 411");
        },
        "444|422|420|411", "Sampling of a JPEG, by default 422");
    command.add_flag("--optimise", request.settings.optimise,
                     "Make the Huffman table of a lossless JPEG for the picture");
}

} // namespace

void add_writing(Command& command, WritingRequest& request)
{
    command.add_option(
        "-o,--output", request.output, "PATTERN",
        "Where to write; with %s for the name of the source without its ending, %d for "
        "its folder, %n for its number");
    add_form(command, request);
    command.add_option("-j,--jobs", request.threads, "N",
                       "How many pictures are worked at side by side, by default 1",
                       NumberRange{.least = 1, .most = 1024});
    command.add_option("--page", request.page, "N", "Which picture of a file of several, from 0");
    command.add_flag("--strict", request.strict,
                     "Refuse damaged pictures in place of mending them");
    command.add_flag("-f,--force", request.force,
                     "Write over a file that is named without -o, and to a terminal");
    add_limits(command, request.limits);
    command.add_flag("-q,--quiet", request.quiet, "Tell of failures alone");
    command.add_flag("-v,--verbose", request.verbose,
                     "Tell what is read, what each word makes of it, time and memory");
    command.add_flag("--progress", request.progress, "Tell at once how far the work is");
}

Recipe recipe_of(const WritingRequest& request)
{
    Recipe recipe;
    recipe.limits = limits_of(request.limits);
    recipe.limits.strict = request.strict ? 1 : 0;
    recipe.timeout_seconds = request.limits.timeout_seconds;
    recipe.page = request.page;
    recipe.settings = request.settings;
    recipe.verbose = request.verbose;
    return recipe;
}

std::vector<Errand> plan(const std::vector<std::string>& sources, const WritingRequest& request)
{
    std::vector<Errand> errands;
    for (const std::string& source : sources) {
        Errand errand{source, request.output};
        if (request.output != "-")
            errand.destination = expanded(request.output, source, errands.size() + 1);
        refuse_streams(errand, request);
        errand.kind = &choose_output(request.write, errand.destination, request.settings);
        errands.push_back(std::move(errand));
    }
    refuse_collisions(errands);
    refuse_missing_folders(errands);
    return errands;
}

int run_errands(const Recipe& recipe, const std::vector<Errand>& errands,
                const WritingRequest& request)
{
    notice_signals();
    std::size_t mended = 0;
    std::size_t failed = 0;
    {
        Batch batch(recipe, errands, request);
        batch.run();
        mended = batch.count(Outcome::mended);
        failed = batch.count(Outcome::failed);
    }
    end_by_signal();
    if (errands.size() > 1 && !request.quiet) {
        report(count_of(errands.size() - failed, "written, ") +
               (mended != 0 ? count_of(mended, "of them mended, ") : "") +
               count_of(failed, "failed"));
    }
    if (failed != 0)
        return exit_failed;
    return mended != 0 ? exit_mended : exit_done;
}

} // namespace nuv_tool
