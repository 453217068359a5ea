#pragma once

#include <cstddef>
#include <string>
#include <vector>

namespace quillon {

// Sectioned text files: "[section]" lines and "name=value" lines.
//
//   Text       Bytes as they stand in the file; names are found without regard to
//              the case of ASCII letters and to blanks around them.
//   Values     Blanks around a value and one pair of quotes (" or ') around it are
//              not part of it. There is no escaping.
//   Doubles    Of sections or names that occur twice the first counts.
//   Errors     false or empty. A missing file is an empty one.
//   Threads    None: two writers of one file lose one of the two writes.
//   Caching    None: every call reads the file, and a write is in the file when it
//              returns.
class CProfile {
public:
    // A longer value is cut to this many bytes when it is read.
    static constexpr size_t kLongestValue = 2047;

    virtual ~CProfile() = default;

    // False, and `value` untouched: no such value, or an empty one.
    virtual bool Read(const std::string& path, const std::string& section, const std::string& name,
                      std::string& value) = 0;
    // Makes the file (not its folder) and the section when they are missing. A new
    // name comes last in its section, a new section last in the file. A value that
    // reads the same already leaves the file alone.
    [[nodiscard]] virtual bool Write(const std::string& path, const std::string& section,
                                     const std::string& name, const std::string& value) = 0;
    // Removes the first of that name; a second one then counts. True when it is gone, or
    // there was none.
    [[nodiscard]] virtual bool Remove(const std::string& path, const std::string& section,
                                      const std::string& name) = 0;
    // In the order of the file.
    virtual std::vector<std::string> Sections(const std::string& path) = 0;
    virtual std::vector<std::string> Names(const std::string& path, const std::string& section) = 0;
};

// The system's profile routines where it has them, else our own.
CProfile& PlatformProfile();

}  // namespace quillon
