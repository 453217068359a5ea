#include <windows.h>

#include <algorithm>
#include <utility>

#include "foundation/FileSystem.h"

namespace quillon {
namespace {

thread_local FileError lastError = FileError::None;

FileError FromWindowsError(DWORD code) {
    switch (code) {
        case ERROR_FILE_NOT_FOUND:
        case ERROR_PATH_NOT_FOUND:
        case ERROR_INVALID_NAME:
        case ERROR_INVALID_DRIVE:
        case ERROR_BAD_NETPATH:
        case ERROR_BAD_NET_NAME:
        case ERROR_DIRECTORY:
            return FileError::NotFound;
        case ERROR_ACCESS_DENIED:
        case ERROR_WRITE_PROTECT:
            return FileError::NoPermission;
        case ERROR_DISK_FULL:
        case ERROR_HANDLE_DISK_FULL:
        case ERROR_FILE_TOO_LARGE:
            return FileError::NoSpace;
        case ERROR_SHARING_VIOLATION:
        case ERROR_LOCK_VIOLATION:
            return FileError::Locked;
        case ERROR_DIR_NOT_EMPTY:
            return FileError::NotEmpty;
        default:
            return FileError::Other;
    }
}

// Passes `succeeded` on, and notes the error of the call before when it is false.
bool Noting(bool succeeded) {
    if (!succeeded) lastError = FromWindowsError(::GetLastError());
    return succeeded;
}

// Empty when `text` is empty or no UTF-8; no call below takes an empty path.
std::wstring Widened(const std::string& text) {
    const int bytes = static_cast<int>(std::min<size_t>(text.size(), 0x7FFFFFFF));
    const int length =
        ::MultiByteToWideChar(CP_UTF8, MB_ERR_INVALID_CHARS, text.data(), bytes, nullptr, 0);
    std::wstring wide(static_cast<size_t>(length), L'\0');
    ::MultiByteToWideChar(CP_UTF8, MB_ERR_INVALID_CHARS, text.data(), bytes, wide.data(), length);
    return wide;
}

std::string Narrowed(const wchar_t* wide) {
    const int size = ::WideCharToMultiByte(CP_UTF8, 0, wide, -1, nullptr, 0, nullptr, nullptr);
    if (size <= 1) return {};
    std::string text(static_cast<size_t>(size), '\0');
    ::WideCharToMultiByte(CP_UTF8, 0, wide, -1, text.data(), size, nullptr, nullptr);
    text.pop_back();  // the terminating zero
    return text;
}

// Paths near the classic limit get the prefix that lifts it, which works where
// the machine has not switched long paths on.
std::wstring SystemPath(const std::string& path) {
    std::wstring wide = Widened(path);
    std::replace(wide.begin(), wide.end(), L'/', L'\\');
    constexpr size_t kLongestFolderName = 247;
    if (wide.size() <= kLongestFolderName || wide.starts_with(L"\\\\?\\")) return wide;
    const DWORD size = ::GetFullPathNameW(wide.c_str(), 0, nullptr, nullptr);
    if (size == 0) return wide;
    std::wstring full(size, L'\0');
    full.resize(::GetFullPathNameW(wide.c_str(), size, full.data(), nullptr));
    if (full.starts_with(L"\\\\")) return L"\\\\?\\UNC" + full.substr(1);
    return L"\\\\?\\" + full;
}

class CHandle {
public:
    explicit CHandle(HANDLE handle) : m_handle(handle) {}
    ~CHandle() {
        if (IsOpen()) ::CloseHandle(m_handle);
    }
    CHandle(CHandle&& other) noexcept
        : m_handle(std::exchange(other.m_handle, INVALID_HANDLE_VALUE)) {}
    CHandle(const CHandle&) = delete;
    CHandle& operator=(const CHandle&) = delete;
    HANDLE Get() const { return m_handle; }
    bool IsOpen() const { return m_handle != INVALID_HANDLE_VALUE; }

private:
    HANDLE m_handle;
};

class CSearch {
public:
    explicit CSearch(HANDLE search) : m_search(search) {}
    ~CSearch() {
        if (m_search != INVALID_HANDLE_VALUE) ::FindClose(m_search);
    }
    CSearch(const CSearch&) = delete;
    CSearch& operator=(const CSearch&) = delete;
    HANDLE Get() const { return m_search; }

private:
    HANDLE m_search;
};

OVERLAPPED AtOffset(int64_t offset) {
    OVERLAPPED place{};
    place.Offset = static_cast<DWORD>(static_cast<uint64_t>(offset) & 0xFFFFFFFF);
    place.OffsetHigh = static_cast<DWORD>(static_cast<uint64_t>(offset) >> 32);
    return place;
}

// One transfer counts its bytes in 32 bits; larger ones go in pieces.
constexpr size_t kLargestTransfer = size_t{1} << 30;

class CWindowsFile final : public CFile {
public:
    explicit CWindowsFile(CHandle handle) : m_handle(std::move(handle)) {}

