#include <dirent.h>
#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <utility>

#include "foundation/FileSystem.h"

namespace quillon {
namespace {

thread_local FileError lastError = FileError::None;

FileError FromErrno(int code) {
    switch (code) {
        case ENOENT:
        case ENOTDIR:
            return FileError::NotFound;
        case EACCES:
        case EPERM:
        case EROFS:
            return FileError::NoPermission;
        case ENOSPC:
        case EDQUOT:
        case EFBIG:
            return FileError::NoSpace;
        case EWOULDBLOCK:
            return FileError::Locked;
        case ENOTEMPTY:
            return FileError::NotEmpty;
        default:
            return FileError::Other;
    }
}

// Runs a call again while a signal interrupts it, and notes its error.
template <typename Call>
auto Retrying(Call call) {
    auto result = call();
    while (result < 0 && errno == EINTR) result = call();
    if (result < 0) lastError = FromErrno(errno);
    return result;
}

class CDescriptor {
public:
    explicit CDescriptor(int descriptor) : m_descriptor(descriptor) {}
    ~CDescriptor() {
        if (m_descriptor >= 0) ::close(m_descriptor);
    }
    CDescriptor(CDescriptor&& other) noexcept
        : m_descriptor(std::exchange(other.m_descriptor, -1)) {}
    CDescriptor(const CDescriptor&) = delete;
    CDescriptor& operator=(const CDescriptor&) = delete;
    int Get() const { return m_descriptor; }
    bool IsOpen() const { return m_descriptor >= 0; }

private:
    int m_descriptor;
};

class CListing {
public:
    explicit CListing(DIR* listing) : m_listing(listing) {}
    ~CListing() {
        if (m_listing) ::closedir(m_listing);
    }
    CListing(const CListing&) = delete;
    CListing& operator=(const CListing&) = delete;
    DIR* Get() const { return m_listing; }
    bool IsOpen() const { return m_listing != nullptr; }

private:
    DIR* m_listing;
};

class CPosixFile final : public CFile {
public:
    explicit CPosixFile(CDescriptor descriptor) : m_descriptor(std::move(descriptor)) {}

    int64_t ReadAt(int64_t offset, std::span<uint8_t> bytes) override {
        size_t done = 0;
        while (done < bytes.size()) {
            const auto got = Retrying([&] {
                return ::pread(m_descriptor.Get(), bytes.data() + done, bytes.size() - done,
                               static_cast<off_t>(offset) + static_cast<off_t>(done));
            });
            if (got < 0) return -1;
            if (got == 0) break;
            done += static_cast<size_t>(got);
        }
        return static_cast<int64_t>(done);
    }

    bool WriteAt(int64_t offset, std::span<const uint8_t> bytes) override {
        size_t done = 0;
        while (done < bytes.size()) {
            const auto put = Retrying([&] {
                return ::pwrite(m_descriptor.Get(), bytes.data() + done, bytes.size() - done,
                                static_cast<off_t>(offset) + static_cast<off_t>(done));
            });
            if (put <= 0) return false;
            done += static_cast<size_t>(put);
        }
        return true;
    }

    bool SetSize(int64_t size) override {
        return Retrying([&] { return ::ftruncate(m_descriptor.Get(), size); }) == 0;
    }

    int64_t Size() override {
        struct stat status {};
        if (Retrying([&] { return ::fstat(m_descriptor.Get(), &status); }) != 0) return -1;
        return status.st_size;
    }

    // Not retried: after a failed sync the kernel may have dropped the pages, and
    // a second call would report success for data that is lost.
    bool Sync() override {
        if (::fdatasync(m_descriptor.Get()) == 0) return true;
        lastError = FromErrno(errno);
        return false;
    }

private:
    CDescriptor m_descriptor;
};

// flock, not record locks: those vanish when any descriptor of the file closes.
class CPosixLock final : public CFileLock {
public:
    explicit CPosixLock(CDescriptor descriptor) : m_descriptor(std::move(descriptor)) {}

private:
    CDescriptor m_descriptor;
};

class CPosixFileSystem final : public CFileSystem {
public:
    std::unique_ptr<CFile> Open(const std::string& path, OpenMode mode) override {
        int flags = O_CLOEXEC;
        switch (mode) {
            case OpenMode::Read:
                flags |= O_RDONLY;
                break;
            case OpenMode::ReadWrite:
                flags |= O_RDWR;
                break;
            case OpenMode::Create:
                flags |= O_RDWR | O_CREAT | O_TRUNC;
                break;
        }
        CDescriptor descriptor(Retrying([&] { return ::open(path.c_str(), flags, 0666); }));
        if (!descriptor.IsOpen()) return nullptr;
        // A folder opens for reading, but is no file.
        struct stat status {};
        if (::fstat(descriptor.Get(), &status) != 0 || S_ISDIR(status.st_mode)) {
            lastError = FileError::Other;
            return nullptr;
        }
        return std::make_unique<CPosixFile>(std::move(descriptor));
    }

