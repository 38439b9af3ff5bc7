#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace CLI {
class App;
}

namespace nuv_tool {

// What --help prints for the program or for a command.
[[nodiscard]] std::string help_of(const CLI::App& app);

// All that `nuv help` can be asked for: commands, words, and "all", "colors", "size".
[[nodiscard]] std::vector<std::string_view> help_topics(const CLI::App& app);

// What `nuv help TOPIC` prints. Throws UsageError for a topic that is none.
[[nodiscard]] std::string help_on(const CLI::App& app, std::string_view topic);

// Null for a name that no command has.
[[nodiscard]] const CLI::App* find_command(const CLI::App& app, std::string_view name);

// The names of the commands, and those of the options of one of them, as "--quality" and "-q".
[[nodiscard]] std::vector<std::string_view> command_names(const CLI::App& app);
[[nodiscard]] std::vector<std::string> option_names(const CLI::App& command);

} // namespace nuv_tool
