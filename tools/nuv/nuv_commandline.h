#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace CLI {
class App;
}

namespace nuv_tool {

// An option, or an argument that has its place and no name in front.
struct OptionText {
    std::vector<std::string> names; // "-q" and "--quiet"; of an argument the one of help
    std::string value; // what its value looks like; of an argument, what may stand behind it
    std::string help;
    bool is_argument = false;
    bool is_list = false; // of an argument: several
    bool is_required = false;
    bool takes_value = false;
};

struct NumberRange {
    int least = 0;
    int most = 0;
};

// What has been read of a command line.
enum class Typed {
    all,     // every word has its place
    surplus, // `Command::surplus()` is in no place
    help,    // of the `Command::typed_command()`
    version,
};

// The program, or one of its commands: what may be typed behind it, and where that is put. Copies
// are of the same command. CLI11 reads, whose header takes seconds to compile and makes objects at
// the start of the program, both for every file that includes it: nuv_commandline.cpp alone does.
class Command {
public:
    // The program, which has the options for help and for its version.
    Command(std::string name, std::string help, const std::string& version);

    // What is added is known by its names as in "-q,--quiet", or by "FILE" for an argument. The
    // places are written by read(), and have to be there then.
    Command add_command(std::string name, std::string help, std::string footer);
    void add_arguments(const std::string& name, std::vector<std::string>& places, bool is_required,
                       std::string help, std::string behind = {});
    void add_argument(const std::string& name, std::string& place, std::string help);
    void add_flag(const std::string& names, bool& place, std::string help);
    void add_option(const std::string& names, std::string& place, std::string value,
                    std::string help);
    void add_option(const std::string& names, std::uint32_t& place, std::string value,
                    std::string help, std::optional<NumberRange> range = {});
    void add_option(const std::string& names, std::optional<int>& place, std::string value,
                    std::string help, NumberRange range);
    // `take` may throw UsageError.
    void add_option(const std::string& names, const std::function<void(const std::string&)>& take,
                    std::string value, std::string help);

    // Reads the arguments of main(). Throws UsageError.
    [[nodiscard]] Typed read(int count, char** arguments);
    // Behind read(): what was surplus, and the command that was named.
    [[nodiscard]] std::vector<std::string> surplus() const;
    [[nodiscard]] std::optional<Command> typed_command() const;

    [[nodiscard]] const std::string& name() const; // lives as long as the program
    [[nodiscard]] std::string help() const;
    [[nodiscard]] std::string footer() const; // behind the rest of the help
    [[nodiscard]] bool is_program() const;
    [[nodiscard]] std::vector<Command> commands() const;
    [[nodiscard]] std::vector<OptionText> options() const; // and arguments
    // By one of its names, as "-q"; nothing for a name that no option has.
    [[nodiscard]] std::optional<OptionText> find_option(const std::string& name) const;

private:
    explicit Command(std::shared_ptr<CLI::App> app) : app_(std::move(app)) {}
    [[nodiscard]] Command part(CLI::App* command) const;

    std::shared_ptr<CLI::App> app_; // holds the whole program
};

} // namespace nuv_tool
