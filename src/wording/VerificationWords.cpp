#include "wording/VerificationWords.h"

#include "foundation/CurrencyFormat.h"

namespace quillon {

namespace {

// Where and what, for a run of pages that have the same fault.
std::string RunText(const PageDamage& first, int64_t end) {
    switch (first.kind) {
        case PageDamage::Kind::Missing:
            return first.file + " is missing";
        case PageDamage::Kind::OtherSize:
            return first.file + " has " + std::to_string(first.size) +
                   " bytes, not as many as were written";
        case PageDamage::Kind::Unlisted:
            return first.file + " was not written by this ledger";
        case PageDamage::Kind::BadSums:
            return first.file + ", the list of checksums, is damaged";
        case PageDamage::Kind::Changed:
        case PageDamage::Kind::Unreadable:
            break;
    }
    const bool changed = first.kind == PageDamage::Kind::Changed;
    return first.file + ", bytes " + std::to_string(first.offset) + " to " +
           std::to_string(end - 1) +
           (changed ? ", differs from what was written" : ", cannot be read");
}

// What a message leaves out; empty when that is nothing.
std::string AndOthers(size_t count, const char* one, const char* many) {
    return count == 0 ? "" : " (and " + Counted(static_cast<int64_t>(count), one, many) + ")";
}

std::string TableMessage(const TableIntegrity& table) {
    const std::string detail = IntegrityDetailText(table.detail);
    return std::string(IntegrityMessage(table.code)) + " Table " + Quoted(table.table) +
           (detail.empty() ? "." : ": " + detail + ".");
}

// Of a file as a whole, or of a place in it.
std::string FileDetailText(const IntegrityDetail& detail) {
    const std::string number = std::to_string(detail.number);
    switch (detail.kind) {
        case IntegrityDetail::Kind::NoDictionary:
            return detail.file + ": its dictionary cannot be read";
        case IntegrityDetail::Kind::NoIndex:
            return detail.file + " can be neither read nor made anew";
        case IntegrityDetail::Kind::EntryCount:
            return (detail.file.empty() ? detail.column : detail.file) + ": " + number +
                   " entries for " + std::to_string(detail.rows) + " rows";
        case IntegrityDetail::Kind::AttributeFlag:
            return detail.file + ": the header's attribute flag is not the column's";
        case IntegrityDetail::Kind::OutsideFile:
            return detail.file + ", entry " + number + " lies outside the file";
        case IntegrityDetail::Kind::FreeBlockInUse:
            return detail.file + ", byte " + number + ": a block in use is on the free list";
        case IntegrityDetail::Kind::SharedBlock:
            return detail.file + ", byte " + number + ": two entries share a block";
        default:
            return {};
    }
}

}  // namespace

std::string VerificationMessage(const Verification& found) {
    for (const TableIntegrity& table : found.tables) {
        if (found.code == IntegrityCode::Ok) break;
        if (table.code == found.code) return TableMessage(table);
    }
    if (found.LayoutsAgree() && !found.pages.empty()) {
        const std::vector<std::string> texts = DamageTexts(found.pages);
        return "The tables are in order, but " + texts.front() +
               AndOthers(texts.size() - 1, "other place", "other places") + ".";
    }
    if (found.balances.empty()) return IntegrityMessage(found.code);
    return "The tables are in order, but " + BalanceText(found.balances.front()) +
           AndOthers(found.balances.size() - 1, "other account", "other accounts") + ".";
}

std::string VerificationAdvice(const Verification& found, bool repaired, Medium medium) {
    if (repaired) {
        return std::string("It cannot be repaired; restore a backup") +
               For(medium, " with 'restore FILE --to DIR'.", ".");
    }
    if (found.LayoutsAgree()) {
        return std::string("A backup holds what was written; ") +
               For(medium, "'verify --repair'", "a repair") +
               ", after a copy of the folder, accepts what is there now.";
    }
    return std::string(For(medium, "Run 'verify --repair'", "Repair it")) +
           ", after a copy of the folder.";
}

std::string IntegrityDetailText(const IntegrityDetail& detail) {
    const std::string number = std::to_string(detail.number);
    const std::string row = "row " + std::to_string(detail.row);
    const std::string value = row + ", column \"" + detail.column + "\"";
    const std::string file = detail.file.empty() ? "" : detail.file + ", ";
    switch (detail.kind) {
        case IntegrityDetail::Kind::NoColumns:
            return "the table has no columns";
        case IntegrityDetail::Kind::NoSuchRow:
            return file + row + " does not exist";
        case IntegrityDetail::Kind::UnreadableRow:
            return file + row + " cannot be read";
        case IntegrityDetail::Kind::ForeignKey:
            return file + row + ": no value of the column's type has the key " + number;
        case IntegrityDetail::Kind::OtherValue:
            return file + row + " holds another value";
        case IntegrityDetail::Kind::NeitherBoolean:
            return value + ": neither true nor false";
        case IntegrityDetail::Kind::BadText:
            return file + value + ", text " + number;
        case IntegrityDetail::Kind::SharedText:
            return "text " + number + " belongs to two rows";
        case IntegrityDetail::Kind::OrphanText:
            return "text " + number + " belongs to no row";
        default:
            return FileDetailText(detail);
    }
}

std::string DamageText(const PageDamage& page) {
    return RunText(page, page.offset + page.size);
}

std::vector<std::string> DamageTexts(const std::vector<PageDamage>& pages) {
    std::vector<std::string> texts;
    for (size_t i = 0; i < pages.size();) {
        const PageDamage& first = pages[i];
        int64_t end = first.offset + first.size;
        for (++i; i < pages.size() && pages[i].file == first.file && pages[i].kind == first.kind &&
                  pages[i].offset == end;
             ++i) {
            end += pages[i].size;
        }
        texts.push_back(RunText(first, end));
    }
    return texts;
}

std::vector<std::string> AcceptedPagesNotes(const std::vector<PageDamage>& accepted) {
    std::vector<std::string> notes;
    if (accepted.empty()) return notes;
    const bool onlySums = accepted.front().kind == PageDamage::Kind::BadSums;
    for (const std::string& text : DamageTexts(accepted)) {
        notes.push_back((onlySums ? "Made anew: " : "Accepted as it is now: ") + text + ".");
    }
    notes.emplace_back(onlySums ? "Whether a page changed before now cannot be told."
                                : "A value there may be another than the one entered; compare with "
                                  "statements or a backup.");
    return notes;
}

std::string BalanceText(const BalanceMismatch& mismatch) {
    return "the balance of " + Quoted(mismatch.account.ToUtf8()) + " is stored as " +
           FormatCurrency(mismatch.stored) + ", and its transactions add up to " +
           FormatCurrency(mismatch.computed);
}

std::string SkippedColumnNote(const Verification::SkippedColumn& column) {
    return "Column " + Quoted(column.column.ToUtf8()) + " of table " +
           Quoted(column.table.ToUtf8()) +
           " holds values that this version does not know; they are kept.";
}

}  // namespace quillon
