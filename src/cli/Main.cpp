#include <iostream>
#include <string>

#include "cli/CommandLine.h"
#include "foundation/platform/Console.h"

namespace {

// On the terminal that the user sees: a script's input is no answer.
bool ReadAnswer(const std::string& question, std::string& answer) {
    if (!quillon::IsTerminal(0) || !quillon::IsTerminal(2)) return false;
    std::cout.flush();
    std::cerr << question << std::flush;
    return static_cast<bool>(std::getline(std::cin, answer));
}

}  // namespace

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
                         .readAnswer = ReadAnswer,
                         .keyCost = {}};
    const std::vector<std::string> arguments(values + (count > 0 ? 1 : 0), values + count);
    return static_cast<int>(RunCommandLine(arguments, host));
}
