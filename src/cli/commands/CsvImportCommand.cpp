// import csv: a bank's file in columns into an account.

#include "cli/commands/ImportRun.h"
#include "cli/terminal/Failure.h"
#include "cli/terminal/Values.h"
#include "import/csv/CSVImportManager.h"
#include "import/csv/CsvProfiles.h"

namespace quillon {

namespace {

struct CsvCommandOptions {
    ImportCommandOptions import;
    std::string map;
    TextOption delimiter;
    NumberOption skip;
    std::string profile;
    std::string saveProfile;
    bool invert = false;
};

const char* NameOf(CsvDirection direction) {
    switch (direction) {
        case CsvDirection::Down:
            return "down";
        case CsvDirection::Up:
            return "up";
        case CsvDirection::Before:
            return "before";
        case CsvDirection::None:
            break;
    }
    return nullptr;
}

CsvRequest ReadRequest(const CsvCommandOptions& given) {
    CsvRequest request;
    if (!ReadCsvMapping(given.map, request)) {
        throw CFailure("--map takes fields with their columns, as 'date=1,payee=3,amount=7', not " +
                           Quoted(given.map) +
                           "; fields are date, payee, memo, amount, debit, credit, sign, category, "
                           "check, id and balance.",
                       ExitStatus::WrongUsage);
    }
    if (given.delimiter.Given()) {
        request.delimiter = ReadCsvDelimiter(given.delimiter.value);
        if (!request.delimiter) {
            throw CFailure("--delimiter takes one character, as ';' or 'tab', not " +
                               Quoted(given.delimiter.value) + ".",
                           ExitStatus::WrongUsage);
        }
    }
    if (given.skip.Given()) {
        if (given.skip.value < 0) {
            throw CFailure("--skip takes a number of lines, 0 or more.", ExitStatus::WrongUsage);
        }
        request.skip = given.skip.value;
    }
    request.dateOrder = DateOrderOf(given.import.dateOrder);
    request.decimal = DecimalMarkOf(given.import.decimal);
    if (given.invert) request.invert = true;
    return request;
}

// The one that is asked for, as if its heading were the file's; else all that have a heading.
std::vector<CsvProfile> ReadProfiles(CCommandContext& context, const CsvCommandOptions& given,
                                     CsvRequest& request) {
    if (given.profile.empty()) return ReadCsvProfiles(context.Settings());
    const std::optional<CsvProfile> profile = ReadCsvProfile(context.Settings(), given.profile);
    if (!profile) {
        throw CFailure("There is no profile " + Quoted(given.profile) +
                       "; --save-profile makes one.");
    }
    request = Merged(request, profile->request);
    return {};
}

Json MappingJson(const CsvFinding& finding) {
    Json mapping = {{"delimiter", std::string(1, finding.delimiter)},
                    {"headerLine", finding.headerLine}};
    for (const CsvField field :
         {CsvField::Date, CsvField::Payee, CsvField::Amount, CsvField::Debit, CsvField::Credit,
          CsvField::Sign, CsvField::Memo, CsvField::Category, CsvField::Check, CsvField::Id,
          CsvField::Balance}) {
        mapping[NameOf(field).data()] = finding.map[field];
    }
    mapping["invert"] = finding.invert;
    return mapping;
}

void AddToJson(const CsvFinding& finding, Json& json) {
    json["mapping"] = MappingJson(finding);
    json["balanceRows"] = finding.balanceRows;
    json["balanceProved"] = finding.balanceProved;
    const char* const direction = NameOf(finding.balanceDirection);
    json["balanceDirection"] = direction ? Json(direction) : Json();
}

// "Columns: date 1, payee 3, amount 7; delimiter ';', heading in line 6"
std::string Description(const CsvFinding& finding) {
    std::string text;
    for (size_t i = 0; i < kCsvFields; ++i) {
        if (finding.map.columns[i] == 0) continue;
        text += text.empty() ? "Columns: " : ", ";
        text.append(NameOf(static_cast<CsvField>(i)))
            .append(" ")
            .append(std::to_string(finding.map.columns[i]));
    }
    text += finding.delimiter == '\t' ? std::string("; delimiter tab")
                                      : "; delimiter '" + std::string(1, finding.delimiter) + "'";
    text += finding.headerLine == 0 ? std::string(", no heading")
                                    : ", heading in line " + std::to_string(finding.headerLine);
    return finding.invert ? text + ", signs turned" : text;
}

void ImportCsv(CCommandContext& context, const CsvCommandOptions& given) {
    CsvRequest request = ReadRequest(given);
    RequireLine(given.saveProfile, "A profile's name");
    std::vector<CsvProfile> profiles = ReadProfiles(context, given, request);
    const ImportOptions options = ReadImportOptions(given.import);
    CCSVImportManager* manager = nullptr;
    ImportKind kind;
    kind.make = [&](CSession& session, const CAccountEntry& account) {
        auto importer = std::make_unique<CCSVImportManager>(
            session.Database(), account, given.import.file, context.Host().files);
        importer->SetRequest(request);
        importer->SetProfiles(std::move(profiles));
        manager = importer.get();
        return importer;
    };
    kind.addToJson = [&](Json& json) { AddToJson(manager->Finding(), json); };
    kind.describe = [&] { return Description(manager->Finding()); };
    kind.whenRead = [&] {
        if (given.saveProfile.empty()) return;
        const CsvProfile profile = ProfileOf(given.saveProfile, manager->Finding(), request);
        if (!WriteCsvProfile(context.Settings(), profile)) {
            throw CFailure("The profile " + Quoted(given.saveProfile) +
                           " cannot be kept: the settings file takes no such name, or cannot be "
                           "written.");
        }
    };
    RunImport(context, given.import, options, kind);
}

CsvCommandOptions OptionsOf(const Arguments& given) {
    return {.import = CommonImportValues(given),
            .map = given.Value("--map"),
            .delimiter = given.Text("--delimiter"),
            .skip = given.Number("--skip"),
            .profile = given.Value("--profile"),
            .saveProfile = given.Value("--save-profile"),
            .invert = given.Flag("--invert")};
}

}  // namespace

Command CsvImportCommand() {
    std::vector<Option> options = CommonImportOptions();
    for (const Option& own : std::initializer_list<Option>{
             {.name = "--map",
    .help = "Columns by number, as date=1,payee=3,amount=7; also memo, debit, credit, "
            "sign, category, check, id, balance"},
             {.name = "--delimiter", .help = "What stands between columns, as ';' or tab"},
             {.name = "--skip",
             .help = "Lines in front of the heading",
             .kind = OptionKind::Number},
             {.name = "--invert",
             .help = "Amounts written positive go out",
             .kind = OptionKind::Flag},
             {.name = "--profile", .help = "Read it as this profile says"},
             {.name = "--save-profile", .help = "Keep how it was read under this name"}}) {
        options.push_back(own);
    }
    return {.path = "import csv",
            .help = "Import a file in columns; known lines are left out",
            .options = std::move(options),
            .run = [](CCommandContext& context, const Arguments& given) {
                ImportCsv(context, OptionsOf(given));
            }};
}

}  // namespace quillon
