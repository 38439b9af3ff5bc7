#include "tools/nuv/nuv_commands.h"
#include "tools/nuv/nuv_help.h"
#include "tools/nuv/nuv_names.h"
#include "tools/nuv/nuv_output.h"
#include "tools/nuv/nuv_words.h"

#include <string>
#include <string_view>
#include <vector>

namespace nuv_tool {

namespace {

// What may come, for a word that is typed in part.
class Candidates {
public:
    explicit Candidates(std::string_view typed) : typed_(typed) {}

    void add(std::string_view candidate, std::string_view help = {})
    {
        if (!candidate.starts_with(typed_))
            return;
        text_.append(candidate);
        if (!help.empty())
            text_.append("\t").append(help);
        text_.append("\n");
    }
    [[nodiscard]] const std::string& text() const noexcept { return text_; }

private:
    std::string_view typed_;
    std::string text_;
};

void add_options(const Command& command, Candidates& candidates)
{
    for (const OptionText& option : command.options())
        for (const std::string& name : option.names)
            if (name.starts_with("--"))
                candidates.add(name, option.help);
}

// The values of an option that has a few, as in "444|422|420|411"; in "N[k|M|G]" stands what they
// are made of. False when `name` is no option with a value.
bool add_values(const Command& command, const std::string& name, Candidates& candidates)
{
    const auto option = name.starts_with("-") ? command.find_option(name) : std::nullopt;
    if (!option || !option->takes_value)
        return false;
    std::string_view values = option->value;
    if (values.find('[') != std::string_view::npos)
        return true;
    while (values.find('|') != std::string_view::npos) {
        candidates.add(values.substr(0, values.find('|')));
        values.remove_prefix(values.find('|') + 1);
    }
    if (!values.empty() && option->value.size() != values.size())
        candidates.add(values);
    return true;
}

void add_words(std::string_view typed, Candidates& candidates)
{
    for (const Word& word : words())
        candidates.add(std::string{word.name} + (word.argument.empty() ? "" : "="), word.help);
    if (typed.find('=') == std::string_view::npos)
        return;
    for (const ColorName& color : colors())
        candidates.add("color=" + std::string{color.name}, color.help);
    for (const std::string_view degrees : {"90", "180", "270"})
        candidates.add("rotate=" + std::string{degrees});
}

// Words come behind the source and the destination, or behind the source when -o names the latter.
bool is_place_of_words(const Command& command, std::span<char* const> before)
{
    std::size_t files = 0;
    for (std::size_t i = 0; i < before.size(); ++i) {
        const std::string text = before[i];
        const auto option =
            text.starts_with("-") && text != "-" ? command.find_option(text) : std::nullopt;
        if (text == "-o" || text.starts_with("--output"))
            ++files;
        if (option && option->takes_value)
            ++i; // its value
        else if (!text.starts_with("-") || text == "-")
            ++files;
    }
    return files >= 2;
}

void complete_command(const Command& program, const Command& command, std::span<char* const> before,
                      std::string_view typed, Candidates& candidates)
{
    if (!before.empty() && add_values(command, before.back(), candidates))
        return;
    if (typed.starts_with("-"))
        add_options(command, candidates);
    else if (command.name() == "help")
        for (const std::string_view topic : help_topics(program))
            candidates.add(topic);
    else if (command.name() == "convert" && is_place_of_words(command, before))
        add_words(typed, candidates);
}

} // namespace

int run_complete(const Command& program, std::span<char* const> typed)
{
    if (typed.empty())
        return exit_done;
    const std::string_view last = typed.back();
    Candidates candidates(last);
    if (typed.size() == 1) {
        for (const Command& command : program.commands())
            candidates.add(command.name(), command.help());
        if (last.starts_with("-"))
            add_options(program, candidates);
    } else if (const auto command = find_command(program, typed.front())) {
        complete_command(program, *command, typed.subspan(1, typed.size() - 2), last, candidates);
    }
    print_to_stdout(candidates.text());
    finish_stdout();
    return exit_done;
}

} // namespace nuv_tool
