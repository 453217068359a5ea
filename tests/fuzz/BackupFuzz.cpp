// Backup containers: damaged ones, and such as somebody makes who knows the password.
// The key costs next to nothing here. The first byte says what the rest is:
//
//   0  the container as it is
//   1  changes to a sound container: offset (2), exclusive-or (1) each
//   2  what a forger seals: files, each with a name, wrong sizes to tell, and chunks
//
// A sealed chunk is tied to its place by its tag, so only the third kind gets past it.

#include <algorithm>

#include "Fuzz.h"
#include "foundation/ByteCodec.h"
#include "storage/BackupFixture.h"
#include "storage/backup/BackupReader.h"
#include "storage/backup/Encrypt.h"
#include "storage/compression/Compression.h"

namespace quillon::fuzz {
namespace {

constexpr const char* kPath = "backup.dat";

const Bytes& SoundContainer() {
    static const Bytes kContainer = ContainerOf({{"DatabaseSchema.dat", Bytes(306, 'S')},
                                                 {"Table_1.dat", Text("columns")},
                                                 {"Table_1_data.dat", Noise(40)}});
    return kContainer;
}

// --- what a forger makes

struct ForgedFile {
    BackupEntry entry;
    struct Chunk {
        Bytes stored;  // as it is sealed
        bool compressed = false;
        uint32_t place = 0;  // added to the chunk's number when it is sealed
    };
    std::vector<Chunk> chunks;
};

ForgedFile FileFrom(CInput& input) {
    constexpr const char* kNames[] = {"DatabaseSchema.dat", "Table_1.dat", "Table_1_data.dat"};
    ForgedFile file;
    const uint8_t choice = input.Byte();
    file.entry.name = choice < 0xF0 ? kNames[choice % 3] : input.TextZ().substr(0, 119);
    file.entry.fileTime = input.Number();
    for (int i = input.Byte() % 4; i > 0; --i) {
        const uint8_t flags = input.Byte();
        ForgedFile::Chunk chunk;
        chunk.compressed = (flags & 1) != 0;
        chunk.place = (flags & 0x80) != 0 ? 1 : 0;
        const Bytes plain = CopyOf(input.Take(input.Byte()));
        if ((flags & 2) != 0) {
            // A stream of the writer's own with a size field of any kind.
            Bytes stream;
            (void)Implode(plain, stream, 2 * plain.size() + 100);
            const auto size = static_cast<int64_t>(plain.size());
            chunk.stored = Join(Le32((flags & 4) != 0 ? input.Number() : size), stream);
        } else {
            chunk.stored = plain;
        }
        file.chunks.push_back(std::move(chunk));
    }
    file.entry.chunkCount = static_cast<int32_t>(file.chunks.size());
    for (const ForgedFile::Chunk& chunk : file.chunks) {
        file.entry.storedSize += static_cast<int64_t>(32 + chunk.stored.size());
    }
    const uint8_t lies = input.Byte();
    if ((lies & 0xC0) == 0xC0) file.entry.storedSize = input.Number();
    if ((lies & 0x30) == 0x30) file.entry.chunkCount = static_cast<int32_t>(input.Number());
    return file;
}

Bytes Forged(CInput& input) {
    std::vector<ForgedFile> files;
    for (int i = 1 + input.Byte() % 4; i > 0; --i) files.push_back(FileFrom(input));
    BackupHeader header;
    header.identifier = 0x0807'0605'0403'0201;
    header.fileCount = static_cast<int32_t>(files.size());
    header.directorySize = BackupHeader::DirectorySizeFor(header.fileCount);
    CEncrypt cipher;
    FUZZ_CHECK(cipher.Start(header, kHash, QuickOptions().keyCost), "a key can be made");
    std::array<uint8_t, kBackupNonceSize> nonce{};
    std::array<uint8_t, kBackupTagSize> tag{};

    Bytes directory(files.size() * BackupEntry::kDiskSize);
    Bytes data;
    for (size_t i = 0; i < files.size(); ++i) {
        files[i].entry.Encode(std::span(directory).subspan(i * BackupEntry::kDiskSize));
        for (uint32_t number = 0; number < files[i].chunks.size(); ++number) {
            ForgedFile::Chunk& chunk = files[i].chunks[number];
            BackupChunkHeader chunkHeader;
            chunkHeader.length = static_cast<uint32_t>(chunk.stored.size());
            chunkHeader.compressed = chunk.compressed;
            const BackupPlace place{BackupPlace::Kind::Chunk, static_cast<uint32_t>(i),
                                    number + chunk.place, chunkHeader.LengthAndFlags()};
            FUZZ_CHECK(cipher.Seal(place, chunk.stored, chunkHeader.nonce, chunkHeader.tag),
                       "a chunk can be sealed");
            const auto encoded = chunkHeader.Encode();
            data = Join(data, Bytes(encoded.begin(), encoded.end()), chunk.stored);
        }
    }
    FUZZ_CHECK(cipher.Seal({}, directory, nonce, tag), "a directory can be sealed");
    const auto encoded = header.Encode();
    return Join(Bytes(encoded.begin(), encoded.end()), Bytes(nonce.begin(), nonce.end()),
                Bytes(tag.begin(), tag.end()), directory, data);
}

// --- what must hold

void CheckRestored(CMemoryFileSystem& files, const RestoreReport& checked) {
    RestoreReport report;
    FUZZ_CHECK(RestoreBackup(files, kPath, "new", kHash, false, report, QuickOptions()) ==
                   RestoreCode::Done,
               "what was checked can be restored");
    FUZZ_CHECK(report.files == checked.files, "with as many files");
    int64_t total = 0;
    const FileMap restored = FilesIn(files, "new");
    for (const auto& [name, bytes] : restored) {
        FUZZ_CHECK(IsDatabaseFileName(name), "of a database's names");
        total += static_cast<int64_t>(bytes.size());
    }
    FUZZ_CHECK(static_cast<int64_t>(restored.size()) == checked.files, "each of its own");
    FUZZ_CHECK(total == checked.bytes, "and the bytes that were counted");
}

void Check(const Bytes& container, bool isSound) {
    CMemoryFileSystem files;
    files.SetLargestFile(int64_t{64} << 20);
    files.Bytes(kPath) = container;
    PutFiles(files, "old", SmallDatabase());
    const auto before = files.Snapshot();

    RestoreReport report;
    const RestoreCode code = CheckBackup(files, kPath, kHash, report, QuickOptions());
    FUZZ_CHECK(files.Snapshot() == before, "checking changes nothing");
    if (isSound) FUZZ_CHECK(code == RestoreCode::Done, "a sound container is read");

    RestoreReport other;
    const RestoreCode wrong = CheckBackup(files, kPath, "another", other, QuickOptions());
    FUZZ_CHECK(wrong != RestoreCode::Done, "another password opens nothing");
    if (code == RestoreCode::Done) {
        FUZZ_CHECK(wrong == RestoreCode::WrongPassword, "and is named as the reason");
        CheckRestored(files, report);
        return;
    }
    RestoreReport replaced;
    FUZZ_CHECK(RestoreBackup(files, kPath, "old", kHash, true, replaced, QuickOptions()) == code,
               "restoring says what checking said");
    FUZZ_CHECK(FilesIn(files, "old") == SmallDatabase(), "and leaves the old database alone");
}

void Run(CInput input) {
    switch (input.Byte() % 3) {
        case 0:
            Check(CopyOf(input.Rest()), false);
            return;
        case 1: {
            Bytes container = SoundContainer();
            for (int i = 0; i < 8 && !input.IsEmpty(); ++i) {
                const size_t offset = input.Word() % (container.size() + 1);
                const uint8_t change = input.Byte();
                if (offset == container.size()) {
                    container.resize(container.size() - std::min<size_t>(change, offset));
                    if (container.empty()) break;
                } else {
                    container[offset] = static_cast<uint8_t>(container[offset] ^ change);
                }
            }
            const bool isSound = container == SoundContainer();
            Check(container, isSound);
            if (isSound) return;
            CMemoryFileSystem files;
            files.Bytes(kPath) = container;
            RestoreReport report;
            FUZZ_CHECK(
                CheckBackup(files, kPath, kHash, report, QuickOptions()) != RestoreCode::Done,
                "every changed byte is found");
            return;
        }
        default:
            Check(Forged(input), false);
            return;
    }
}

}  // namespace
}  // namespace quillon::fuzz

FUZZ_ENTRY(quillon::fuzz::Run)
