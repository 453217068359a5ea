// What a backup or a restore came to.
#pragma once

#include <cstdint>
#include <string>

#include "storage/tables/IntegrityCode.h"

namespace quillon {

enum class BackupCode : int32_t {
    Done = 0,
    NoPath = 1,
    NoFiles = 2,
    IntegrityFailed = 3,  // nothing was written
    WriteFailed = 4,      // an earlier backup of that name is as it was
    EncryptionFailed = 5,
    Other = 6,  // a file could not be read, a bracket is open, out of memory
};

// The sentence shown for `code`; `path` is the container's.
std::string BackupMessage(BackupCode code, const std::string& path);

enum class RestoreCode : int32_t {
    Done = 0,
    NoSuchFile = 1,
    NotABackup = 2,
    NewerVersion = 3,   // written by a newer version of the program
    WrongPassword = 4,  // or the directory is damaged: the two cannot be told apart
    Damaged = 5,
    Truncated = 6,
    NoTarget = 7,        // no folder was named, or one that cannot be replaced, as "." is
    TargetNotEmpty = 8,  // and replacing it was not asked for
    ForeignFiles = 9,    // the folder holds something that no database has
    InTheWay = 10,       // the target is a file, or what is beside it has a name the restore needs
    InUse = 11,
    WriteFailed = 12,
    ReadFailed = 13,
    DecryptionFailed = 14,  // the cipher is not available on this machine
    OutOfMemory = 15,
};

// What is known beyond one of these codes.
enum class BackupReason {
    None,  // `name` alone, the file or folder concerned
    // --- of a backup
    OutOfMemory,
    BracketOpen,     // changes are still being entered
    FlushFailed,     // `name` could not be written
    TableDamaged,    // the table `name`: `integrity`
    PagesUnchecked,  // the checksums could not be compared
    PageChanged,     // `name` is not as it was written
    ContainerName,   // the container would be taken for a database's file
    ForeignFile,     // `name` is not a database's, or was named twice
    TooManyFiles,    // for the container's format
    FileUnreadable,  // `name`
    FileTooLarge,    // `name`, for the container's format
    NotProved,       // what was written did not stand the proof that was asked for
    // --- of a damaged container
    ForeignEntry,  // the directory names what is no database's file
    EntryTwice,    // `name`
    BadSizes,      // no container is as large as the directory says
    BytesBehindEnd,
    NoSchema,  // `name` is missing
};

struct BackupDetail {
    BackupReason reason = BackupReason::None;
    std::string name{};
    IntegrityCode integrity = IntegrityCode::Ok;

    bool IsEmpty() const { return reason == BackupReason::None && name.empty(); }
};

}  // namespace quillon
