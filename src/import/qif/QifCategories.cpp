// What the category of a record, its class and its splits come to.

#include <algorithm>
#include <cmath>

#include "finance/ledger/Balance.h"
#include "finance/schema/FinanceSchema.h"
#include "import/qif/QifValues.h"
#include "import/text/TextScan.h"

namespace quillon {

namespace {

using Note = ImportNoteCode;

bool IsBracketed(std::string_view category) {
    return !category.empty() && category.front() == '[' && Contains(category, "]");
}

}  // namespace

std::string_view OtherAccount(std::string_view category) {
    if (category.empty() || category.front() != '[') return {};
    const size_t end = category.find(']');
    return end == std::string_view::npos ? std::string_view()
                                         : TrimBlanks(category.substr(1, end - 1));
}

std::string_view CQifValues::CategoryOf(const QifRecord& raw, const ImportRecord& record) {
    const auto is = [&raw](std::string_view name) {
        return EqualIgnoringAsciiCase(raw.category, name);
    };
    std::string_view category = raw.category;
    if (is("--Split--") || is("N/A")) category = {};
    if (raw.splits > 1 || IsPartOnly(raw, record)) {
        NoteSplits(raw, category);
    } else if (category.empty()) {
        category = raw.splitCategory;  // a single split is no split
    }
    category = WithoutClass(raw, category);
    return IsBracketed(category) ? TransferOf(raw, category) : category;
}

void CQifValues::NoteSplits(const QifRecord& raw, std::string_view category) {
    if (raw.splits > 1 && category.empty()) {
        m_notes.Add(Note::SplitPartsUnfiled, raw.line, {raw.splits});
    } else if (raw.splits > 1) {
        m_notes.Add(Note::SplitParts, raw.line, {raw.splits, category});
    } else if (category.empty()) {
        m_notes.Add(Note::SplitRestUnfiled, raw.line);
    } else {
        m_notes.Add(Note::SplitRest, raw.line, {category});
    }
}

bool CQifValues::IsPartOnly(const QifRecord& raw, const ImportRecord& record) const {
    if (raw.splits != 1 || raw.splitAmounts.empty() || raw.amount.empty()) return false;
    double part = 0.0;
    if (ReadAmount(raw.splitAmounts.front().text, m_marks, part) == AmountReading::Failed) {
        return false;
    }
    return std::fabs(std::fabs(part) - std::fabs(record.amount)) >= kHalfCent;
}

// Length of the longest name with a "/" in it that the file's own list holds and the
// category begins with; 0: none.
size_t CQifValues::ListedNameIn(std::string_view category) const {
    constexpr size_t kLongest = 256;  // bytes
    const std::string_view name = category.substr(0, kLongest);
    for (size_t end = name.size(); end != std::string_view::npos && end > 0;
         end = name.rfind('/', end - 1)) {
        if (m_outline.slashed.count(name.substr(0, end)) != 0) return end;
    }
    return 0;
}

// What follows a "/" is a class, but where the file's own list names a category so.
std::string_view CQifValues::WithoutClass(const QifRecord& raw, std::string_view category) {
    size_t end = IsBracketed(category) ? category.find(']') + 1 : category.find('/');
    if (end >= category.size()) return category;
    if (!m_outline.slashed.empty()) end = std::max(end, ListedNameIn(category));
    std::string_view left = TrimBlanks(category.substr(end));
    if (!left.empty() && left.front() == '/') left = TrimBlanks(left.substr(1));
    if (!left.empty()) m_notes.Add(Note::ClassLeftOut, raw.line, {left});
    return TrimBlanks(category.substr(0, end));
}

std::string_view CQifValues::TransferOf(const QifRecord& raw, std::string_view category) {
    const std::string_view other = OtherAccount(category);
    if (other.empty()) return {};
    const bool isOwn = other == raw.account;
    if (raw.isInvestment && isOwn && raw.hasShares) return {};  // its own cash
    // By custom the opening balance names the register's own account.
    if (isOwn || EqualIgnoringAsciiCase(raw.payee, "Opening Balance")) return kAdjustmentCategory;
    m_notes.Add(Note::TransferOneSided, raw.line, {other});
    return kTransferCategory;
}

}  // namespace quillon
