// settings get, set, list. The settings file holds no finance data, so no ledger is opened.

#include "cli/CommandContext.h"
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

std::vector<Command> SettingsCommands() {
    const Option section{.name = "section", .help = "Its section", .required = true};
    const Option key{.name = "key", .help = "Its name", .required = true};
    return {
        {.path = "settings", .help = "The settings file"},
        {.path = "settings get",
         .help = "Show one setting",
         .options = {section, key},
         .run =
             [](CCommandContext& context, const Arguments& given) {
                 Get(context, {given.Value("section"), given.Value("key"), {}});
             }},
        {.path = "settings set",
         .help = "Store a setting",
         .options = {section,
                     key,
                     {.name = "value",
                      .help = "Its value; an empty one removes the setting",
                      .required = true}},
         .run =
             [](CCommandContext& context, const Arguments& given) {
                 Set(context, {given.Value("section"), given.Value("key"), given.Value("value")});
             }},
        {.path = "settings list",
         .help = "Show all settings",
         .options = {{.name = "section", .help = "Only this section"}},
         .run = [](CCommandContext& context,
                   const Arguments& given) { List(context, given.Value("section")); }},
    };
}

}  // namespace quillon
