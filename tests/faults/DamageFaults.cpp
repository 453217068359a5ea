// Every file of a database damaged in every way of one kind, and opened. Either the damage
// is refused or reported, with the file's name, or nothing of the contents is lost.

#include <algorithm>
#include <exception>
#include <iterator>
#include <optional>
#include <random>

#include "AllocationGauge.h"
#include "Faults.h"
#include "FaultsDatabase.h"
#include "StoreContent.h"
#include "finance/database/QuillonDatabaseInterface.h"
#include "foundation/ByteCodec.h"
#include "storage/journal/Checksums.h"

namespace quillon {
namespace {

constexpr int64_t kMostCalls = 1'000'000;
constexpr int64_t kMostBytes = int64_t{64} << 20;

// A damaged disk: the files concerned, by name without folder.
struct Damage {
    std::string what;
    Disk disk;
    std::vector<std::string> files;
    int64_t offset = -1;  // of one changed byte
};

struct Counts {
    int64_t refused = 0;
    int64_t reported = 0;
    int64_t harmless = 0;
    int64_t shortened = 0;  // what the end of the journal held is not there
};

bool IsJournal(const std::string& name) {
    return name.starts_with("Journal.");
}

// Files whose damage may go unsaid when the contents are the same: what a journal holds
// behind its end, the folder's name in the lock file, and checksums that are simply not there.
bool MaySaySilent(const Damage& damage) {
    return std::any_of(damage.files.begin(), damage.files.end(), [](const std::string& name) {
        return IsJournal(name) || name == "Database.lock" || name == kChecksumsName;
    });
}

class CDamager {
public:
    CDamager(const FaultsOptions& options, CFaultsReport& report)
        : m_options(options), m_report(report), m_random(options.seed) {}

    void Run(const FaultsSample& sample) {
        m_sample = &sample;
        for (auto file = sample.disk.begin(); file != sample.disk.end(); ++file) {
            if (!m_options.Wants(FileNameOf(file->first)) && !m_options.Wants(sample.name))
                continue;
            FlipBytes(file->first, file->second);
            CutFile(file->first, file->second);
            ReplaceFile(file);
        }
    }

    const Counts& Found() const { return m_counts; }

private:
    // In the short form the headers and some of the rest.
    bool IsTried(const Bytes& bytes, size_t at) const {
        if (m_options.isLong) return true;
        const bool isJournal = bytes.size() > 2 * 4096 && HasSignature(bytes, "Journal");
        if (at < 78) return at % 7 == 1;
        if (!isJournal) return at % 41 == 17;
        return at % 4096 < 48 ? at % 7 == 0 : at % 401 == 17;
    }

    void FlipBytes(const std::string& path, const Bytes& bytes) {
        for (size_t at = 0; at < bytes.size(); ++at) {
            if (!IsTried(bytes, at)) continue;
            ForEachOtherByte(bytes[at], at, m_options.isLong,
                             [&](uint8_t value, const std::string& what) {
                                 Damage damage = Of(path, what);
                                 damage.disk[path][at] = value;
                                 damage.offset = static_cast<int64_t>(at);
                                 Try(damage);
                             });
        }
    }

    void CutFile(const std::string& path, const Bytes& bytes) {
        for (size_t length = 0; length < bytes.size(); ++length) {
            if (!IsTried(bytes, length) && length != 0) continue;
            Damage damage = Of(path, "cut to " + std::to_string(length));
            damage.disk[path].resize(length);
            Try(damage);
        }
        Damage longer = Of(path, "with a byte more");
        longer.disk[path].push_back(0xA5);
        Try(longer);
    }

    void ReplaceFile(Disk::const_iterator file) {
        const std::string& path = file->first;
        Damage missing = Of(path, "missing");
        missing.disk.erase(path);
        Try(missing);

        Damage rubbish = Of(path, "full of rubbish");
        rubbish.disk[path] = Rubbish(m_random, file->second.size());
        Try(rubbish);

        Damage zeros = Of(path, "full of zeros");
        zeros.disk[path] = Zeros(file->second.size());
        Try(zeros);

        const auto next =
            std::next(file) == m_sample->disk.end() ? m_sample->disk.begin() : std::next(file);
        if (next->second == file->second) return;
        Damage swapped = Of(path, "swapped with " + FileNameOf(next->first));
        std::swap(swapped.disk[path], swapped.disk[next->first]);
        swapped.files.push_back(FileNameOf(next->first));
        Try(swapped);
    }

    Damage Of(const std::string& path, const std::string& what) const {
        const std::string name = FileNameOf(path);
        return {m_sample->name + ", " + name + " " + what, m_sample->disk, {name}};
    }

    void Try(const Damage& damage) {
        SetCurrentCase(damage.what);
        m_report.Case();
        const std::string fault = Judge(damage);
        if (!fault.empty()) m_report.Fault(damage.what + ": " + fault);
    }

    // Empty when all is as it should be.
    std::string Judge(const Damage& damage) {
        CMemoryFileSystem disk;
        disk.Restore(damage.disk);
        CBoundedFiles files(disk, kMostCalls);
        std::string fault;
        int64_t most = 0;
        {
            const CAllocationGauge gauge;
            try {
                fault = Look(damage, files, true);
            } catch (const std::exception& error) {
                fault = std::string("exception: ") + error.what();
            }
            const CAllocationGauge::Values counts = gauge.Counts();
            most = std::max(counts.peakBytes, counts.largestBlock);
        }
        if (files.IsExhausted()) return "it does not end";
        if (fault.empty() && most > kMostBytes) {
            return "allocates " + std::to_string(most) + " bytes";
        }
        return fault;
    }

