#pragma once

#include <functional>
#include <ostream>
#include <string>
#include <vector>

#include "foundation/FileSystem.h"
#include "settings/SettingsFile.h"
#include "storage/backup/Encrypt.h"

namespace quillon {

enum class ExitStatus : int { Done = 0, Failed = 1, WrongUsage = 2 };

// What the command line has around it. The program brings the machine's, tests their own.
struct CommandLineHost {
    std::ostream& out;
    std::ostream& err;
    bool outIsTerminal = false;
    bool errIsTerminal = false;  // progress is shown there
    int columns = 80;            // of the terminal
    // Shows the prompt and reads one line without echo. False: no terminal, or cancelled.
    std::function<bool(const std::string& prompt, std::string& password)> readPassword;
    // Shows the question and reads one line. False: no terminal to ask on, or cancelled.
    std::function<bool(const std::string& question, std::string& answer)> readAnswer{};
    SettingsPlaces settings = SettingsPlaces::Machine();
    CFileSystem& files = PlatformFileSystem();
    BackupKeyCost keyCost;
};

// Runs one command, `arguments` without the program's name. Results go to `out`; what
// went wrong goes to `err` as one line. Nothing is thrown.
ExitStatus RunCommandLine(const std::vector<std::string>& arguments, CommandLineHost& host);

}  // namespace quillon
