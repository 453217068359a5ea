#include "import/csv/CsvProfiles.h"

#include <algorithm>
#include <utility>

#include "foundation/Unicode.h"
#include "import/text/CharsetWords.h"
#include "import/text/TextScan.h"
#include "settings/SettingsNames.h"
#include "settings/SettingsValues.h"

namespace quillon {

namespace {

constexpr std::pair<std::string_view, char> kDelimiterNames[] = {
    {"tab", '\t'}, {"comma", ','}, {"semicolon", ';'}, {"pipe", '|'}};

std::string DelimiterName(char delimiter) {
    for (const auto& [name, character] : kDelimiterNames) {
        if (character == delimiter) return std::string(name);
    }
    return {delimiter};
}

std::string MappingText(const CsvRequest& request) {
    std::string text;
    for (size_t i = 0; i < kCsvFields; ++i) {
        if (!request.columns[i]) continue;
        text.append(text.empty() ? "" : ",").append(NameOf(static_cast<CsvField>(i))).append("=");
        text += std::to_string(*request.columns[i]);
    }
    return text;
}

template <typename Code>
std::optional<Code> CodeOf(std::string_view name, std::initializer_list<Code> codes) {
    for (const Code code : codes) {
        if (name == NameOf(code)) return code;
    }
    return {};
}

// 1 to 9,999; 0 also for an empty text.
std::optional<int32_t> ReadColumn(std::string_view text) {
    constexpr size_t kMostDigits = 4;
    if (text.empty()) return 0;
    if (!IsDigits(text) || text.size() > kMostDigits) return {};
    return NumberOf(text);
}

CsvProfile ReadSection(const CSettingsFile& settings, const std::string& section,
                       std::string name) {
    CsvProfile profile;
    profile.name = std::move(name);
    CsvRequest& request = profile.request;
    const auto text = [&](const char* key) {
        std::string value;
        (void)settings.ReadString(section, key, value);
        return value;
    };
    profile.headingWords = text(settings::kCsvHeading);
    (void)ReadCsvMapping(text(settings::kCsvMap), request);
    request.delimiter = ReadCsvDelimiter(text(settings::kCsvDelimiter));
    int64_t skip = 0;
    if (settings.ReadInteger(section, settings::kCsvSkip, skip) && skip >= 0) request.skip = skip;
    request.dateOrder =
        CodeOf(text(settings::kCsvDateOrder),
               {DateOrder::MonthDayYear, DateOrder::DayMonthYear, DateOrder::YearMonthDay});
    request.decimal = CodeOf(text(settings::kCsvDecimal), {DecimalMark::Point, DecimalMark::Comma});
    const std::string invert = text(settings::kCsvInvert);
    if (!invert.empty()) request.invert = invert == "1";
    const Charset charset = CharsetOfName(text(settings::kCsvCharset));
    if (charset != Charset::Utf8) request.charset = charset;
    return profile;
}

}  // namespace

std::vector<CsvProfile> ReadCsvProfiles(const CSettingsFile& settings) {
    std::vector<CsvProfile> profiles;
    const std::string prefix = NamedKey(settings::kCsvProfile, "");
    for (const std::string& section : settings.Sections()) {
        if (!EqualIgnoringAsciiCase(std::string_view(section).substr(0, prefix.size()), prefix)) {
            continue;
        }
        profiles.push_back(ReadSection(settings, section, section.substr(prefix.size())));
    }
    return profiles;
}

std::optional<CsvProfile> ReadCsvProfile(const CSettingsFile& settings, const std::string& name) {
    std::vector<CsvProfile> profiles = ReadCsvProfiles(settings);
    const auto found = std::find_if(
        profiles.begin(), profiles.end(),
        [&name](const CsvProfile& profile) { return EqualsIgnoringCase(profile.name, name); });
    if (found == profiles.end()) return {};
    return std::move(*found);
}

bool WriteCsvProfile(const CSettingsFile& settings, const CsvProfile& profile) {
    const std::string section = NamedKey(settings::kCsvProfile, profile.name);
    const CsvRequest& request = profile.request;
    const auto write = [&](const char* key, const std::string& value) {
        return settings.WriteString(section, key, value);
    };
    const auto name = [](const auto& code) {
        return code ? std::string(NameOf(*code)) : std::string();
    };
    return write(settings::kCsvMap, MappingText(request)) &&
           write(settings::kCsvHeading, profile.headingWords) &&
           write(settings::kCsvDelimiter,
                 request.delimiter ? DelimiterName(*request.delimiter) : std::string()) &&
           write(settings::kCsvSkip,
                 request.skip ? std::to_string(*request.skip) : std::string()) &&
           write(settings::kCsvDateOrder, name(request.dateOrder)) &&
           write(settings::kCsvDecimal, name(request.decimal)) &&
           write(settings::kCsvInvert,
                 request.invert ? (*request.invert ? "1" : "0") : std::string()) &&
           write(settings::kCsvCharset, name(request.charset));
}

CsvProfile ProfileOf(std::string name, const CsvFinding& finding, const CsvRequest& request) {
    CsvProfile profile{std::move(name), finding.headingWords, {}};
    for (size_t i = 0; i < kCsvFields; ++i) profile.request.columns[i] = finding.map.columns[i];
    profile.request.delimiter = finding.delimiter;
    profile.request.skip = request.skip;
    profile.request.dateOrder = finding.dialect.dateOrder;
    profile.request.decimal = finding.dialect.decimal;
    profile.request.invert = finding.invert;
    if (CharsetOfName(NameOf(finding.dialect.charset)) != Charset::Utf8) {
        profile.request.charset = finding.dialect.charset;
    }
    return profile;
}

bool ReadCsvMapping(std::string_view text, CsvRequest& request) {
    CsvRequest read = request;
    std::array<bool, kCsvFields> said{};
    while (!text.empty()) {
        const size_t end = std::min(text.find(','), text.size());
        const std::string_view part = TrimBlanks(text.substr(0, end));
        text.remove_prefix(std::min(end + 1, text.size()));
        const size_t equals = part.find('=');
        if (equals == std::string_view::npos) return false;
        size_t field = 0;
        const std::string_view name = TrimBlanks(part.substr(0, equals));
        while (field < kCsvFields && NameOf(static_cast<CsvField>(field)) != name) ++field;
        if (field == kCsvFields || said[field]) return false;
        const std::optional<int32_t> column = ReadColumn(TrimBlanks(part.substr(equals + 1)));
        if (!column) return false;
        said[field] = true;
        read.columns[field] = *column;
    }
    request = read;
    return true;
}

std::optional<char> ReadCsvDelimiter(std::string_view text) {
    for (const auto& [name, character] : kDelimiterNames) {
        if (EqualIgnoringAsciiCase(text, name)) return character;
    }
    if (text == "\\t") return '\t';
    const bool isOne = text.size() == 1 && text.front() != '"' && text.front() != '\n' &&
                       text.front() != '\r' && !IsLetter(text.front()) && !IsDigit(text.front());
    if (!isOne) return {};
    return text.front();
}

}  // namespace quillon
