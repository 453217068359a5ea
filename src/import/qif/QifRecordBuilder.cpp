#include "import/qif/QifRecordBuilder.h"

#include <algorithm>
#include <deque>
#include <utility>

#include "import/text/AmountText.h"
#include "import/text/DateText.h"
#include "import/text/TextScan.h"

namespace quillon {

namespace {

bool IsReadableAmount(std::string_view text) {
    double amount = 0.0;
    return ReadAmount(text, {}, amount) == AmountReading::Clean;
}

}  // namespace

bool IsReadableQifDate(std::string_view text) {
    DateParts parts;
    return SplitDate(text, parts);
}

bool IsWhole(const QifRecord& record) {
    if (record.dateLine == kNoQifLine || !IsReadableQifDate(record.date)) return false;
    if (!record.amount.empty()) return IsReadableAmount(record.amount);
    return !record.splitAmounts.empty() && IsReadableAmount(record.splitAmounts.front().text);
}

std::string_view COpenLines::operator[](size_t index) const {
    std::string_view text = TrimBlanks(m_text.LineBytes(LineOf(index) - 1));
    while (!text.empty() && text.front() == '^') text = TrimBlanks(text.substr(1));
    return text;
}

void CQifRecordBuilder::Build(const COpenLines& lines, size_t from, size_t to,
                              std::string_view account, Place place) {
    std::deque<QifLine> splits = std::move(m_record.splitAmounts);
    splits.clear();
    m_record = QifRecord();
    m_record.splitAmounts = std::move(splits);
    m_record.account = account;
    m_place = place;
    m_inSplits = m_hasMark = false;
    m_splitCategories = 0;
    m_balance = {};
    for (size_t i = from; i < to; ++i) {
        const std::string_view field = lines[i];
        if (field.empty()) continue;
        const int64_t line = lines.LineOf(i);
        if (m_record.line == 0) m_record.line = line;
        m_record.lastLine = line;
        TakeField(line, field.front(), TrimBlanks(field.substr(1)));
    }
    m_record.splits = std::max(m_record.splitAmounts.size(), m_splitCategories);
}

void CQifRecordBuilder::TakeField(int64_t line, char letter, std::string_view value) {
    // Behind the first split the letters speak of splits; a value still missing then
    // is the record's own all the same.
    const auto keep = [&](std::string_view& into) {
        if (!m_inSplits || into.empty()) into = value;
    };
    switch (letter) {
        case 'D':
            return TakeDate(line, value);
        case 'T':
        case 'U':
            return TakeAmount(line, value);
        case 'P':
            return keep(m_record.payee);
        case 'L':
            return keep(m_record.category);
        case 'M':
            m_hasMark = true;
            return keep(m_record.memo);
        case 'N':
            return keep(m_record.number);
        case 'C':
            m_hasMark = true;
            return;
        case 'Y':
            m_record.hasShares = true;
            return keep(m_record.security);
        case 'I':
        case 'Q':
            m_record.hasShares = true;
            return;
        case 'S':
            m_inSplits = true;
            ++m_splitCategories;
            if (m_record.splitCategory.empty()) m_record.splitCategory = value;
            return;
        case '$':
            return TakeSplitAmount(line, value);
        default:
            return;
    }
}

// The last of several counts; what says nothing does not replace what does.
void CQifRecordBuilder::TakeDate(int64_t line, std::string_view value) {
    const bool isSet = m_record.dateLine != kNoQifLine;
    if (isSet && (m_inSplits || !HasDigit(value))) return;
    m_record.date = value;
    m_record.dateLine = line;
}

void CQifRecordBuilder::TakeAmount(int64_t line, std::string_view value) {
    if (m_record.amountLine != kNoQifLine && !HasDigit(value)) return;
    m_record.amount = value;
    m_record.amountLine = line;
}

void CQifRecordBuilder::TakeSplitAmount(int64_t line, std::string_view value) {
    if (m_place == Place::AccountBlock) m_balance = value;
    if (m_inSplits) {
        m_record.splitAmounts.push_back({line, value});
        if (m_record.amountLine == kNoQifLine) m_record.amountLine = line;
    } else if (m_record.amountLine == kNoQifLine && m_place != Place::AccountBlock) {
        // An investment's: what moved between the accounts.
        m_record.amount = value;
        m_record.amountLine = line;
    }
}

}  // namespace quillon
