#pragma once

#include "tools/nuv/nuv_commandline.h"

#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace nuv_tool {

// What --help prints for the program or for a command.
[[nodiscard]] std::string help_of(const Command& command);

// All that `nuv help` can be asked for: commands, words, and "all", "colors", "size".
[[nodiscard]] std::vector<std::string_view> help_topics(const Command& program);

// What `nuv help TOPIC` prints. Throws UsageError for a topic that is none.
[[nodiscard]] std::string help_on(const Command& program, std::string_view topic);

// Nothing for a name that no command has.
[[nodiscard]] std::optional<Command> find_command(const Command& program, std::string_view name);

// The names of the commands, and those of the options of one of them, as "--quality" and "-q".
[[nodiscard]] std::vector<std::string_view> command_names(const Command& program);
[[nodiscard]] std::vector<std::string> option_names(const Command& command);

} // namespace nuv_tool
