#pragma once

#include "cli/CommandContext.h"

// Each function registers a group of commands. A command's callback only notes the work
// in the context; it is done when the whole command line was understood.

namespace quillon {

void AddAccountCommands(CLI::App& program, CCommandContext& context);
void AddTransactionCommands(CLI::App& program, CCommandContext& context);
void AddTransactionList(CLI::App& transaction, CCommandContext& context);
void AddCategoryCommands(CLI::App& program, CCommandContext& context);
void AddPayeeCommands(CLI::App& program, CCommandContext& context);
void AddRuleCommands(CLI::App& program, CCommandContext& context);
void AddImportCommand(CLI::App& program, CCommandContext& context);
void AddStoreCommands(CLI::App& program, CCommandContext& context);
void AddBackupCommands(CLI::App& program, CCommandContext& context);
void AddPasswordCommands(CLI::App& program, CCommandContext& context);
void AddReconcileCommand(CLI::App& program, CCommandContext& context);
void AddSettingsCommands(CLI::App& program, CCommandContext& context);
void AddCheckCommands(CLI::App& program, CCommandContext& context);
void AddExportCommand(CLI::App& program, CCommandContext& context);
void AddQuoteCommand(CLI::App& program, CCommandContext& context);
void AddDemoCommand(CLI::App& program, CCommandContext& context);

}  // namespace quillon
