#include "tools/nuv/nuv_help.h"

#include "tools/nuv/nuv_commands.h"
#include "tools/nuv/nuv_names.h"
#include "tools/nuv/nuv_output.h"
#include "tools/nuv/nuv_text.h"
#include "tools/nuv/nuv_words.h"

#include <algorithm>
#include <cstddef>

namespace nuv_tool {

namespace {

constexpr std::string_view examples = R"(Examples:
  nuv info scan.ppm photo.jpg
  nuv convert photo.jpg small.jpg auto-orient fit=1600x1200 --quality 85
  nuv convert pages.tif second.jpg --page 1 rotate=90
  nuv thumbnail photos/*.jpg -s 256 -o '%s_small.jpg' -j 4
  nuv convert - - --write jpeg <scan.ppm >scan.jpg
)";

constexpr std::string_view statuses = R"(The exit status is one of
  0           all went well
  1           at least one picture failed
  2           none failed, but damage was mended or found
  64          the command line means nothing; nothing was done
)";

// What help tells about beside commands and words.
constexpr std::string_view all_topic = "all";
constexpr std::string_view colors_topic = "colors";
constexpr std::string_view size_topic = "size";

// Appends "  left    right", with `right` in a column of its own that is broken at blanks.
void append_row(std::string& text, std::string_view left, std::string_view right)
{
    constexpr std::size_t column = 28; // where the right part begins
    constexpr std::size_t last_column = 88;

    text.append("  ").append(left);
    std::size_t place = left.size() + 2;
    if (place + 2 > column) {
        text.append("\n");
        place = 0;
    }
    while (!right.empty()) {
        std::string_view line = right.substr(0, last_column - column);
        if (line.size() < right.size() && right[line.size()] != ' ')
            line = line.substr(0, line.rfind(' '));
        text.append(column - place, ' ').append(line).append("\n");
        right.remove_prefix(std::min(line.size() + 1, right.size()));
        place = 0;
    }
}

std::string joined(const std::vector<std::string>& parts)
{
    std::string text;
    for (const std::string& part : parts)
        text.append(text.empty() ? "" : ", ").append(part);
    return text;
}

std::string usage_of(const OptionText& argument)
{
    const std::string& name = argument.names.front();
    if (!argument.value.empty()) // what may stand behind it
        return name + " " + argument.value;
    const std::string text = name + (argument.is_list ? "..." : "");
    return argument.is_required ? text : "[" + text + "]";
}

std::string usage_of(const Command& command)
{
    std::string text = "nuv " + command.name();
    if (option_names(command).size() > 2) // others than -h and --help
        text.append(" [OPTION...]");
    for (const OptionText& option : command.options()) {
        if (option.is_argument)
            text.append(" ").append(usage_of(option));
    }
    return text;
}

void append_options(std::string& text, const Command& command)
{
    for (const OptionText& option : command.options()) {
        if (option.is_argument)
            continue;
        std::string left = joined(option.names);
        if (!option.value.empty())
            left.append(" ").append(option.value);
        append_row(text, left, option.help);
    }
}

std::string commands_help(const Command& program)
{
    std::string text = "Commands:\n";
    for (const Command& command : program.commands())
        append_row(text, command.name(), command.help());
    return text;
}

std::string beginning_of_help(const Command& program)
{
    std::string text = "Usage: nuv COMMAND [ARGUMENT...]\n\n" + program.help() + ".\n\n" +
                       commands_help(program) + "\nOptions:\n";
    append_options(text, program);
    return text;
}

// Replaces each `what` in `text`.
void replace_all(std::string& text, std::string_view what, std::string_view by)
{
    for (std::size_t at = text.find(what); at != std::string::npos;
         at = text.find(what, at + by.size()))
        text.replace(at, what.size(), by);
}

// Of a command, behind its usage. `of` goes behind headings, where one page has several commands.
std::string details_of(const Command& command, std::string_view of)
{
    std::string text = command.help() + ".\n\nArguments";
    text.append(of).append(":\n");
    for (const OptionText& option : command.options()) {
        if (option.is_argument)
            append_row(text, usage_of(option), option.help);
    }
    text.append("\nOptions").append(of).append(":\n");
    append_options(text, command);
    if (command.name() == "convert" && of.empty())
        text.append("\nWords:\n").append(words_help());
    std::string footer = command.footer();
    if (!of.empty())
        replace_all(footer, "Examples:\n", std::string{"Examples"}.append(of).append(":\n\n"));
    return footer.empty() ? text : text.append("\n").append(footer);
}

std::string colors_help()
{
    std::string text = "COLOR is one of\n";
    for (const ColorName& color : colors())
        append_row(text, color.name, color.help);
    return text;
}

std::string word_help(const Word& word)
{
    std::string text = "nuv convert ... " + usage_of(word) + "\n\n";
    text.append(word.name).append(": ").append(word.help).append(".\n\n").append(word.details);
    if (word.argument == "COLOR")
        text.append("\n").append(colors_help());
    return text;
}

// In the form of which help2man makes a manual page: sections between asterisks, examples behind a
// dollar sign.
std::string all_help(const Command& program)
{
    std::string text = beginning_of_help(program);
    for (const Command& command : program.commands()) {
        const std::string name = "nuv " + command.name();
        text.append("\n*").append(name).append("*\n\n").append(usage_of(command)).append("\n\n");
        text.append(details_of(command, " of " + name));
    }
    text.append("\n*words*\n\n");
    for (const Word& word : words()) {
        std::string details{word.details};
        std::ranges::replace(details, '\n', ' ');
        append_row(text, usage_of(word), std::string{word.help} + ". " + details);
    }
    text.append("\n*size*\n\n").append(size_help());
    text.append("\n*color*\n\n").append(colors_help());
    text.append("\n*exit*status*\n\n").append(statuses).append("\n").append(examples);
    replace_all(text, "\n  nuv ", "\n  $ nuv ");
    return text;
}

} // namespace

void add_help(Command& program, HelpRequest& request)
{
    Command command = program.add_command("help", "Tell about a command or a word", R"(Examples:
  nuv help
  nuv help convert
  nuv help rotate
  nuv help colors
  nuv help all
)");
    command.add_argument(
        "TOPIC", request.topic,
        "A command, a word of 'nuv convert' (convert= for the one of that name), or all, "
        "colors or size");
}

int run_help(const Command& program, const HelpRequest& request)
{
    print_to_stdout(request.topic.empty() ? help_of(program) : help_on(program, request.topic));
    finish_stdout();
    return exit_done;
}

std::string help_of(const Command& command)
{
    if (!command.is_program())
        return "Usage: " + usage_of(command) + "\n\n" + details_of(command, {});
    std::string text = beginning_of_help(command);
    text.append("\nWords of nuv convert:\n").append(words_help());
    return text.append("\n").append(statuses).append("\n").append(examples);
}

std::vector<std::string_view> help_topics(const Command& program)
{
    std::vector<std::string_view> topics = command_names(program);
    topics.insert(topics.end(), {all_topic, colors_topic, size_topic});
    topics.insert(topics.end(), word_names().begin(), word_names().end());
    return topics;
}

std::string help_on(const Command& program, std::string_view topic)
{
    if (const auto command = find_command(program, topic))
        return help_of(*command);
    if (topic == all_topic)
        return all_help(program);
    if (topic == colors_topic)
        return colors_help();
    if (topic == size_topic)
        return std::string{size_help()};
    const Word* const word = find_word(topic.substr(0, topic.find('=')));
    if (word != nullptr)
        return word_help(*word);
    const std::string unknown = unknown_word("topic", topic, help_topics(program));
    throw UsageError(unknown + (unknown.ends_with('?') ? "" : "; see nuv help"));
}

std::optional<Command> find_command(const Command& program, std::string_view name)
{
    const auto commands = program.commands();
    const auto command = std::ranges::find(commands, name, &Command::name);
    return command != commands.end() ? std::optional(*command) : std::nullopt;
}

std::vector<std::string_view> command_names(const Command& program)
{
    std::vector<std::string_view> names;
    for (const Command& command : program.commands())
        names.emplace_back(command.name());
    return names;
}

std::vector<std::string> option_names(const Command& command)
{
    std::vector<std::string> names;
    for (const OptionText& option : command.options()) {
        if (!option.is_argument)
            names.insert(names.end(), option.names.begin(), option.names.end());
    }
    return names;
}

} // namespace nuv_tool
