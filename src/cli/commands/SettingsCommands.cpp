// settings get, set, list. The settings file holds no finance data, so no ledger is opened.

#include "cli/commands/Commands.h"
#include "cli/terminal/Failure.h"
#include "cli/terminal/TablePrinter.h"
#include "cli/terminal/Values.h"
#include "foundation/Unicode.h"

namespace quillon {

namespace {

struct SettingName {
    std::string section;
    std::string key;
    std::string value;
};

Json SettingJson(const SettingName& setting) {
    return {{"section", setting.section}, {"key", setting.key}, {"value", setting.value}};
}

void Get(CCommandContext& context, SettingName setting) {
    if (!context.Settings().ReadString(setting.section, setting.key, setting.value)) {
        throw CFailure("There is no setting " + Quoted(setting.key) + " in section " +
                       Quoted(setting.section) + " of " + Quoted(context.Settings().Path()) +
                       "; 'settings list' shows all.");
    }
    if (context.WantsJson()) {
        context.Print(SettingJson(setting));
    } else {
        context.Say(setting.value);
    }
}

void Set(CCommandContext& context, const SettingName& setting) {
    if (!context.Settings().WriteString(setting.section, setting.key, setting.value)) {
        throw CFailure("The setting " + Quoted(setting.key) + " could not be written to " +
                       Quoted(context.Settings().Path()) +
                       "; check that names and value fit on one line and the file's permissions.");
    }
    if (context.WantsJson()) {
        context.Print(SettingJson(setting));
    } else {
        context.Say(setting.value.empty() ? "The setting was removed." : "The setting was stored.");
    }
}

void List(CCommandContext& context, const std::string& only) {
    const CSettingsFile& settings = context.Settings();
    Json rows = Json::array();
    CTablePrinter table;
    for (const char* heading : {"Section", "Key", "Value"}) table.AddColumn(heading);
    for (const std::string& section : settings.Sections()) {
        if (!only.empty() && !EqualsIgnoringCase(section, only)) continue;
        for (const std::string& key : settings.Keys(section)) {
            SettingName setting{section, key, {}};
            settings.ReadString(section, key, setting.value);
            rows.push_back(SettingJson(setting));
            table.AddRow({setting.section, setting.key, setting.value});
        }
    }
    if (context.WantsJson()) {
        context.Print(rows);
        return;
    }
    if (table.IsEmpty()) {
        context.Say("There are no such settings in " + Quoted(settings.Path()) + ".");
        return;
    }
    table.Print(context.Host().out, 0);
    context.Say("");
    context.Say("These are in " + Quoted(settings.Path()) + ".");
}

}  // namespace

void AddSettingsCommands(CLI::App& program, CCommandContext& context) {
    CLI::App* const group = program.add_subcommand("settings", "The settings file");
    group->require_subcommand(1);
    const auto setting = std::make_shared<SettingName>();

    CLI::App* const get = group->add_subcommand("get", "Show one setting");
    get->add_option("section", setting->section, "Its section")->required();
    get->add_option("key", setting->key, "Its name")->required();
    get->callback(
        [&context, setting] { context.work = [&context, setting] { Get(context, *setting); }; });

    CLI::App* const set = group->add_subcommand("set", "Store a setting");
    set->add_option("section", setting->section, "Its section")->required();
    set->add_option("key", setting->key, "Its name")->required();
    set->add_option("value", setting->value, "Its value; an empty one removes the setting")
        ->required();
    set->callback(
        [&context, setting] { context.work = [&context, setting] { Set(context, *setting); }; });

    CLI::App* const list = group->add_subcommand("list", "Show all settings");
    list->add_option("section", setting->section, "Only this section");
    list->callback([&context, setting] {
        context.work = [&context, setting] { List(context, setting->section); };
    });
}

}  // namespace quillon
