#include "import/plan/PackedRows.h"

#include <bit>
#include <cmath>

#include "finance/records/FinanceCodes.h"

namespace quillon {

namespace {

constexpr int64_t kTicksPerDay = 864'000'000'000;

// A row is a byte of these, the number of its line, day, identifier and payee, the amount,
// and what the flags say that follows, in their order. Numbers are differences to the row
// before where it has the same, seven bits a byte, the low ones first.
constexpr unsigned kCents = 1;
constexpr unsigned kCategory = 2;
constexpr unsigned kMemo = 4;
constexpr unsigned kIdText = 8;
constexpr unsigned kCheck = 16;
constexpr unsigned kUnread = 32;  // a number tells what:
constexpr int64_t kDate = 1;
constexpr int64_t kAmount = 2;
constexpr unsigned kElectronicBits = 64;

constexpr std::string_view kElectronic[] = {
    {}, kElectronicAtm, kElectronicEft, kElectronicTransfer};

unsigned CodeOf(std::string_view electronic) {
    for (unsigned code = 1; code < 4; ++code) {
        if (kElectronic[code] == electronic) return code;
    }
    return 0;
}

// Whole cents that come back as the same double.
bool IsCents(double amount) {
    constexpr double kMost = 1e15;
    if (!(std::fabs(amount) < kMost)) return false;
    const double again = static_cast<double>(std::llround(amount * 100.0)) / 100.0;
    return std::bit_cast<uint64_t>(again) == std::bit_cast<uint64_t>(amount);
}

uint64_t Folded(int64_t number) {
    return static_cast<uint64_t>(number) << 1 ^ static_cast<uint64_t>(number >> 63);
}

int64_t Unfolded(uint64_t bits) {
    return static_cast<int64_t>(bits >> 1 ^ (~(bits & 1) + 1));
}

// Differences wrap, so that any two numbers have one.
int64_t Difference(int64_t to, int64_t from) {
    return static_cast<int64_t>(static_cast<uint64_t>(to) - static_cast<uint64_t>(from));
}

int64_t Sum(int64_t a, int64_t b) {
    return static_cast<int64_t>(static_cast<uint64_t>(a) + static_cast<uint64_t>(b));
}

}  // namespace

void CPackedRows::PutNumber(int64_t number) {
    uint64_t bits = Folded(number);
    for (; bits >= 0x80; bits >>= 7) m_bytes.push_back(static_cast<uint8_t>(bits | 0x80));
    m_bytes.push_back(static_cast<uint8_t>(bits));
}

void CPackedRows::PutAmount(double amount, bool isCents) {
    if (isCents) {
        PutNumber(std::llround(amount * 100.0));
        return;
    }
    const auto bits = std::bit_cast<uint64_t>(amount);
    for (unsigned i = 0; i < 64; i += 8) m_bytes.push_back(static_cast<uint8_t>(bits >> i));
}

// Its length, negative for one of the pool, and where it is or its number.
void CPackedRows::PutText(std::string_view text, CTextPool& texts) {
    const auto length = static_cast<int64_t>(text.size());
    if (texts.IsAtHome(text)) {
        const int64_t at = text.data() - m_home.data();
        PutNumber(length);
        PutNumber(Difference(at, m_before.text));
        m_before.text = at;
    } else {
        PutNumber(-length);
        PutNumber(texts.Add(text));
    }
}

void CPackedRows::Add(const PackedRow& row, CTextPool& texts) {
    if (m_size % kBlock == 0) {
        m_blocks.push_back(m_bytes.size());
        m_before = {};
    }
    const int64_t day = row.date / kTicksPerDay;
    const bool isCents = IsCents(row.amount);
    const unsigned flags = (isCents ? kCents : 0U) | (row.category != 0 ? kCategory : 0U) |
                           (row.memo.empty() ? 0U : kMemo) | (row.idText.empty() ? 0U : kIdText) |
                           (row.check != 0 ? kCheck : 0U) |
                           (row.dateRead && row.amountRead ? 0U : kUnread) |
                           CodeOf(row.electronic) * kElectronicBits;
    m_bytes.push_back(static_cast<uint8_t>(flags));
    PutNumber(Difference(row.line, m_before.line));
    PutNumber(Difference(day, m_before.day));
    PutNumber(Difference(row.fitId, m_before.fitId));
    PutNumber(row.payee);
    PutAmount(row.amount, isCents);
    m_before.line = row.line;
    m_before.day = day;
    m_before.fitId = row.fitId;
    if (flags & kCategory) PutNumber(row.category);
    if (flags & kMemo) PutText(row.memo, texts);
    if (flags & kIdText) PutText(row.idText, texts);
    if (flags & kCheck) PutNumber(row.check);
    if (flags & kUnread) PutNumber((row.dateRead ? 0 : kDate) + (row.amountRead ? 0 : kAmount));
    ++m_size;
}

PackedRow CPackedRows::Row(size_t index, const CTextPool& texts) const {
    CReader reader(*this, texts);
    reader.m_index = index / kBlock * kBlock;
    PackedRow row;
    while (reader.m_index <= index && reader.Next(row)) {
    }
    return row;
}

// --- reading

int64_t CPackedRows::CReader::TakeNumber() {
    uint64_t bits = 0;
    unsigned shift = 0;
    uint8_t byte = 0;
    do {
        byte = m_rows.m_bytes[m_at++];
        bits |= static_cast<uint64_t>(byte & 0x7F) << shift;
        shift += 7;
    } while (byte >= 0x80);
    return Unfolded(bits);
}

double CPackedRows::CReader::TakeAmount(bool isCents) {
    if (isCents) return static_cast<double>(TakeNumber()) / 100.0;
    uint64_t bits = 0;
    for (unsigned i = 0; i < 64; i += 8) bits |= uint64_t{m_rows.m_bytes[m_at++]} << i;
    return std::bit_cast<double>(bits);
}

std::string_view CPackedRows::CReader::TakeText() {
    const int64_t length = TakeNumber();
    const int64_t at = TakeNumber();
    if (length < 0) return m_texts[static_cast<uint32_t>(at)];
    m_before.text = Sum(m_before.text, at);
    return m_rows.m_home.substr(static_cast<size_t>(m_before.text), static_cast<size_t>(length));
}

bool CPackedRows::CReader::Next(PackedRow& row) {
    if (m_index >= m_rows.m_size) return false;
    if (m_index % kBlock == 0) {
        m_at = m_rows.m_blocks[m_index / kBlock];
        m_before = {};
    }
    ++m_index;
    row = PackedRow();
    const unsigned flags = m_rows.m_bytes[m_at++];
    m_before.line = row.line = Sum(m_before.line, TakeNumber());
    m_before.day = Sum(m_before.day, TakeNumber());
    m_before.fitId = row.fitId = Sum(m_before.fitId, TakeNumber());
    row.date = m_before.day * kTicksPerDay;
    row.payee = static_cast<uint32_t>(TakeNumber());
    row.amount = TakeAmount((flags & kCents) != 0);
    row.electronic = kElectronic[flags / kElectronicBits];
    if (flags & kCategory) row.category = static_cast<uint32_t>(TakeNumber());
    if (flags & kMemo) row.memo = TakeText();
    if (flags & kIdText) row.idText = TakeText();
    if (flags & kCheck) row.check = static_cast<int32_t>(TakeNumber());
    const int64_t unread = flags & kUnread ? TakeNumber() : 0;
    row.dateRead = (unread & kDate) == 0;
    row.amountRead = (unread & kAmount) == 0;
    return true;
}

}  // namespace quillon