    int64_t ReadAt(int64_t offset, std::span<uint8_t> bytes) override {
        if (!IsOffset(offset)) return -1;
        size_t done = 0;
        while (done < bytes.size()) {
            OVERLAPPED place = AtOffset(offset + static_cast<int64_t>(done));
            const auto piece = static_cast<DWORD>(std::min(bytes.size() - done, kLargestTransfer));
            DWORD got = 0;
            if (!::ReadFile(m_handle.Get(), bytes.data() + done, piece, &got, &place)) {
                if (::GetLastError() == ERROR_HANDLE_EOF) break;
                Noting(false);
                return -1;
            }
            if (got == 0) break;
            done += got;
        }
        return static_cast<int64_t>(done);
    }

    bool WriteAt(int64_t offset, std::span<const uint8_t> bytes) override {
        if (!IsOffset(offset)) return false;
        size_t done = 0;
        while (done < bytes.size()) {
            OVERLAPPED place = AtOffset(offset + static_cast<int64_t>(done));
            const auto piece = static_cast<DWORD>(std::min(bytes.size() - done, kLargestTransfer));
            DWORD put = 0;
            if (!Noting(::WriteFile(m_handle.Get(), bytes.data() + done, piece, &put, &place))) {
                return false;
            }
            if (put == 0) {
                lastError = FileError::NoSpace;
                return false;
            }
            done += put;
        }
        return true;
    }

    // By handle rather than SetEndOfFile, which needs the file pointer moved first.
    bool SetSize(int64_t size) override {
        if (!IsOffset(size)) return false;
        FILE_END_OF_FILE_INFO end{};
        end.EndOfFile.QuadPart = size;
        return Noting(
            ::SetFileInformationByHandle(m_handle.Get(), FileEndOfFileInfo, &end, sizeof(end)));
    }

    int64_t Size() override {
        LARGE_INTEGER size{};
        return Noting(::GetFileSizeEx(m_handle.Get(), &size)) ? size.QuadPart : -1;
    }

    bool Sync() override { return Noting(::FlushFileBuffers(m_handle.Get())); }

private:
    // The system reads some negative offsets as "at the end".
    static bool IsOffset(int64_t offset) {
        if (offset < 0) lastError = FileError::Other;
        return offset >= 0;
    }

    CHandle m_handle;
};

// The lock goes with the handle, so nothing is left to clean up after a kill.
class CWindowsLock final : public CFileLock {
public:
    explicit CWindowsLock(CHandle handle) : m_handle(std::move(handle)) {}

    bool Acquire() {
        // Locked bytes cannot be read by others; one far beyond any content lets
        // backup programs copy the file.
        OVERLAPPED place = AtOffset(int64_t{1} << 40);
        return Noting(::LockFileEx(
            m_handle.Get(), LOCKFILE_EXCLUSIVE_LOCK | LOCKFILE_FAIL_IMMEDIATELY, 0, 1, 0, &place));
    }

private:
    CHandle m_handle;
};

HANDLE OpenHandle(const std::string& path, DWORD access, DWORD disposition) {
    const HANDLE handle = ::CreateFileW(SystemPath(path).c_str(), access,
                                        FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE,
                                        nullptr, disposition, FILE_ATTRIBUTE_NORMAL, nullptr);
    Noting(handle != INVALID_HANDLE_VALUE);
    return handle;
}

// Virus scanners and indexers open a file for a moment just after it was written,
// and meanwhile it can be neither renamed nor removed.
template <typename Call>
bool WaitingForScanners(Call call) {
    constexpr int kTries = 10;
    constexpr DWORD kPauseMilliseconds = 20;
    for (int trial = 1;; ++trial) {
        if (call()) return true;
        const DWORD code = ::GetLastError();
        if (trial == kTries || code != ERROR_SHARING_VIOLATION) {
            lastError = FromWindowsError(code);
            return false;
        }
        ::Sleep(kPauseMilliseconds);
    }
}

class CWindowsFileSystem final : public CFileSystem {
public:
    std::unique_ptr<CFile> Open(const std::string& path, OpenMode mode) override {
        const DWORD access = mode == OpenMode::Read ? GENERIC_READ : GENERIC_READ | GENERIC_WRITE;
        const DWORD disposition = mode == OpenMode::Create ? CREATE_ALWAYS : OPEN_EXISTING;
        CHandle handle(OpenHandle(path, access, disposition));
        if (!handle.IsOpen()) return nullptr;
        return std::make_unique<CWindowsFile>(std::move(handle));
    }

