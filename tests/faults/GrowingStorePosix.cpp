#include "GrowingStorePosix.h"

#include <unistd.h>

#include <algorithm>
#include <cstdlib>
#include <map>
#include <random>

#include "ChildPosix.h"
#include "storage/database/DatabaseManager.h"
#include "storage/journal/Checksums.h"
#include "support/Bytes.h"
#include "support/TemporaryFolder.h"

namespace quillon {
namespace {

constexpr const char* kWorker = "growing-store";
constexpr JournalRooms kRooms{.step = 4096, .kept = 2 * 4096, .checkpoint = 6 * 4096};
constexpr int64_t kRowsKept = 8;

std::string BlobOf(int64_t number) {
    return std::to_string(number) + ' ' +
           std::string(static_cast<size_t>(number * 977 % 9000),
                       static_cast<char>('a' + number % 26));
}

bool Open(CDatabaseManager& store, const std::string& folder) {
    store.Journal().SetRooms(kRooms);
    return store.Open(folder);
}

bool Make(CDatabaseManager& store) {
    CBatchScope batch(store);
    return batch.Begun() && store.CreateTable("Items") &&
           store.AddColumn("Items", "Number", ColumnType::Int64, true, true) &&
           store.AddColumn("Items", "Text", ColumnType::Text, true, false) &&
           store.AddBlob(Text(BlobOf(0))) == 0 && batch.Commit();
}

// Row identifiers by number.
std::map<int64_t, int64_t> RowsOf(CDatabaseManager& store) {
    std::map<int64_t, int64_t> rows;
    const CTableManager* table = store.FindTable("Items");
    const CTableColumn* column = table ? table->FindColumn("Number") : nullptr;
    if (!column) return rows;
    std::vector<uint8_t> record;
    table->WalkRows([&](int64_t rowId) {
        CTableRowUpdateInfoValue value;
        if (table->ReadRecord(rowId, record) && table->ValueFromRecord(record, *column, value)) {
            rows[value.Key()] = rowId;
        }
        return true;
    });
    return rows;
}

// Of the last commit; -1 when the store holds half of one.
int64_t NumberOf(CDatabaseManager& store) {
    std::vector<uint8_t> blob;
    if (!store.ReadBlob(0, blob) || blob.empty()) return -1;
    const int64_t number = std::atoll(std::string(blob.begin(), blob.end()).c_str());
    const std::map<int64_t, int64_t> rows = RowsOf(store);
    const int64_t first = std::max<int64_t>(1, number - kRowsKept + 1);
    const bool isWhole =
        ToString(blob) == BlobOf(number) &&
        static_cast<int64_t>(rows.size()) == number - first + 1 &&
        (rows.empty() || (rows.begin()->first == first && rows.rbegin()->first == number));
    return isWhole ? number : -1;
}

bool Commit(CDatabaseManager& store, int64_t number) {
    const std::map<int64_t, int64_t> rows = RowsOf(store);
    const auto oldest = rows.find(number - kRowsKept);
    CBatchScope batch(store);
    return batch.Begun() && store.BeginRow("Items") && store.SetInt64("Number", number) &&
           store.SetText("Text", "number " + std::to_string(number)) && store.CommitRow() >= 0 &&
           (oldest == rows.end() || store.DeleteRow("Items", oldest->second)) &&
           store.ReplaceBlob(0, Text(BlobOf(number))) && batch.Commit();
}

// The program that is killed: writes the number of each commit that was acknowledged.
int Work(const std::string& folder) {
    constexpr int64_t kMost = 2000;
    CDatabaseManager store;
    if (!Open(store, folder)) return 1;
    int64_t number = NumberOf(store);
    if (number < 0) return 1;
    for (int64_t i = 1; i <= kMost; ++i) {
        if (!Commit(store, ++number)) return 1;
        const std::string line = std::to_string(number) + '\n';
        if (::write(STDOUT_FILENO, line.data(), line.size()) < 0) return 1;
        if (i % 7 == 0 && !store.RemoveDeleted()) return 1;
        if (i % 11 == 0 && !(store.Close() && Open(store, folder))) return 1;
    }
    return 0;
}

const CFaultsWorker kRegistered(kWorker, Work);

// The last whole line's.
int64_t LastNumberIn(const std::string& output) {
    const size_t end = output.rfind('\n');
    if (end == std::string::npos) return -1;
    const size_t start = end == 0 ? std::string::npos : output.rfind('\n', end - 1);
    return std::atoll(output.c_str() + (start == std::string::npos ? 0 : start + 1));
}

class CGrowingVictim {
public:
    CGrowingVictim(const FaultsOptions& options, CFaultsReport& report, uint64_t seed)
        : m_options(options), m_report(report), m_random(seed), m_folder("kill") {
        CDatabaseManager store;
        m_report.Expect(Open(store, Ledger()) && Make(store) && store.Close(), "no store made");
    }

    void Round(int64_t round) {
        CChild child(m_options.self, {"worker", kWorker, Ledger()}, m_folder.Path());
        // Every other is killed while it opens or soon after, the rest while it commits.
        for (int tries = 0; round % 2 == 1 && tries < 5000 && child.Output().empty(); ++tries) {
            SleepMicroseconds(500);
        }
        SleepMicroseconds(static_cast<int64_t>(m_random() % 60'000));
        child.Kill();
        const CChild::End end = child.Wait();
        const std::string name = "growing store, round " + std::to_string(round) + ": ";
        m_report.Expect(
            end == CChild::End::Killed || (end == CChild::End::Exited && child.Status() == 0),
            name + "the work failed");
        const int64_t acknowledged = std::max(m_number, LastNumberIn(child.Output()));
        CDatabaseManager store;
        std::vector<TableIntegrity> tables;
        std::vector<PageDamage> pages;
        const bool isSound = store.Open(Ledger()) && store.Verify(tables) == IntegrityCode::Ok &&
                             store.VerifyPages(pages) && pages.empty();
        const int64_t found = isSound ? NumberOf(store) : -1;
        m_report.Expect(found == acknowledged || found == acknowledged + 1,
                        name +
                            (isSound ? "holds commit " + std::to_string(found) : "not in order") +
                            ", acknowledged are " + std::to_string(acknowledged));
        m_commits += std::max<int64_t>(0, found - m_number);
        m_number = found;
    }

    int64_t Commits() const { return m_commits; }

private:
    std::string Ledger() const { return m_folder.Path() + "/ledger"; }

    const FaultsOptions& m_options;
    CFaultsReport& m_report;
    std::mt19937_64 m_random;
    CTemporaryFolder m_folder;
    int64_t m_number = 0;
    int64_t m_commits = 0;
};

}  // namespace

void KillGrowingStore(const FaultsOptions& options, CFaultsReport& report) {
    constexpr int64_t kRoundsEach = 50;
    const int64_t rounds = options.rounds > 0 ? options.rounds : options.isLong ? 2000 : 50;
    int64_t commits = 0;
    for (int64_t done = 0; done < rounds; done += kRoundsEach) {
        CGrowingVictim victim(options, report, options.seed + static_cast<uint64_t>(done));
        for (int64_t i = 0; i < std::min(kRoundsEach, rounds - done); ++i) victim.Round(i);
        commits += victim.Commits();
    }
    std::printf("kill: growing store: %lld rounds, %lld commits\n", static_cast<long long>(rounds),
                static_cast<long long>(commits));
    report.Expect(commits * 4 > rounds, "too few commits were made");
}

}  // namespace quillon
