// The only file that knows the library that parses command lines.

#include "cli/Parser.h"

#include <CLI/CLI.hpp>
#include <deque>
#include <utility>

#include "cli/terminal/Failure.h"
#include "finance/names/TypedNames.h"
#include "wording/NameWords.h"

namespace quillon {

namespace {

constexpr char kProgram[] = "quillon-cli";

// --- declaring

// Where the library leaves what was typed, for as long as it parses.
struct BoundOption {
    CLI::Option* parsed = nullptr;
    OptionValue value;
};

struct BoundCommand {
    const Command* command = nullptr;
    std::deque<BoundOption> options;  // they stay where they are
};

CLI::Option* Bind(CLI::App& command, const Option& option, OptionValue& value) {
    switch (option.kind) {
        case OptionKind::Flag:
            return command.add_flag(option.name, value.flag, option.help);
        case OptionKind::Number:
            return command.add_option(option.name, value.number.value, option.help);
        case OptionKind::SmallNumber:
            return command.add_option_function<int32_t>(
                option.name, [&value](const int32_t& number) { value.number.value = number; },
                option.help);
        case OptionKind::Texts:
            return command.add_option(option.name, value.texts, option.help);
        case OptionKind::Text:
            break;
    }
    if (option.standard) value.text.value = option.standard;
    return command.add_option(option.name, value.text.value, option.help);
}

void AddOption(CLI::App& command, const Option& option, BoundOption& bound) {
    bound.value.name = option.name;
    bound.parsed = Bind(command, option, bound.value);
    bound.parsed->required(option.required);
    if (!option.choices.empty() && option.ignoreCase) {
        bound.parsed->check(CLI::IsMember(option.choices, CLI::ignore_case));
    } else if (!option.choices.empty()) {
        bound.parsed->check(CLI::IsMember(option.choices));
    }
    if (option.standard) bound.parsed->capture_default_str();
    if (option.delimiter != 0) bound.parsed->delimiter(option.delimiter);
    if (option.typeName) bound.parsed->type_name(option.typeName);
    if (option.excludes) bound.parsed->excludes(command.get_option(option.excludes));
}

// What all commands have. It is understood behind the command as well.
void AddProgramOptions(CLI::App& program, CCommandContext& context) {
    program.require_subcommand(1);
    program.fallthrough();
    program.set_version_flag("--version", std::string(kProgram) + " " QUILLON_VERSION);
    program
        .add_option("--database", context.database,
                    "Folder of the ledger (default: the settings' FileFolder DatabasePath, else "
                    "QuillonDatabase)")
        ->type_name("DIR");
    program.add_flag("--json", context.json, "One JSON document on standard output");
    program
        .add_option("--password-file", context.passwordFile,
                    "File whose first line is the ledger's password")
        ->type_name("FILE");
}

// "check format show" stands in the group "check format", which is declared already.
CLI::App& GroupOf(CLI::App& program, std::string_view path) {
    CLI::App* group = &program;
    for (size_t blank = path.find(' '); blank != std::string_view::npos; blank = path.find(' ')) {
        group = group->get_subcommand(std::string(path.substr(0, blank)));
        path.remove_prefix(blank + 1);
    }
    return *group;
}

// `called` becomes the command that is typed.
void AddCommand(CLI::App& program, const Command& command, BoundCommand& bound,
                BoundCommand*& called) {
    const std::string_view path = command.path;
    const std::string name(path.substr(path.rfind(' ') + 1));
    CLI::App& added = *GroupOf(program, path).add_subcommand(name, command.help);
    if (command.IsGroup()) {
        added.require_subcommand(1);
        return;
    }
    bound.command = &command;
    for (const Option& option : command.options) {
        AddOption(added, option, bound.options.emplace_back());
    }
    added.callback([&bound, &called] { called = &bound; });
}

// --- what is wrong with a command line

// "quillon-cli account add": the command that the arguments got to.
std::string CommandPath(const CLI::App& program) {
    std::string path = kProgram;
    for (const CLI::App* app = &program; !app->get_subcommands().empty();) {
        app = app->get_subcommands().front();
        path += " " + app->get_name();
    }
    return path;
}

// What the parser says of a group without a command is the same for none and an unknown one.
std::string UsageMessage(const CLI::App& program, const CLI::ParseError& error) {
    const CLI::App* group = &program;
    while (!group->get_subcommands().empty()) group = group->get_subcommands().front();
    const auto isCommand = [](const CLI::App*) { return true; };
    std::vector<std::string> names;
    for (const CLI::App* command : group->get_subcommands(isCommand)) {
        names.push_back(command->get_name());
    }
    if (names.empty() || dynamic_cast<const CLI::RequiredError*>(&error) == nullptr) {
        return error.what();
    }
    // What a group does not know falls through to the program.
    const std::vector<std::string> unknown = program.remaining(true);
    if (unknown.empty() || unknown.front().starts_with("-")) return error.what();
    const std::string near = DidYouMean(NearNames(unknown.front(), names));
    return Quoted(unknown.front()) + " is not a command" + (near.empty() ? "" : "; " + near);
}

CommandCall CallOf(BoundCommand& called) {
    CommandCall call;
    call.command = called.command;
    call.values.reserve(called.options.size());
    for (BoundOption& option : called.options) {
        const bool given = option.parsed->count() > 0;
        option.value.text.given = given;
        option.value.number.given = given;
        call.values.push_back(std::move(option.value));
    }
    return call;
}

}  // namespace

CommandCall ParseCommandLine(const std::vector<Command>& commands,
                             const std::vector<std::string>& arguments, CCommandContext& context) {
    CLI::App program("A personal-finance manager's ledger on the command line.", kProgram);
    AddProgramOptions(program, context);
    std::vector<BoundCommand> bound(commands.size());
    BoundCommand* called = nullptr;
    for (size_t i = 0; i < commands.size(); ++i) {
        AddCommand(program, commands[i], bound[i], called);
    }
    try {
        // The parser takes the last argument first.
        program.parse(std::vector<std::string>(arguments.rbegin(), arguments.rend()));
    } catch (const CLI::ParseError& error) {
        if (error.get_exit_code() == 0) {  // help or version
            program.exit(error, context.Host().out, context.Host().err);
            return {};
        }
        throw CFailure(UsageMessage(program, error) + " (see " + CommandPath(program) + " --help)",
                       ExitStatus::WrongUsage);
    }
    return called ? CallOf(*called) : CommandCall{};
}

}  // namespace quillon