    // A ledger is opened by the finance layer, which makes missing tables, or by the store.
    std::string Look(const Damage& damage, CFileSystem& files, bool isFirst) {
        CQuillonDatabaseInterface ledger(files);
        CDatabaseManager& database = ledger.Store();
        const bool isLedger = damage.what.starts_with("ledger") && m_report.Cases() % 2 == 0;
        const bool opened =
            isLedger ? ledger.Open(kLedgerFolder).opened : database.Open(kLedgerFolder);
        if (!opened) return Refused(damage, files, database, isFirst);
        std::vector<TableIntegrity> tables;
        std::vector<PageDamage> pages;
        const IntegrityCode code = database.Verify(tables);
        if (!database.VerifyPages(pages)) return "the pages cannot be checked";
        if (code != IntegrityCode::Ok || !pages.empty()) {
            ++m_counts.reported;
            return isFirst ? Named(damage, tables, pages) : std::string();
        }
        const uint64_t content = ContentHash(database, Stamps::Kept);
        if (content == m_sample->content) {
            ++m_counts.harmless;
            const bool maySay = MaySaySilent(damage) || !m_sample->earlier.empty() ||
                                !database.RebuiltIndexes().empty();
            return maySay ? std::string() : "nothing says so";
        }
        const bool isEarlier = std::find(m_sample->earlier.begin(), m_sample->earlier.end(),
                                         content) != m_sample->earlier.end();
        const bool isSaid = !isFirst;  // the journal was set aside, or missed
        if (isEarlier && isSaid) return {};
        if (!isEarlier || !std::any_of(damage.files.begin(), damage.files.end(), IsJournal)) {
            return "other contents, and nothing says so";
        }
        ++m_counts.shortened;
        return {};
    }

    std::string Refused(const Damage& damage, CFileSystem& files, CDatabaseManager& database,
                        bool isFirst) {
        ++m_counts.refused;
        if (database.Problem() == DatabaseProblem::None) return "refused without a problem";
        const std::string detail = FileNameOf(database.ProblemDetail());
        const bool named =
            std::find(damage.files.begin(), damage.files.end(), detail) != damage.files.end() ||
            (IsJournal(detail) && database.Problem() == DatabaseProblem::DamagedJournal);
        if (!named) {
            return "refused for '" + database.ProblemDetail() + "' (problem " +
                   std::to_string(static_cast<int>(database.Problem())) + ")";
        }
        if (database.Problem() != DatabaseProblem::DamagedJournal) return {};
        // Said once; the next time the ledger opens with what is left.
        if (!isFirst) return "the journal is set aside a second time";
        --m_counts.refused;
        return Look(damage, files, false);
    }

    static std::string Named(const Damage& damage, const std::vector<TableIntegrity>& tables,
                             const std::vector<PageDamage>& pages) {
        if (pages.empty()) {
            // Only tables: their details name what is wrong.
            const bool says = std::any_of(tables.begin(), tables.end(), [](const auto& table) {
                return table.code != IntegrityCode::Ok &&
                       table.detail.kind != IntegrityDetail::Kind::None;
            });
            return says ? std::string() : "reported, but not where";
        }
        for (const PageDamage& page : pages) {
            const bool isOurs = std::find(damage.files.begin(), damage.files.end(), page.file) !=
                                damage.files.end();
            if (!isOurs) continue;
            // Opening may have made the file shorter, which leaves the page its number.
            const bool isThere = page.kind != PageDamage::Kind::Changed || damage.offset < 0 ||
                                 page.page == damage.offset / kChecksumPage ||
                                 page.offset + page.size <= damage.offset;
            if (isThere) return {};
        }
        // The journal's end tells itself by the files that are ahead of it.
        if (std::any_of(damage.files.begin(), damage.files.end(), IsJournal)) return {};
        return "reported as damage of " + pages.front().file;
    }

    const FaultsOptions& m_options;
    CFaultsReport& m_report;
    std::mt19937_64 m_random;
    const FaultsSample* m_sample = nullptr;
    Counts m_counts;
};

void Run(const FaultsOptions& options, CFaultsReport& report) {
    NameCaseOnCrash();
    CDamager damager(options, report);
    for (const FaultsSample& sample : AllSamples()) {
        CMemoryFileSystem disk;
        disk.Restore(sample.disk);
        SetCurrentCase(sample.name);
        const StoreLook look = LookAtFolder(disk, false, kLedgerFolder, Stamps::Kept);
        report.Expect(look.IsSound() && look.content == sample.content,
                      sample.name + " itself: " + look.problem);
        damager.Run(sample);
        const Counts& found = damager.Found();
        Say(sample.name + ": so far " + std::to_string(found.refused) + " refused, " +
            std::to_string(found.reported) + " reported, " + std::to_string(found.harmless) +
            " harmless, " + std::to_string(found.shortened) + " without the journal's end");
    }
}

const CFaultsKind kDamage("damage", "Flips, cuts and swaps in every file of small databases", Run);

}  // namespace
}  // namespace quillon
