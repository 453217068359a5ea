#include "cli/Parser.h"

#include "cli/CliFixture.h"
#include "cli/terminal/Failure.h"

namespace quillon {
namespace {

void Nothing(CCommandContext& /*context*/, const Arguments& /*given*/) {}

const std::vector<Command> kCommands{
    {.path = "group", .help = "A group"},
    {.path = "group inner", .help = "A group in it"},
    {.path = "group inner work",
     .help = "Work",
     .options = {{.name = "what", .help = "Its name", .required = true},
                 {.name = "--text", .help = "A text"},
                 {.name = "--kind",
                  .help = "A kind",
                  .choices = {"plain", "Fancy"},
                  .ignoreCase = true,
                  .standard = "plain"},
                 {.name = "--exact", .help = "As written", .choices = {"", "AB"}},
                 {.name = "--number", .help = "A number", .kind = OptionKind::Number},
                 {.name = "--small", .help = "32 bits", .kind = OptionKind::SmallNumber},
                 {.name = "--ids", .help = "Several", .kind = OptionKind::Texts, .delimiter = ','},
                 {.name = "--up", .help = "Up", .kind = OptionKind::Flag},
                 {.name = "--down", .help = "Down", .kind = OptionKind::Flag, .excludes = "--up"}},
     .run = Nothing},
    {.path = "rest", .help = "Rest", .run = Nothing}};

class ParserTest : public CliTest {
protected:
    // What the values come to in one line, or the failure.
    std::string Parse(const Arguments& arguments) {
        CommandLineHost host{.out = m_out,
                             .err = m_err,
                             .readPassword = {},
                             .settings = SettingsPlaces::Fixed(m_folder.File("Quillon.cfg")),
                             .files = m_disk,
                             .keyCost = {}};
        CCommandContext context(host);
        try {
            const CommandCall call = ParseCommandLine(kCommands, arguments, context);
            if (!call.command) return "printed";
            std::string line = call.command->path;
            if (!context.database.empty()) line += " in " + context.database;
            for (const OptionValue& value : call.values) line += Shown(value);
            return line;
        } catch (const CFailure& failure) {
            EXPECT_EQ(failure.Status(), ExitStatus::WrongUsage);
            return failure.what();
        }
    }

    // "!" marks a text that nobody gave; an option without a value shows nothing.
    static std::string Shown(const OptionValue& value) {
        std::string shown;
        for (const std::string& text : value.texts) shown += "<" + text + ">";
        if (value.flag) {
            shown = "yes";
        } else if (value.number.value != 0) {
            shown = std::to_string(value.number.value);
        } else if (!value.text.value.empty()) {
            shown = value.text.value + (value.text.Given() ? "" : "!");
        } else if (value.text.Given() && value.texts.empty()) {
            shown = "empty";
        }
        return shown.empty() ? "" : " " + std::string(value.name) + "=" + shown;
    }

    std::ostringstream m_out;
    std::ostringstream m_err;
};

TEST_F(ParserTest, ReadsWhatTheCommandDeclares) {
    const std::string work = "group inner work";
    const std::string see = " (see quillon-cli group inner work --help)";
    const struct {
        Arguments arguments;
        std::string expected;
    } rows[] = {
        {{"rest"}, "rest"},
        {{"rest", "--database", "D"}, "rest in D"},
        {{"--version"}, "printed"},
        {{"group", "inner", "--help"}, "printed"},
        {{"group", "inner", "work", "W"}, work + " what=W --kind=plain!"},
        {{"group", "inner", "work", "", "--text", ""},
         work + " what=empty --text=empty --kind=plain!"},
        {{"group", "inner", "work", "W", "--kind", "FANCY"}, work + " what=W --kind=FANCY"},
        {{"group", "inner", "work", "W", "--exact", ""},
         work + " what=W --kind=plain! --exact=empty"},
        {{"group", "inner", "work", "W", "--exact", "ab"}, "--exact: ab not in {AB}" + see},
        {{"group", "inner", "work", "W", "--number", "-9223372036854775808"},
         work + " what=W --kind=plain! --number=-9223372036854775808"},
        {{"group", "inner", "work", "W", "--small", "2147483647"},
         work + " what=W --kind=plain! --small=2147483647"},
        {{"group", "inner", "work", "W", "--small", "2147483648"},
         "Could not convert: --small = 2147483648" + see},
        {{"group", "inner", "work", "W", "--ids", "1,2", "3", "--up"},
         work + " what=W --kind=plain! --ids=<1><2><3> --up=yes"},
        {{"group", "inner", "work", "W", "--up", "--down"}, "--up excludes --down" + see},
        {{"group", "inner", "work"}, "what is required" + see},
        {{"group", "inner", "werk"},
         "'werk' is not a command; did you mean 'work'? (see quillon-cli group inner --help)"},
        {{}, "A subcommand is required (see quillon-cli --help)"},
    };
    for (const auto& row : rows) EXPECT_EQ(Parse(row.arguments), row.expected);
}

TEST_F(ParserTest, ANameThatIsNotDeclaredIsAFault) {
    std::vector<OptionValue> values(1);
    values[0].name = "--text";
    values[0].text.value = "T";
    const quillon::Arguments given(values);
    EXPECT_EQ(given.Text("--text").value, "T");
    EXPECT_EQ(given.Value("--text"), "T");
    EXPECT_THROW((void)given.Value("--txet"), std::out_of_range);
}

}  // namespace
}  // namespace quillon
