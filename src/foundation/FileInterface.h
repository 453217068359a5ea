#pragma once

#include <cstdint>
#include <memory>
#include <span>
#include <string>

#include "foundation/FileSystem.h"

namespace quillon {

// One open file with a read/write offset.
//
//   Sizes     bytes, signed 64-bit.
//   Errors    false or -1; std::bad_alloc passes through.
//   Ownership Borrows the file system, which must outlive it.
class CFileInterface {
public:
    explicit CFileInterface(CFileSystem& files = PlatformFileSystem()) : m_files(&files) {}

    // Each closes what is open first.
    [[nodiscard]] bool OpenExisting(const std::string& path);  // reading and writing
    [[nodiscard]] bool OpenExistingForReading(const std::string& path);
    [[nodiscard]] bool Create(const std::string& path);  // empties an existing file
    [[nodiscard]] bool IsOpen() const { return m_file != nullptr; }
    // False when nothing was open.
    bool Close();

    // Read up to bytes.size() at the offset and move it; `count` tells how many came.
    // False on failure; the end of the file is a success with fewer bytes.
    [[nodiscard]] bool Read(std::span<uint8_t> bytes, int64_t& count);
    [[nodiscard]] bool Write(std::span<const uint8_t> bytes, int64_t& count);
    [[nodiscard]] bool Seek(int64_t offset);
    [[nodiscard]] bool SeekToStart() { return Seek(0); }
    [[nodiscard]] bool SeekToEnd();
    int64_t Tell() const { return m_offset; }
    int64_t Size() const;  // -1 when not open
    // The file's contents are on the medium afterwards; inside a journal bracket
    // the journal decides when.
    [[nodiscard]] bool Flush();

    // Whole transfers at an offset, without moving it.
    [[nodiscard]] bool ReadExactlyAt(int64_t offset, std::span<uint8_t> bytes) const;
    [[nodiscard]] bool WriteAt(int64_t offset, std::span<const uint8_t> bytes);
    [[nodiscard]] bool SetSize(int64_t size);

    CFileSystem& Files() const { return *m_files; }

private:
    CFileSystem* m_files;  // borrowed
    std::unique_ptr<CFile> m_file;
    int64_t m_offset = 0;
};

}  // namespace quillon
