#pragma once

#include <string>
#include <vector>

#include "foundation/FileSystem.h"
#include "settings/Profile.h"

namespace quillon {

// Our own reader and writer of profile files, for systems without profile routines.
// It reads what those of Windows read from the same file and writes what they write.
//
//   Reading    Lines end with CR LF, LF or CR. A line that starts with ";" is a
//              comment. A section's name reaches to the line's last "]". A line
//              without "=" holds nothing. A UTF-8 mark in front is skipped.
//   Writing    Only the line in question changes; all others stay byte for byte, so
//              comments, blank lines and lines of unknown meaning survive. The new
//              line is "name=value" CR LF; an existing name keeps its spelling. The
//              file is replaced as a whole: the old one or the new one is there,
//              never half of it.
class CProfileFile final : public CProfile {
public:
    // Borrows the file system, which must outlive it.
    explicit CProfileFile(CFileSystem& files = PlatformFileSystem()) : m_files(files) {}

    bool Read(const std::string& path, const std::string& section, const std::string& name,
              std::string& value) override;
    bool Write(const std::string& path, const std::string& section, const std::string& name,
               const std::string& value) override;
    bool Remove(const std::string& path, const std::string& section,
                const std::string& name) override;
    std::vector<std::string> Sections(const std::string& path) override;
    std::vector<std::string> Names(const std::string& path, const std::string& section) override;

private:
    // False when the file is there but cannot be read: it must not be replaced then.
    bool Load(const std::string& path, std::string& text);
    bool Save(const std::string& path, const std::string& text);

    CFileSystem& m_files;
};

}  // namespace quillon
