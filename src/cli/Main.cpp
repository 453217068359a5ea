#include <iostream>

#include "cli/CommandLine.h"
#include "foundation/platform/Console.h"

int main(int count, char** values) {
    using namespace quillon;
    std::ios::sync_with_stdio(false);
    CommandLineHost host{.out = std::cout,
                         .err = std::cerr,
                         .outIsTerminal = IsTerminal(1),
                         .errIsTerminal = IsTerminal(2),
                         .columns = TerminalColumns(),
                         .readPassword =
                             [](const std::string& prompt, std::string& password) {
                                 return ReadPassword(prompt.c_str(), password);
                             },
                         .keyCost = {}};
    const std::vector<std::string> arguments(values + (count > 0 ? 1 : 0), values + count);
    return static_cast<int>(RunCommandLine(arguments, host));
}
