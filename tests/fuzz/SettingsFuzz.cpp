// Settings files that people and other programs have edited: what is written reads back,
// and nothing else in the file changes. Input: section, key and value, a zero byte behind
// each, then the file.

#include <algorithm>

#include "Fuzz.h"
#include "settings/ProfileFile.h"
#include "settings/SettingsFile.h"
#include "settings/SettingsValues.h"
#include "support/MemoryFileSystem.h"

namespace quillon::fuzz {
namespace {

constexpr const char* kPath = "folder/settings.cfg";

struct Setting {
    std::string section;
    std::string key;
    std::string value;
    friend bool operator==(const Setting&, const Setting&) = default;
};

// As the comment on values in Profile.h has it.
std::string AsRead(std::string value) {
    constexpr std::string_view kBlanks = " \t\n\v\f\r\x1A";
    value.erase(0, std::min(value.find_first_not_of(kBlanks), value.size()));
    value.erase(value.find_last_not_of(kBlanks) + 1);
    if (value.size() >= 2 && value.front() == value.back() &&
        (value.front() == '"' || value.front() == '\'')) {
        value = value.substr(1, value.size() - 2);
    }
    return value;
}

bool SameName(std::string_view a, std::string_view b) {
    const auto lowered = [](char c) {
        return c >= 'A' && c <= 'Z' ? static_cast<char>(c + 32) : c;
    };
    return std::ranges::equal(a, b, {}, lowered, lowered);
}

std::vector<Setting> AllOf(const CSettingsFile& settings) {
    std::vector<Setting> all;
    for (const std::string& section : settings.Sections()) {
        for (const std::string& key : settings.Keys(section)) {
            std::string value;
            if (settings.ReadString(section, key, value)) all.push_back({section, key, value});
        }
    }
    return all;
}

// `after` is `before` but for one stretch, which is one line of it or none, and one new
// line (two when a section was added) in its place. A last line without an end gets one.
void CheckOneLineChanged(std::string before, const std::string& after) {
    const bool isOpen = !before.empty() && before.back() != '\n' && before.back() != '\r';
    if (isOpen && after != before) before += "\r\n";
    const size_t most = std::min(before.size(), after.size());
    size_t front = 0;
    while (front < most && before[front] == after[front]) ++front;
    size_t back = 0;
    while (back < most - front &&
           before[before.size() - 1 - back] == after[after.size() - 1 - back]) {
        ++back;
    }
    const std::string gone = before.substr(front, before.size() - front - back);
    const auto breaks = std::ranges::count_if(gone, [](char c) { return c == '\n' || c == '\r'; });
    // CR, LF, or both of one line end.
    FUZZ_CHECK(breaks <= 2, "no other line changes");
}

void CheckNumbers(const CSettingsFile& settings, const Setting& wanted) {
    int64_t integer = 1;
    if (!settings.ReadInteger(wanted.section, wanted.key, integer)) {
        FUZZ_CHECK(integer == 0, "no number reads as 0");
    }
    double number = 1;
    if (!settings.ReadDouble(wanted.section, wanted.key, number)) {
        FUZZ_CHECK(number == 0, "no number reads as 0");
    }
    FUZZ_CHECK(number - number == 0, "numbers are finite");
    WindowRectangle rectangle;
    if (ParseRectangle(wanted.value, rectangle)) {
        WindowRectangle again;
        FUZZ_CHECK(ParseRectangle(FormatRectangle(rectangle), again) && again == rectangle,
                   "a rectangle reads back");
    }
    std::vector<int32_t> widths;
    if (ParseWidths(wanted.value, widths)) {
        std::vector<int32_t> again;
        FUZZ_CHECK(ParseWidths(FormatWidths(widths), again) && again == widths, "widths read back");
    }
}

void Check(CInput input) {
    const Setting wanted{input.TextZ(), input.TextZ(), input.TextZ()};
    CMemoryFileSystem files;
    files.Bytes(kPath) = CopyOf(input.Rest());
    const std::string before = ToString(files.Bytes(kPath));
    CProfileFile profile(files);
    const CSettingsFile settings(SettingsPlaces::Fixed(kPath), files, profile);

    const std::vector<Setting> held = AllOf(settings);
    CheckNumbers(settings, wanted);
    FUZZ_CHECK(ToString(files.Bytes(kPath)) == before, "reading changes no file");

    const bool written = settings.WriteString(wanted.section, wanted.key, wanted.value);
    const std::string after = ToString(files.Bytes(kPath));
    if (!written) {
        FUZZ_CHECK(after == before, "what cannot be written changes no file");
        return;
    }
    // A key that is there twice goes twice.
    if (!wanted.value.empty()) CheckOneLineChanged(before, after);
    std::string value;
    const bool found = settings.ReadString(wanted.section, wanted.key, value);
    if (wanted.value.empty()) {
        FUZZ_CHECK(!found, "a removed key is gone");
    } else if (wanted.value.size() < CProfile::kLongestValue) {
        FUZZ_CHECK(found ? value == AsRead(wanted.value) : AsRead(wanted.value).empty(),
                   "what was written reads back");
    }
    FUZZ_CHECK(settings.WriteString(wanted.section, wanted.key, wanted.value) &&
                   (wanted.value.empty() || ToString(files.Bytes(kPath)) == after),
               "writing it again changes nothing");
    const std::vector<Setting> now = AllOf(settings);
    for (const Setting& setting : held) {
        if (SameName(setting.section, wanted.section) && SameName(setting.key, wanted.key))
            continue;
        FUZZ_CHECK(std::ranges::find(now, setting) != now.end(), "other settings stay");
    }
}

}  // namespace
}  // namespace quillon::fuzz

FUZZ_ENTRY(quillon::fuzz::Check)
