#pragma once

#include <string>

namespace quillon {

// The terminal of the program; for the command line only.
//
//   Errors   false. Nothing here throws but std::bad_alloc.
//   Threads  One at a time: ReadPassword changes how the terminal behaves and puts it back.

// True when standard input (0), output (1) or error (2) is a terminal.
bool IsTerminal(int descriptor);

// Asks on the terminal itself, whatever the standard streams are, and reads one
// line that is not shown. False with `out` empty: no terminal, or cancelled.
// The terminal shows what is typed again afterwards, also when the user breaks off.
[[nodiscard]] bool ReadPassword(const char* prompt, std::string& out);

// Width of the terminal; 80 when it does not say.
int TerminalColumns();

}  // namespace quillon
