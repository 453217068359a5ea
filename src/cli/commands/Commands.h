#pragma once

#include <vector>

#include "cli/Command.h"

// What the files of this folder declare. AllCommands() has them in the order of --help.

namespace quillon {

std::vector<Command> AllCommands();

std::vector<Command> StoreCommands();
std::vector<Command> AccountCommands();
std::vector<Command> TransactionCommands();
Command TransactionListCommand();
std::vector<Command> CategoryCommands();
std::vector<Command> PayeeCommands();
std::vector<Command> RuleCommands();
std::vector<Command> ImportCommands();
std::vector<Command> ImportBatchCommands();
std::vector<Command> HistoryCommands();
std::vector<Command> ExportCommands();
std::vector<Command> ReconcileCommands();
std::vector<Command> CheckCommands();
std::vector<Command> BackupCommands();
Command RestoreCommand();
std::vector<Command> PasswordCommands();
std::vector<Command> SettingsCommands();
std::vector<Command> QuoteCommands();
std::vector<Command> DemoCommands();

}  // namespace quillon
