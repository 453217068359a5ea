#pragma once

#include <string>
#include <vector>

#include "cli/Command.h"
#include "cli/CommandContext.h"

namespace quillon {

// The command that was typed, with a value for each of its options.
struct CommandCall {
    const Command* command = nullptr;  // one of `commands`; none: help or version was printed
    std::vector<OptionValue> values;
};

// Reads a command line, `arguments` without the program's name. The options that all commands
// have go to the context. Throws CFailure of ExitStatus::WrongUsage.
CommandCall ParseCommandLine(const std::vector<Command>& commands,
                             const std::vector<std::string>& arguments, CCommandContext& context);

}  // namespace quillon
