// History.dat: any bytes in its place keep no database from opening, and whatever is undone and
// done again, the store stays in order and what cannot be taken back leaves it as it is. The first
// byte says what follows: the file as it is, or one whose sums are put right, so that the checks
// behind them are met; the bits above it how often is undone.

#include <algorithm>

#include "Fuzz.h"
#include "SmallDatabase.h"
#include "finance/database/QuillonDatabaseInterface.h"
#include "foundation/ByteCodec.h"
#include "foundation/TextHash.h"
#include "support/MemoryFileSystem.h"

namespace quillon::fuzz {
namespace {

constexpr const char* kFile = "db/History.dat";
constexpr auto kHeader = static_cast<size_t>(HistoryHeader::kDiskSize);

Bytes WithSums(Bytes bytes) {
    if (bytes.size() < kHeader) return bytes;
    StoreLE<uint64_t>(bytes, 94, Crc64(std::span(bytes).first(94)));
    for (size_t at = kHeader; at + 20 < bytes.size();) {
        const size_t length = LoadLE<uint32_t>(bytes, at + 4);
        if (length < 20 || length > bytes.size() - at) break;
        const size_t sumAt = at + length - HistoryPart::kTailSize;
        StoreLE<uint64_t>(bytes, sumAt, Crc64(std::span(bytes).subspan(at, sumAt - at)));
        at += length;
    }
    return bytes;
}

void CheckSound(CQuillonDatabaseInterface& database) {
    std::vector<TableIntegrity> tables;
    FUZZ_CHECK(database.Store().Verify(tables) == IntegrityCode::Ok, "the store stays in order");
}

void CheckLedger(const Bytes& history, int steps) {
    CMemoryFileSystem files;
    files.Restore(SmallLedgerDisk());
    files.Bytes(kFile) = history;
    CQuillonDatabaseInterface database(files);
    const FinanceOpenResult opened = database.Open("db");
    FUZZ_CHECK(opened.opened || opened.problem == DatabaseProblem::NewerVersion,
               "no bytes keep the ledger closed");
    if (!opened.opened) return;
    std::vector<HistoryAction> actions;
    (void)database.History().List(actions);
    for (const HistoryAction& action : actions) {
        (void)database.History().Read(action.number, [](const auto& part, const auto& change) {
            for (const HistoryValue& value : change.before) Touch(value.text);
            for (const HistoryValue& value : change.after) Touch(value.text);
            FUZZ_CHECK(change.table < part.tables.size(), "a change is of one of the tables");
            return true;
        });
    }
    for (int i = 0; i < steps; ++i) {
        if (database.History().Undo().status != HistoryStatus::Ok) break;
        CheckSound(database);
    }
    for (int i = 0; i < steps; ++i) {
        if (database.History().Redo().status != HistoryStatus::Ok) break;
        CheckSound(database);
    }
    CRenamingRuleEntry rule;
    rule.searchText = "P";
    FUZZ_CHECK(database.Add(rule), "work goes on");
    FUZZ_CHECK(database.History().Undo().status == HistoryStatus::Ok, "and can be undone");
    CheckSound(database);
}

void Check(CInput input) {
    const uint8_t kind = input.Byte();
    Bytes bytes = CopyOf(input.Rest());
    if (kind % 2 == 1) bytes = WithSums(std::move(bytes));
    CheckLedger(bytes, kind / 2 % 8);
}

}  // namespace

}  // namespace quillon::fuzz

FUZZ_ENTRY(quillon::fuzz::Check)
