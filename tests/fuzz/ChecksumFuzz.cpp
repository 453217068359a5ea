// Checksums.dat: what is taken for one can be written again and is the same then, and a
// journal that starts on any bytes in its place judges the files by them without changing
// one. The first byte says what follows: a file as it is, one that gets its sum put right,
// so that the checks behind it are met, and whether files are made that may fit it.

#include <algorithm>

#include "Fuzz.h"
#include "foundation/ByteCodec.h"
#include "foundation/TextHash.h"
#include "storage/journal/ChecksumFile.h"
#include "storage/journal/Checksums.h"
#include "storage/journal/Journal.h"
#include "support/MemoryFileSystem.h"

namespace quillon::fuzz {
namespace {

constexpr uint64_t kDatabase = 7;
const std::string kFolder = "db/";
using Decoded = ChecksumFile::DecodeResult;

Bytes WithSum(Bytes bytes) {
    if (bytes.size() < 4) return bytes;
    const size_t end = bytes.size() - 4;
    StoreLE<uint32_t>(bytes, end, Crc32c(std::span(bytes).first(end)));
    return bytes;
}

bool AreSame(const SumsByName& one, const SumsByName& other) {
    return std::ranges::equal(one, other, [](const auto& a, const auto& b) {
        return a.first == b.first && a.second.size == b.second.size &&
               a.second.pages == b.second.pages;
    });
}

void CheckCodec(const Bytes& bytes) {
    uint64_t databaseId = 99;
    SumsByName files;
    files["Table_1.dat"].size = 5;
    if (ChecksumFile::Decode(bytes, databaseId, files) != Decoded::Ok) {
        FUZZ_CHECK(databaseId == 99 && files.size() == 1, "left untouched");
        return;
    }
    for (const auto& [name, sums] : files) {
        FUZZ_CHECK(sums.size >= 0 && sums.pages.size() == sums.seen.size() &&
                       sums.pages.size() == static_cast<size_t>(PagesOf(sums.size)),
                   "a sum for each page");
        FUZZ_CHECK(sums.pages.size() * 4 <= bytes.size(), "all of them from the file");
    }
    const Bytes encoded = ChecksumFile::Encode(databaseId, files);
    FUZZ_CHECK(encoded.size() == bytes.size(), "nothing else was in it");
    uint64_t sameId = 0;
    SumsByName again;
    FUZZ_CHECK(ChecksumFile::Decode(encoded, sameId, again) == Decoded::Ok,
               "what was read can be written");
    FUZZ_CHECK(sameId == databaseId && AreSame(files, again), "the same sums");
}

// A folder that is opened, checked, changed and checked again.
void CheckFolder(const Bytes& checksums) {
    CMemoryFileSystem files;
    const Bytes data(5000, 'd');
    files.Bytes(kFolder + "Table_1.dat") = Text("definition");
    files.Bytes(kFolder + "Table_1_data.dat") = data;
    files.Bytes(kFolder + kChecksumsName) = checksums;
    uint64_t databaseId = 0;
    SumsByName sums;
    const Decoded decoded = ChecksumFile::Decode(checksums, databaseId, sums);
    CJournal journal(files);
    journal.SetRooms({.step = 4096});  // so that a run costs little
    FUZZ_CHECK(journal.Attach(kFolder, kDatabase) == CJournal::AttachResult::Ok,
               "no bytes keep the folder closed");
    FUZZ_CHECK(files.Bytes(kFolder + "Table_1_data.dat") == data, "no file is changed");
    std::vector<PageDamage> damage;
    FUZZ_CHECK(journal.CheckPages(damage), "the files can be checked");
    const bool isOurs = decoded == Decoded::Ok && databaseId == kDatabase;
    if (decoded == Decoded::Damaged) {
        FUZZ_CHECK(damage.size() == 1 && damage[0].kind == PageDamage::Kind::BadSums, "it is said");
        FUZZ_CHECK(files.Bytes(kFolder + kChecksumsName) == checksums, "and kept");
    } else if (!isOurs) {
        FUZZ_CHECK(damage.empty(), "made from the files");
    }
    // Of other pages nothing changes; a page that was wrong stays so.
    const size_t before = damage.size();
    const auto file = journal.Open(kFolder + "Table_1_data.dat", OpenMode::ReadWrite);
    FUZZ_CHECK(file && file->WriteAt(4500, Text("new")), "a file is changed");
    FUZZ_CHECK(journal.Checkpoint(), "the journal is emptied");
    damage.clear();
    FUZZ_CHECK(journal.CheckPages(damage), "and the files checked again");
    // A file of another size is damaged as one finding, and by its pages once it was written.
    FUZZ_CHECK((before == 0) == damage.empty(), "damage is neither made nor blessed");
}

void Check(CInput input) {
    const uint8_t kind = input.Byte();
    Bytes bytes = CopyOf(input.Rest());
    if (kind % 2 == 1) bytes = WithSum(std::move(bytes));
    CheckCodec(bytes);
    CheckFolder(bytes);
}

}  // namespace
}  // namespace quillon::fuzz

FUZZ_ENTRY(quillon::fuzz::Check)