    bool Exists(const std::string& path) override {
        struct stat status {};
        return ::stat(path.c_str(), &status) == 0 && !S_ISDIR(status.st_mode);
    }

    bool FolderExists(const std::string& path) override {
        struct stat status {};
        return ::stat(path.c_str(), &status) == 0 && S_ISDIR(status.st_mode);
    }

    bool Remove(const std::string& path) override {
        return Retrying([&] { return ::unlink(path.c_str()); }) == 0;
    }

    bool Rename(const std::string& from, const std::string& to) override {
        return Retrying([&] { return std::rename(from.c_str(), to.c_str()); }) == 0;
    }

    bool List(const std::string& folder, std::vector<std::string>& names) override {
        names.clear();
        const CListing listing(::opendir(folder.empty() ? "." : folder.c_str()));
        if (!listing.IsOpen()) {
            lastError = FromErrno(errno);
            return false;
        }
        const dirent* entry = nullptr;
        // The end and a failure both give null: only the error tells them apart.
        while (errno = 0, (entry = ::readdir(listing.Get())) != nullptr) {
            const std::string name = entry->d_name;
            if (name != "." && name != "..") names.push_back(name);
        }
        if (errno == 0) return true;
        lastError = FromErrno(errno);
        names.clear();
        return false;
    }

    bool MakeFolder(const std::string& path) override {
        const std::string folder = WithoutTrailingSeparators(path);
        if (folder.empty() || FolderExists(folder)) return true;
        if (!MakeFolder(FolderOf(folder))) return false;
        if (Retrying([&] { return ::mkdir(folder.c_str(), 0777); }) == 0) return true;
        return FolderExists(folder);  // another program was quicker
    }

    bool RemoveFolder(const std::string& path) override {
        return Retrying([&] { return ::rmdir(path.c_str()); }) == 0;
    }

    bool SyncFolder(const std::string& folder) override {
        const CDescriptor descriptor(Retrying([&] {
            return ::open(folder.empty() ? "." : folder.c_str(),
                          O_RDONLY | O_DIRECTORY | O_CLOEXEC);
        }));
        if (!descriptor.IsOpen()) return false;
        if (::fsync(descriptor.Get()) == 0) return true;
        lastError = FromErrno(errno);
        return false;
    }

    std::unique_ptr<CFileLock> Lock(const std::string& path) override {
        CDescriptor descriptor(
            Retrying([&] { return ::open(path.c_str(), O_RDWR | O_CREAT | O_CLOEXEC, 0666); }));
        if (!descriptor.IsOpen()) return nullptr;
        if (Retrying([&] { return ::flock(descriptor.Get(), LOCK_EX | LOCK_NB); }) != 0) {
            return nullptr;
        }
        // While we came, its folder may have been replaced and the file with it; what
        // we hold then keeps nobody out.
        struct stat held {};
        struct stat named {};
        if (::fstat(descriptor.Get(), &held) != 0 || ::stat(path.c_str(), &named) != 0 ||
            held.st_ino != named.st_ino || held.st_dev != named.st_dev) {
            lastError = FileError::Locked;
            return nullptr;
        }
        return std::make_unique<CPosixLock>(std::move(descriptor));
    }

    int64_t ModificationTime(const std::string& path) override {
        struct stat status {};
        if (::stat(path.c_str(), &status) != 0) return 0;
        constexpr int64_t kSecondsFrom1601To1970 = 11'644'473'600;
        return (status.st_mtim.tv_sec + kSecondsFrom1601To1970) * 10'000'000 +
               status.st_mtim.tv_nsec / 100;
    }

    FileError LastError() override { return lastError; }
};

}  // namespace

CFileSystem& PlatformFileSystem() {
    static CPosixFileSystem files;
    return files;
}

char PathSeparator() {
    return '/';
}

bool IsPathSeparator(char character) {
    return character == '/';
}

}  // namespace quillon