    bool Exists(const std::string& path) override {
        const DWORD attributes = ::GetFileAttributesW(SystemPath(path).c_str());
        return attributes != INVALID_FILE_ATTRIBUTES && !(attributes & FILE_ATTRIBUTE_DIRECTORY);
    }

    bool FolderExists(const std::string& path) override {
        const DWORD attributes = ::GetFileAttributesW(SystemPath(path).c_str());
        return attributes != INVALID_FILE_ATTRIBUTES && (attributes & FILE_ATTRIBUTE_DIRECTORY);
    }

    bool Remove(const std::string& path) override {
        const std::wstring wide = SystemPath(path);
        return WaitingForScanners([&] { return ::DeleteFileW(wide.c_str()); });
    }

    bool Rename(const std::string& from, const std::string& to) override {
        const std::wstring wideFrom = SystemPath(from);
        const std::wstring wideTo = SystemPath(to);
        return WaitingForScanners([&] {
            return ::MoveFileExW(wideFrom.c_str(), wideTo.c_str(),
                                 MOVEFILE_REPLACE_EXISTING | MOVEFILE_WRITE_THROUGH);
        });
    }

    bool List(const std::string& folder, std::vector<std::string>& names) override {
        names.clear();
        const std::string place = folder.empty() ? "." : folder;
        WIN32_FIND_DATAW entry;
        const CSearch search(
            ::FindFirstFileW(SystemPath(WithTrailingSeparator(place) + "*").c_str(), &entry));
        if (search.Get() == INVALID_HANDLE_VALUE) {
            // The root folder of an empty drive has not even "." in it.
            if (::GetLastError() == ERROR_FILE_NOT_FOUND && FolderExists(place)) return true;
            return Noting(false);
        }
        do {
            std::string name = Narrowed(entry.cFileName);
            if (name != "." && name != "..") names.push_back(std::move(name));
        } while (::FindNextFileW(search.Get(), &entry));
        if (Noting(::GetLastError() == ERROR_NO_MORE_FILES)) return true;
        names.clear();
        return false;
    }

    bool MakeFolder(const std::string& path) override {
        const std::string folder = WithoutTrailingSeparators(path);
        if (folder.empty() || FolderExists(folder)) return true;
        if (FolderOf(folder) == folder || !MakeFolder(FolderOf(folder))) return false;
        if (::CreateDirectoryW(SystemPath(folder).c_str(), nullptr)) return true;
        Noting(false);
        return FolderExists(folder);  // another program was quicker
    }

    bool RemoveFolder(const std::string& path) override {
        const std::wstring wide = SystemPath(path);
        return WaitingForScanners([&] { return ::RemoveDirectoryW(wide.c_str()); });
    }

    // Windows has no call for it: names are metadata, which the file system writes
    // through its own log in order, and a rename is asked to write through.
    bool SyncFolder(const std::string& folder) override {
        if (FolderExists(folder.empty() ? "." : folder)) return true;
        lastError = FileError::NotFound;
        return false;
    }

    std::unique_ptr<CFileLock> Lock(const std::string& path) override {
        CHandle handle(OpenHandle(path, GENERIC_READ | GENERIC_WRITE, OPEN_ALWAYS));
        if (!handle.IsOpen()) return nullptr;
        auto lock = std::make_unique<CWindowsLock>(std::move(handle));
        if (!lock->Acquire()) return nullptr;
        return lock;
    }

    int64_t ModificationTime(const std::string& path) override {
        WIN32_FILE_ATTRIBUTE_DATA data{};
        if (!::GetFileAttributesExW(SystemPath(path).c_str(), GetFileExInfoStandard, &data)) {
            return 0;
        }
        return static_cast<int64_t>(uint64_t{data.ftLastWriteTime.dwHighDateTime} << 32 |
                                    data.ftLastWriteTime.dwLowDateTime);
    }

    FileError LastError() override { return lastError; }
};

}  // namespace

CFileSystem& PlatformFileSystem() {
    static CWindowsFileSystem files;
    return files;
}

char PathSeparator() {
    return '\\';
}

bool IsPathSeparator(char character) {
    return character == '\\' || character == '/';
}

}  // namespace quillon
