#include "tools/nuv/nuv_commandline.h"

#include "tools/nuv/nuv_problem.h"

#include <CLI/CLI.hpp>

namespace nuv_tool {

namespace {

std::vector<std::string> names_of(const CLI::Option& option)
{
    std::vector<std::string> names;
    if (option.get_positional())
        names.push_back(option.get_name());
    for (const std::string& name : option.get_snames())
        names.push_back("-" + name);
    for (const std::string& name : option.get_lnames())
        names.push_back("--" + name);
    return names;
}

OptionText text_of(const CLI::Option& option)
{
    return {.names = names_of(option),
            .value = option.get_option_text(),
            .help = option.get_description(),
            .is_argument = option.get_positional(),
            .is_list = option.get_items_expected_max() > 1,
            .is_required = option.get_required(),
            .takes_value = option.get_items_expected_max() > 0};
}

} // namespace

Command::Command(std::string name, std::string help, const std::string& version)
    : app_(std::make_shared<CLI::App>(std::move(help), std::move(name)))
{
    app_->set_help_flag("-h,--help", "Print this help");
    app_->set_version_flag("--version", version, "Print the version");
    app_->require_subcommand(1);
}

Command Command::part(CLI::App* command) const
{
    return Command(std::shared_ptr<CLI::App>(app_, command));
}

Command Command::add_command(std::string name, std::string help, std::string footer)
{
    CLI::App* const command = app_->add_subcommand(std::move(name), std::move(help));
    command->footer(std::move(footer));
    return part(command);
}

void Command::add_arguments(const std::string& name, std::vector<std::string>& places,
                            bool is_required, std::string help, std::string behind)
{
    app_->add_option(name, places, std::move(help))
        ->required(is_required)
        ->option_text(std::move(behind));
}

void Command::add_argument(const std::string& name, std::string& place, std::string help)
{
    app_->add_option(name, place, std::move(help));
}

void Command::add_flag(const std::string& names, bool& place, std::string help)
{
    app_->add_flag(names, place, std::move(help));
}

void Command::add_option(const std::string& names, std::string& place, std::string value,
                         std::string help)
{
    app_->add_option(names, place, std::move(help))->option_text(std::move(value));
}

void Command::add_option(const std::string& names, std::uint32_t& place, std::string value,
                         std::string help, std::optional<NumberRange> range)
{
    CLI::Option* const option =
        app_->add_option(names, place, std::move(help))->option_text(std::move(value));
    if (range)
        option->check(CLI::Range(range->least, range->most));
}

void Command::add_option(const std::string& names, std::optional<int>& place, std::string value,
                         std::string help, NumberRange range)
{
    app_->add_option(names, place, std::move(help))
        ->check(CLI::Range(range.least, range.most))
        ->option_text(std::move(value));
}

void Command::add_option(const std::string& names,
                         const std::function<void(const std::string&)>& take, std::string value,
                         std::string help)
{
    app_->add_option_function<std::string>(names, take, std::move(help))
        ->option_text(std::move(value));
}

Typed Command::read(int count, char** arguments)
{
    try {
        app_->parse(count, arguments);
    } catch (const CLI::ExtrasError&) {
        return Typed::surplus;
    } catch (const CLI::CallForVersion&) {
        return Typed::version;
    } catch (const CLI::CallForHelp&) {
        return Typed::help;
    } catch (const CLI::ArgumentMismatch& error) {
        const std::string_view text = error.what();
        throw UsageError(std::string{text.substr(0, text.find(':'))} + " takes one value");
    } catch (const CLI::ConversionError& error) {
        constexpr std::string_view beginning = "Could not convert: ";
        const std::string_view text = error.what();
        throw UsageError(
            "not a number that it takes: " +
            std::string{text.substr(text.starts_with(beginning) ? beginning.size() : 0)});
    } catch (const CLI::ParseError& error) {
        throw UsageError(error.what());
    }
    return Typed::all;
}

std::vector<std::string> Command::surplus() const
{
    return app_->remaining(/*recurse=*/true);
}

std::optional<Command> Command::typed_command() const
{
    const auto typed = app_->get_subcommands();
    return typed.empty() ? std::nullopt : std::optional(part(typed.front()));
}

const std::string& Command::name() const
{
    return app_->get_name();
}

std::string Command::help() const
{
    return app_->get_description();
}

std::string Command::footer() const
{
    return app_->get_footer();
}

bool Command::is_program() const
{
    return app_->get_parent() == nullptr;
}

std::vector<Command> Command::commands() const
{
    std::vector<Command> commands;
    for (CLI::App* command : app_->get_subcommands({}))
        commands.push_back(part(command));
    return commands;
}

std::vector<OptionText> Command::options() const
{
    std::vector<OptionText> options;
    for (const CLI::Option* option : app_->get_options())
        options.push_back(text_of(*option));
    return options;
}

std::optional<OptionText> Command::find_option(const std::string& name) const
{
    const CLI::Option* const option = app_->get_option_no_throw(name);
    return option == nullptr ? std::nullopt : std::optional(text_of(*option));
}

} // namespace nuv_tool
