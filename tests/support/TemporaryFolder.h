#pragma once

#include <filesystem>
#include <random>
#include <string>
#include <system_error>
#include <vector>

#include "foundation/FileSystem.h"

namespace quillon {

// A new folder on the machine's file system, removed with all it holds.
class CTemporaryFolder {
public:
    // `name` (UTF-8) becomes the end of the folder's name.
    explicit CTemporaryFolder(const std::string& name = "test") {
        std::random_device random;
        const std::string unique =
            "quillon-" + std::to_string(random()) + "-" + std::to_string(random()) + "-" + name;
        m_path =
            std::filesystem::temp_directory_path() / std::u8string(unique.begin(), unique.end());
        std::filesystem::create_directories(m_path);
    }
    ~CTemporaryFolder() {
        std::error_code ignored;
        std::filesystem::remove_all(m_path, ignored);
    }
    CTemporaryFolder(const CTemporaryFolder&) = delete;
    CTemporaryFolder& operator=(const CTemporaryFolder&) = delete;

    // UTF-8, no separator at the end.
    std::string Path() const {
        const std::u8string text = m_path.u8string();
        return std::string(text.begin(), text.end());
    }
    // UTF-8 path of `name` in the folder.
    std::string File(const std::string& name) const { return WithTrailingSeparator(Path()) + name; }

private:
    std::filesystem::path m_path;
};

// Empty where it cannot be read.
inline std::string TextOfFile(const std::string& path) {
    std::vector<uint8_t> bytes;
    (void)ReadWholeFile(PlatformFileSystem(), path, bytes);
    return {bytes.begin(), bytes.end()};
}

}  // namespace quillon
