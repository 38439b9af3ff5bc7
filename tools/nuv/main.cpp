// nuv: looks at pictures and converts them.

#include "tools/nuv/nuv_commandline.h"
#include "tools/nuv/nuv_commands.h"
#include "tools/nuv/nuv_help.h"
#include "tools/nuv/nuv_output.h"
#include "tools/nuv/nuv_text.h"

#include <algorithm>
#include <cerrno>
#include <csignal>
#include <exception>
#include <fcntl.h>
#include <filesystem>
#include <string_view>
#include <system_error>
#include <unistd.h>

namespace nuv_tool {

namespace {

constexpr std::string_view version_line = NUV_TOOL_VERSION "\n";

std::string unknown_option(const Command& command, std::string_view typed)
{
    const std::vector<std::string> names = option_names(command);
    return unknown_word("option", typed.substr(0, typed.find('=')),
                        std::vector<std::string_view>(names.begin(), names.end()));
}

// Of what no option and no argument takes, the first; an option that is mistyped may have its value
// behind it.
std::string unexpected(const Command& program)
{
    const std::vector<std::string> rest = program.surplus();
    const auto option =
        std::ranges::find_if(rest, [](const std::string& text) { return text.starts_with("-"); });
    if (option == rest.end())
        return rest.empty() ? "the command line has too much"
                            : "unexpected argument " + quoted(rest.front());
    std::error_code error;
    const std::string unknown = unknown_option(program.typed_command().value_or(program), *option);
    return std::filesystem::exists(*option, error)
               ? unknown + "; the file of that name is ./" + *option
               : unknown;
}

std::string unknown_command(const Command& program, std::string_view typed)
{
    std::string unknown = unknown_word("command", typed, command_names(program));
    if (unknown.ends_with('?'))
        return unknown;
    const std::string option = "--" + std::string{typed};
    if (program.find_option(option))
        return unknown + ": did you mean " + option + "?";
    std::error_code error;
    const bool is_file = std::filesystem::exists(typed, error);
    return unknown + (is_file ? "; nuv info tells what a file is" : "; see nuv --help");
}

int print(std::string_view text)
{
    print_to_stdout(text);
    finish_stdout();
    return exit_done;
}

// A standard stream that is closed would be the next file that is opened, and its messages part of
// that. In its place comes what can be neither read nor written, as a closed one.
bool hold_standard_streams() noexcept
{
    for (int stream = STDIN_FILENO; stream <= STDERR_FILENO; ++stream) {
        const int wrong_way = stream == STDIN_FILENO ? O_WRONLY : O_RDONLY;
        if (fcntl(stream, F_GETFD) < 0 && errno == EBADF && open("/dev/null", wrong_way) != stream)
            return false;
    }
    return true;
}

// Whether nothing need be known of any other command than the first word: to set them all up takes
// as long as to look at a small picture.
bool stands_alone(std::span<char* const> words)
{
    constexpr std::string_view commands[] = {"info", "convert", "thumbnail"};
    return std::ranges::find(commands, std::string_view{words.front()}) != std::end(commands);
}

int run(int count, char** arguments)
{
    const std::span<char* const> words(arguments + 1, static_cast<std::size_t>(count - 1));
    if (words.empty())
        throw UsageError("which command? See nuv --help");
    const std::string_view first = words.front();
    if (first == "--version" && words.size() == 1)
        return print(version_line); // for which nothing need be set up
    Command program("nuv", "Look at pictures and convert them", NUV_TOOL_VERSION);
    const bool is_alone = stands_alone(words);
    const auto is_wanted = [=](std::string_view command) { return first == command || !is_alone; };
    InfoRequest info;
    if (is_wanted("info"))
        add_info(program, info);
    ConvertRequest conversion;
    if (is_wanted("convert"))
        add_convert(program, conversion);
    ThumbnailRequest thumbnails;
    if (is_wanted("thumbnail"))
        add_thumbnail(program, thumbnails);
    HelpRequest help;
    if (is_wanted("help"))
        add_help(program, help);
    if (first == "complete")
        return run_complete(program, words.subspan(1));
    if (first.starts_with("-")) {
        const std::vector<std::string> options = option_names(program);
        if (std::ranges::find(options, first) == options.end())
            throw UsageError(unknown_option(program, first));
    } else if (!find_command(program, first)) {
        throw UsageError(unknown_command(program, first));
    }
    switch (program.read(count, arguments)) {
    case Typed::surplus:
        throw UsageError(unexpected(program));
    case Typed::help:
        return print(help_of(program.typed_command().value_or(program)));
    case Typed::version:
        return print(version_line);
    case Typed::all:
        break;
    }
    if (first == "info")
        return run_info(info);
    if (first == "help")
        return run_help(program, help);
    if (first == "thumbnail")
        return run_thumbnail(thumbnails);
    return run_convert(conversion);
}

} // namespace

void report(const std::string& problem)
{
    print_to_stderr("nuv: " + escaped(problem));
}

} // namespace nuv_tool

int main(int count, char** arguments)
{
    if (!nuv_tool::hold_standard_streams())
        return nuv_tool::exit_failed;
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
