#pragma once

namespace nuv_tool {

// Lets the signals that end a program be noticed in place of ending it: what is under way is
// cancelled, which leaves no file behind, and then end_by_signal() ends it. Those that are ignored
// stay so. One that comes some seconds later ends the program at once.
void notice_signals();

// True behind such a signal.
[[nodiscard]] bool is_signalled() noexcept;

// Ends the program by the signal that was noticed; does nothing without one.
void end_by_signal();

} // namespace nuv_tool
