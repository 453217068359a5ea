#include "settings/SettingsFile.h"

#include <algorithm>
#include <string_view>

#include "foundation/Unicode.h"
#include "foundation/platform/Folders.h"
#include "settings/DefaultSettings.h"
#include "settings/SettingsValues.h"

namespace quillon {
namespace {

constexpr char kFileName[] = "Quillon.cfg";
constexpr char kFolderName[] = "Quillon";

bool IsControl(char character) {
    const auto code = static_cast<unsigned char>(character);
    return code < 0x20 || code == 0x7F;
}

// A name that is found again when it was written.
bool IsName(std::string_view name, std::string_view forbidden) {
    return !name.empty() && name.front() != ' ' && name.back() != ' ' &&
           name.find_first_of(forbidden) == std::string_view::npos &&
           std::none_of(name.begin(), name.end(), IsControl);
}

bool IsSectionName(std::string_view name) {
    return IsName(name, "[]");
}

bool IsKeyName(std::string_view name) {
    return IsName(name, "=") && name.front() != ';' && name.front() != '[';
}

// A line break would start a line of its own, and a zero end the text.
bool IsOneLine(std::string_view value) {
    return value.find_first_of(std::string_view("\r\n\0", 3)) == std::string_view::npos;
}

// The cut counts bytes; what it leaves of the last character goes as well.
void DropPartOfCharacter(std::string& text) {
    size_t start = text.size();
    while (start > 0 && text.size() - start < 3 && (text[start - 1] & 0xC0) == 0x80) --start;
    if (start == 0) return;
    const auto lead = static_cast<unsigned char>(text[start - 1]);
    const size_t length = lead >= 0xF0 ? 4 : lead >= 0xE0 ? 3 : lead >= 0xC0 ? 2 : 1;
    if (text.size() - (start - 1) < length) text.resize(start - 1);
}

}  // namespace

SettingsPlaces SettingsPlaces::Machine() {
    return {[] { return EnvironmentVariable("QUILLON_SETTINGS"); }, ExecutableFolder,
            RoamingDataFolder};
}

SettingsPlaces SettingsPlaces::Fixed(std::string path) {
    const auto none = [] { return std::string(); };
    return {[path = std::move(path)] { return path; }, none, none};
}

CSettingsFile::CSettingsFile(SettingsPlaces places, CFileSystem& files, CProfile& profile)
    : m_places(std::move(places)), m_files(files), m_profile(profile) {}

std::string CSettingsFile::Path() const {
    std::string chosen = m_places.chosenFile();
    if (!chosen.empty()) return chosen;
    const std::string programFolder = m_places.programFolder();
    if (!programFolder.empty()) {
        std::string portable = JoinPath(programFolder, kFileName);
        if (m_files.Exists(portable)) return portable;
    }
    const std::string roaming = m_places.roamingFolder();
    if (roaming.empty()) return PathSeparator() + std::string(kFileName);
    return JoinPath(JoinPath(roaming, kFolderName), kFileName);
}

bool CSettingsFile::ReadString(const std::string& section, const std::string& key,
                               std::string& value) const {
    std::string read;
    if (!m_profile.Read(Path(), section, key, read)) return false;
    if (read.size() == CProfile::kLongestValue) DropPartOfCharacter(read);
    if (read.empty()) return false;
    value.swap(read);
    return true;
}

bool CSettingsFile::ReadInteger(const std::string& section, const std::string& key,
                                int64_t& value) const {
    value = 0;
    std::string text;
    return ReadString(section, key, text) && ParseLeadingInteger(text, value);
}

bool CSettingsFile::ReadDouble(const std::string& section, const std::string& key,
                               double& value) const {
    value = 0.0;
    std::string text;
    return ReadString(section, key, text) && ParseLeadingDouble(text, value);
}

bool CSettingsFile::WriteString(const std::string& section, const std::string& key,
                                const std::string& value) const {
    if (!IsSectionName(section) || !IsKeyName(key) || !IsOneLine(value)) return false;
    const std::string path = Path();
    if (value.empty()) return RemoveKey(path, section, key);
    return m_files.MakeFolder(FolderOf(path)) && m_profile.Write(path, section, key, value);
}

// Of a key that is there twice the second value would come to light.
bool CSettingsFile::RemoveKey(const std::string& path, const std::string& section,
                              const std::string& key) const {
    std::string left;
    for (size_t most = m_profile.Names(path, section).size();; --most) {
        if (!m_profile.Remove(path, section, key)) return false;
        if (!m_profile.Read(path, section, key, left)) return true;
        if (most == 0) return false;
    }
}

bool CSettingsFile::WriteInteger(const std::string& section, const std::string& key,
                                 int64_t value) const {
    return WriteString(section, key, std::to_string(value));
}

bool CSettingsFile::WriteDefaultFile() const {
    const std::string path = Path();
    if (m_files.Exists(path) || !m_files.MakeFolder(FolderOf(path))) return false;
    const std::string_view text = DefaultSettingsText();
    return ReplaceWholeFile(m_files, path, std::vector<uint8_t>(text.begin(), text.end()));
}

std::vector<std::string> CSettingsFile::Sections() const {
    std::vector<std::string> names;
    std::vector<std::string> folded;
    for (std::string& name : m_profile.Sections(Path())) {
        std::string key = FoldCase(name);
        if (std::find(folded.begin(), folded.end(), key) != folded.end()) continue;
        folded.push_back(std::move(key));
        names.push_back(std::move(name));
    }
    return names;
}

std::vector<std::string> CSettingsFile::Keys(const std::string& section) const {
    return m_profile.Names(Path(), section);
}

}  // namespace quillon
