#pragma once

#include <string>
#include <string_view>

namespace nuv_tool {

// What goes to the standard streams, in whole pieces whichever thread it comes from.

// Throws std::runtime_error, with the reason, when it cannot be written.
void print_to_stdout(std::string_view text);

// Ends what was printed to stdout; a full disk may tell so only now. Throws as above.
void finish_stdout();

// Prints `line` and a line end.
void print_to_stderr(const std::string& line);

[[nodiscard]] bool is_stderr_a_terminal() noexcept;

// A line on the terminal behind stderr that stays the last one: it goes before anything else is
// printed, and is drawn again by the next call.
void draw_bar(const std::string& bar);
void wipe_bar() noexcept;

} // namespace nuv_tool
