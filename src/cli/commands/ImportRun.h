#pragma once

#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "cli/Command.h"
#include "cli/CommandContext.h"
#include "cli/Session.h"
#include "import/plan/ImportManager.h"

namespace quillon {

// What the import commands share.

struct ImportCommandOptions {
    std::string file;
    std::string account;
    std::string dialect = "auto";
    std::string dateOrder;
    std::string decimal;
    std::string source;
    std::string notes;
    std::string match;
    bool dryRun = false;
};

// What a format does in its own way.
struct ImportKind {
    std::function<std::unique_ptr<CImportManager>(CSession&, const CAccountEntry&)> make;
    // Adds to the result's document, in front of its notes; none for most.
    std::function<void(Json&)> addToJson;
    // A line below the dialect; none for most.
    std::function<std::string()> describe;
    // When the file was understood; none for most.
    std::function<void()> whenRead;
};

// The options that all import commands take, "file" and "--account" first, and their values;
// the dialect is the command's own.
std::vector<Option> CommonImportOptions();
ImportCommandOptions CommonImportValues(const Arguments& given);

std::optional<DateOrder> DateOrderOf(const std::string& name);
std::optional<DecimalMark> DecimalMarkOf(const std::string& name);
ImportOptions ReadImportOptions(const ImportCommandOptions& given);
// Imports, or tries to, and prints what came of it. Throws CFailure.
void RunImport(CCommandContext& context, const ImportCommandOptions& given,
               const ImportOptions& options, const ImportKind& kind);

// Of CsvImportCommand.cpp, for the list of commands.
Command CsvImportCommand();

}  // namespace quillon
