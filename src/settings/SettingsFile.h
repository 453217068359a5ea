#pragma once

#include <cstdint>
#include <functional>
#include <string>
#include <vector>

#include "foundation/FileSystem.h"
#include "settings/Profile.h"

namespace quillon {

// Where the settings file may lie. Each is asked at every read and write.
struct SettingsPlaces {
    std::function<std::string()> chosenFile;     // a path that overrules the others, or ""
    std::function<std::string()> programFolder;  // of the running executable
    std::function<std::string()> roamingFolder;  // the user's application data

    // The environment variable QUILLON_SETTINGS, and the machine's folders.
    static SettingsPlaces Machine();
    // One file at a fixed place.
    static SettingsPlaces Fixed(std::string path);
};

// CSettingsFile reads and writes "Quillon.cfg", which holds all of a user's settings
// that are not finance data.
//
//   Place      The chosen file; else the one beside the program, when there is one
//              (a portable installation); else "Quillon/Quillon.cfg" in the roaming
//              folder. Resolved anew at every call.
//   Text       UTF-8, one line. Blanks around a value and quotes around it are lost.
//   Errors     false; the out value then says what each operation states. Settings
//              are never worth a message: the caller goes on with its default.
//   Ownership  Borrows the file system and the profile, which must outlive it.
//   Threads    One thread; nothing is cached and there is no lock.
class CSettingsFile {
public:
    explicit CSettingsFile(SettingsPlaces places = SettingsPlaces::Machine(),
                           CFileSystem& files = PlatformFileSystem(),
                           CProfile& profile = PlatformProfile());

    std::string Path() const;

    // False, and `value` untouched: missing or empty. At most CProfile::kLongestValue
    // bytes, and no part of a character at the cut.
    bool ReadString(const std::string& section, const std::string& key, std::string& value) const;
    // The number at the start of the value. False leaves 0: missing, no number, or one
    // that does not fit.
    bool ReadInteger(const std::string& section, const std::string& key, int64_t& value) const;
    bool ReadDouble(const std::string& section, const std::string& key, double& value) const;

    // An empty value removes the key. Makes file and folder when they are missing.
    // False: the file cannot be written; or a name or value that the file cannot hold,
    // such as a value of two lines.
    bool WriteString(const std::string& section, const std::string& key,
                     const std::string& value) const;
    bool WriteInteger(const std::string& section, const std::string& key, int64_t value) const;

    // Writes the default settings. True when it did; false when a file is there already,
    // which stays as it is, or none can be made.
    bool WriteDefaultFile() const;

    // Names in the order of the file; of sections that differ only in case the first.
    std::vector<std::string> Sections() const;
    std::vector<std::string> Keys(const std::string& section) const;

private:
    [[nodiscard]] bool RemoveKey(const std::string& path, const std::string& section,
                                 const std::string& key) const;

    SettingsPlaces m_places;
    CFileSystem& m_files;
    CProfile& m_profile;
};

}  // namespace quillon
